#pragma once

#include <unistd.h>

#include <utility>

namespace zervane::storage {

// A file descriptor that is closed with its object; negative when there is none.
class Descriptor {
 public:
  explicit Descriptor(int file) : file_(file) {}
  Descriptor(Descriptor&& other) noexcept : file_(std::exchange(other.file_, -1)) {}
  Descriptor& operator=(Descriptor&&) = delete;
  ~Descriptor() { Close(); }

  int get() const { return file_; }
  bool is_open() const { return file_ >= 0; }

  void Close() {
    if (file_ >= 0) close(file_);
    file_ = -1;
  }

 private:
  int file_;
};

}  // namespace zervane::storage
