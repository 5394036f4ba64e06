#pragma once

#include <concepts>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <utility>

namespace zervane::storage {

// Appends numbers and bytes to a buffer. Fixed-width numbers are little-endian; a varint holds
// seven bits a byte, low bits first, the top bit set on all but its last byte; a signed varint is
// zigzag coded, so that small numbers of either sign are short.
class ByteWriter {
 public:
  template <std::unsigned_integral T>
  void Fixed(T value) {
    for (std::size_t i = 0; i < sizeof(T); ++i) {
      buffer_.push_back(static_cast<char>(static_cast<std::uint8_t>(value >> (8 * i))));
    }
  }

  void Varint(std::uint64_t value) {
    while (value >= 0x80) {
      buffer_.push_back(static_cast<char>(value | 0x80));
      value >>= 7;
    }
    buffer_.push_back(static_cast<char>(value));
  }

  void SignedVarint(std::int64_t value) {
    const std::uint64_t sign = value < 0 ? ~std::uint64_t{0} : 0;
    Varint((static_cast<std::uint64_t>(value) << 1) ^ sign);
  }

  void Bytes(std::string_view bytes) { buffer_.append(bytes); }

  // The length as a varint, then the bytes.
  void Counted(std::string_view bytes) {
    Varint(bytes.size());
    Bytes(bytes);
  }

  void Reserve(std::size_t size) { buffer_.reserve(size); }
  const std::string& buffer() const { return buffer_; }
  std::string Take() { return std::move(buffer_); }

 private:
  std::string buffer_;
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
    for (std::size_t i = 0; i < bytes.size(); ++i) {
      value =
          static_cast<T>(value | static_cast<T>(T{static_cast<std::uint8_t>(bytes[i])} << (8 * i)));
    }
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

  std::int64_t SignedVarint() {
    const std::uint64_t coded = Varint();
    const std::uint64_t sign = (coded & 1) != 0 ? ~std::uint64_t{0} : 0;
    return static_cast<std::int64_t>((coded >> 1) ^ sign);
  }

  std::string_view Bytes(std::size_t size) {
    if (size > rest_.size()) {
      Fail();
      return {};
    }
    const std::string_view bytes = rest_.substr(0, size);
    rest_.remove_prefix(size);
    return bytes;
  }

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
