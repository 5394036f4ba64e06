/* Records of the client API. Compiles as C11 and C++20.
 *
 * Every record is a plain structure with the platform's natural alignment; its size, and the
 * offsets that matter across the library boundary, are pinned at the end of this file. Texts are
 * NUL-terminated in the system encoding and include their terminator in the array's size. Times are
 * seconds since 1970-01-01 UTC, read as unsigned 32 bits (so they reach 2106), and 0..999
 * milliseconds. Padding bytes carry no meaning. */
#ifndef ZERVANE_ZR3_STRUCT_H
#define ZERVANE_ZR3_STRUCT_H

#include <assert.h>
#include <stddef.h>

#include "zr3Enum.h"

/* ---- connection ---- */

typedef struct ZR3Connection {
  char szAddress[ZR3_LEN_ADDRESS];    /* primary server, or an embedded database */
  uint16 nPort;                       /* its port */
  char szBakAddress[ZR3_LEN_ADDRESS]; /* standby server; empty when there is none */
  uint16 nBakPort;                    /* its port */
  int32 nTimeout;                     /* seconds to wait for a server */
} ZR3Connection;

/* ---- times and values ---- */

typedef struct ZR3Time {
  int32 nSec;  /* seconds */
  int16 nMsec; /* milliseconds within the second */
} ZR3Time;

typedef struct ZR3TimeRegion {
  ZR3Time left;
  ZR3Time right;
  bool8 bLeftClosed;  /* a record exactly at left belongs to the region */
  bool8 bRightClosed; /* a record exactly at right belongs to the region */
} ZR3TimeRegion;

/* The bytes of a STRING or BLOB. A reader gives a buffer and its capacity and gets the length of
 * the value back. */
typedef struct ZR3StrBlob {
  char* pBuf;
  uint16 nLenBuf; /* STRING: the terminator is counted */
} ZR3StrBlob;

/* One slot per type; only the slot of the record's type is meaningful. */
typedef struct ZR3RecordValue {
  int8 nInt8;
  int16 nInt16;
  int32 nInt32;
  float32 fFloat32;
  float64 fFloat64;
  int8 nDigital;
  ZR3StrBlob strBlob;
} ZR3RecordValue;

typedef struct ZR3Record {
  int32 nSec;
  int16 nMsec;
  uint16 nQuality; /* ZR3_QUALITY_... */
  ZR3_TAG_TYPE nTagType;
  ZR3RecordValue value;
} ZR3Record;

/* ---- tags ---- */

/* The members of ZR3CommTagProp. Every tag property record begins with exactly these. */
#define ZR3_COMM_TAG_PROP_MEMBERS                                    \
  char szTagName[ZR3_LEN_TAG_NAME];                                  \
  bool8 bArchiving;   /* values are archived */                      \
  uint32 nChangeDate; /* seconds */                                  \
  char szChanger[ZR3_LEN_NAME];                                      \
  float32 fCompDev;   /* compression deviation, engineering units */ \
  int32 nCompMaxTime; /* compression maximum time, seconds */        \
  ZR3_COMP_TYPE nCompType;                                           \
  uint32 nCreationDate; /* seconds */                                \
  char szCreator[ZR3_LEN_NAME];                                      \
  uint8 nRecAccess; /* access rights on the tag's records */         \
  char szRecNormalGroup[ZR3_LEN_NAME];                               \
  char szRecOwnerGroup[ZR3_LEN_NAME];                                \
  char szDescriptor[ZR3_LEN_DESCRIPTOR];                             \
  char szDigitalSet[ZR3_LEN_NAME];                                   \
  char szEngUnits[ZR3_LEN_NAME];                                     \
  int32 nExcMaxTime; /* exception maximum time, seconds */           \
  float32 fExcDev;   /* exception deviation, engineering units */    \
  uint32 nTagID;     /* given by the database; 0 is never valid */   \
  ZR3_TAG_TYPE nTagType;                                             \
  uint8 nTagAccess; /* access rights on the tag's definition */      \
  char szTagNormalGroup[ZR3_LEN_NAME];                               \
  char szTagOwnerGroup[ZR3_LEN_NAME];                                \
  bool8 bScan;       /* the tag is scanned */                        \
  float32 fSpan;     /* value span, engineering units */             \
  float32 fMinValue; /* minimum (zero) value, engineering units */   \
  ZR3_TAG_CLASS nTagClass;                                           \
  ZR3_TAG_AVALIABLE nTagAvaliable;                                   \
  uint8 nParam1; /* five free parameters */                          \
  uint8 nParam2;                                                     \
  uint8 nParam3;                                                     \
  uint8 nParam4;                                                     \
  uint8 nParam5;                                                     \
  ZR3_TAG_OPC_STATE nOpcState;                                       \
  char szIMVString[ZR3_LEN_EXT_STRING];                              \
  char szExtString1[ZR3_LEN_EXT_STRING];                             \
  char szExtString2[ZR3_LEN_EXT_STRING];

