#pragma once

#include <cstdint>

#include "api/fields.h"
#include "api/operation_number.h"

// Operations on the database itself.
namespace zervane {

// Its clock, in milliseconds since 1970-01-01 UTC.
struct ReadClock {
  static constexpr OperationNumber kNumber = OperationNumber::kReadClock;
  using Reply = std::int64_t;

  static auto Fields(auto&) { return FieldList(); }
};

}  // namespace zervane
