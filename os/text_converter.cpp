#include "os/text_converter.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstring>
#include <span>

#include "os/gb18030.h"
#include "os/utf8.h"

namespace zervane::os {
namespace {

constexpr std::size_t kChunkCharacters = 128;

// What the system's own words (addresses, commands, numbers, the names of tags) are made of.
constexpr std::string_view kAsciiOfWords =
    " ()*+,-./0123456789:;<=>?ABCDEFGHIJKLMNOPQRSTUVWXYZ_abcdefghijklmnopqrstuvwxyz";

bool IsAsciiAlnum(char c) {
  return (c >= '0' && c <= '9') || (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z');
}

bool IsPlainName(std::string_view name) {
  return !name.empty() && std::ranges::all_of(name, [](char c) {
    return IsAsciiAlnum(c) || std::string_view("-_.:()+").find(c) != std::string_view::npos;
  });
}

// The letters and digits of a name, in small letters: "UTF-8" and "utf8" are one encoding.
std::string Normalised(std::string_view name) {
  std::string result;
  for (const char c : name) {
    if (!IsAsciiAlnum(c)) continue;
    result += c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
  }
  return result;
}

// Between the two forms of UTF-8.
bool Reform(std::string_view text, Utf8Form from, Utf8Form to, TextBuffer& out) {
  while (!text.empty()) {
    char32_t character = 0;
    const std::size_t length = DecodeUtf8(text, from, character);
    if (length == 0 || !AppendUtf8(character, to, out)) return false;
    text.remove_prefix(length);
  }
  return true;
}

// Collects code points, so that iconv gets many at a time.
class Batch {
 public:
  Batch(IconvEncoder& encoder, TextBuffer& out) : encoder_(encoder), out_(out) {}

  bool Add(char32_t character) {
    characters_[count_++] = character;
    return count_ < characters_.size() || Flush();
  }

  bool Flush() {
    const std::size_t count = count_;
    count_ = 0;
    return encoder_.Append(std::span(characters_).first(count), out_);
  }

 private:
  IconvEncoder& encoder_;
  TextBuffer& out_;
  std::array<char32_t, kChunkCharacters> characters_;
  std::size_t count_ = 0;
};

// Runs a conversion over a caller's raw arguments. A NUL within the result, which an encoding such
// as UTF-16 has everywhere, would cut the text and is a failure.
template <typename Conversion>
bool Convert(const char* src, char* dst, int capacity_bytes, Conversion conversion) {
  if (dst == nullptr || capacity_bytes <= 0) return false;
  TextBuffer out(dst, static_cast<std::size_t>(capacity_bytes));
  const bool converted = src != nullptr && conversion(std::string_view(src), out) &&
                         out.text().find('\0') == std::string_view::npos;
  if (converted) {
    out.Terminate();
  } else {
    out.Clear();
  }
  return converted;
}

}  // namespace

bool IsSystemEncoding(std::string_view name) {
  TextConverter converter(name);
  std::array<char, kAsciiOfWords.size() + 1> converted{};
  const int capacity = static_cast<int>(converted.size());
  return converter.ToSystem(kAsciiOfWords.data(), converted.data(), capacity) &&
         converted.data() == kAsciiOfWords &&
         converter.FromSystem(kAsciiOfWords.data(), converted.data(), capacity) &&
         converted.data() == kAsciiOfWords;
}

TextConverter::TextConverter(std::string_view encoding)
    : encoding_(encoding), kind_(KindOf(encoding)) {}

TextConverter::Kind TextConverter::KindOf(std::string_view encoding) {
  if (!IsPlainName(encoding)) return Kind::kUnknown;
  const std::string name = Normalised(encoding);
  if (name == "utf8") return Kind::kUtf8;
  if (name == "gb18030") return Kind::kGb18030;
  return Kind::kOther;
}

bool TextConverter::ToSystem(const char* src, char* dst, int capacity_bytes) {
  return Convert(src, dst, capacity_bytes,
                 [this](std::string_view utf8, TextBuffer& out) { return Encode(utf8, out); });
}

bool TextConverter::FromSystem(const char* src, char* dst, int capacity_bytes) {
  return Convert(src, dst, capacity_bytes,
                 [this](std::string_view text, TextBuffer& out) { return Decode(text, out); });
}

bool TextConverter::Encode(std::string_view utf8, TextBuffer& out) {
  if (kind_ == Kind::kUtf8) return Reform(utf8, Utf8Form::kModified, Utf8Form::kStandard, out);
  if (kind_ == Kind::kUnknown || !encoder_.Start(encoding_.c_str())) return false;
  Batch batch(encoder_, out);
  while (!utf8.empty()) {
    char32_t character = 0;
    const std::size_t length = DecodeUtf8(utf8, Utf8Form::kModified, character);
    if (length == 0) return false;
    utf8.remove_prefix(length);
    const auto* assignment = kind_ == Kind::kGb18030 ? gb18030::FindAssignment(character) : nullptr;
    const bool added = assignment == nullptr
                           ? batch.Add(character)
                           : batch.Flush() && gb18030::AppendCode(*assignment, out);
    if (!added) return false;
  }
  return batch.Flush() && encoder_.Finish(out);
}

bool TextConverter::Decode(std::string_view text, TextBuffer& out) {
  if (kind_ == Kind::kUtf8) return Reform(text, Utf8Form::kStandard, Utf8Form::kModified, out);
  if (kind_ == Kind::kUnknown || !decoder_.Start(encoding_.c_str())) return false;
  while (kind_ == Kind::kGb18030) {
    const auto [iconv_bytes, assignment] = gb18030::SplitHead(text);
    if (assignment == nullptr) break;
    if (!decoder_.Append(text.substr(0, iconv_bytes), out) ||
        !AppendUtf8(assignment->character, Utf8Form::kModified, out)) {
      return false;
    }
    text.remove_prefix(iconv_bytes + gb18030::CodeBytes(*assignment));
  }
  return decoder_.Append(text, out) && decoder_.Finish(out);
}

}  // namespace zervane::os