typedef struct ZR3CommTagProp {
  ZR3_COMM_TAG_PROP_MEMBERS
} ZR3CommTagProp;

typedef struct ZR3PtTagProp {
  ZR3_COMM_TAG_PROP_MEMBERS
  char szInstrumentAddress[ZR3_LEN_INSTRUMENT_ADDRESS];
  uint8 nInstrumentAddressType;
  char szCollectorName[ZR3_LEN_COLLECTION_NAME];
  int32 nCollectorID;
  char szDeviceName[ZR3_LEN_COLLECTION_NAME];
  uint32 nDeviceID;
  char szScanGroupName[ZR3_LEN_COLLECTION_NAME];
  uint32 nScanGroupID;
  ZR3_DATA_ORDER nDataOrder;
} ZR3PtTagProp;

typedef struct ZR3AlarmTagProp {
  ZR3_COMM_TAG_PROP_MEMBERS
  char szTest1[ZR3_LEN_EXPRESSION];
  char szTest2[ZR3_LEN_EXPRESSION];
  char szTest3[ZR3_LEN_EXPRESSION];
  char szTest4[ZR3_LEN_EXPRESSION];
  char szAction1[ZR3_LEN_EXPRESSION];
  char szAction2[ZR3_LEN_EXPRESSION];
  char szAction3[ZR3_LEN_EXPRESSION];
  char szAction4[ZR3_LEN_EXPRESSION];
  char szSourceTagName[ZR3_LEN_TAG_NAME];
  uint32 nAlarmGroupID;
  ZR3_AM_ACK_TYPE nAutoAck;
  int32 nTimeDeadBand; /* seconds */
  float32 fValueDeadBand;
} ZR3AlarmTagProp;

typedef struct ZR3StatsTagProp {
  ZR3_COMM_TAG_PROP_MEMBERS
  char szSourceTagName[ZR3_LEN_TAG_NAME];
  ZR3_STATS_TYPE nStatsType;
  int32 nSampleStartDate; /* seconds */
  ZR3_STATS_SAMPLE_MODE nSampleMode;
  int32 nSampleInterval;    /* seconds */
  int32 nSampleBeginOffset; /* seconds */
  int32 nSampleEndOffset;   /* seconds */
  uint8 nSampleMonthBeginDay;
  uint8 nSampleMonthEndDay;
  bool8 bBeginTimeStamp;  /* results are stamped at the window's begin */
  int32 nTimeStampOffset; /* seconds */
  int32 nScanPeriod;      /* seconds */
  float32 fPctGood;       /* least share of good values, percent */
  char szFilterExpr[ZR3_LEN_EXPRESSION];
  ZR3_STATS_DROP_BAD_MODE nDropBadMode;
  float64 dCountParam1;
  float64 dCountParam2;
  ZR3_STATS_SAMPLE_TYPE nSampleType;
  int32 nInterpOffset; /* seconds */
  int32 nInterpPeriod; /* seconds */
  ZR3_STATS_CONVERSION_TYPE nConversionType;
  float64 dConversion;
  ZR3_STATS_FILTER_FAIL_MODE nFilterFailMode;
  int32 nCalcPeriod; /* seconds */
  bool8 bReset;
  bool8 bUseBadValue;
} ZR3StatsTagProp;

typedef struct ZR3CalcTagProp {
  ZR3_COMM_TAG_PROP_MEMBERS
  ZR3_CALC_MODE nCalcMode;
  int32 nCalcPeriod; /* seconds */
  char szCalcExpr[ZR3_LEN_CALC_EXPR];
  bool8 bCalcHistory;   /* also compute over past time */
  int32 nCalcStartDate; /* seconds */
  int32 nCalcEndDate;   /* seconds */
  bool8 bHaveEndTime;   /* nCalcEndDate is meaningful */
  char szSourceTagName[ZR3_LEN_TAG_NAME];
} ZR3CalcTagProp;

