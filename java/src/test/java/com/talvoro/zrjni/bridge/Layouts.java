package com.talvoro.zrjni.bridge;

/**
 * The records of the client library, written down from its description and not from its headers.
 */
final class Layouts {
  static final Layout CONNECTION =
      Layout.of("ZR3Connection", 1032)
          .text("szAddress", 0, 512)
          .int16("nPort", 512)
          .text("szBakAddress", 514, 512)
          .int16("nBakPort", 1026)
          .int32("nTimeout", 1028);

  static final Layout TIME = Layout.of("ZR3Time", 8).int32("nSec", 0).int16("nMsec", 4);

  static final Layout TIME_REGION =
      Layout.of("ZR3TimeRegion", 20)
          .int32("left.nSec", 0)
          .int16("left.nMsec", 4)
          .int32("right.nSec", 8)
          .int16("right.nMsec", 12)
          .int8("bLeftClosed", 16)
          .int8("bRightClosed", 17);

  static final Layout RECORD =
      Layout.of("ZR3Record", 64)
          .int32("nSec", 0)
          .int16("nMsec", 4)
          .int16("nQuality", 6)
          .int32("nTagType", 8)
          .int8("nInt8", 16)
          .int16("nInt16", 18)
          .int32("nInt32", 20)
          .float32("fFloat32", 24)
          .float64("fFloat64", 32)
          .int8("nDigital", 40)
          .int64("pBuf", 48)
          .int16("nLenBuf", 56);

  static final Layout MASK = Layout.of("ZR3Mask", 16).int64("nCommMask", 0).int64("nExtMask", 8);

  static final Layout COMMON_TAG =
      Layout.of("ZR3CommTagProp", 5964)
          .text("szTagName", 0, 256)
          .int8("bArchiving", 256)
          .int32("nChangeDate", 260)
          .text("szChanger", 264, 64)
          .float32("fCompDev", 328)
          .int32("nCompMaxTime", 332)
          .int32("nCompType", 336)
          .int32("nCreationDate", 340)
          .text("szCreator", 344, 64)
          .int8("nRecAccess", 408)
          .text("szRecNormalGroup", 409, 64)
          .text("szRecOwnerGroup", 473, 64)
          .text("szDescriptor", 537, 2048)
          .text("szDigitalSet", 2585, 64)
          .text("szEngUnits", 2649, 64)
          .int32("nExcMaxTime", 2716)
          .float32("fExcDev", 2720)
          .int32("nTagID", 2724)
          .int32("nTagType", 2728)
          .int8("nTagAccess", 2732)
          .text("szTagNormalGroup", 2733, 64)
          .text("szTagOwnerGroup", 2797, 64)
          .int8("bScan", 2861)
          .float32("fSpan", 2864)
          .float32("fMinValue", 2868)
          .int32("nTagClass", 2872)
          .int32("nTagAvaliable", 2876)
          .int8("nParam1", 2880)
          .int8("nParam2", 2881)
          .int8("nParam3", 2882)
          .int8("nParam4", 2883)
          .int8("nParam5", 2884)
          .int32("nOpcState", 2888)
          .text("szIMVString", 2892, 1024)
          .text("szExtString1", 3916, 1024)
          .text("szExtString2", 4940, 1024);

  static final Layout POINT_TAG =
      COMMON_TAG
          .extended("ZR3PtTagProp", 6880)
          .text("szInstrumentAddress", 5964, 512)
          .int8("nInstrumentAddressType", 6476)
          .text("szCollectorName", 6477, 128)
          .int32("nCollectorID", 6608)
          .text("szDeviceName", 6612, 128)
          .int32("nDeviceID", 6740)
          .text("szScanGroupName", 6744, 128)
          .int32("nScanGroupID", 6872)
          .int32("nDataOrder", 6876);

  static final Layout ALARM_TAG =
      COMMON_TAG
          .extended("ZR3AlarmTagProp", 8284)
          .text("szTest1", 5964, 256)
          .text("szTest2", 6220, 256)
          .text("szTest3", 6476, 256)
          .text("szTest4", 6732, 256)
          .text("szAction1", 6988, 256)
          .text("szAction2", 7244, 256)
          .text("szAction3", 7500, 256)
          .text("szAction4", 7756, 256)
          .text("szSourceTagName", 8012, 256)
          .int32("nAlarmGroupID", 8268)
          .int32("nAutoAck", 8272)
          .int32("nTimeDeadBand", 8276)
          .float32("fValueDeadBand", 8280);

  static final Layout CALCULATION_TAG =
      COMMON_TAG
          .extended("ZR3CalcTagProp", 6756)
          .int32("nCalcMode", 5964)
          .int32("nCalcPeriod", 5968)
          .text("szCalcExpr", 5972, 512)
          .int8("bCalcHistory", 6484)
          .int32("nCalcStartDate", 6488)
          .int32("nCalcEndDate", 6492)
          .int8("bHaveEndTime", 6496)
          .text("szSourceTagName", 6497, 256);

