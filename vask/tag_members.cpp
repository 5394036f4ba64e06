#include "vask/tag_members.h"

#include <cstddef>
#include <cstdint>

#include "zr3Struct.h"

namespace zervane {
namespace {

#define ZR3_MEMBER(column, record, member) \
  { column, offsetof(record, member), sizeof record::member }

constexpr RecordMember kCommon[] = {
    ZR3_MEMBER(ZR3_TAG_COL_COMM_PROP_TAG_NAME, ZR3CommTagProp, szTagName),
    ZR3_MEMBER(ZR3_TAG_COL_COMM_PROP_ARCHIVING, ZR3CommTagProp, bArchiving),
    ZR3_MEMBER(ZR3_TAG_COL_COMM_PROP_CHANGE_DATE, ZR3CommTagProp, nChangeDate),
    ZR3_MEMBER(ZR3_TAG_COL_COMM_PROP_CHANGER, ZR3CommTagProp, szChanger),
    ZR3_MEMBER(ZR3_TAG_COL_COMM_PROP_COMP_DEV, ZR3CommTagProp, fCompDev),
    ZR3_MEMBER(ZR3_TAG_COL_COMM_PROP_COMP_MAX_TIME, ZR3CommTagProp, nCompMaxTime),
    ZR3_MEMBER(ZR3_TAG_COL_COMM_PROP_COMP_TYPE, ZR3CommTagProp, nCompType),
    ZR3_MEMBER(ZR3_TAG_COL_COMM_PROP_CREATION_DATE, ZR3CommTagProp, nCreationDate),
    ZR3_MEMBER(ZR3_TAG_COL_COMM_PROP_CREATOR, ZR3CommTagProp, szCreator),
    ZR3_MEMBER(ZR3_TAG_COL_COMM_PROP_REC_ACCESS, ZR3CommTagProp, nRecAccess),
    ZR3_MEMBER(ZR3_TAG_COL_COMM_PROP_REC_NORMAL_GROUP, ZR3CommTagProp, szRecNormalGroup),
    ZR3_MEMBER(ZR3_TAG_COL_COMM_PROP_REC_OWNER_GROUP, ZR3CommTagProp, szRecOwnerGroup),
    ZR3_MEMBER(ZR3_TAG_COL_COMM_PROP_DESCRIPTOR, ZR3CommTagProp, szDescriptor),
    ZR3_MEMBER(ZR3_TAG_COL_COMM_PROP_DIGITAL_SET, ZR3CommTagProp, szDigitalSet),
    ZR3_MEMBER(ZR3_TAG_COL_COMM_PROP_ENG_UNITS, ZR3CommTagProp, szEngUnits),
    ZR3_MEMBER(ZR3_TAG_COL_COMM_PROP_EXC_MAX_TIME, ZR3CommTagProp, nExcMaxTime),
    ZR3_MEMBER(ZR3_TAG_COL_COMM_PROP_EXC_DEV, ZR3CommTagProp, fExcDev),
    ZR3_MEMBER(ZR3_TAG_COL_COMM_PROP_TAGID, ZR3CommTagProp, nTagID),
    ZR3_MEMBER(ZR3_TAG_COL_COMM_PROP_TAG_TYPE, ZR3CommTagProp, nTagType),
    ZR3_MEMBER(ZR3_TAG_COL_COMM_PROP_TAG_ACCESS, ZR3CommTagProp, nTagAccess),
    ZR3_MEMBER(ZR3_TAG_COL_COMM_PROP_TAG_NORMAL_GROUP, ZR3CommTagProp, szTagNormalGroup),
    ZR3_MEMBER(ZR3_TAG_COL_COMM_PROP_TAG_OWNER_GROUP, ZR3CommTagProp, szTagOwnerGroup),
    ZR3_MEMBER(ZR3_TAG_COL_COMM_PROP_SCAN, ZR3CommTagProp, bScan),
    ZR3_MEMBER(ZR3_TAG_COL_COMM_PROP_SPAN, ZR3CommTagProp, fSpan),
    ZR3_MEMBER(ZR3_TAG_COL_COMM_PROP_MIN_VALUE, ZR3CommTagProp, fMinValue),
    ZR3_MEMBER(ZR3_TAG_COL_COMM_PROP_TAG_CLASS, ZR3CommTagProp, nTagClass),
    ZR3_MEMBER(ZR3_TAG_COL_COMM_PROP_TAG_AVALIABLE, ZR3CommTagProp, nTagAvaliable),
    ZR3_MEMBER(ZR3_TAG_COL_COMM_PROP_PARAM1, ZR3CommTagProp, nParam1),
    ZR3_MEMBER(ZR3_TAG_COL_COMM_PROP_PARAM2, ZR3CommTagProp, nParam2),
    ZR3_MEMBER(ZR3_TAG_COL_COMM_PROP_PARAM3, ZR3CommTagProp, nParam3),
    ZR3_MEMBER(ZR3_TAG_COL_COMM_PROP_PARAM4, ZR3CommTagProp, nParam4),
    ZR3_MEMBER(ZR3_TAG_COL_COMM_PROP_PARAM5, ZR3CommTagProp, nParam5),
    ZR3_MEMBER(ZR3_TAG_COL_COMM_PROP_OPCREALSE, ZR3CommTagProp, nOpcState),
    ZR3_MEMBER(ZR3_TAG_COL_COMM_PROP_IMV_STRING, ZR3CommTagProp, szIMVString),
    ZR3_MEMBER(ZR3_TAG_COL_COMM_PROP_EXT_STRING1, ZR3CommTagProp, szExtString1),
    ZR3_MEMBER(ZR3_TAG_COL_COMM_PROP_EXT_STRING2, ZR3CommTagProp, szExtString2),
};

constexpr RecordMember kPoint[] = {
    ZR3_MEMBER(ZR3_TAG_COL_PT_EXT_PROP_INSTRUMENT_ADDRESS, ZR3PtTagProp, szInstrumentAddress),
    ZR3_MEMBER(ZR3_TAG_COL_PT_EXT_PROP_INSTRUMENT_ADDRESS_TYPE, ZR3PtTagProp,
               nInstrumentAddressType),
    ZR3_MEMBER(ZR3_TAG_COL_PT_EXT_PROP_COLLECTOR_NAME, ZR3PtTagProp, szCollectorName),
    ZR3_MEMBER(ZR3_TAG_COL_PT_EXT_PROP_COLLECTOR_ID, ZR3PtTagProp, nCollectorID),
    ZR3_MEMBER(ZR3_TAG_COL_PT_EXT_PROP_DEVICE_NAME, ZR3PtTagProp, szDeviceName),
    ZR3_MEMBER(ZR3_TAG_COL_PT_EXT_PROP_DEVICE_ID, ZR3PtTagProp, nDeviceID),
    ZR3_MEMBER(ZR3_TAG_COL_PT_EXT_PROP_SCAN_GROUP_NAME, ZR3PtTagProp, szScanGroupName),
    ZR3_MEMBER(ZR3_TAG_COL_PT_EXT_PROP_SCAN_GROUP_ID, ZR3PtTagProp, nScanGroupID),
    ZR3_MEMBER(ZR3_TAG_COL_PT_EXT_PROP_DATA_ORDER, ZR3PtTagProp, nDataOrder),
};

constexpr RecordMember kAlarm[] = {
    ZR3_MEMBER(ZR3_TAG_COL_AM_EXT_PROP_TEST1, ZR3AlarmTagProp, szTest1),
    ZR3_MEMBER(ZR3_TAG_COL_AM_EXT_PROP_TEST2, ZR3AlarmTagProp, szTest2),
    ZR3_MEMBER(ZR3_TAG_COL_AM_EXT_PROP_TEST3, ZR3AlarmTagProp, szTest3),
    ZR3_MEMBER(ZR3_TAG_COL_AM_EXT_PROP_TEST4, ZR3AlarmTagProp, szTest4),
    ZR3_MEMBER(ZR3_TAG_COL_AM_EXT_PROP_ACTION1, ZR3AlarmTagProp, szAction1),
    ZR3_MEMBER(ZR3_TAG_COL_AM_EXT_PROP_ACTION2, ZR3AlarmTagProp, szAction2),
    ZR3_MEMBER(ZR3_TAG_COL_AM_EXT_PROP_ACTION3, ZR3AlarmTagProp, szAction3),
    ZR3_MEMBER(ZR3_TAG_COL_AM_EXT_PROP_ACTION4, ZR3AlarmTagProp, szAction4),
    ZR3_MEMBER(ZR3_TAG_COL_AM_EXT_PROP_SOURCE_TAG, ZR3AlarmTagProp, szSourceTagName),
    ZR3_MEMBER(ZR3_TAG_COL_AM_EXT_PROP_ALARM_GROUP_ID, ZR3AlarmTagProp, nAlarmGroupID),
    ZR3_MEMBER(ZR3_TAG_COL_AM_EXT_PROP_AUTOACK, ZR3AlarmTagProp, nAutoAck),
    ZR3_MEMBER(ZR3_TAG_COL_AM_EXT_PROP_TIME_DEADBAND, ZR3AlarmTagProp, nTimeDeadBand),
    ZR3_MEMBER(ZR3_TAG_COL_AM_EXT_PROP_VALUE_DEADBAND, ZR3AlarmTagProp, fValueDeadBand),
};

constexpr RecordMember kStatistics[] = {
    ZR3_MEMBER(ZR3_TAG_COL_ST_EXT_PROP_SOURCE_TAG_NAME, ZR3StatsTagProp, szSourceTagName),
    ZR3_MEMBER(ZR3_TAG_COL_ST_EXT_PROP_STATS_TYPE, ZR3StatsTagProp, nStatsType),
    ZR3_MEMBER(ZR3_TAG_COL_ST_EXT_PROP_SAMPLE_START_DATE, ZR3StatsTagProp, nSampleStartDate),
    ZR3_MEMBER(ZR3_TAG_COL_ST_EXT_PROP_SAMPLE_MODE, ZR3StatsTagProp, nSampleMode),
    ZR3_MEMBER(ZR3_TAG_COL_ST_EXT_PROP_SAMPLE_INTERVAL, ZR3StatsTagProp, nSampleInterval),
    ZR3_MEMBER(ZR3_TAG_COL_ST_EXT_PROP_SAMPLE_BEGIN_OFFSET, ZR3StatsTagProp, nSampleBeginOffset),
    ZR3_MEMBER(ZR3_TAG_COL_ST_EXT_PROP_SAMPLE_END_OFFSET, ZR3StatsTagProp, nSampleEndOffset),
    ZR3_MEMBER(ZR3_TAG_COL_ST_EXT_PROP_SAMPLE_MONTH_BEGIN_DAY, ZR3StatsTagProp,
               nSampleMonthBeginDay),
    ZR3_MEMBER(ZR3_TAG_COL_ST_EXT_PROP_SAMPLE_MONTH_END_DAY, ZR3StatsTagProp, nSampleMonthEndDay),
    ZR3_MEMBER(ZR3_TAG_COL_ST_EXT_PROP_BEGIN_TIMESTAMP, ZR3StatsTagProp, bBeginTimeStamp),
    ZR3_MEMBER(ZR3_TAG_COL_ST_EXT_PROP_TIMESTAMP_OFFSET, ZR3StatsTagProp, nTimeStampOffset),
    ZR3_MEMBER(ZR3_TAG_COL_ST_EXT_PROP_SCAN_PERIOD, ZR3StatsTagProp, nScanPeriod),
    ZR3_MEMBER(ZR3_TAG_COL_ST_EXT_PROP_PCT_GOOD, ZR3StatsTagProp, fPctGood),
    ZR3_MEMBER(ZR3_TAG_COL_ST_EXT_PROP_FILTER_EXPR, ZR3StatsTagProp, szFilterExpr),
    ZR3_MEMBER(ZR3_TAG_COL_ST_EXT_PROP_DROP_BAD_MODE, ZR3StatsTagProp, nDropBadMode),
    ZR3_MEMBER(ZR3_TAG_COL_ST_EXT_PROP_COUNT_PARAM1, ZR3StatsTagProp, dCountParam1),
    ZR3_MEMBER(ZR3_TAG_COL_ST_EXT_PROP_COUNT_PARAM2, ZR3StatsTagProp, dCountParam2),
    ZR3_MEMBER(ZR3_TAG_COL_ST_EXT_PROP_SAMPLE_TYPE, ZR3StatsTagProp, nSampleType),
    ZR3_MEMBER(ZR3_TAG_COL_ST_EXT_PROP_INTERP_OFFSET, ZR3StatsTagProp, nInterpOffset),
    ZR3_MEMBER(ZR3_TAG_COL_ST_EXT_PROP_INTERP_PERIOD, ZR3StatsTagProp, nInterpPeriod),
    ZR3_MEMBER(ZR3_TAG_COL_ST_EXT_PROP_CONVER_TYPE, ZR3StatsTagProp, nConversionType),
    ZR3_MEMBER(ZR3_TAG_COL_ST_EXT_PROP_CONVERSION, ZR3StatsTagProp, dConversion),
    ZR3_MEMBER(ZR3_TAG_COL_ST_EXT_PROP_FILTER_FAIL_MODE, ZR3StatsTagProp, nFilterFailMode),
    ZR3_MEMBER(ZR3_TAG_COL_ST_EXT_PROP_CALC_PERIOD, ZR3StatsTagProp, nCalcPeriod),
    ZR3_MEMBER(ZR3_TAG_COL_ST_EXT_PROP_RESET, ZR3StatsTagProp, bReset),
    ZR3_MEMBER(ZR3_TAG_COL_ST_EXT_PROP_USE_BAD_VALUE, ZR3StatsTagProp, bUseBadValue),
};

constexpr RecordMember kCalculation[] = {
    ZR3_MEMBER(ZR3_TAG_COL_CA_EXT_PROP_CALC_MODE, ZR3CalcTagProp, nCalcMode),
    ZR3_MEMBER(ZR3_TAG_COL_CA_EXT_PROP_CALC_PERIOD, ZR3CalcTagProp, nCalcPeriod),
    ZR3_MEMBER(ZR3_TAG_COL_CA_EXT_PROP_CALC_EXPR, ZR3CalcTagProp, szCalcExpr),
    ZR3_MEMBER(ZR3_TAG_COL_CA_EXT_PROP_CALC_HISTORY, ZR3CalcTagProp, bCalcHistory),
    ZR3_MEMBER(ZR3_TAG_COL_CA_EXT_PROP_CALC_START_DATE, ZR3CalcTagProp, nCalcStartDate),
    ZR3_MEMBER(ZR3_TAG_COL_CA_EXT_PROP_CALC_END_DATE, ZR3CalcTagProp, nCalcEndDate),
    ZR3_MEMBER(ZR3_TAG_COL_CA_EXT_PROP_HAVE_END_TIME, ZR3CalcTagProp, bHaveEndTime),
    ZR3_MEMBER(ZR3_TAG_COL_CA_EXT_PROP_SRC_TAG_NAME, ZR3CalcTagProp, szSourceTagName),
};

#undef ZR3_MEMBER

// Member i belongs to column (first + i), as the domain's column i does, up to the last column.
constexpr bool StandInOrder(std::span<const RecordMember> members, std::int32_t first,
                            std::int32_t last) {
  if (static_cast<std::int32_t>(members.size()) != last - first + 1) return false;
  for (const RecordMember& member : members) {
    if (member.column != first++) return false;
  }
  return true;
}
static_assert(StandInOrder(kCommon, ZR3_TAG_COL_COMM_PROP_MIN, ZR3_TAG_COL_COMM_PROP_MAX));
static_assert(StandInOrder(kPoint, ZR3_TAG_COL_PT_EXT_PROP_MIN, ZR3_TAG_COL_PT_EXT_PROP_MAX));
static_assert(StandInOrder(kAlarm, ZR3_TAG_COL_AM_EXT_PROP_MIN, ZR3_TAG_COL_AM_EXT_PROP_MAX));
static_assert(StandInOrder(kStatistics, ZR3_TAG_COL_ST_EXT_PROP_MIN, ZR3_TAG_COL_ST_EXT_PROP_MAX));
static_assert(StandInOrder(kCalculation, ZR3_TAG_COL_CA_EXT_PROP_MIN, ZR3_TAG_COL_CA_EXT_PROP_MAX));

struct TagRecord {
  std::span<const RecordMember> members;
  std::size_t bytes = 0;
};

TagRecord RecordOf(std::int32_t tag_class) {
  switch (tag_class) {
    case ZR3_TAG_CLASS_BASIC:
      return {kPoint, sizeof(ZR3PtTagProp)};
    case ZR3_TAG_CLASS_ALARM:
      return {kAlarm, sizeof(ZR3AlarmTagProp)};
    case ZR3_TAG_CLASS_STATS:
      return {kStatistics, sizeof(ZR3StatsTagProp)};
    case ZR3_TAG_CLASS_CALC:
      return {kCalculation, sizeof(ZR3CalcTagProp)};
    default:
      return {};
  }
}

}  // namespace

std::span<const RecordMember> CommonMembers() { return kCommon; }

std::span<const RecordMember> OwnMembers(std::int32_t tag_class) {
  return RecordOf(tag_class).members;
}

std::size_t TagRecordBytes(std::int32_t tag_class) { return RecordOf(tag_class).bytes; }

}  // namespace zervane
