#include "engine/catalogue/like_pattern.h"

#include "api/words/ascii.h"
#include "api/words/utf8.h"

namespace zervane {
namespace {

// The byte, folded, as an element of a pattern.
std::uint16_t FoldedByte(char c) { return static_cast<unsigned char>(FoldAscii(c)); }

// The begin of the character after the one that begins at `at`.
std::size_t NextCharacter(std::string_view text, std::size_t at) {
  do {
    ++at;
  } while (at < text.size() && IsUtf8Continuation(text[at]));
  return at;
}

// The begin of the character that ends before `at`.
std::size_t PreviousCharacter(std::string_view text, std::size_t at) {
  do {
    --at;
  } while (at > 0 && IsUtf8Continuation(text[at]));
  return at;
}

}  // namespace

std::optional<LikePattern> LikePattern::Parse(std::string_view pattern) {
  LikePattern parsed;
  parsed.matches_everything_ = pattern.empty();
  parsed.segments_.emplace_back();
  for (std::size_t at = 0; at < pattern.size(); ++at) {
    switch (pattern[at]) {
      case '*':
        // Several in a row are as good as one.
        if (parsed.segments_.size() == 1 || !parsed.segments_.back().empty()) {
          parsed.segments_.emplace_back();
        }
        break;
      case '?':
        parsed.segments_.back().push_back(kAnyCharacter);
        break;
      case '\\':
        if (++at == pattern.size()) return std::nullopt;
        [[fallthrough]];
      default:
        parsed.segments_.back().push_back(FoldedByte(pattern[at]));
    }
  }
  return parsed;
}

// The first segment begins the text and the last one ends it; each of those between is best taken
// where it comes first, which leaves the most for the others.
bool LikePattern::Matches(std::string_view text) const {
  if (matches_everything_) return true;
  std::optional<std::size_t> end = EndOfMatch(segments_.front(), text, 0);
  if (!end) return false;
  if (segments_.size() == 1) return *end == text.size();
  const std::optional<std::size_t> last = BeginOfMatch(segments_.back(), text);
  if (!last) return false;
  for (std::size_t i = 1; i + 1 < segments_.size(); ++i) {
    end = FirstEndOfMatch(segments_[i], text, *end);
    if (!end) return false;
  }
  return *end <= *last;
}

// Where a match that begins there ends.
std::optional<std::size_t> LikePattern::EndOfMatch(const Segment& segment, std::string_view text,
                                                   std::size_t begin) {
  std::size_t at = begin;
  for (const Element element : segment) {
    if (at == text.size()) return std::nullopt;
    if (element == kAnyCharacter) {
      at = NextCharacter(text, at);
    } else if (element == FoldedByte(text[at])) {
      ++at;
    } else {
      return std::nullopt;
    }
  }
  return at;
}

// Where a match that ends with the text begins.
std::optional<std::size_t> LikePattern::BeginOfMatch(const Segment& segment,
                                                     std::string_view text) {
  std::size_t at = text.size();
  for (auto element = segment.rbegin(); element != segment.rend(); ++element) {
    if (at == 0) return std::nullopt;
    if (*element == kAnyCharacter) {
      at = PreviousCharacter(text, at);
    } else if (*element == FoldedByte(text[at - 1])) {
      --at;
    } else {
      return std::nullopt;
    }
  }
  return at;
}

// Where the first match at or after `begin` ends.
std::optional<std::size_t> LikePattern::FirstEndOfMatch(const Segment& segment,
                                                        std::string_view text, std::size_t begin) {
  for (std::size_t at = begin; at < text.size(); at = NextCharacter(text, at)) {
    if (const std::optional<std::size_t> end = EndOfMatch(segment, text, at)) return end;
  }
  return std::nullopt;
}

}  // namespace zervane