/* Which properties an operation concerns: bit i of nCommMask is common column i, bit i of nExtMask
 * is column (family minimum + i); -1 selects all. */
typedef struct ZR3Mask {
  int64 nCommMask;
  int64 nExtMask;
} ZR3Mask;

/* One search condition. */
typedef struct ZR3FilterItem {
  int32 nItemID; /* ZR3_TAG_COL_... */
  ZR3_RELATION nRelation;
  char szValue[ZR3_LEN_FILTER_VALUE];
} ZR3FilterItem;

/* Conditions, all of which must hold. */
typedef struct ZR3FilterItemSet {
  int32 nSize;
  ZR3FilterItem* pItem;
} ZR3FilterItemSet;

typedef struct ZR3PageQueryTagParam {
  ZR3FilterItemSet itemSet;
  ZR3Mask mask;
  uint32 nStartID; /* the page starts at the first identifier at or after this */
  int32 nCapacity; /* most tags of the page */
} ZR3PageQueryTagParam;

/* ---- subscriptions ---- */

typedef struct ZRRegInfo {
  uint32 nTagID;
  uint32 nFieldID;
} ZRRegInfo;

/* ---- statistics ---- */

typedef struct ZR3StRelatedParam {
  ZR3_STATS_TYPE nStatsType;
  int32 nTimeRegionNum;
  ZR3TimeRegion* pTimeRegions;
  float32 fPercentGood; /* least share of good values, percent */
  ZR3_STATS_SAMPLE_TYPE nSampleType;
  char szFilterExpr[ZR3_LEN_EXPRESSION];
  ZR3_STATS_FILTER_FAIL_MODE nFilterFailMode;
  float64 dExtParam1;
  float64 dExtParam2;
  int32 nOffset; /* seconds */
  int32 nPeriod; /* seconds */
  bool8 bUseBadValue;
} ZR3StRelatedParam;

/* ---- alarms ---- */

typedef struct ZR3AlarmRecord {
  uint32 nAlarmTagID;
  ZR3Time tvStartTime;
  ZR3Time tvEndTime;
  ZR3Time tvAckTime;
  ZR3Time tvCommentTime;
  ZR3_AM_REC_ACK_STATE nAcked;
  ZR3_AM_REC_RESTORE_STATE nRestored;
  ZR3_AM_REC_PRIORITY nPriority;
  ZR3_AM_ACK_TYPE nAckType;
  ZR3_AM_REC_TYPE nAlarmType;
  char szSrcValue[ZR3_LEN_ALARM_SRC_VALUE];
  char szTest[ZR3_LEN_EXPRESSION];
  char szComment[ZR3_LEN_ALARM_RECORD_COMMENT];
  char szAcker[ZR3_LEN_NAME];
  char szCommentor[ZR3_LEN_NAME];
} ZR3AlarmRecord;

/* Filter of alarm records. Bit n of a mask is enumerator n; 0 filters nothing. */
typedef struct ZR3AlarmQuery {
  ZR3Time tvStart;
  ZR3Time tvEnd;
  int64 nAckMask;
  int64 nTypeMask;
  int64 nPriorMask;
  int64 nRestoreMask;
} ZR3AlarmQuery;

typedef struct ZR3AlarmGroup {
  char szName[ZR3_LEN_TAG_NAME];
  char szDesc[ZR3_LEN_TAG_NAME];
  uint32 nGroupID;
  uint32 nParentID; /* 0 is the root */
} ZR3AlarmGroup;

/* ---- security ---- */

typedef struct ZR3SecUser {
  char szUserName[ZR3_LEN_NAME];
  char szPasswd[ZR3_LEN_PASSWORD]; /* read when a user is added; never filled */
  char szUserDesc[ZR3_LEN_DESC];
} ZR3SecUser;

typedef struct ZR3SecGroup {
  char szGroupName[ZR3_LEN_NAME];
  char szGroupDesc[ZR3_LEN_DESC];
} ZR3SecGroup;

