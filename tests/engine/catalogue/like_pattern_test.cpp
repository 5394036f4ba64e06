#include "engine/catalogue/like_pattern.h"

#include <gtest/gtest.h>

#include <optional>
#include <random>
#include <string>
#include <string_view>
#include <vector>

#include "api/words/ascii.h"
#include "api/words/utf8.h"
#include "tests/support/case_name.h"
#include "tests/support/seed.h"

namespace zervane {
namespace {

bool Matches(std::string_view pattern, std::string_view text) {
  const std::optional<LikePattern> parsed = LikePattern::Parse(pattern);
  EXPECT_TRUE(parsed.has_value()) << pattern;
  return parsed && parsed->Matches(text);
}

struct PatternCase {
  const char* name;
  std::string_view pattern;
  std::string_view text;
  bool matches;
};

class Like : public testing::TestWithParam<PatternCase> {};

TEST_P(Like, MatchesWholeTexts) {
  EXPECT_EQ(Matches(GetParam().pattern, GetParam().text), GetParam().matches);
}

INSTANTIATE_TEST_SUITE_P(
    Patterns, Like,
    testing::Values(
        PatternCase{"EmptyAndText", "", "anything", true},  //
        PatternCase{"EmptyAndEmpty", "", "", true},
        PatternCase{"TheText", "FIC101.PV", "FIC101.PV", true},
        PatternCase{"OtherCase", "fic101.pv", "FIC101.PV", true},
        PatternCase{"BeginAlone", "FIC", "FIC101", false},
        PatternCase{"EndAlone", "101", "FIC101", false}, PatternCase{"StarAndEmpty", "*", "", true},
        PatternCase{"StarAndText", "*", "FIC101", true},
        PatternCase{"StarBefore", "*.PV", "FIC101.PV", true},
        PatternCase{"StarForNothing", "*.PV", ".PV", true},
        PatternCase{"StarBeforeOtherEnd", "*.PV", "FIC101.PV1", false},
        PatternCase{"StarAfter", "FIC*", "FIC101.PV", true},
        PatternCase{"StarsAround", "*101*", "FIC101.PV", true},
        PatternCase{"StarsAroundNothing", "*102*", "FIC101.PV", false},
        PatternCase{"PartsInOrder", "a*b*c", "aXbYc", true},
        PatternCase{"PartsOutOfOrder", "a*c*b", "aXbYc", false},
        PatternCase{"PartsThatWouldOverlap", "ab*ba", "aba", false},
        PatternCase{"PartsSideBySide", "ab*ba", "abba", true},
        PatternCase{"FirstPlaceOfAPartLeavesTheMost", "*ab*b", "abab", true},
        PatternCase{"ManyStars", "a***b", "ab", true},
        PatternCase{"QuestionMark", "FIC10?", "FIC101", true},
        PatternCase{"QuestionMarkForNothing", "FIC?", "FIC", false},
        PatternCase{"QuestionMarkForTwo", "FIC?", "FIC10", false},
        PatternCase{"QuestionMarkForACharacter", "?", "\xE6\xB5\x8B", true},
        PatternCase{"TwoForOneCharacter", "??", "\xE6\xB5\x8B", false},
        PatternCase{"QuestionMarkForFourBytes", "a?b",
                    "a\xF0\x9F\x9A\xB0"
                    "b",
                    true},
        PatternCase{"CharactersAfterAStar", "*?\xE7\x82\xB9", "\xE6\xB5\x8B\xE7\x82\xB9", true},
        PatternCase{"QuestionMarksAtTheEnd", "*??", "\xE6\xB5\x8B\xE7\x82\xB9", true},
        PatternCase{"TooManyQuestionMarksAtTheEnd", "*???", "\xE6\xB5\x8B\xE7\x82\xB9", false},
        PatternCase{"QuestionMarksBetweenStars", "*?*?*", "\xE6\xB5\x8B", false},
        PatternCase{"OtherScriptsHaveNoCase", "\xC3\x84", "\xC3\xA4", false},
        PatternCase{"StarAsItIs", "a\\*b", "a*b", true},
        PatternCase{"StarAsItIsIsNoRun", "a\\*b", "aXb", false},
        PatternCase{"QuestionMarkAsItIs", "a\\?", "a?", true},
        PatternCase{"QuestionMarkAsItIsIsNoOther", "a\\?", "ab", false},
        PatternCase{"BackslashAsItIs", "a\\\\b", "a\\b", true},
        PatternCase{"LetterAsItIs", "\\A", "a", true},
        PatternCase{"CharacterAsItIs", "\\\xE6\xB5\x8B", "\xE6\xB5\x8B", true},
        PatternCase{"LineFeedsAreCharacters", "a?b", "a\nb", true}),
    CaseName());

TEST(LikePattern, IsNoneWhenItEndsInABackslashThatTakesNothing) {
  EXPECT_FALSE(LikePattern::Parse("\\").has_value());
  EXPECT_FALSE(LikePattern::Parse("a*\\").has_value());
  EXPECT_FALSE(LikePattern::Parse("a\\\\\\").has_value());
  EXPECT_TRUE(LikePattern::Parse("a\\\\").has_value());
}

// What takes a day if every '*' is tried with every length.
TEST(LikePattern, GivesHostilePatternsNoTimeToSpeakOf) {
  std::string pattern;
  for (int i = 0; i < 250; ++i) pattern += "*a";
  EXPECT_FALSE(Matches(pattern + "*b", std::string(6000, 'a')));
  EXPECT_TRUE(Matches(pattern + "*", std::string(6000, 'a')));
  EXPECT_FALSE(Matches("*" + std::string(700, 'a') + "b*", std::string(6000, 'a')));
}

// ---- against the plain meaning ----

std::vector<std::string> CharactersOf(std::string_view text) {
  std::vector<std::string> characters;
  for (const char c : text) {
    if (characters.empty() || !IsUtf8Continuation(c)) characters.emplace_back();
    characters.back() += FoldAscii(c);
  }
  return characters;
}

// Whether the characters from i on match the pattern's from p on, tried in every way.
bool PlainlyMatches(const std::vector<std::string>& pattern, std::size_t p,
                    const std::vector<std::string>& text, std::size_t i) {
  if (p == pattern.size()) return i == text.size();
  if (pattern[p] == "*") {
    for (std::size_t end = i; end <= text.size(); ++end) {
      if (PlainlyMatches(pattern, p + 1, text, end)) return true;
    }
    return false;
  }
  if (i == text.size()) return false;
  const bool is_escape = pattern[p] == "\\";
  const std::size_t at = is_escape ? p + 1 : p;
  const bool fits = (!is_escape && pattern[p] == "?") || pattern[at] == text[i];
  return fits && PlainlyMatches(pattern, at + 1, text, i + 1);
}

std::string RandomText(std::mt19937& random, const std::vector<std::string>& letters,
                       std::size_t max_letters) {
  std::string text;
  for (std::size_t left = random() % (max_letters + 1); left > 0; --left) {
    text += letters[random() % letters.size()];
  }
  return text;
}

TEST(LikePattern, MatchesWhatTheRulesSay) {
  const Seed seed;
  std::mt19937 random(seed.value());
  const std::vector<std::string> letters = {"a", "A",  "b",        "*",
                                            "?", "\\", "\xC3\xA4", "\xE6\xB5\x8B"};
  const std::vector<std::string> signs = {
      "a", "b", "*", "*", "?", "\\*", "\\?", "B", "\xC3\xA4", "\xE6\xB5\x8B", "\\\\"};
  int matches = 0;
  for (int round = 0; round < 100'000; ++round) {
    const std::string text = RandomText(random, letters, 8);
    const std::string pattern = RandomText(random, signs, 6);
    const bool expected =
        pattern.empty() || PlainlyMatches(CharactersOf(pattern), 0, CharactersOf(text), 0);
    ASSERT_EQ(Matches(pattern, text), expected) << "'" << pattern << "', '" << text << "'";
    matches += expected ? 1 : 0;
  }
  EXPECT_GT(matches, 5'000);
}

}  // namespace
}  // namespace zervane
