// Text between UTF-8 and one other encoding.
#ifndef ZERVANE_OS_TEXT_CONVERTER_H_
#define ZERVANE_OS_TEXT_CONVERTER_H_

#include <string>
#include <string_view>

#include "os/iconv_codec.h"
#include "os/text_buffer.h"

namespace zervane::os {

// Whether the process's texts can be in the encoding of that name: it is UTF-8 or known to iconv in
// both directions, and ASCII's letters, digits and commonest signs are themselves in it, since the
// system gives meaning to them. So neither UTF-16, whose texts have NULs within, nor EBCDIC is one.
// A name that TextConverter refuses is none either. May throw std::bad_alloc.
bool IsSystemEncoding(std::string_view name);

// The behaviour of os_lang.h for one encoding by name, UTF-8 or any that iconv knows. A name that
// iconv does not know, or one with anything but letters, digits and "-_.:()+" in it (iconv's
// suffixes would replace or drop characters), is valid here and fails every conversion.
//
// Used by one thread at a time. Descriptors open at the first conversion in each direction and
// stay open; a later conversion allocates nothing.
class TextConverter {
 public:
  // May throw std::bad_alloc, as the only member that does.
  explicit TextConverter(std::string_view encoding);

  // False when the text does not convert whole, or an argument is null or not positive; dst is then
  // an empty text where there is room for one.
  [[nodiscard]] bool ToSystem(const char* src, char* dst, int capacity_bytes);
  [[nodiscard]] bool FromSystem(const char* src, char* dst, int capacity_bytes);

 private:
  enum class Kind { kUtf8, kGb18030, kOther, kUnknown };

  static Kind KindOf(std::string_view encoding);

  bool Encode(std::string_view utf8, TextBuffer& out);
  bool Decode(std::string_view text, TextBuffer& out);

  const std::string encoding_;
  const Kind kind_;
  IconvEncoder encoder_;
  IconvDecoder decoder_;
};

}  // namespace zervane::os

#endif  // ZERVANE_OS_TEXT_CONVERTER_H_
