// GB 18030 where the C library's tables differ from it.
//
// GB 18030 gives every Unicode character a code of its own, private use included. The C library of
// this platform leaves 24 private use characters without a code: it assigns the codes that 18 of
// them had before 2022 to characters since added to Unicode, as the 2022 edition does, but does not
// give them the new codes of that edition, and it assigns the codes of the other 6 to characters
// outside the BMP, whose own codes then mean the same character a second time. The pairs here are
// those of the 2022 edition; with them the whole of Unicode goes there and back.
#ifndef ZERVANE_OS_GB18030_H_
#define ZERVANE_OS_GB18030_H_

#include <cstddef>
#include <cstdint>
#include <string_view>

#include "os/text_buffer.h"

namespace zervane::os::gb18030 {

// A character and the two or four bytes of its code, the first byte the most significant.
struct Assignment {
  char32_t character;
  std::uint32_t code;
};

// The assignment of a character that iconv must not be asked about; null for all others.
const Assignment* FindAssignment(char32_t character);

// Writes the code. False when it does not fit.
[[nodiscard]] bool AppendCode(const Assignment& assignment, TextBuffer& out);

// How text begins: a run of bytes for iconv (all of the text, perhaps malformed, or nothing), then
// possibly one code that iconv must not be asked about.
struct Head {
  std::size_t iconv_bytes;
  const Assignment* then;  // null when the run is the whole text
};
Head SplitHead(std::string_view text);

// Number of bytes of a code of the list above.
std::size_t CodeBytes(const Assignment& assignment);

}  // namespace zervane::os::gb18030

#endif  // ZERVANE_OS_GB18030_H_
