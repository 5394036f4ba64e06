#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string_view>
#include <vector>

namespace zervane {

// A pattern for whole texts, without regard to ASCII case: '*' stands for any run of characters,
// '?' for any one, '\' takes the next character as it is. An empty pattern matches everything.
//
// Whatever the pattern, a text costs no more than the product of the two lengths.
class LikePattern {
 public:
  // None when the pattern ends in a '\' that takes nothing. REQUIRES: it is UTF-8.
  static std::optional<LikePattern> Parse(std::string_view pattern);

  // REQUIRES: the text is UTF-8.
  bool Matches(std::string_view text) const;

 private:
  // A byte of a character, folded, or any character.
  using Element = std::uint16_t;
  static constexpr Element kAnyCharacter = 256;
  // What stands between two '*'.
  using Segment = std::vector<Element>;

  static std::optional<std::size_t> EndOfMatch(const Segment& segment, std::string_view text,
                                               std::size_t begin);
  static std::optional<std::size_t> BeginOfMatch(const Segment& segment, std::string_view text);
  static std::optional<std::size_t> FirstEndOfMatch(const Segment& segment, std::string_view text,
                                                    std::size_t begin);

  bool matches_everything_ = false;
  std::vector<Segment> segments_;  // one more than there are '*'
};

}  // namespace zervane
