#include "os/text_converter.h"

#include <array>
#include <cstddef>

namespace zervane::os {
namespace {

// What the system's own words (addresses, commands, numbers, the names of tags) are made of.
constexpr std::string_view kAsciiOfWords =
    " ()*+,-./0123456789:;<=>?ABCDEFGHIJKLMNOPQRSTUVWXYZ_abcdefghijklmnopqrstuvwxyz";

// Runs a conversion over a caller's raw arguments. A NUL within the result, which an encoding such
// as UTF-16 has everywhere, would cut the text and is a failure.
template <typename Conversion>
bool Convert(const char* src, char* dst, int capacity_bytes, Conversion conversion) {
  if (dst == nullptr || capacity_bytes <= 0) return false;
  TextBuffer out(dst, static_cast<std::size_t>(capacity_bytes));
  const bool converted = src != nullptr && conversion(std::string_view(src), out) &&
                         out.text().find('\0') == std::string_view::npos;
  if (converted) {
    out.Terminate();
  } else {
    out.Clear();
  }
  return converted;
}

}  // namespace

bool IsSystemEncoding(std::string_view name) {
  TextConverter converter(name);
  std::array<char, kAsciiOfWords.size() + 1> converted{};
  const int capacity = static_cast<int>(converted.size());
  return converter.ToSystem(kAsciiOfWords.data(), converted.data(), capacity) &&
         converted.data() == kAsciiOfWords &&
         converter.FromSystem(kAsciiOfWords.data(), converted.data(), capacity) &&
         converted.data() == kAsciiOfWords;
}

TextConverter::TextConverter(std::string_view encoding) : codec_(encoding) {}

bool TextConverter::ToSystem(const char* src, char* dst, int capacity_bytes) {
  return Convert(src, dst, capacity_bytes, [this](std::string_view utf8, TextBuffer& out) {
    return codec_.Encode(utf8, Utf8Form::kModified, out);
  });
}

bool TextConverter::FromSystem(const char* src, char* dst, int capacity_bytes) {
  return Convert(src, dst, capacity_bytes, [this](std::string_view text, TextBuffer& out) {
    return codec_.Decode(text, Utf8Form::kModified, out);
  });
}

}  // namespace zervane::os
