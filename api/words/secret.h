#pragma once

#include <string.h>  // explicit_bzero

#include <algorithm>
#include <cstddef>
#include <memory>
#include <string_view>
#include <utility>

namespace zervane {

// A text that nobody but its reader is to see, as a password: it is never told in the log, and
// where it stood nothing is left of it. Its bytes are never in a place of their own without being
// wiped: who makes a std::string of it wipes that himself.
class Secret {
 public:
  Secret() = default;
  explicit Secret(std::string_view text)
      : bytes_(text.empty() ? nullptr : new char[text.size()]), size_(text.size()) {
    std::copy(text.begin(), text.end(), bytes_.get());
  }
  ~Secret() { Wipe(); }
  Secret(const Secret& other) : Secret(other.view()) {}
  Secret(Secret&& other) noexcept
      : bytes_(std::move(other.bytes_)), size_(std::exchange(other.size_, 0)) {}
  Secret& operator=(Secret other) noexcept {
    std::swap(bytes_, other.bytes_);
    std::swap(size_, other.size_);
    return *this;
  }

  std::string_view view() const { return {bytes_.get(), size_}; }
  bool empty() const { return size_ == 0; }

  friend bool operator==(const Secret& a, const Secret& b) { return a.view() == b.view(); }

 private:
  void Wipe() noexcept {
    if (size_ > 0) explicit_bzero(bytes_.get(), size_);
  }

  std::unique_ptr<char[]> bytes_;
  std::size_t size_ = 0;
};

// Wipes what functions that were called from here have left on the stack, to be called where one of
// them has worked on a secret.
[[gnu::noinline]] inline void WipeStack() noexcept {
  constexpr std::size_t kRoom = 16'384;  // more than converting or checking a text takes
  char room[kRoom];
  explicit_bzero(room, sizeof room);
}

}  // namespace zervane
