#include "api/describe.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string_view>
#include <type_traits>
#include <vector>

#include "api/operation_table.h"
#include "api/words/utf8.h"

namespace zervane {
namespace {

constexpr std::size_t kMaxText = 40;
constexpr std::size_t kMaxItems = 3;

template <typename T>
std::string TextOf(const T& value);

// How many of the first bytes are whole characters.
std::size_t WholeCharacters(std::string_view text, std::size_t max_bytes) {
  std::size_t end = std::min(text.size(), max_bytes);
  while (end > 0 && end < text.size() && IsUtf8Continuation(text[end])) --end;
  return end;
}

std::string Quoted(std::string_view text) {
  std::string quoted = "'";
  for (const char c : text.substr(0, WholeCharacters(text, kMaxText))) {
    const auto byte = static_cast<unsigned char>(c);
    quoted += byte < 0x20 || byte == 0x7F ? '?' : c;
  }
  return quoted + (text.size() > kMaxText ? "...'" : "'");
}

template <typename T>
std::string FieldsOf(const T& of) {
  std::string list;
  ForEachField(of, [&](const char* name, const auto& value) {
    list += (list.empty() ? "" : ", ") + std::string(name) + ": " + TextOf(value);
  });
  return "(" + list + ")";
}

template <typename T>
std::string ItemsOf(const std::vector<T>& items) {
  if (items.size() > kMaxItems) return std::to_string(items.size()) + " items";
  std::string list;
  for (const T& item : items) list += (list.empty() ? "" : ", ") + TextOf(item);
  return "[" + list + "]";
}

template <typename T>
std::string ItemsOf(const std::optional<T>& item) {
  return item ? TextOf(*item) : "none";
}

template <typename T>
std::string TextOf(const T& value) {
  if constexpr (std::is_enum_v<T>) {
    return std::to_string(static_cast<std::int64_t>(value));
  } else if constexpr (std::is_arithmetic_v<T>) {
    return std::to_string(value);
  } else if constexpr (std::is_same_v<T, std::string>) {
    return Quoted(value);
  } else if constexpr (std::is_same_v<T, Secret>) {
    return "***";  // not even its length
  } else if constexpr (std::is_same_v<T, Tag>) {
    return Quoted(value.name);
  } else if constexpr (std::is_same_v<T, SampleColumns>) {
    return std::to_string(value.size()) + " samples";
  } else if constexpr (std::is_same_v<T, Sample>) {
    return "one at " + std::to_string(value.time_ms) + " ms";
  } else if constexpr (HasFields<T>) {
    return FieldsOf(value);
  } else {
    return ItemsOf(value);
  }
}

}  // namespace

std::string Describe(OperationNumber number, const void* operation) {
  std::string line(RowOf(number).name);
  AllOperations::ForEach([&]<typename Op>() {
    if (Op::kNumber == number) line += FieldsOf(*static_cast<const Op*>(operation));
  });
  return line;
}

}  // namespace zervane
