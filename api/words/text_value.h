#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <string>
#include <utility>

namespace zervane {

// Bytes that never change: those of a STRING or BLOB, the message of a status. They live elsewhere, so that a number, as
// nearly all values are, needs no more room than it has to; copies share them, so that copying
// cannot fail.
class TextValue {
 public:
  TextValue() = default;
  TextValue(std::string bytes)  // NOLINT(google-explicit-constructor): it is what it is made of
      : shared_(bytes.empty() ? nullptr : new Shared{.bytes = std::move(bytes)}) {}
  TextValue(const TextValue& other) noexcept : shared_(other.shared_) {
    if (shared_ != nullptr) shared_->owners.fetch_add(1, std::memory_order_relaxed);
  }
  TextValue(TextValue&& other) noexcept : shared_(std::exchange(other.shared_, nullptr)) {}
  TextValue& operator=(TextValue other) noexcept {
    std::swap(shared_, other.shared_);
    return *this;
  }
  ~TextValue() {
    const bool was_last =
        shared_ != nullptr && shared_->owners.fetch_sub(1, std::memory_order_acq_rel) == 1;
    if (was_last) delete shared_;
  }

  const std::string& str() const { return shared_ == nullptr ? Empty() : shared_->bytes; }
  std::size_t size() const { return shared_ == nullptr ? 0 : shared_->bytes.size(); }

  friend bool operator==(const TextValue& a, const TextValue& b) { return a.str() == b.str(); }

 private:
  struct Shared {
    std::atomic<std::uint32_t> owners{1};
    const std::string bytes;
  };

  static const std::string& Empty() {
    static const std::string empty;
    return empty;
  }

  Shared* shared_ = nullptr;  // null when there are no bytes
};

}  // namespace zervane
