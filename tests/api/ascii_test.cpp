#include "api/words/ascii.h"

#include <gtest/gtest.h>

#include <string>
#include <string_view>

#include "tests/support/case_name.h"

namespace zervane {
namespace {

struct FoldCase {
  const char* name;
  std::string given;
  std::string folded;
};

class FoldedName : public testing::TestWithParam<FoldCase> {};

TEST_P(FoldedName, HasAsciiLettersInLowerCase) {
  EXPECT_EQ(FoldAscii(GetParam().given), GetParam().folded);
}

INSTANTIATE_TEST_SUITE_P(Names, FoldedName,
                         testing::Values(FoldCase{"Letters", "FIC101.Pv", "fic101.pv"},
                                         FoldCase{"NeighboursOfLetters", "@AZ[`az{", "@az[`az{"},
                                         FoldCase{"OtherScripts", "\xC3\x84\xFF", "\xC3\x84\xFF"},
                                         FoldCase{"Empty", "", ""}),
                         CaseName());

struct CompareCase {
  const char* name;
  std::string_view smaller;
  std::string_view greater;
};

class FoldedOrder : public testing::TestWithParam<CompareCase> {};

TEST_P(FoldedOrder, IsThatOfUnsignedBytesAfterFolding) {
  const CompareCase& row = GetParam();
  EXPECT_TRUE(CompareFolded(row.smaller, row.greater) < 0);
  EXPECT_TRUE(CompareFolded(row.greater, row.smaller) > 0);
  EXPECT_FALSE(EqualsFolded(row.smaller, row.greater));
}

INSTANTIATE_TEST_SUITE_P(Texts, FoldedOrder,
                         testing::Values(CompareCase{"Letters", "Ab", "aC"},
                                         CompareCase{"BeginOfTheOther", "PUMP", "pump1"},
                                         CompareCase{"Empty", "", "a"},
                                         CompareCase{"UnderscoreBelowLetters", "_", "A"},
                                         CompareCase{"BytesAbove127AreGreat", "z", "\xC3\x84"}),
                         CaseName());

TEST(FoldedTexts, AreEqualWhateverTheCaseOfTheirAsciiLetters) {
  EXPECT_TRUE(EqualsFolded("FIC101.pv", "fic101.PV"));
  EXPECT_FALSE(EqualsFolded("\xC3\x84", "\xC3\xA4")) << "letters of other scripts have no case";
}

}  // namespace
}  // namespace zervane
