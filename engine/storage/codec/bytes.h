#pragma once

#include <algorithm>
#include <bit>
#include <concepts>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <memory>
#include <string>
#include <string_view>
#include <utility>

#include "engine/assert.h"

// Numbers as bytes. Fixed-width numbers are little-endian; a varint holds seven bits a byte, low
// bits first, the top bit set on all but its last byte; a signed varint is zigzag coded, so that
// small numbers of either sign are short.
namespace zervane::storage {

static_assert(std::endian::native == std::endian::little, "numbers are copied as they stand");

constexpr std::size_t kMaxVarintBytes = 10;

constexpr std::uint64_t ZigZag(std::int64_t value) {
  const std::uint64_t sign = value < 0 ? ~std::uint64_t{0} : 0;
  return (static_cast<std::uint64_t>(value) << 1) ^ sign;
}

constexpr std::int64_t FromZigZag(std::uint64_t coded) {
  const std::uint64_t sign = (coded & 1) != 0 ? ~std::uint64_t{0} : 0;
  return static_cast<std::int64_t>((coded >> 1) ^ sign);
}

// Each of these writes at `to`, where there is room for it, and answers the place after it.

template <std::unsigned_integral T>
char* PutFixed(char* to, T value) {
  std::memcpy(to, &value, sizeof(T));
  return to + sizeof(T);
}

inline char* PutVarint(char* to, std::uint64_t value) {
  for (; value >= 0x80; value >>= 7) *to++ = static_cast<char>(value | 0x80);
  *to++ = static_cast<char>(value);
  return to;
}

inline char* PutSignedVarint(char* to, std::int64_t value) { return PutVarint(to, ZigZag(value)); }

inline char* PutBytes(char* to, std::string_view bytes) {
  std::copy(bytes.begin(), bytes.end(), to);
  return to + bytes.size();
}

// Appends numbers and bytes to a buffer that grows.
class ByteWriter {
 public:
  // `capacity` bytes can be written before the buffer needs to grow.
  explicit ByteWriter(std::size_t capacity = 0)
      : buffer_(std::make_unique_for_overwrite<char[]>(capacity)), capacity_(capacity) {}

  // Where the next `size` bytes go; what was put there counts from Advance on.
  char* Room(std::size_t size) {
    if (capacity_ - size_ < size) Grow(std::max(2 * capacity_, size_ + size));
    return buffer_.get() + size_;
  }

  // To the place after what was put into the last Room.
  void Advance(const char* end) {
    ZERVANE_ASSERT(end >= buffer_.get() + size_ && end <= buffer_.get() + capacity_);
    size_ = static_cast<std::size_t>(end - buffer_.get());
  }

  template <std::unsigned_integral T>
  void Fixed(T value) {
    Advance(PutFixed(Room(sizeof(T)), value));
  }

  void Varint(std::uint64_t value) { Advance(PutVarint(Room(kMaxVarintBytes), value)); }
  void SignedVarint(std::int64_t value) { Varint(ZigZag(value)); }
  void Bytes(std::string_view bytes) { Advance(PutBytes(Room(bytes.size()), bytes)); }

  // Takes back all but the first `size` bytes.
  void Cut(std::size_t size) {
    ZERVANE_ASSERT(size <= size_);
    size_ = size;
  }

  std::size_t size() const { return size_; }
  std::size_t capacity() const { return capacity_; }

  // What was written so far; good until more is.
  std::string_view bytes() const { return {buffer_.get(), size_}; }

  // To write over what was written, from `position` on.
  char* At(std::size_t position) {
    ZERVANE_ASSERT(position <= size_);
    return buffer_.get() + position;
  }

 private:
  void Grow(std::size_t capacity) {
    ZERVANE_ASSERT(capacity > capacity_);
    auto larger = std::make_unique_for_overwrite<char[]>(capacity);
    if (size_ > 0) std::memcpy(larger.get(), buffer_.get(), size_);
    buffer_ = std::move(larger);
    capacity_ = capacity;
  }

  std::unique_ptr<char[]> buffer_;  // room, of which the first size_ bytes are written
  std::size_t capacity_ = 0;
  std::size_t size_ = 0;
};

// Reads what ByteWriter wrote, from bytes that nobody vouches for. The first read that does not
// fit fails the reader: it and all later reads return zero or nothing, and ok() is false.
class ByteReader {
 public:
  explicit ByteReader(std::string_view bytes) : rest_(bytes) {}

  bool ok() const { return ok_; }
  bool AtEnd() const { return ok_ && rest_.empty(); }

  template <std::unsigned_integral T>
  T Fixed() {
    const std::string_view bytes = Bytes(sizeof(T));
    T value = 0;
    if (!bytes.empty()) std::memcpy(&value, bytes.data(), sizeof(T));
    return value;
  }

  std::uint64_t Varint() {
    std::uint64_t value = 0;
    for (unsigned shift = 0; shift < 64 && !rest_.empty(); shift += 7) {
      const auto byte = static_cast<std::uint8_t>(rest_.front());
      rest_.remove_prefix(1);
      value |= static_cast<std::uint64_t>(byte & 0x7F) << shift;
      if (byte < 0x80) return value;
    }
    Fail();
    return 0;
  }

  std::int64_t SignedVarint() { return FromZigZag(Varint()); }

  std::string_view Bytes(std::size_t size) {
    if (size > rest_.size()) {
      Fail();
      return {};
    }
    const std::string_view bytes = rest_.substr(0, size);
    rest_.remove_prefix(size);
    return bytes;
  }

  // The length as a varint, then the bytes.
  std::string_view Counted() { return Bytes(Varint()); }

 private:
  void Fail() {
    ok_ = false;
    rest_ = {};
  }

  std::string_view rest_;
  bool ok_ = true;
};

}  // namespace zervane::storage
