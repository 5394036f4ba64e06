// Text between UTF-8, in either of its forms, and one other encoding.
#ifndef ZERVANE_OS_CHARSET_CODEC_H_
#define ZERVANE_OS_CHARSET_CODEC_H_

#include <string>
#include <string_view>

#include "os/iconv_codec.h"
#include "os/text_buffer.h"
#include "os/utf8.h"

namespace zervane::os {

// An encoding by name, UTF-8 or any that iconv knows. A name that iconv does not know, or one with
// anything but letters, digits and "-_.:()+" in it (iconv's suffixes would replace or drop
// characters), is valid here and fails every conversion.
//
// Used by one thread at a time. Descriptors open at the first conversion in each direction and
// stay open; a later conversion allocates nothing.
class CharsetCodec {
 public:
  // May throw std::bad_alloc, as the only member that does.
  explicit CharsetCodec(std::string_view encoding);

  // Opens both directions. False when there is no such encoding, or no memory or files to find it.
  [[nodiscard]] bool Open();

  bool is_utf8() const { return kind_ == Kind::kUtf8; }

  // From UTF-8 of the form. False when the text is malformed, has a character that the encoding
  // lacks, or does not fit; out is then of no further use.
  [[nodiscard]] bool Encode(std::string_view utf8, Utf8Form form, TextBuffer& out);

  // To UTF-8 of the form. False when the text is malformed or does not fit.
  [[nodiscard]] bool Decode(std::string_view text, Utf8Form form, TextBuffer& out);

 private:
  enum class Kind { kUtf8, kGb18030, kOther, kUnknown };

  static Kind KindOf(std::string_view encoding);

  const std::string encoding_;
  const Kind kind_;
  IconvEncoder encoder_;
  IconvDecoder decoder_;
};

}  // namespace zervane::os

#endif  // ZERVANE_OS_CHARSET_CODEC_H_
