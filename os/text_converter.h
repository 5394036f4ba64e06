// Text between UTF-8 and one other encoding.
#ifndef ZERVANE_OS_TEXT_CONVERTER_H_
#define ZERVANE_OS_TEXT_CONVERTER_H_

#include <string_view>

#include "os/charset_codec.h"

namespace zervane::os {

// Whether the process's texts can be in the encoding of that name: it is UTF-8 or known to iconv in
// both directions, and ASCII's letters, digits and commonest signs are themselves in it, since the
// system gives meaning to them. So neither UTF-16, whose texts have NULs within, nor EBCDIC is one.
// A name that TextConverter refuses is none either. May throw std::bad_alloc.
bool IsSystemEncoding(std::string_view name);

// The behaviour of os_lang.h for one encoding by name, as CharsetCodec understands it: texts of a
// caller's, between it and modified UTF-8. Used by one thread at a time; conversions allocate
// nothing once there was one in each direction.
class TextConverter {
 public:
  // May throw std::bad_alloc, as the only member that does.
  explicit TextConverter(std::string_view encoding);

  // False when the text does not convert whole, or an argument is null or not positive; dst is then
  // an empty text where there is room for one.
  [[nodiscard]] bool ToSystem(const char* src, char* dst, int capacity_bytes);
  [[nodiscard]] bool FromSystem(const char* src, char* dst, int capacity_bytes);

 private:
  CharsetCodec codec_;
};

}  // namespace zervane::os

#endif  // ZERVANE_OS_TEXT_CONVERTER_H_
