#pragma once

#include <cstdint>

#include "api/fields.h"
#include "api/operation_number.h"
#include "api/words/nothing.h"
#include "api/words/relay.h"

// Operations on the database itself.
namespace zervane {

// Its clock, in milliseconds since 1970-01-01 UTC.
struct ReadClock {
  static constexpr OperationNumber kNumber = OperationNumber::kReadClock;
  using Reply = std::int64_t;

  static auto Fields(auto&) { return FieldList(); }
};

// Sets the relay, and keeps the settings. A Redis that cannot be reached is no refusal.
// ZR3_ERR_INVALID_RELAY leaves the settings as they were.
struct ConfigureRelay {
  static constexpr OperationNumber kNumber = OperationNumber::kConfigureRelay;
  using Reply = Nothing;

  RelaySettings settings;

  static auto Fields(auto& self) { return FieldList(Field{"settings", self.settings}); }
};

}  // namespace zervane
