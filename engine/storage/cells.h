#pragma once

#include <concepts>
#include <cstdint>
#include <limits>
#include <string>
#include <string_view>
#include <variant>

#include "engine/storage/row.h"

// Values as cells of rows, and back.
namespace zervane {

inline Cell CellOf(const std::string& text) { return text; }
template <std::floating_point T>
Cell CellOf(T number) {
  return static_cast<double>(number);
}
template <std::integral T>
Cell CellOf(T number) {
  return static_cast<std::int64_t>(number);
}

// Whether the cell holds such a value, which goes to `value`.
inline bool FromCell(const CellView& cell, std::string* value) {
  const auto* text = std::get_if<std::string_view>(&cell);
  if (text != nullptr) *value = *text;
  return text != nullptr;
}

template <std::floating_point T>
bool FromCell(const CellView& cell, T* value) {
  if (std::holds_alternative<std::monostate>(cell)) {
    *value = std::numeric_limits<T>::quiet_NaN();
    return true;
  }
  const auto* number = std::get_if<double>(&cell);
  if (number != nullptr) *value = static_cast<T>(*number);
  return number != nullptr;
}

template <std::integral T>
bool FromCell(const CellView& cell, T* value) {
  const auto* number = std::get_if<std::int64_t>(&cell);
  if (number == nullptr) return false;
  *value = static_cast<T>(*number);
  return static_cast<std::int64_t>(*value) == *number;
}

}  // namespace zervane
