#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

#include "api/fields.h"
#include "api/words/value.h"
#include "zr3Enum.h"

// Alarms: their records, what records are asked for by, and the groups that alarm tags are filed
// in.
namespace zervane {

// Names an alarm record. In order of start, then tag, as records are answered.
struct AlarmKey {
  std::int64_t start_ms = 0;
  TagId tag = 0;

  static auto Fields(auto& self) {
    return FieldList(Field{"start_ms", self.start_ms}, Field{"tag", self.tag});
  }
  friend auto operator<=>(const AlarmKey&, const AlarmKey&) = default;
};

// One occurrence of an alarm. Times are milliseconds since 1970, and 0 where there is none yet.
struct AlarmRecord {
  TagId tag = 0;  // the alarm tag
  std::int64_t start_ms = 0;
  std::int64_t end_ms = 0;
  std::int64_t acknowledged_ms = 0;
  std::int64_t commented_ms = 0;
  bool is_acknowledged = false;
  bool is_restored = false;   // it has ended
  std::int32_t priority = 0;  // 1 to 4, ZR3_AM_REC_PRIORITY_...
  std::int32_t acknowledgement = ZR3_AM_ACK_TYPE_MANUAL;
  std::int32_t type = 0;     // ZR3_AM_REC_TYPE_...
  std::string source_value;  // as text
  std::string test;          // as it was saved
  std::string comment;
  std::string acknowledged_by;
  std::string commented_by;

  AlarmKey key() const { return {.start_ms = start_ms, .tag = tag}; }

  // The order of the first fifteen is that of the properties: bit i of a mask is field i.
  static auto Fields(auto& self) {
    return FieldList(
        Field{"tag", self.tag}, Field{"start_ms", self.start_ms}, Field{"end_ms", self.end_ms},
        Field{"acknowledged_ms", self.acknowledged_ms}, Field{"commented_ms", self.commented_ms},
        Field{"is_acknowledged", self.is_acknowledged}, Field{"is_restored", self.is_restored},
        Field{"priority", self.priority}, Field{"acknowledgement", self.acknowledgement},
        Field{"type", self.type}, Field{"source_value", self.source_value},
        Field{"test", self.test}, Field{"comment", self.comment},
        Field{"acknowledged_by", self.acknowledged_by}, Field{"commented_by", self.commented_by});
  }
  friend bool operator==(const AlarmRecord&, const AlarmRecord&) = default;
};
constexpr std::size_t kAlarmProperties = 15;

// Which records are wanted. The range is closed; an end of 0 is none. Bit n of a mask is enumerator
// n; 0 and -1 filter nothing, bits without an enumerator are not looked at.
struct AlarmQuery {
  std::int64_t start_ms = 0;  // of the range, in which a record's start lies
  std::int64_t end_ms = 0;
  std::int64_t acknowledged_mask = 0;
  std::int64_t type_mask = 0;
  std::int64_t priority_mask = 0;
  std::int64_t restored_mask = 0;

  static auto Fields(auto& self) {
    return FieldList(Field{"start_ms", self.start_ms}, Field{"end_ms", self.end_ms},
                     Field{"acknowledged_mask", self.acknowledged_mask},
                     Field{"type_mask", self.type_mask}, Field{"priority_mask", self.priority_mask},
                     Field{"restored_mask", self.restored_mask});
  }
  friend bool operator==(const AlarmQuery&, const AlarmQuery&) = default;
};

// Identifier of an alarm group: counts up from 1, is never used again; 0 is the root.
using GroupId = std::uint32_t;
constexpr GroupId kRootGroup = 0;

struct AlarmGroup {
  GroupId id = 0;
  GroupId parent = kRootGroup;
  std::string name;
  std::string description;

  static auto Fields(auto& self) {
    return FieldList(Field{"id", self.id}, Field{"parent", self.parent}, Field{"name", self.name},
                     Field{"description", self.description});
  }
  friend bool operator==(const AlarmGroup&, const AlarmGroup&) = default;
};

}  // namespace zervane
