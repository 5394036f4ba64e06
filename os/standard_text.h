// Text between the standard form of UTF-8, which is used inside, and one other encoding.
#ifndef ZERVANE_OS_STANDARD_TEXT_H_
#define ZERVANE_OS_STANDARD_TEXT_H_

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

#include "os/charset_codec.h"

namespace zervane::os {

// Converts texts without NULs: on their way in exactly or not at all, on their way out always, as
// well as the encoding allows. Texts in UTF-8, and ASCII in an encoding that contains it, are
// looked at and not copied.
//
//   StandardText texts("GB18030");
//   const std::optional<std::string_view> inside = texts.FromSystem(name);
//
// A view that is answered ends with the text it was made from, or with the next call. Used by one
// thread at a time; allocates when a text is longer than those before it.
class StandardText {
 public:
  // The encoding by name, as CharsetCodec understands it. May throw std::bad_alloc, as every member
  // does; also where the encoding cannot be had, so ask IsKnown about a name that may be none.
  explicit StandardText(std::string_view encoding);

  // The text in UTF-8. None when it is malformed, has a NUL, or needs more than three times its
  // bytes.
  std::optional<std::string_view> FromSystem(std::string_view text);

  // A text in the encoding, or what of it fits, cut after a whole character.
  struct SystemText {
    std::string_view bytes;
    bool is_whole = true;
  };

  // A character that the encoding lacks, and a byte that is no part of one, becomes '?'.
  SystemText ToSystem(std::string_view utf8, std::size_t max_bytes);

  // Wipes what conversions have left here; the views that they answered end.
  void Wipe() noexcept;

  // Whether the encoding can be had, and whether it is UTF-8 by one of its names.
  static bool IsKnown(std::string_view encoding);
  static bool IsUtf8(std::string_view encoding);

 private:
  bool Encode(std::string_view utf8, std::size_t max_bytes);
  bool Lacks(std::string_view character);
  std::string_view WithoutWhatLacks(std::string_view utf8);
  SystemText EncodeWhatFits(std::string_view utf8, std::size_t max_bytes);

  CharsetCodec codec_;
  std::string converted_;  // room for conversions, and how much of it the last one took
  std::size_t size_ = 0;
  std::string replaced_;
  const bool keeps_ascii_;  // ASCII characters are themselves in the encoding, all of them
};

}  // namespace zervane::os

#endif  // ZERVANE_OS_STANDARD_TEXT_H_