typedef struct ZR3SecAuthItem {
  char szName[ZR3_LEN_NAME];
  char szDesc[ZR3_LEN_DESC];
  int32 nAuth; /* 0 none, 1 read, 2 write, 3 manage */
} ZR3SecAuthItem;

/* ---- relay ---- */

/* Numbers travel as text. */
typedef struct ZRRestCfg {
  char szDsName[ZR3_LEN_RELAY_TEXT];
  char szHostIP[ZR3_LEN_RELAY_TEXT];
  char szPort[ZR3_LEN_RELAY_TEXT];
  char szPassword[ZR3_LEN_RELAY_TEXT];
  char szMaxTotal[ZR3_LEN_RELAY_TEXT];
  char szMaxWait[ZR3_LEN_RELAY_TEXT];
  char szMasterName[ZR3_LEN_RELAY_TEXT];
  char szRoutingrtalms[ZR3_LEN_RELAY_TEXT];
  char szRoutingclearalm[ZR3_LEN_RELAY_TEXT];
  char szRoutingrtrec[ZR3_LEN_RELAY_TEXT];
  char szRoutingcrs[ZR3_LEN_RELAY_TEXT];
  char szUser[ZR3_LEN_RELAY_TEXT];
  char szHostName[ZR3_LEN_RELAY_TEXT];
  char szExChange[ZR3_LEN_RELAY_TEXT];
  char szExtend1[ZR3_LEN_RELAY_TEXT];
  char szExtend2[ZR3_LEN_RELAY_TEXT];
  char szExtend3[ZR3_LEN_RELAY_TEXT];
  char szExtend4[ZR3_LEN_RELAY_TEXT];
} ZRRestCfg;

/* ---- the layout, pinned ---- */

