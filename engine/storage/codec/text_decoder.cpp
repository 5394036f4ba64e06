#include "engine/storage/codec/text_decoder.h"

#include <algorithm>
#include <cstddef>
#include <utility>

#include "api/words/value.h"

namespace zervane::storage {
namespace {

bool IsAscii(char byte) { return static_cast<unsigned char>(byte) < 0x80; }

// Whether a character of UTF-8 goes on with the byte.
bool GoesOn(char byte) { return (static_cast<unsigned char>(byte) & 0xC0) == 0x80; }

std::string WithMarksForUnknown(std::string_view bytes) {
  constexpr std::string_view kReplacement = "\xEF\xBF\xBD";
  std::string text;
  text.reserve(kReplacement.size() * bytes.size());
  for (const char byte : bytes) {
    if (IsAscii(byte)) {
      text.push_back(byte);
    } else {
      text += kReplacement;
    }
  }
  return text;
}

}  // namespace

std::string TextOfStored(std::string_view bytes, const TextDecoder& decoder) {
  if (decoder == nullptr) return std::string(bytes);
  std::optional<std::string> decoded = decoder(bytes);
  std::string text = decoded ? *std::move(decoded) : WithMarksForUnknown(bytes);
  std::size_t size = std::min(text.size(), text.find('\0'));
  if (size > kMaxStringBytes) {
    size = kMaxStringBytes;
    while (size > 0 && GoesOn(text[size])) --size;
  }
  text.resize(size);
  return text;
}

}  // namespace zervane::storage
