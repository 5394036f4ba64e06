#include "engine/storage/codec/text_decoder.h"

#include <algorithm>
#include <cstddef>
#include <utility>

#include "api/words/ascii.h"
#include "api/words/utf8.h"
#include "api/words/value.h"

namespace zervane::storage {
namespace {

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

std::optional<std::string> CheckedUtf8(std::string_view bytes) {
  return IsUtf8(bytes) ? std::optional(std::string(bytes)) : std::nullopt;
}

}  // namespace

std::string TextOfStored(std::string_view bytes, const TextDecoder& decoder) {
  std::optional<std::string> decoded = decoder != nullptr ? decoder(bytes) : CheckedUtf8(bytes);
  std::string text = decoded ? *std::move(decoded) : WithMarksForUnknown(bytes);
  std::size_t size = std::min(text.size(), text.find('\0'));
  if (size > kMaxStringBytes) {
    size = kMaxStringBytes;
    while (size > 0 && IsUtf8Continuation(text[size])) --size;
  }
  text.resize(size);
  return text;
}

}  // namespace zervane::storage
