#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace zervane {

// What the engine makes otherwise of a text than the reference, as a filter and as an expression
// that may name tags too: one refuses it and the other does not, or they have different values for
// some operands. Nothing when they agree.
std::optional<std::string> FindDifference(std::string_view text);

}  // namespace zervane
