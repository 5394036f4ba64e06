// Character sets of the C library, one direction per class.
#ifndef ZERVANE_OS_ICONV_CODEC_H_
#define ZERVANE_OS_ICONV_CODEC_H_

#include <iconv.h>

#include <array>
#include <cstddef>
#include <span>
#include <string_view>

#include "os/text_buffer.h"
#include "os/utf8.h"

namespace zervane::os {

// An iconv descriptor, closed with its owner. Used by one thread at a time.
class IconvHandle {
 public:
  IconvHandle() = default;
  ~IconvHandle();
  IconvHandle(const IconvHandle&) = delete;
  IconvHandle& operator=(const IconvHandle&) = delete;

  bool is_open() const { return handle_ != kClosed; }

  // Opens a closed handle. False when there is no such pair of character sets, or no resources.
  [[nodiscard]] bool Open(const char* to, const char* from);

  // Returns to the initial shift state and forgets what is held back.
  void Reset();

  enum class Result { kDone, kFull, kFailed };

  // Converts from the front of in and removes what was read; next and room_bytes move with what was
  // written. kFull: in is not used up, out is. kFailed: in goes on with something malformed,
  // incomplete, or without an equal in the other character set. An empty in writes what is held
  // back and returns to the initial shift state.
  Result Convert(std::string_view& in, char*& next, std::size_t& room_bytes);

 private:
  static inline const iconv_t kClosed = reinterpret_cast<iconv_t>(-1);

  iconv_t handle_ = kClosed;
};

// Code points to text in a character set.
class IconvEncoder {
 public:
  // Readies the encoder for a new text, opening it the first time. charset is a plain name, without
  // the suffixes that iconv understands. False when there is no such character set.
  [[nodiscard]] bool Start(const char* charset);

  // False when a character is not in the character set, or does not fit.
  [[nodiscard]] bool Append(std::span<const char32_t> characters, TextBuffer& out);

  // Ends the text. False when what was held back does not fit.
  [[nodiscard]] bool Finish(TextBuffer& out);

 private:
  bool Run(std::string_view code_points, TextBuffer& out);
  bool ProbeTags();

  IconvHandle handle_;
  bool has_tags_ = false;
};

// Text in a character set to code points.
class IconvDecoder {
 public:
  // As IconvEncoder::Start.
  [[nodiscard]] bool Start(const char* charset);

  // Appends text, which ends between two characters, as UTF-8 of the form. False when it is
  // malformed, or does not fit.
  [[nodiscard]] bool Append(std::string_view text, Utf8Form form, TextBuffer& out);

  // Ends the text. False when what was held back does not fit.
  [[nodiscard]] bool Finish(Utf8Form form, TextBuffer& out);

 private:
  IconvHandle handle_;
};

}  // namespace zervane::os

#endif  // ZERVANE_OS_ICONV_CODEC_H_
