// A caller's buffer while text is written into it.
#ifndef ZERVANE_OS_TEXT_BUFFER_H_
#define ZERVANE_OS_TEXT_BUFFER_H_

#include <algorithm>
#include <cstddef>
#include <string_view>

namespace zervane::os {

// Invariant: the last byte of the buffer is kept free for the terminator, so Terminate and Clear
// always have a place to write to. Does not own the buffer.
class TextBuffer {
 public:
  // capacity_bytes is at least 1.
  TextBuffer(char* begin, std::size_t capacity_bytes)
      : begin_(begin), next_(begin), last_(begin + capacity_bytes - 1) {}

  // Where the next byte goes, and how many bytes may still go there.
  char* next() const { return next_; }
  std::size_t room_bytes() const { return static_cast<std::size_t>(last_ - next_); }

  // What has been written so far.
  std::string_view text() const { return {begin_, next_}; }

  // Counts bytes that were written at next(); at most room_bytes().
  void Advance(std::size_t bytes) { next_ += bytes; }

  // False, and nothing is written, when the bytes do not fit.
  [[nodiscard]] bool Append(std::string_view bytes) {
    if (bytes.size() > room_bytes()) return false;
    next_ = std::copy(bytes.begin(), bytes.end(), next_);
    return true;
  }

  void Terminate() { *next_ = '\0'; }

  void Clear() {
    next_ = begin_;
    Terminate();
  }

 private:
  char* const begin_;
  char* next_;
  char* const last_;
};

}  // namespace zervane::os

#endif  // ZERVANE_OS_TEXT_BUFFER_H_
