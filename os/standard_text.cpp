#include "os/standard_text.h"

#include <string.h>  // explicit_bzero

#include <array>
#include <new>
#include <vector>

#include "os/text_buffer.h"
#include "os/utf8.h"

namespace zervane::os {
namespace {

constexpr std::size_t kMostGrowth = 3;  // UTF-8 bytes for a byte of another encoding
constexpr char kReplacement = '?';

constexpr auto kAscii = [] {
  std::array<char, 127> characters{};
  for (std::size_t i = 0; i < characters.size(); ++i) characters[i] = static_cast<char>(i + 1);
  return characters;
}();

// What an encoding with states changes them by begins with an ASCII character, which by itself is
// then incomplete, or nothing.
bool KeepsAscii(CharsetCodec& codec) {
  std::array<char, kAscii.size() + 1> converted{};
  const auto is_kept = [&](std::string_view text) {
    TextBuffer encoded(converted.data(), converted.size());
    if (!codec.Encode(text, Utf8Form::kStandard, encoded) || encoded.text() != text) return false;
    TextBuffer decoded(converted.data(), converted.size());
    return codec.Decode(text, Utf8Form::kStandard, decoded) && decoded.text() == text;
  };
  if (!codec.Open()) throw std::bad_alloc();
  if (codec.is_utf8()) return true;
  constexpr std::string_view kAll(kAscii.data(), kAscii.size());
  for (std::size_t i = 0; i < kAll.size(); ++i) {
    if (!is_kept(kAll.substr(i, 1))) return false;
  }
  return is_kept(kAll);
}

// Length of the character that text, which is not empty, begins with; 0 where there is none.
std::size_t CharacterBytes(std::string_view text) {
  char32_t character = 0;
  return DecodeUtf8(text, Utf8Form::kStandard, character);
}

bool ContinuesCharacter(char c) { return (static_cast<unsigned char>(c) & 0xC0u) == 0x80u; }

// What of a well-formed text fits.
StandardText::SystemText CutUtf8(std::string_view text, std::size_t max_bytes) {
  if (text.size() <= max_bytes) return {.bytes = text};
  std::size_t end = max_bytes;
  while (end > 0 && ContinuesCharacter(text[end])) --end;
  return {.bytes = text.substr(0, end), .is_whole = false};
}

// Where the characters of a well-formed text begin, and its end.
std::vector<std::size_t> Boundaries(std::string_view text) {
  std::vector<std::size_t> boundaries;
  for (std::size_t at = 0; at < text.size(); ++at) {
    if (!ContinuesCharacter(text[at])) boundaries.push_back(at);
  }
  boundaries.push_back(text.size());
  return boundaries;
}

}  // namespace

StandardText::StandardText(std::string_view encoding)
    : codec_(encoding), keeps_ascii_(KeepsAscii(codec_)) {}

bool StandardText::IsKnown(std::string_view encoding) { return CharsetCodec(encoding).Open(); }

bool StandardText::IsUtf8(std::string_view encoding) { return CharsetCodec(encoding).is_utf8(); }

std::optional<std::string_view> StandardText::FromSystem(std::string_view text) {
  if (keeps_ascii_ && IsAscii(text)) return text;
  if (codec_.is_utf8()) return IsStandardUtf8(text) ? std::optional(text) : std::nullopt;
  const std::size_t capacity = kMostGrowth * text.size() + 1;
  if (converted_.size() < capacity) converted_.resize(capacity);
  TextBuffer out(converted_.data(), capacity);
  if (!codec_.Decode(text, Utf8Form::kStandard, out)) return std::nullopt;
  if (text.find('\0') != text.npos || out.text().find('\0') != text.npos) return std::nullopt;
  return out.text();
}

StandardText::SystemText StandardText::ToSystem(std::string_view utf8, std::size_t max_bytes) {
  if (keeps_ascii_ && IsAscii(utf8)) return CutUtf8(utf8, max_bytes);
  if (codec_.is_utf8()) {
    return CutUtf8(IsStandardUtf8(utf8) ? utf8 : WithoutWhatLacks(utf8), max_bytes);
  }
  if (Encode(utf8, max_bytes)) return {.bytes = {converted_.data(), size_}};
  const std::string_view replaced = WithoutWhatLacks(utf8);
  if (Encode(replaced, max_bytes)) return {.bytes = {converted_.data(), size_}};
  return EncodeWhatFits(replaced, max_bytes);
}

void StandardText::Wipe() noexcept {
  explicit_bzero(converted_.data(), converted_.size());
  explicit_bzero(replaced_.data(), replaced_.size());
}

// Into converted_; false when it does not convert, or does not fit.
bool StandardText::Encode(std::string_view utf8, std::size_t max_bytes) {
  if (converted_.size() <= max_bytes) converted_.resize(max_bytes + 1);
  TextBuffer out(converted_.data(), max_bytes + 1);
  if (!codec_.Encode(utf8, Utf8Form::kStandard, out)) return false;
  size_ = out.text().size();
  return true;
}

bool StandardText::Lacks(std::string_view character) {
  constexpr std::size_t kLongestCode = 32;  // with what changes the encoding's state
  std::array<char, kLongestCode> code{};
  TextBuffer out(code.data(), code.size());
  return !codec_.Encode(character, Utf8Form::kStandard, out);
}

// An encoding may have a character only together with the one before it.
std::string_view StandardText::WithoutWhatLacks(std::string_view utf8) {
  replaced_.clear();
  std::size_t before = 0;  // bytes of the character before, when the encoding has that
  for (std::size_t at = 0; at < utf8.size();) {
    const std::size_t length = CharacterBytes(utf8.substr(at));
    const bool is_there =
        length > 0 && (!Lacks(utf8.substr(at, length)) ||
                       (before > 0 && !Lacks(utf8.substr(at - before, before + length))));
    if (is_there) {
      replaced_ += utf8.substr(at, length);
    } else {
      replaced_ += kReplacement;
    }
    before = is_there ? length : 0;
    at += length == 0 ? 1 : length;
  }
  return replaced_;
}

// Some encodings end a text with what returns to their first state, and hold characters back that
// the next one may change; so nothing but a conversion tells how many characters fit. More
// characters never take less room, which is what the search rests on.
StandardText::SystemText StandardText::EncodeWhatFits(std::string_view utf8,
                                                      std::size_t max_bytes) {
  const std::vector<std::size_t> boundaries = Boundaries(utf8);
  std::size_t fits = 0;  // index of the longest beginning known to fit
  std::size_t beyond = boundaries.size() - 1;
  while (beyond - fits > 1) {
    const std::size_t middle = fits + (beyond - fits) / 2;
    (Encode(utf8.substr(0, boundaries[middle]), max_bytes) ? fits : beyond) = middle;
  }
  if (!Encode(utf8.substr(0, boundaries[fits]), max_bytes)) size_ = 0;
  return {.bytes = {converted_.data(), size_}, .is_whole = false};
}

}  // namespace zervane::os
