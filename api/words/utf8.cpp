#include "api/words/utf8.h"

#include <cstddef>
#include <cstdint>
#include <cstring>

namespace zervane {
namespace {

// How many bytes at the text's begin are ASCII, eight at a time.
std::size_t AsciiPrefix(std::string_view text) {
  std::size_t size = 0;
  while (text.size() - size >= sizeof(std::uint64_t)) {
    std::uint64_t bytes;
    std::memcpy(&bytes, text.data() + size, sizeof bytes);
    if ((bytes & 0x8080808080808080) != 0) break;
    size += sizeof bytes;
  }
  while (size < text.size() && static_cast<unsigned char>(text[size]) < 0x80) ++size;
  return size;
}

// The first byte of a character that is not ASCII: how many bytes follow it, and within which
// bounds the second one lies; those bounds shut out overlong forms, surrogates and what is past
// U+10FFFF.
struct Lead {
  std::size_t followers;
  unsigned char low;
  unsigned char high;
};

Lead LeadOf(unsigned char byte) {
  if (byte >= 0xC2 && byte <= 0xDF) return {1, 0x80, 0xBF};
  if (byte == 0xE0) return {2, 0xA0, 0xBF};
  if (byte == 0xED) return {2, 0x80, 0x9F};
  if (byte >= 0xE1 && byte <= 0xEF) return {2, 0x80, 0xBF};
  if (byte == 0xF0) return {3, 0x90, 0xBF};
  if (byte >= 0xF1 && byte <= 0xF3) return {3, 0x80, 0xBF};
  if (byte == 0xF4) return {3, 0x80, 0x8F};
  return {0, 0, 0};  // none
}

}  // namespace

bool IsUtf8(std::string_view text) {
  for (;;) {
    text.remove_prefix(AsciiPrefix(text));
    if (text.empty()) return true;
    const Lead lead = LeadOf(static_cast<unsigned char>(text[0]));
    if (lead.followers == 0 || text.size() <= lead.followers) return false;
    const auto second = static_cast<unsigned char>(text[1]);
    if (second < lead.low || second > lead.high) return false;
    for (std::size_t i = 2; i <= lead.followers; ++i) {
      if (!IsUtf8Continuation(text[i])) return false;
    }
    text.remove_prefix(lead.followers + 1);
  }
}

}  // namespace zervane
