#pragma once

#include <compare>
#include <cstddef>
#include <string>
#include <string_view>

// Case folding of ASCII letters, which is all that names and searches look at: 'A' to 'Z' become
// 'a' to 'z', every other byte stays. In UTF-8 a byte of that range is always the letter.
namespace zervane {

// Whether the byte is an ASCII character; in UTF-8 it stands for itself then.
constexpr bool IsAscii(char c) { return static_cast<unsigned char>(c) < 0x80; }

constexpr char FoldAscii(char c) {
  return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}

inline std::string FoldAscii(std::string_view text) {
  std::string folded(text);
  for (char& c : folded) c = FoldAscii(c);
  return folded;
}

// Compares byte by byte, as unsigned numbers, after folding.
constexpr std::strong_ordering CompareFolded(std::string_view a, std::string_view b) {
  const std::size_t common = a.size() < b.size() ? a.size() : b.size();
  for (std::size_t i = 0; i < common; ++i) {
    const auto left = static_cast<unsigned char>(FoldAscii(a[i]));
    const auto right = static_cast<unsigned char>(FoldAscii(b[i]));
    if (left != right) return left <=> right;
  }
  return a.size() <=> b.size();
}

constexpr bool EqualsFolded(std::string_view a, std::string_view b) {
  return a.size() == b.size() && CompareFolded(a, b) == 0;
}

}  // namespace zervane
