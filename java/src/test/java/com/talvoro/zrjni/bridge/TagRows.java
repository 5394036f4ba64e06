package com.talvoro.zrjni.bridge;

import java.util.ArrayList;
import java.util.List;

/**
 * How the Java tag classes and the client library's tag records correspond, written down field by
 * field: one list for each class.
 */
final class TagRows {
  /**
   * @param java Java field that is written when a tag is read
   * @param api member of the record
   * @param source Java field that is read when a tag is written; null when none is
   * @param written whether the Java field is written at all
   */
  record Row(String java, String api, String source, boolean written) {}

  private static final List<Row> COMMON =
      List.of(
          same("m_tagName", "szTagName"),
          same("m_tagID", "nTagID"),
          same("m_tagType", "nTagType"),
          new Row("m_tagClass", "nTagClass", "m_tagClass", false),
          same("m_archiving", "bArchiving"),
          same("m_scan", "bScan"),
          same("m_changeDate", "nChangeDate"),
          same("m_changer", "szChanger"),
          new Row("m_creationDate", "nCreationDate", "m_changeDate", true),
          same("m_creator", "szCreator"),
          same("m_excMaxTime", "nExcMaxTime"),
          same("m_excDev", "fExcDev"),
          same("m_compDev", "fCompDev"),
          same("m_compMaxTime", "nCompMaxTime"),
          same("m_compType", "nCompType"),
          same("m_recAccess", "nRecAccess"),
          same("m_recOperateGroup", "szRecNormalGroup"),
          same("m_recOwnerGroup", "szRecOwnerGroup"),
          same("m_tagAccess", "nTagAccess"),
          same("m_tagOperateGroup", "szTagNormalGroup"),
          same("m_tagOwnerGroup", "szTagOwnerGroup"),
          new Row("m_span", "fSpan", "m_excDev", true),
          new Row("m_minValue", "fMinValue", "m_compDev", true),
          same("m_digitalSet", "szDigitalSet"),
          same("m_engUnits", "szEngUnits"),
          same("m_descriptor", "szDescriptor"));

  private static final List<Row> PARAMETERS =
      List.of(
          same("m_param1", "nParam1"),
          same("m_param2", "nParam2"),
          same("m_param3", "nParam3"),
          same("m_param4", "nParam4"),
          same("m_param5", "nParam5"));

  static final List<Row> POINT =
      joined(
          COMMON,
          List.of(
              same("m_instrumentPoint", "szInstrumentAddress"),
              same("m_instrumentPointType", "nInstrumentAddressType"),
              same("m_CollectorName", "szCollectorName"),
              same("m_CollectorID", "nCollectorID"),
              same("m_DeviceName", "szDeviceName"),
              new Row("m_DeviceID", "nDeviceID", null, true),
              same("m_ScanGroupName", "szScanGroupName"),
              same("m_ScanGroupID", "nScanGroupID")),
          PARAMETERS);

  /** Tags of any class, which are only read; here the class is written, too. */
  static final List<Row> ANY =
      joined(
          COMMON.stream().map(row -> new Row(row.java(), row.api(), row.source(), true)).toList(),
          PARAMETERS);

  static final List<Row> ALARM =
      joined(
          COMMON,
          List.of(
              same("m_Test1", "szTest1"),
              same("m_Test2", "szTest2"),
              same("m_Test3", "szTest3"),
              same("m_Test4", "szTest4"),
              same("m_Action1", "szAction1"),
              same("m_Action2", "szAction2"),
              same("m_Action3", "szAction3"),
              same("m_Action4", "szAction4"),
              same("m_SourceTagName", "szSourceTagName"),
              same("m_nAlarmGroupID", "nAlarmGroupID"),
              same("m_nAutoAck", "nAutoAck"),
              same("m_TimeDeadBand", "nTimeDeadBand"),
              same("m_fValueDeadBand", "fValueDeadBand")));

  static final List<Row> CALCULATION =
      joined(
          COMMON,
          List.of(
              same("m_calcMode", "nCalcMode"),
              same("m_calcPeriod", "nCalcPeriod"),
              same("m_calcExpr", "szCalcExpr"),
              same("m_calcHistory", "bCalcHistory"),
              same("m_calcStartDate", "nCalcStartDate"),
              same("m_calcEndDate", "nCalcEndDate"),
              same("m_haveEndTime", "bHaveEndTime"),
              same("m_sourceTagName", "szSourceTagName")));

  static final List<Row> STATISTICS =
      joined(
          COMMON,
          List.of(
              same("m_sourceTagName", "szSourceTagName"),
              same("m_statsType", "nStatsType"),
              same("m_sampleStartDate", "nSampleStartDate"),
              same("m_sampleMode", "nSampleMode"),
              same("m_sampleInterval", "nSampleInterval"),
              same("m_sampleBeginOffset", "nSampleBeginOffset"),
              same("m_sampleEndOffset", "nSampleEndOffset"),
              same("m_sampleMonthBeginDay", "nSampleMonthBeginDay"),
              same("m_sampleMonthEndDay", "nSampleMonthEndDay"),
              same("m_beginTimeStamp", "bBeginTimeStamp"),
              same("m_timeStampOffset", "nTimeStampOffset"),
              same("m_scanPeriod", "nScanPeriod"),
              same("m_pctGood", "fPctGood"),
              same("m_filterExpr", "szFilterExpr"),
              same("m_dropBadMode", "nDropBadMode"),
              same("m_countParam1", "dCountParam1"),
              same("m_countParam2", "dCountParam2"),
              same("m_sampleType", "nSampleType"),
              same("m_interpOffset", "nInterpOffset"),
              same("m_interpPeriod", "nInterpPeriod"),
              same("m_conversionType", "nConversionType"),
              same("m_conversion", "dConversion"),
              same("m_filterFailMode", "nFilterFailMode"),
              same("m_calcPeriod", "nCalcPeriod"),
              same("m_reset", "bReset"),
              same("m_useBadValue", "bUseBadValue")));

  private TagRows() {}

  /** Sets the members that a Java tag is sent with. */
  static Struct sent(List<Row> rows, Object tag, Struct record) {
    for (Row row : rows) {
      if (row.source() != null) {
        record.set(row.api(), Fields.get(tag, row.source()));
      }
    }
    return record;
  }

  /** Sets the fields that a record is read into. */
  static <T> T read(List<Row> rows, Struct record, T tag) {
    for (Row row : rows) {
      if (row.written()) {
        Fields.setFrom(record, row.api(), tag, row.java());
      }
    }
    return tag;
  }

  private static Row same(String java, String api) {
    return new Row(java, api, java, true);
  }

  @SafeVarargs
  private static List<Row> joined(List<Row>... parts) {
    List<Row> all = new ArrayList<>();
    for (List<Row> part : parts) {
      all.addAll(part);
    }
    return List.copyOf(all);
  }
}
