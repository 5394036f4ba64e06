#include "api/words/tag_columns.h"

#include <algorithm>
#include <iterator>
#include <variant>

namespace zervane {
namespace {

constexpr std::size_t kName = ZR3_LEN_NAME;
constexpr std::size_t kTagName = ZR3_LEN_TAG_NAME;
constexpr std::size_t kExtString = ZR3_LEN_EXT_STRING;
constexpr std::size_t kCollectionName = ZR3_LEN_COLLECTION_NAME;
constexpr std::size_t kExpression = ZR3_LEN_EXPRESSION;

template <typename Properties, typename T>
struct Member {
  using Of = Properties;
  using Type = T;
};
template <typename Properties, typename T>
Member<Properties, T> Dissect(T Properties::*);

template <auto kMember>
void* AddressOf(Tag& tag) {
  using Properties = typename decltype(Dissect(kMember))::Of;
  if constexpr (std::is_same_v<Properties, CommonProperties>) {
    return &(tag.*kMember);
  } else {
    return &(std::get<Properties>(tag.own).*kMember);
  }
}

template <typename T>
constexpr PropertyKind KindOf() {
  if constexpr (std::is_same_v<T, std::string>) return PropertyKind::kText;
  if constexpr (std::is_same_v<T, bool>) return PropertyKind::kFlag;
  if constexpr (std::is_same_v<T, std::uint8_t>) return PropertyKind::kByte;
  if constexpr (std::is_same_v<T, std::int32_t>) return PropertyKind::kInt32;
  if constexpr (std::is_same_v<T, std::uint32_t>) return PropertyKind::kUint32;
  if constexpr (std::is_same_v<T, float>) return PropertyKind::kFloat32;
  if constexpr (std::is_same_v<T, double>) return PropertyKind::kFloat64;
}

template <auto kMember>
constexpr PropertyColumn Number(std::int32_t column, const char* name) {
  using Type = typename decltype(Dissect(kMember))::Type;
  return {.column = column, .name = name, .kind = KindOf<Type>(), .address = &AddressOf<kMember>};
}

template <auto kMember>
constexpr PropertyColumn Text(std::int32_t column, const char* name, std::size_t array_bytes) {
  PropertyColumn text = Number<kMember>(column, name);
  text.array_bytes = array_bytes;
  return text;
}

// A deviation or a time: 0 turns its test off, less has no meaning.
template <auto kMember>
constexpr PropertyColumn Tolerance(std::int32_t column, const char* name) {
  PropertyColumn tolerance = Number<kMember>(column, name);
  tolerance.non_negative = true;
  return tolerance;
}

template <auto kMember>
constexpr PropertyColumn Enumeration(std::int32_t column, const char* name, std::int32_t max) {
  PropertyColumn enumeration = Number<kMember>(column, name);
  enumeration.min = 0;
  enumeration.max = max;
  return enumeration;
}

// Column i of a list has the number first + i, up to last.
constexpr bool StandInOrder(std::span<const PropertyColumn> columns, std::int32_t first,
                            std::int32_t last) {
  std::int32_t next = first;
  for (const PropertyColumn& column : columns) {
    if (column.column != next++) return false;
  }
  return next == last + 1;
}

using Common = CommonProperties;
constexpr PropertyColumn kCommon[] = {
    Text<&Common::name>(ZR3_TAG_COL_COMM_PROP_TAG_NAME, "name", kTagName),
    Number<&Common::archiving>(ZR3_TAG_COL_COMM_PROP_ARCHIVING, "archiving"),
    Number<&Common::change_date>(ZR3_TAG_COL_COMM_PROP_CHANGE_DATE, "change_date"),
    Text<&Common::changer>(ZR3_TAG_COL_COMM_PROP_CHANGER, "changer", kName),
    Tolerance<&Common::comp_dev>(ZR3_TAG_COL_COMM_PROP_COMP_DEV, "comp_dev"),
    Tolerance<&Common::comp_max_time>(ZR3_TAG_COL_COMM_PROP_COMP_MAX_TIME, "comp_max_time"),
    Enumeration<&Common::comp_type>(ZR3_TAG_COL_COMM_PROP_COMP_TYPE, "comp_type",
                                    ZR3_COMP_TYPE_SDT),
    Number<&Common::creation_date>(ZR3_TAG_COL_COMM_PROP_CREATION_DATE, "creation_date"),
    Text<&Common::creator>(ZR3_TAG_COL_COMM_PROP_CREATOR, "creator", kName),
    Number<&Common::rec_access>(ZR3_TAG_COL_COMM_PROP_REC_ACCESS, "rec_access"),
    Text<&Common::rec_normal_group>(ZR3_TAG_COL_COMM_PROP_REC_NORMAL_GROUP, "rec_normal_group",
                                    kName),
    Text<&Common::rec_owner_group>(ZR3_TAG_COL_COMM_PROP_REC_OWNER_GROUP, "rec_owner_group", kName),
    Text<&Common::descriptor>(ZR3_TAG_COL_COMM_PROP_DESCRIPTOR, "descriptor", ZR3_LEN_DESCRIPTOR),
    Text<&Common::digital_set>(ZR3_TAG_COL_COMM_PROP_DIGITAL_SET, "digital_set", kName),
    Text<&Common::eng_units>(ZR3_TAG_COL_COMM_PROP_ENG_UNITS, "eng_units", kName),
    Tolerance<&Common::exc_max_time>(ZR3_TAG_COL_COMM_PROP_EXC_MAX_TIME, "exc_max_time"),
    Tolerance<&Common::exc_dev>(ZR3_TAG_COL_COMM_PROP_EXC_DEV, "exc_dev"),
    Number<&Common::id>(ZR3_TAG_COL_COMM_PROP_TAGID, "id"),
    Enumeration<&Common::type>(ZR3_TAG_COL_COMM_PROP_TAG_TYPE, "type", ZR3_TAG_TYPE_MAX),
    Number<&Common::tag_access>(ZR3_TAG_COL_COMM_PROP_TAG_ACCESS, "tag_access"),
    Text<&Common::tag_normal_group>(ZR3_TAG_COL_COMM_PROP_TAG_NORMAL_GROUP, "tag_normal_group",
                                    kName),
    Text<&Common::tag_owner_group>(ZR3_TAG_COL_COMM_PROP_TAG_OWNER_GROUP, "tag_owner_group", kName),
    Number<&Common::scan>(ZR3_TAG_COL_COMM_PROP_SCAN, "scan"),
    Number<&Common::span>(ZR3_TAG_COL_COMM_PROP_SPAN, "span"),
    Number<&Common::min_value>(ZR3_TAG_COL_COMM_PROP_MIN_VALUE, "min_value"),
    Enumeration<&Common::tag_class>(ZR3_TAG_COL_COMM_PROP_TAG_CLASS, "tag_class",
                                    ZR3_TAG_CLASS_SYS),
    Enumeration<&Common::available>(ZR3_TAG_COL_COMM_PROP_TAG_AVALIABLE, "available",
                                    ZR3_TAG_AVALIABLE_YES),
    Number<&Common::param1>(ZR3_TAG_COL_COMM_PROP_PARAM1, "param1"),
    Number<&Common::param2>(ZR3_TAG_COL_COMM_PROP_PARAM2, "param2"),
    Number<&Common::param3>(ZR3_TAG_COL_COMM_PROP_PARAM3, "param3"),
    Number<&Common::param4>(ZR3_TAG_COL_COMM_PROP_PARAM4, "param4"),
    Number<&Common::param5>(ZR3_TAG_COL_COMM_PROP_PARAM5, "param5"),
    Enumeration<&Common::opc_state>(ZR3_TAG_COL_COMM_PROP_OPCREALSE, "opc_state",
                                    ZR3_TAG_OPC_STATE_RELEASE),
    Text<&Common::imv_string>(ZR3_TAG_COL_COMM_PROP_IMV_STRING, "imv_string", kExtString),
    Text<&Common::ext_string1>(ZR3_TAG_COL_COMM_PROP_EXT_STRING1, "ext_string1", kExtString),
    Text<&Common::ext_string2>(ZR3_TAG_COL_COMM_PROP_EXT_STRING2, "ext_string2", kExtString),
};
static_assert(StandInOrder(kCommon, ZR3_TAG_COL_COMM_PROP_MIN, ZR3_TAG_COL_COMM_PROP_MAX));

using Point = PointProperties;
constexpr PropertyColumn kPoint[] = {
    Text<&Point::instrument_address>(ZR3_TAG_COL_PT_EXT_PROP_INSTRUMENT_ADDRESS,
                                     "instrument_address", ZR3_LEN_INSTRUMENT_ADDRESS),
    Number<&Point::instrument_address_type>(ZR3_TAG_COL_PT_EXT_PROP_INSTRUMENT_ADDRESS_TYPE,
                                            "instrument_address_type"),
    Text<&Point::collector_name>(ZR3_TAG_COL_PT_EXT_PROP_COLLECTOR_NAME, "collector_name",
                                 kCollectionName),
    Number<&Point::collector_id>(ZR3_TAG_COL_PT_EXT_PROP_COLLECTOR_ID, "collector_id"),
    Text<&Point::device_name>(ZR3_TAG_COL_PT_EXT_PROP_DEVICE_NAME, "device_name", kCollectionName),
    Number<&Point::device_id>(ZR3_TAG_COL_PT_EXT_PROP_DEVICE_ID, "device_id"),
    Text<&Point::scan_group_name>(ZR3_TAG_COL_PT_EXT_PROP_SCAN_GROUP_NAME, "scan_group_name",
                                  kCollectionName),
    Number<&Point::scan_group_id>(ZR3_TAG_COL_PT_EXT_PROP_SCAN_GROUP_ID, "scan_group_id"),
    Enumeration<&Point::data_order>(ZR3_TAG_COL_PT_EXT_PROP_DATA_ORDER, "data_order",
                                    ZR3_DATA_ORDER_87654321),
};
static_assert(StandInOrder(kPoint, ZR3_TAG_COL_PT_EXT_PROP_MIN, ZR3_TAG_COL_PT_EXT_PROP_MAX));

using Alarm = AlarmProperties;
constexpr PropertyColumn kAlarm[] = {
    Text<&Alarm::test1>(ZR3_TAG_COL_AM_EXT_PROP_TEST1, "test1", kExpression),
    Text<&Alarm::test2>(ZR3_TAG_COL_AM_EXT_PROP_TEST2, "test2", kExpression),
    Text<&Alarm::test3>(ZR3_TAG_COL_AM_EXT_PROP_TEST3, "test3", kExpression),
    Text<&Alarm::test4>(ZR3_TAG_COL_AM_EXT_PROP_TEST4, "test4", kExpression),
    Text<&Alarm::action1>(ZR3_TAG_COL_AM_EXT_PROP_ACTION1, "action1", kExpression),
    Text<&Alarm::action2>(ZR3_TAG_COL_AM_EXT_PROP_ACTION2, "action2", kExpression),
    Text<&Alarm::action3>(ZR3_TAG_COL_AM_EXT_PROP_ACTION3, "action3", kExpression),
    Text<&Alarm::action4>(ZR3_TAG_COL_AM_EXT_PROP_ACTION4, "action4", kExpression),
    Text<&Alarm::source_tag>(ZR3_TAG_COL_AM_EXT_PROP_SOURCE_TAG, "source_tag", kTagName),
    Number<&Alarm::alarm_group_id>(ZR3_TAG_COL_AM_EXT_PROP_ALARM_GROUP_ID, "alarm_group_id"),
    Enumeration<&Alarm::auto_ack>(ZR3_TAG_COL_AM_EXT_PROP_AUTOACK, "auto_ack", ZR3_AM_ACK_TYPE_MAX),
    Tolerance<&Alarm::time_dead_band>(ZR3_TAG_COL_AM_EXT_PROP_TIME_DEADBAND, "time_dead_band"),
    Tolerance<&Alarm::value_dead_band>(ZR3_TAG_COL_AM_EXT_PROP_VALUE_DEADBAND, "value_dead_band"),
};
static_assert(StandInOrder(kAlarm, ZR3_TAG_COL_AM_EXT_PROP_MIN, ZR3_TAG_COL_AM_EXT_PROP_MAX));

using Stats = StatisticsProperties;
constexpr PropertyColumn kStatistics[] = {
    Text<&Stats::source_tag>(ZR3_TAG_COL_ST_EXT_PROP_SOURCE_TAG_NAME, "source_tag", kTagName),
    Enumeration<&Stats::stats_type>(ZR3_TAG_COL_ST_EXT_PROP_STATS_TYPE, "stats_type",
                                    ZR3_STATS_TYPE_LIMIT_MAX),
    Number<&Stats::sample_start_date>(ZR3_TAG_COL_ST_EXT_PROP_SAMPLE_START_DATE,
                                      "sample_start_date"),
    Enumeration<&Stats::sample_mode>(ZR3_TAG_COL_ST_EXT_PROP_SAMPLE_MODE, "sample_mode",
                                     ZR3_STATS_SAMPLE_MODE_FOREVER),
    Number<&Stats::sample_interval>(ZR3_TAG_COL_ST_EXT_PROP_SAMPLE_INTERVAL, "sample_interval"),
    Number<&Stats::sample_begin_offset>(ZR3_TAG_COL_ST_EXT_PROP_SAMPLE_BEGIN_OFFSET,
                                        "sample_begin_offset"),
    Number<&Stats::sample_end_offset>(ZR3_TAG_COL_ST_EXT_PROP_SAMPLE_END_OFFSET,
                                      "sample_end_offset"),
    Number<&Stats::sample_month_begin_day>(ZR3_TAG_COL_ST_EXT_PROP_SAMPLE_MONTH_BEGIN_DAY,
                                           "sample_month_begin_day"),
    Number<&Stats::sample_month_end_day>(ZR3_TAG_COL_ST_EXT_PROP_SAMPLE_MONTH_END_DAY,
                                         "sample_month_end_day"),
    Number<&Stats::begin_timestamp>(ZR3_TAG_COL_ST_EXT_PROP_BEGIN_TIMESTAMP, "begin_timestamp"),
    Number<&Stats::timestamp_offset>(ZR3_TAG_COL_ST_EXT_PROP_TIMESTAMP_OFFSET, "timestamp_offset"),
    Tolerance<&Stats::scan_period>(ZR3_TAG_COL_ST_EXT_PROP_SCAN_PERIOD, "scan_period"),
    Number<&Stats::pct_good>(ZR3_TAG_COL_ST_EXT_PROP_PCT_GOOD, "pct_good"),
    Text<&Stats::filter_expr>(ZR3_TAG_COL_ST_EXT_PROP_FILTER_EXPR, "filter_expr", kExpression),
    Enumeration<&Stats::drop_bad_mode>(ZR3_TAG_COL_ST_EXT_PROP_DROP_BAD_MODE, "drop_bad_mode",
                                       ZR3_STATS_DROP_BAD_MODE_AREA),
    Number<&Stats::count_param1>(ZR3_TAG_COL_ST_EXT_PROP_COUNT_PARAM1, "count_param1"),
    Number<&Stats::count_param2>(ZR3_TAG_COL_ST_EXT_PROP_COUNT_PARAM2, "count_param2"),
    Enumeration<&Stats::sample_type>(ZR3_TAG_COL_ST_EXT_PROP_SAMPLE_TYPE, "sample_type",
                                     ZR3_STATS_SAMPLE_TYPE_PREV_INTERP),
    Number<&Stats::interp_offset>(ZR3_TAG_COL_ST_EXT_PROP_INTERP_OFFSET, "interp_offset"),
    Number<&Stats::interp_period>(ZR3_TAG_COL_ST_EXT_PROP_INTERP_PERIOD, "interp_period"),
    Enumeration<&Stats::conversion_type>(ZR3_TAG_COL_ST_EXT_PROP_CONVER_TYPE, "conversion_type",
                                         ZR3_STATS_CONVERSION_TYPE_MINIFICATION),
    Number<&Stats::conversion>(ZR3_TAG_COL_ST_EXT_PROP_CONVERSION, "conversion"),
    Enumeration<&Stats::filter_fail_mode>(ZR3_TAG_COL_ST_EXT_PROP_FILTER_FAIL_MODE,
                                          "filter_fail_mode", ZR3_STATS_FILTER_FAIL_MODE_NO_FIL),
    Number<&Stats::calc_period>(ZR3_TAG_COL_ST_EXT_PROP_CALC_PERIOD, "calc_period"),
    Number<&Stats::reset>(ZR3_TAG_COL_ST_EXT_PROP_RESET, "reset"),
    Number<&Stats::use_bad_value>(ZR3_TAG_COL_ST_EXT_PROP_USE_BAD_VALUE, "use_bad_value"),
};
static_assert(StandInOrder(kStatistics, ZR3_TAG_COL_ST_EXT_PROP_MIN, ZR3_TAG_COL_ST_EXT_PROP_MAX));

using Calc = CalculationProperties;
constexpr PropertyColumn kCalculation[] = {
    Enumeration<&Calc::calc_mode>(ZR3_TAG_COL_CA_EXT_PROP_CALC_MODE, "calc_mode",
                                  ZR3_CALC_MODE_NOTIFY),
    Number<&Calc::calc_period>(ZR3_TAG_COL_CA_EXT_PROP_CALC_PERIOD, "calc_period"),
    Text<&Calc::calc_expr>(ZR3_TAG_COL_CA_EXT_PROP_CALC_EXPR, "calc_expr", ZR3_LEN_CALC_EXPR),
    Number<&Calc::calc_history>(ZR3_TAG_COL_CA_EXT_PROP_CALC_HISTORY, "calc_history"),
    Number<&Calc::calc_start_date>(ZR3_TAG_COL_CA_EXT_PROP_CALC_START_DATE, "calc_start_date"),
    Number<&Calc::calc_end_date>(ZR3_TAG_COL_CA_EXT_PROP_CALC_END_DATE, "calc_end_date"),
    Number<&Calc::have_end_time>(ZR3_TAG_COL_CA_EXT_PROP_HAVE_END_TIME, "have_end_time"),
    Text<&Calc::source_tag>(ZR3_TAG_COL_CA_EXT_PROP_SRC_TAG_NAME, "source_tag", kTagName),
};
static_assert(StandInOrder(kCalculation, ZR3_TAG_COL_CA_EXT_PROP_MIN, ZR3_TAG_COL_CA_EXT_PROP_MAX));

}  // namespace

std::span<const PropertyColumn> CommonColumns() { return kCommon; }
std::span<const PropertyColumn> PointColumns() { return kPoint; }
std::span<const PropertyColumn> AlarmColumns() { return kAlarm; }
std::span<const PropertyColumn> StatisticsColumns() { return kStatistics; }
std::span<const PropertyColumn> CalculationColumns() { return kCalculation; }

std::span<const PropertyColumn> OwnColumns(std::int32_t tag_class) {
  switch (tag_class) {
    case ZR3_TAG_CLASS_BASIC:
      return kPoint;
    case ZR3_TAG_CLASS_ALARM:
      return kAlarm;
    case ZR3_TAG_CLASS_STATS:
      return kStatistics;
    case ZR3_TAG_CLASS_CALC:
      return kCalculation;
    default:
      return {};
  }
}

std::int32_t ClassOf(const OwnProperties& own) {
  static constexpr std::int32_t kClasses[] = {ZR3_TAG_CLASS_BASIC, ZR3_TAG_CLASS_ALARM,
                                              ZR3_TAG_CLASS_STATS, ZR3_TAG_CLASS_CALC};
  static_assert(std::size(kClasses) == std::variant_size_v<OwnProperties>);
  return kClasses[own.index()];
}

OwnProperties DefaultOwnProperties(std::int32_t tag_class) {
  switch (tag_class) {
    case ZR3_TAG_CLASS_ALARM:
      return AlarmProperties{};
    case ZR3_TAG_CLASS_STATS:
      return StatisticsProperties{};
    case ZR3_TAG_CLASS_CALC:
      return CalculationProperties{};
    default:
      return PointProperties{};
  }
}

void CopyProperty(const PropertyColumn& column, const Tag& from, Tag& to) {
  const void* const source = column.address(const_cast<Tag&>(from));  // only read
  VisitProperty(column, to,
                [&]<typename T>(T& property) { property = *static_cast<const T*>(source); });
}

void ClearProperties(Tag& tag, std::int32_t tag_class) {
  tag.own = DefaultOwnProperties(tag_class);
  ForEachColumn(tag, [&](const PropertyColumn& column) {
    VisitProperty(column, tag, []<typename T>(T& property) { property = T(); });
  });
}

}  // namespace zervane
