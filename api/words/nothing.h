#pragma once

#include "api/fields.h"

namespace zervane {

// The reply of an operation that has nothing to say but its status.
struct Nothing {
  static auto Fields(auto&) { return FieldList(); }
  friend bool operator==(const Nothing&, const Nothing&) = default;
};

}  // namespace zervane
