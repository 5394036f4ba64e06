#pragma once

#include <cstdint>

#include "api/fields.h"
#include "api/operation_number.h"
#include "api/words/samples.h"
#include "api/words/value.h"

// Operations on the archive.
namespace zervane {

// How many archived records a range has; an empty one none. ZR3_ERR_TAG_NOT_FOUND.
struct CountRecords {
  static constexpr OperationNumber kNumber = OperationNumber::kCountRecords;
  using Reply = std::int64_t;

  TagId id = 0;
  TimeRange range;

  static auto Fields(auto& self) {
    return FieldList(Field{"id", self.id}, Field{"range", self.range});
  }
};

// Up to `limit` archived records of the range: the oldest ones ascending, or (backward) the newest
// ones descending. ZR3_ERR_TAG_NOT_FOUND.
struct ReadRecords {
  static constexpr OperationNumber kNumber = OperationNumber::kReadRecords;
  using Reply = SampleColumns;

  TagId id = 0;
  TimeRange range;
  Direction direction = Direction::kForward;
  std::uint64_t limit = 0;

  static auto Fields(auto& self) {
    return FieldList(Field{"id", self.id}, Field{"range", self.range},
                     Field{"direction", self.direction}, Field{"limit", self.limit});
  }
};

}  // namespace zervane
