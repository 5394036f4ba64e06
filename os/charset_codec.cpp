#include "os/charset_codec.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <span>

#include "os/gb18030.h"

namespace zervane::os {
namespace {

constexpr std::size_t kChunkCharacters = 128;

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

}  // namespace

CharsetCodec::CharsetCodec(std::string_view encoding)
    : encoding_(encoding), kind_(KindOf(encoding)) {}

CharsetCodec::Kind CharsetCodec::KindOf(std::string_view encoding) {
  if (!IsPlainName(encoding)) return Kind::kUnknown;
  const std::string name = Normalised(encoding);
  if (name == "utf8") return Kind::kUtf8;
  if (name == "gb18030") return Kind::kGb18030;
  return Kind::kOther;
}

bool CharsetCodec::Open() {
  if (kind_ == Kind::kUtf8) return true;
  return kind_ != Kind::kUnknown && encoder_.Start(encoding_.c_str()) &&
         decoder_.Start(encoding_.c_str());
}

bool CharsetCodec::Encode(std::string_view utf8, Utf8Form form, TextBuffer& out) {
  if (kind_ == Kind::kUtf8) return Reform(utf8, form, Utf8Form::kStandard, out);
  if (kind_ == Kind::kUnknown || !encoder_.Start(encoding_.c_str())) return false;
  Batch batch(encoder_, out);
  while (!utf8.empty()) {
    char32_t character = 0;
    const std::size_t length = DecodeUtf8(utf8, form, character);
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

bool CharsetCodec::Decode(std::string_view text, Utf8Form form, TextBuffer& out) {
  if (kind_ == Kind::kUtf8) return Reform(text, Utf8Form::kStandard, form, out);
  if (kind_ == Kind::kUnknown || !decoder_.Start(encoding_.c_str())) return false;
  while (kind_ == Kind::kGb18030) {
    const auto [iconv_bytes, assignment] = gb18030::SplitHead(text);
    if (assignment == nullptr) break;
    if (!decoder_.Append(text.substr(0, iconv_bytes), form, out) ||
        !AppendUtf8(assignment->character, form, out)) {
      return false;
    }
    text.remove_prefix(iconv_bytes + gb18030::CodeBytes(*assignment));
  }
  return decoder_.Append(text, form, out) && decoder_.Finish(form, out);
}

}  // namespace zervane::os