#define ZR3_PIN_SIZE(type, size) static_assert(sizeof(type) == (size), #type " has another size")
#define ZR3_PIN_OFFSET(type, member, offset) \
  static_assert(offsetof(type, member) == (offset), #type "." #member " stands elsewhere")

ZR3_PIN_SIZE(ZR3Connection, 1032);
ZR3_PIN_OFFSET(ZR3Connection, nPort, 512);
ZR3_PIN_OFFSET(ZR3Connection, szBakAddress, 514);
ZR3_PIN_OFFSET(ZR3Connection, nBakPort, 1026);
ZR3_PIN_OFFSET(ZR3Connection, nTimeout, 1028);

ZR3_PIN_SIZE(ZR3Time, 8);
ZR3_PIN_OFFSET(ZR3Time, nMsec, 4);

ZR3_PIN_SIZE(ZR3TimeRegion, 20);
ZR3_PIN_OFFSET(ZR3TimeRegion, right, 8);
ZR3_PIN_OFFSET(ZR3TimeRegion, bLeftClosed, 16);
ZR3_PIN_OFFSET(ZR3TimeRegion, bRightClosed, 17);

ZR3_PIN_SIZE(ZR3Record, 64);
ZR3_PIN_OFFSET(ZR3Record, nMsec, 4);
ZR3_PIN_OFFSET(ZR3Record, nQuality, 6);
ZR3_PIN_OFFSET(ZR3Record, nTagType, 8);
ZR3_PIN_OFFSET(ZR3Record, value.nInt8, 16);
ZR3_PIN_OFFSET(ZR3Record, value.nInt16, 18);
ZR3_PIN_OFFSET(ZR3Record, value.nInt32, 20);
ZR3_PIN_OFFSET(ZR3Record, value.fFloat32, 24);
ZR3_PIN_OFFSET(ZR3Record, value.fFloat64, 32);
ZR3_PIN_OFFSET(ZR3Record, value.nDigital, 40);
ZR3_PIN_OFFSET(ZR3Record, value.strBlob.pBuf, 48);
ZR3_PIN_OFFSET(ZR3Record, value.strBlob.nLenBuf, 56);

ZR3_PIN_SIZE(ZR3CommTagProp, 5964);
ZR3_PIN_OFFSET(ZR3CommTagProp, bArchiving, 256);
ZR3_PIN_OFFSET(ZR3CommTagProp, nChangeDate, 260);
ZR3_PIN_OFFSET(ZR3CommTagProp, szChanger, 264);
ZR3_PIN_OFFSET(ZR3CommTagProp, fCompDev, 328);
ZR3_PIN_OFFSET(ZR3CommTagProp, nCompMaxTime, 332);
ZR3_PIN_OFFSET(ZR3CommTagProp, nCompType, 336);
ZR3_PIN_OFFSET(ZR3CommTagProp, nCreationDate, 340);
ZR3_PIN_OFFSET(ZR3CommTagProp, szCreator, 344);
ZR3_PIN_OFFSET(ZR3CommTagProp, nRecAccess, 408);
ZR3_PIN_OFFSET(ZR3CommTagProp, szRecNormalGroup, 409);
ZR3_PIN_OFFSET(ZR3CommTagProp, szRecOwnerGroup, 473);
ZR3_PIN_OFFSET(ZR3CommTagProp, szDescriptor, 537);
ZR3_PIN_OFFSET(ZR3CommTagProp, szDigitalSet, 2585);
ZR3_PIN_OFFSET(ZR3CommTagProp, szEngUnits, 2649);
ZR3_PIN_OFFSET(ZR3CommTagProp, nExcMaxTime, 2716);
ZR3_PIN_OFFSET(ZR3CommTagProp, fExcDev, 2720);
ZR3_PIN_OFFSET(ZR3CommTagProp, nTagID, 2724);
ZR3_PIN_OFFSET(ZR3CommTagProp, nTagType, 2728);
ZR3_PIN_OFFSET(ZR3CommTagProp, nTagAccess, 2732);
ZR3_PIN_OFFSET(ZR3CommTagProp, szTagNormalGroup, 2733);
ZR3_PIN_OFFSET(ZR3CommTagProp, szTagOwnerGroup, 2797);
ZR3_PIN_OFFSET(ZR3CommTagProp, bScan, 2861);
ZR3_PIN_OFFSET(ZR3CommTagProp, fSpan, 2864);
ZR3_PIN_OFFSET(ZR3CommTagProp, fMinValue, 2868);
ZR3_PIN_OFFSET(ZR3CommTagProp, nTagClass, 2872);
ZR3_PIN_OFFSET(ZR3CommTagProp, nTagAvaliable, 2876);
ZR3_PIN_OFFSET(ZR3CommTagProp, nParam1, 2880);
ZR3_PIN_OFFSET(ZR3CommTagProp, nParam5, 2884);
ZR3_PIN_OFFSET(ZR3CommTagProp, nOpcState, 2888);
ZR3_PIN_OFFSET(ZR3CommTagProp, szIMVString, 2892);
ZR3_PIN_OFFSET(ZR3CommTagProp, szExtString1, 3916);
ZR3_PIN_OFFSET(ZR3CommTagProp, szExtString2, 4940);

ZR3_PIN_SIZE(ZR3PtTagProp, 6880);
ZR3_PIN_OFFSET(ZR3PtTagProp, szInstrumentAddress, 5964);
ZR3_PIN_OFFSET(ZR3PtTagProp, nInstrumentAddressType, 6476);
ZR3_PIN_OFFSET(ZR3PtTagProp, szCollectorName, 6477);
ZR3_PIN_OFFSET(ZR3PtTagProp, nCollectorID, 6608);
ZR3_PIN_OFFSET(ZR3PtTagProp, szDeviceName, 6612);
ZR3_PIN_OFFSET(ZR3PtTagProp, nDeviceID, 6740);
ZR3_PIN_OFFSET(ZR3PtTagProp, szScanGroupName, 6744);
ZR3_PIN_OFFSET(ZR3PtTagProp, nScanGroupID, 6872);
ZR3_PIN_OFFSET(ZR3PtTagProp, nDataOrder, 6876);

ZR3_PIN_SIZE(ZR3AlarmTagProp, 8284);
ZR3_PIN_OFFSET(ZR3AlarmTagProp, szTest1, 5964);
ZR3_PIN_OFFSET(ZR3AlarmTagProp, szAction1, 6988);
ZR3_PIN_OFFSET(ZR3AlarmTagProp, szSourceTagName, 8012);
ZR3_PIN_OFFSET(ZR3AlarmTagProp, nAlarmGroupID, 8268);
ZR3_PIN_OFFSET(ZR3AlarmTagProp, fValueDeadBand, 8280);

ZR3_PIN_SIZE(ZR3StatsTagProp, 6576);
ZR3_PIN_OFFSET(ZR3StatsTagProp, szSourceTagName, 5964);
ZR3_PIN_OFFSET(ZR3StatsTagProp, nStatsType, 6220);
ZR3_PIN_OFFSET(ZR3StatsTagProp, nSampleMonthBeginDay, 6244);
ZR3_PIN_OFFSET(ZR3StatsTagProp, szFilterExpr, 6260);
ZR3_PIN_OFFSET(ZR3StatsTagProp, dCountParam1, 6520);
ZR3_PIN_OFFSET(ZR3StatsTagProp, dConversion, 6552);
ZR3_PIN_OFFSET(ZR3StatsTagProp, bUseBadValue, 6569);

ZR3_PIN_SIZE(ZR3CalcTagProp, 6756);
ZR3_PIN_OFFSET(ZR3CalcTagProp, nCalcMode, 5964);
ZR3_PIN_OFFSET(ZR3CalcTagProp, szCalcExpr, 5972);
ZR3_PIN_OFFSET(ZR3CalcTagProp, bCalcHistory, 6484);
ZR3_PIN_OFFSET(ZR3CalcTagProp, nCalcStartDate, 6488);
ZR3_PIN_OFFSET(ZR3CalcTagProp, bHaveEndTime, 6496);
ZR3_PIN_OFFSET(ZR3CalcTagProp, szSourceTagName, 6497);

ZR3_PIN_SIZE(ZR3Mask, 16);
ZR3_PIN_SIZE(ZR3FilterItem, 264);
ZR3_PIN_OFFSET(ZR3FilterItem, szValue, 8);
ZR3_PIN_SIZE(ZR3FilterItemSet, 16);
ZR3_PIN_OFFSET(ZR3FilterItemSet, pItem, 8);
ZR3_PIN_SIZE(ZR3PageQueryTagParam, 40);
ZR3_PIN_OFFSET(ZR3PageQueryTagParam, mask, 16);
ZR3_PIN_OFFSET(ZR3PageQueryTagParam, nStartID, 32);
ZR3_PIN_SIZE(ZRRegInfo, 8);

ZR3_PIN_SIZE(ZR3StRelatedParam, 320);
ZR3_PIN_OFFSET(ZR3StRelatedParam, pTimeRegions, 8);
ZR3_PIN_OFFSET(ZR3StRelatedParam, szFilterExpr, 24);
ZR3_PIN_OFFSET(ZR3StRelatedParam, nFilterFailMode, 280);
ZR3_PIN_OFFSET(ZR3StRelatedParam, dExtParam1, 288);
ZR3_PIN_OFFSET(ZR3StRelatedParam, nOffset, 304);
ZR3_PIN_OFFSET(ZR3StRelatedParam, nPeriod, 308);
ZR3_PIN_OFFSET(ZR3StRelatedParam, bUseBadValue, 312);

ZR3_PIN_SIZE(ZR3AlarmRecord, 2952);
ZR3_PIN_OFFSET(ZR3AlarmRecord, tvStartTime, 4);
ZR3_PIN_OFFSET(ZR3AlarmRecord, nAcked, 36);
ZR3_PIN_OFFSET(ZR3AlarmRecord, szSrcValue, 56);
ZR3_PIN_OFFSET(ZR3AlarmRecord, szTest, 2056);
ZR3_PIN_OFFSET(ZR3AlarmRecord, szComment, 2312);
ZR3_PIN_OFFSET(ZR3AlarmRecord, szAcker, 2824);
ZR3_PIN_OFFSET(ZR3AlarmRecord, szCommentor, 2888);

ZR3_PIN_SIZE(ZR3AlarmQuery, 48);
ZR3_PIN_OFFSET(ZR3AlarmQuery, nAckMask, 16);
ZR3_PIN_SIZE(ZR3AlarmGroup, 520);
ZR3_PIN_OFFSET(ZR3AlarmGroup, nGroupID, 512);

ZR3_PIN_SIZE(ZR3SecUser, 320);
ZR3_PIN_SIZE(ZR3SecGroup, 192);
ZR3_PIN_SIZE(ZR3SecAuthItem, 196);
ZR3_PIN_SIZE(ZRRestCfg, 1152);
ZR3_PIN_OFFSET(ZRRestCfg, szExtend4, 1088);

#endif
