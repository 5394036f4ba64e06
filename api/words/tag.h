#pragma once

#include <cstdint>
#include <string>
#include <variant>

#include "api/fields.h"
#include "api/words/value.h"

namespace zervane {

// What the tags of every class have. In this file a member's initialiser is the default that an
// unselected property takes when the tag is added; texts are UTF-8 without a terminator.
struct CommonProperties {
  std::string name;
  bool archiving = true;
  std::uint32_t change_date = 0;  // seconds
  std::string changer;
  float comp_dev = 0;              // engineering units
  std::int32_t comp_max_time = 0;  // seconds
  std::int32_t comp_type = ZR3_COMP_TYPE_NO;
  std::uint32_t creation_date = 0;  // seconds
  std::string creator;
  std::uint8_t rec_access = 0;
  std::string rec_normal_group;
  std::string rec_owner_group;
  std::string descriptor;
  std::string digital_set;
  std::string eng_units;
  std::int32_t exc_max_time = 0;  // seconds
  float exc_dev = 0;              // engineering units
  TagId id = 0;
  std::int32_t type = ZR3_TAG_TYPE_FLOAT64;
  std::uint8_t tag_access = 0;
  std::string tag_normal_group;
  std::string tag_owner_group;
  bool scan = true;
  float span = 100;     // engineering units
  float min_value = 0;  // engineering units
  std::int32_t tag_class = ZR3_TAG_CLASS_BASIC;
  std::int32_t available = ZR3_TAG_AVALIABLE_YES;
  std::uint8_t param1 = 0;
  std::uint8_t param2 = 0;
  std::uint8_t param3 = 0;
  std::uint8_t param4 = 0;
  std::uint8_t param5 = 0;
  std::int32_t opc_state = ZR3_TAG_OPC_STATE_UNRELEASE;
  std::string imv_string;
  std::string ext_string1;
  std::string ext_string2;

  friend bool operator==(const CommonProperties&, const CommonProperties&) = default;
};

struct PointProperties {
  std::string instrument_address;
  std::uint8_t instrument_address_type = 0;
  std::string collector_name;
  std::int32_t collector_id = 0;
  std::string device_name;
  std::uint32_t device_id = 0;
  std::string scan_group_name;
  std::uint32_t scan_group_id = 0;
  std::int32_t data_order = ZR3_DATA_ORDER_NO;

  friend bool operator==(const PointProperties&, const PointProperties&) = default;
};

struct AlarmProperties {
  std::string test1;
  std::string test2;
  std::string test3;
  std::string test4;
  std::string action1;
  std::string action2;
  std::string action3;
  std::string action4;
  std::string source_tag;
  std::uint32_t alarm_group_id = 0;
  std::int32_t auto_ack = ZR3_AM_ACK_TYPE_MANUAL;
  std::int32_t time_dead_band = 0;  // seconds
  float value_dead_band = 0;        // engineering units of the source

  friend bool operator==(const AlarmProperties&, const AlarmProperties&) = default;
};

struct StatisticsProperties {
  std::string source_tag;
  std::int32_t stats_type = ZR3_STATS_TYPE_MAX;
  std::int32_t sample_start_date = 0;  // seconds
  std::int32_t sample_mode = ZR3_STATS_SAMPLE_MODE_INTERVAL;
  std::int32_t sample_interval = 3600;   // seconds
  std::int32_t sample_begin_offset = 0;  // seconds
  std::int32_t sample_end_offset = 0;    // seconds
  std::uint8_t sample_month_begin_day = 1;
  std::uint8_t sample_month_end_day = 31;
  bool begin_timestamp = false;
  std::int32_t timestamp_offset = 0;  // seconds
  std::int32_t scan_period = 0;       // seconds
  float pct_good = 0;                 // percent
  std::string filter_expr;
  std::int32_t drop_bad_mode = ZR3_STATS_DROP_BAD_MODE_AREA;
  double count_param1 = 0;
  double count_param2 = 0;
  std::int32_t sample_type = ZR3_STATS_SAMPLE_TYPE_RAW;
  std::int32_t interp_offset = 0;  // seconds
  std::int32_t interp_period = 0;  // seconds
  std::int32_t conversion_type = ZR3_STATS_CONVERSION_TYPE_AMPLIFICATION;
  double conversion = 0;
  std::int32_t filter_fail_mode = ZR3_STATS_FILTER_FAIL_MODE_FIL;
  std::int32_t calc_period = 60;  // seconds
  bool reset = false;
  bool use_bad_value = false;

  friend bool operator==(const StatisticsProperties&, const StatisticsProperties&) = default;
};

struct CalculationProperties {
  std::int32_t calc_mode = ZR3_CALC_MODE_POLL;
  std::int32_t calc_period = 60;  // seconds
  std::string calc_expr;
  bool calc_history = false;
  std::int32_t calc_start_date = 0;  // seconds
  std::int32_t calc_end_date = 0;    // seconds
  bool have_end_time = false;
  std::string source_tag;

  friend bool operator==(const CalculationProperties&, const CalculationProperties&) = default;
};

// What a tag's class alone has.
using OwnProperties =
    std::variant<PointProperties, AlarmProperties, StatisticsProperties, CalculationProperties>;

// All properties of a tag. The tags that a database holds have the own properties of their class;
// while one is being put together, `own` and `tag_class` may differ.
//
//   tag.name = "FIC101.PV";
//   tag.point().device_name = "PLC 4";
struct Tag : CommonProperties {
  OwnProperties own;

  // REQUIRES: they are of that class.
  PointProperties& point() { return std::get<PointProperties>(own); }
  const PointProperties& point() const { return std::get<PointProperties>(own); }

  friend bool operator==(const Tag&, const Tag&) = default;
};

// Which properties an operation concerns: bit i of `common` is common column i, bit i of
// `extension` is the extension's column (minimum + i); -1 selects all.
struct PropertyMask {
  std::int64_t common = -1;
  std::int64_t extension = -1;

  static auto Fields(auto& self) {
    return FieldList(Field{"common", self.common}, Field{"extension", self.extension});
  }
  friend bool operator==(const PropertyMask&, const PropertyMask&) = default;
};

constexpr bool SelectsBit(std::int64_t mask, std::size_t bit) {
  return bit < 64 && (static_cast<std::uint64_t>(mask) >> bit & 1) != 0;
}

}  // namespace zervane
