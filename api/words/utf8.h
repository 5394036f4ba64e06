#pragma once

#include <algorithm>
#include <cstddef>
#include <string_view>

namespace zervane {

// Whether the bytes are UTF-8 in its standard form: no surrogates, nothing past U+10FFFF, every
// character in its shortest form.
bool IsUtf8(std::string_view text);

// Whether the byte is a character's second, third or fourth.
constexpr bool IsUtf8Continuation(char byte) {
  return (static_cast<unsigned char>(byte) & 0xC0) == 0x80;
}

// How many characters there are. REQUIRES: it is UTF-8.
inline std::size_t CountCharacters(std::string_view text) {
  return text.size() - static_cast<std::size_t>(std::ranges::count_if(text, IsUtf8Continuation));
}

}  // namespace zervane
