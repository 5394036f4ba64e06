// UTF-8 in its two forms, read strictly.
#ifndef ZERVANE_OS_UTF8_H_
#define ZERVANE_OS_UTF8_H_

#include <cstddef>
#include <string_view>

#include "os/text_buffer.h"

namespace zervane::os {

enum class Utf8Form {
  kStandard,  // a character outside the BMP is one sequence of four bytes
  kModified,  // it is a pair of surrogates, each a sequence of three bytes, as in a Java VM
};

// Reads the character that text, which is not empty, begins with. The modified form is read with
// four-byte sequences as well. Returns the number of bytes read, or 0 when they are not a character
// of that form: truncated, longer than necessary, beyond U+10FFFF, a surrogate on its own, or NUL
// (in either spelling).
std::size_t DecodeUtf8(std::string_view text, Utf8Form form, char32_t& character);

// Writes one character. False when it does not fit, or is NUL, a surrogate or beyond U+10FFFF;
// out is then of no further use.
[[nodiscard]] bool AppendUtf8(char32_t character, Utf8Form form, TextBuffer& out);

// Whether the text is made of ASCII characters other than NUL. 8 bytes at a time.
bool IsAscii(std::string_view text);

// Whether the text is UTF-8 in the standard form, without NUL.
bool IsStandardUtf8(std::string_view text);

}  // namespace zervane::os

#endif  // ZERVANE_OS_UTF8_H_
