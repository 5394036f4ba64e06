#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <variant>

#include "api/words/value.h"

namespace zervane {

// The properties of a tag: those of every class, then those of point tags. A member's initialiser
// is the default that an unselected property takes when the tag is added. Texts are bytes in the
// caller's encoding, without their terminator.
struct Tag {
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

  std::string instrument_address;
  std::uint8_t instrument_address_type = 0;
  std::string collector_name;
  std::int32_t collector_id = 0;
  std::string device_name;
  std::uint32_t device_id = 0;
  std::string scan_group_name;
  std::uint32_t scan_group_id = 0;
  std::int32_t data_order = ZR3_DATA_ORDER_NO;

  friend bool operator==(const Tag&, const Tag&) = default;
};

using PropertyMember = std::variant<std::string Tag::*, bool Tag::*,
                                    std::uint8_t Tag::*, std::int32_t Tag::*,
                                    std::uint32_t Tag::*, float Tag::*>;

// One property, as masks, search conditions, the C records and the store's table speak of it.
struct PropertyColumn {
  std::int32_t column;  // ZR3_TAG_COL_...
  const char* name;     // its name in the store's tag table
  PropertyMember member;
  std::int32_t min = 0;  // bounds of an enumeration; none when min > max
  std::int32_t max = -1;
  std::size_t max_bytes = 0;  // of a text, without its terminator
  bool non_negative = false;  // of a number
};

// The columns of every class (numbers 0 to 35) and of point tags (100 to 108), in order of number.
std::span<const PropertyColumn> CommonColumns();
std::span<const PropertyColumn> PointColumns();

// Which properties an operation concerns: bit i of `common` is common column i, bit i of
// `extension` is the extension's column (minimum + i); -1 selects all.
struct PropertyMask {
  std::int64_t common = -1;
  std::int64_t extension = -1;
};

}  // namespace zervane
