#include "os/utf8.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cstdint>
#include <cstring>

namespace zervane::os {
namespace {

constexpr char32_t kLastCharacter = 0x10FFFF;
constexpr char32_t kFirstBeyondBmp = 0x10000;
constexpr std::size_t kLongestSequence = 4;

// The smallest value that needs a sequence of so many bytes. NUL has no sequence at all, because
// it ends a text.
constexpr std::array<char32_t, kLongestSequence + 1> kSmallest = {0, 1, 0x80, 0x800, 0x10000};

bool IsHighSurrogate(char32_t value) { return value >= 0xD800 && value <= 0xDBFF; }
bool IsLowSurrogate(char32_t value) { return value >= 0xDC00 && value <= 0xDFFF; }
bool IsSurrogate(char32_t value) { return IsHighSurrogate(value) || IsLowSurrogate(value); }

// Length of the sequence that a lead byte announces; 0 for a byte that cannot lead.
std::size_t SequenceLength(std::uint8_t lead) {
  const auto ones = static_cast<std::size_t>(std::countl_one(lead));
  if (ones == 0) return 1;
  return ones == 1 || ones > kLongestSequence ? 0 : ones;
}

// Reads one sequence, whose value may be a surrogate. Returns its length, 0 when malformed.
std::size_t DecodeSequence(std::string_view text, char32_t& value) {
  if (text.empty()) return 0;
  const auto lead = static_cast<std::uint8_t>(text[0]);
  const std::size_t length = SequenceLength(lead);
  if (length == 0 || length > text.size()) return 0;
  value = length == 1 ? lead : lead & (0x7Fu >> length);
  for (const char next : text.substr(1, length - 1)) {
    const auto byte = static_cast<std::uint8_t>(next);
    if ((byte & 0xC0u) != 0x80u) return 0;
    value = (value << 6) | (byte & 0x3Fu);
  }
  return value >= kSmallest[length] && value <= kLastCharacter ? length : 0;
}

bool AppendSequence(char32_t value, TextBuffer& out) {
  std::size_t length = 1;
  while (length < kLongestSequence && value >= kSmallest[length + 1]) ++length;
  if (length == 1) {
    const char byte = static_cast<char>(value);
    return out.Append({&byte, 1});
  }
  std::array<char, kLongestSequence> bytes{};
  for (std::size_t i = length - 1; i > 0; --i, value >>= 6) {
    bytes[i] = static_cast<char>(0x80u | (value & 0x3Fu));
  }
  bytes[0] = static_cast<char>((0xF00u >> length) | value);
  return out.Append({bytes.data(), length});
}

// How many of the first bytes, taken 8 at a time, are ASCII characters other than NUL.
std::size_t LeadingAsciiWords(std::string_view text) {
  constexpr std::uint64_t kOnes = 0x0101010101010101;
  constexpr std::uint64_t kHighBits = 0x8080808080808080;
  std::size_t position = 0;
  for (; text.size() - position >= sizeof(std::uint64_t); position += sizeof(std::uint64_t)) {
    std::uint64_t word = 0;
    std::memcpy(&word, text.data() + position, sizeof word);
    // Taking 1 from a byte sets its high bit only where that was set or the byte is NUL.
    if (((word | (word - kOnes)) & kHighBits) != 0) break;
  }
  return position;
}

bool IsAsciiByte(char c) { return static_cast<signed char>(c) > 0; }

}  // namespace

bool IsAscii(std::string_view text) {
  text.remove_prefix(LeadingAsciiWords(text));
  return std::ranges::all_of(text, IsAsciiByte);
}

bool IsStandardUtf8(std::string_view text) {
  while (!text.empty()) {
    text.remove_prefix(LeadingAsciiWords(text));
    if (text.empty()) break;
    char32_t character = 0;
    const std::size_t length = DecodeUtf8(text, Utf8Form::kStandard, character);
    if (length == 0) return false;
    text.remove_prefix(length);
  }
  return true;
}

std::size_t DecodeUtf8(std::string_view text, Utf8Form form, char32_t& character) {
  const std::size_t length = DecodeSequence(text, character);
  if (length == 0 || !IsSurrogate(character)) return length;
  if (form == Utf8Form::kStandard || IsLowSurrogate(character)) return 0;
  char32_t low = 0;
  const std::size_t low_length = DecodeSequence(text.substr(length), low);
  if (low_length == 0 || !IsLowSurrogate(low)) return 0;
  character = kFirstBeyondBmp + ((character - 0xD800) << 10) + (low - 0xDC00);
  return length + low_length;
}

bool AppendUtf8(char32_t character, Utf8Form form, TextBuffer& out) {
  if (character == 0 || character > kLastCharacter || IsSurrogate(character)) return false;
  if (form == Utf8Form::kStandard || character < kFirstBeyondBmp) {
    return AppendSequence(character, out);
  }
  const char32_t offset = character - kFirstBeyondBmp;
  return AppendSequence(0xD800 + (offset >> 10), out) &&
         AppendSequence(0xDC00 + (offset & 0x3FF), out);
}

}  // namespace zervane::os
