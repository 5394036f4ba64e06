#include "os/iconv_codec.h"

#include <algorithm>
#include <cerrno>

namespace zervane::os {
namespace {

// glibc's name for code points in the machine's byte order, which every conversion passes through.
constexpr const char* kCodePoints = "WCHAR_T";

constexpr std::size_t kFailure = static_cast<std::size_t>(-1);

constexpr std::size_t kChunkCharacters = 128;

// glibc drops the language tag characters without a word where a character set lacks them.
bool IsTag(char32_t character) { return character >= 0xE0000 && character <= 0xE007F; }

std::string_view AsBytes(std::span<const char32_t> characters) {
  return {reinterpret_cast<const char*>(characters.data()), characters.size_bytes()};
}

bool StartHandle(IconvHandle& handle, const char* to, const char* from) {
  if (!handle.is_open()) return handle.Open(to, from);
  handle.Reset();
  return true;
}

}  // namespace

IconvHandle::~IconvHandle() {
  if (is_open()) iconv_close(handle_);
}

bool IconvHandle::Open(const char* to, const char* from) {
  handle_ = iconv_open(to, from);
  return is_open();
}

void IconvHandle::Reset() { iconv(handle_, nullptr, nullptr, nullptr, nullptr); }

IconvHandle::Result IconvHandle::Convert(std::string_view& in, char*& next,
                                         std::size_t& room_bytes) {
  char* from = const_cast<char*>(in.data());  // iconv does not write to its input
  std::size_t left = in.size();
  const std::size_t inexact = iconv(handle_, in.empty() ? nullptr : &from,
                                    in.empty() ? nullptr : &left, &next, &room_bytes);
  const bool full = inexact == kFailure && errno == E2BIG;
  in.remove_prefix(in.size() - left);
  if (full) return Result::kFull;
  return inexact == 0 ? Result::kDone : Result::kFailed;
}

bool IconvEncoder::Start(const char* charset) {
  const bool was_open = handle_.is_open();
  if (!StartHandle(handle_, charset, kCodePoints)) return false;
  if (!was_open) has_tags_ = ProbeTags();
  return true;
}

bool IconvEncoder::ProbeTags() {
  constexpr char32_t kTag = 0xE0041;
  std::array<char, 16> bytes{};
  TextBuffer out(bytes.data(), bytes.size());
  const bool written = Run(AsBytes({&kTag, 1}), out) && !out.text().empty();
  handle_.Reset();
  return written;
}

bool IconvEncoder::Append(std::span<const char32_t> characters, TextBuffer& out) {
  if (characters.empty()) return true;
  if (!has_tags_ && std::ranges::any_of(characters, IsTag)) return false;
  return Run(AsBytes(characters), out);
}

bool IconvEncoder::Finish(TextBuffer& out) { return Run({}, out); }

bool IconvEncoder::Run(std::string_view code_points, TextBuffer& out) {
  char* next = out.next();
  std::size_t room_bytes = out.room_bytes();
  const auto result = handle_.Convert(code_points, next, room_bytes);
  out.Advance(static_cast<std::size_t>(next - out.next()));
  return result == IconvHandle::Result::kDone;
}

bool IconvDecoder::Start(const char* charset) { return StartHandle(handle_, kCodePoints, charset); }

bool IconvDecoder::Append(std::string_view text, Utf8Form form, TextBuffer& out) {
  std::array<char32_t, kChunkCharacters> chunk;
  auto result = IconvHandle::Result::kFull;
  while (result == IconvHandle::Result::kFull) {
    char* next = reinterpret_cast<char*>(chunk.data());
    std::size_t room_bytes = sizeof(chunk);
    result = handle_.Convert(text, next, room_bytes);
    const std::size_t count = chunk.size() - room_bytes / sizeof(char32_t);
    if (result == IconvHandle::Result::kFailed ||
        (result == IconvHandle::Result::kFull && count == 0)) {
      return false;
    }
    for (const char32_t character : std::span(chunk).first(count)) {
      if (!AppendUtf8(character, form, out)) return false;
    }
  }
  return true;
}

bool IconvDecoder::Finish(Utf8Form form, TextBuffer& out) { return Append({}, form, out); }

}  // namespace zervane::os
