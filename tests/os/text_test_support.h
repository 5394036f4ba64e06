// What the tests of text conversion share.
#ifndef ZERVANE_TESTS_OS_TEXT_TEST_SUPPORT_H_
#define ZERVANE_TESTS_OS_TEXT_TEST_SUPPORT_H_

#include <gtest/gtest.h>

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

#include "os/text_converter.h"

namespace zervane::os {

using Direction = bool (TextConverter::*)(const char* src, char* dst, int capacity_bytes);

constexpr Direction kToSystem = &TextConverter::ToSystem;
constexpr Direction kFromSystem = &TextConverter::FromSystem;

// Converts into a buffer of so many bytes and returns the text, nothing on failure. What holds of
// every conversion is checked here: a success is terminated within the capacity, a failure leaves
// an empty text, and the bytes after the capacity stay as they were.
inline std::optional<std::string> Convert(TextConverter& converter, Direction direction,
                                          const std::string& text, std::size_t capacity_bytes) {
  constexpr std::size_t kCanaryBytes = 16;
  constexpr char kCanary = '\x5A';
  std::vector<char> buffer(capacity_bytes + kCanaryBytes, kCanary);
  const bool converted =
      (converter.*direction)(text.c_str(), buffer.data(), static_cast<int>(capacity_bytes));
  const std::string within(buffer.data(), capacity_bytes);
  EXPECT_EQ(std::string(buffer.data() + capacity_bytes, kCanaryBytes),
            std::string(kCanaryBytes, kCanary))
      << "wrote beyond the capacity of " << capacity_bytes;
  if (!converted) {
    EXPECT_TRUE(capacity_bytes == 0 || within[0] == '\0') << "a failure left text behind";
    return std::nullopt;
  }
  const std::size_t length = within.find('\0');
  EXPECT_NE(length, std::string::npos) << "not terminated within " << capacity_bytes;
  return within.substr(0, length);
}

// With four bytes to the byte and one for the terminator, more than any encoding needs.
inline std::optional<std::string> Convert(TextConverter& converter, Direction direction,
                                          const std::string& text) {
  return Convert(converter, direction, text, 4 * text.size() + 1);
}

// The character in modified UTF-8, spelt out here once more so that the tests have an opinion of
// their own.
inline std::string Modified(char32_t character) {
  const auto three_bytes = [](char32_t unit) {
    return std::string{static_cast<char>(0xE0 | (unit >> 12)),
                       static_cast<char>(0x80 | ((unit >> 6) & 0x3F)),
                       static_cast<char>(0x80 | (unit & 0x3F))};
  };
  if (character < 0x80) return {static_cast<char>(character)};
  if (character < 0x800) {
    return {static_cast<char>(0xC0 | (character >> 6)),
            static_cast<char>(0x80 | (character & 0x3F))};
  }
  if (character < 0x10000) return three_bytes(character);
  const char32_t offset = character - 0x10000;
  return three_bytes(0xD800 + (offset >> 10)) + three_bytes(0xDC00 + (offset & 0x3FF));
}

inline bool IsSurrogate(char32_t value) { return value >= 0xD800 && value <= 0xDFFF; }

// Every character of the BMP but NUL, and 4,096 of the others, the first and the last among them.
inline std::vector<char32_t> SampleOfUnicode() {
  std::vector<char32_t> sample;
  for (char32_t character = 1; character <= 0xFFFF; ++character) {
    if (!IsSurrogate(character)) sample.push_back(character);
  }
  for (char32_t character = 0x10000; character <= 0x10FFFF; character += 0x100) {
    sample.push_back(character + (character >> 8) % 0x100);
  }
  sample.push_back(0x10FFFF);
  return sample;
}

}  // namespace zervane::os

#endif  // ZERVANE_TESTS_OS_TEXT_TEST_SUPPORT_H_