  static final Layout STATISTICS_TAG =
      COMMON_TAG
          .extended("ZR3StatsTagProp", 6576)
          .text("szSourceTagName", 5964, 256)
          .int32("nStatsType", 6220)
          .int32("nSampleStartDate", 6224)
          .int32("nSampleMode", 6228)
          .int32("nSampleInterval", 6232)
          .int32("nSampleBeginOffset", 6236)
          .int32("nSampleEndOffset", 6240)
          .int8("nSampleMonthBeginDay", 6244)
          .int8("nSampleMonthEndDay", 6245)
          .int8("bBeginTimeStamp", 6246)
          .int32("nTimeStampOffset", 6248)
          .int32("nScanPeriod", 6252)
          .float32("fPctGood", 6256)
          .text("szFilterExpr", 6260, 256)
          .int32("nDropBadMode", 6516)
          .float64("dCountParam1", 6520)
          .float64("dCountParam2", 6528)
          .int32("nSampleType", 6536)
          .int32("nInterpOffset", 6540)
          .int32("nInterpPeriod", 6544)
          .int32("nConversionType", 6548)
          .float64("dConversion", 6552)
          .int32("nFilterFailMode", 6560)
          .int32("nCalcPeriod", 6564)
          .int8("bReset", 6568)
          .int8("bUseBadValue", 6569);

  static final Layout FILTER_ITEM =
      Layout.of("ZR3FilterItem", 264)
          .int32("nItemID", 0)
          .int32("nRelation", 4)
          .text("szValue", 8, 256);

  static final Layout REGISTRATION =
      Layout.of("ZRRegInfo", 8).int32("nTagID", 0).int32("nFieldID", 4);

  static final Layout STATISTICS_REQUEST =
      Layout.of("ZR3StRelatedParam", 320)
          .int32("nStatsType", 0)
          .int32("nTimeRegionNum", 4)
          .int64("pTimeRegions", 8)
          .float32("fPercentGood", 16)
          .int32("nSampleType", 20)
          .text("szFilterExpr", 24, 256)
          .int32("nFilterFailMode", 280)
          .float64("dExtParam1", 288)
          .float64("dExtParam2", 296)
          .int32("nOffset", 304)
          .int32("nPeriod", 308)
          .int8("bUseBadValue", 312);

  static final Layout ALARM_RECORD =
      Layout.of("ZR3AlarmRecord", 2952)
          .int32("nAlarmTagID", 0)
          .int32("tvStartTime.nSec", 4)
          .int16("tvStartTime.nMsec", 8)
          .int32("tvEndTime.nSec", 12)
          .int16("tvEndTime.nMsec", 16)
          .int32("tvAckTime.nSec", 20)
          .int16("tvAckTime.nMsec", 24)
          .int32("tvCommentTime.nSec", 28)
          .int16("tvCommentTime.nMsec", 32)
          .int32("nAcked", 36)
          .int32("nRestored", 40)
          .int32("nPriority", 44)
          .int32("nAckType", 48)
          .int32("nAlarmType", 52)
          .text("szSrcValue", 56, 2000)
          .text("szTest", 2056, 256)
          .text("szComment", 2312, 512)
          .text("szAcker", 2824, 64)
          .text("szCommentor", 2888, 64);

  static final Layout ALARM_QUERY =
      Layout.of("ZR3AlarmQuery", 48)
          .int32("tvStart.nSec", 0)
          .int16("tvStart.nMsec", 4)
          .int32("tvEnd.nSec", 8)
          .int16("tvEnd.nMsec", 12)
          .int64("nAckMask", 16)
          .int64("nTypeMask", 24)
          .int64("nPriorMask", 32)
          .int64("nRestoreMask", 40);

  static final Layout ALARM_GROUP =
      Layout.of("ZR3AlarmGroup", 520)
          .text("szName", 0, 256)
          .text("szDesc", 256, 256)
          .int32("nGroupID", 512)
          .int32("nParentID", 516);

  static final Layout USER =
      Layout.of("ZR3SecUser", 320)
          .text("szUserName", 0, 64)
          .text("szPasswd", 64, 128)
          .text("szUserDesc", 192, 128);

  static final Layout USER_GROUP =
      Layout.of("ZR3SecGroup", 192).text("szGroupName", 0, 64).text("szGroupDesc", 64, 128);

  static final Layout AUTHORITY_ITEM =
      Layout.of("ZR3SecAuthItem", 196)
          .text("szName", 0, 64)
          .text("szDesc", 64, 128)
          .int32("nAuth", 192);

  static final Layout RELAY =
      Layout.of("ZRRestCfg", 1152)
          .text("szDsName", 0, 64)
          .text("szHostIP", 64, 64)
          .text("szPort", 128, 64)
          .text("szPassword", 192, 64)
          .text("szMaxTotal", 256, 64)
          .text("szMaxWait", 320, 64)
          .text("szMasterName", 384, 64)
          .text("szRoutingrtalms", 448, 64)
          .text("szRoutingclearalm", 512, 64)
          .text("szRoutingrtrec", 576, 64)
          .text("szRoutingcrs", 640, 64)
          .text("szUser", 704, 64)
          .text("szHostName", 768, 64)
          .text("szExChange", 832, 64)
          .text("szExtend1", 896, 64)
          .text("szExtend2", 960, 64)
          .text("szExtend3", 1024, 64)
          .text("szExtend4", 1088, 64);

  private Layouts() {}

  /** The pair of masks of adding, changing and searching. */
  static Struct mask(long common, long extension) {
    return Struct.cleared(MASK).set("nCommMask", common).set("nExtMask", extension);
  }
}
