// Which texts are alarm tests and actions, what they say, and what is told of those that are none.

#include "engine/alarms/alarm_test.h"

#include <gtest/gtest.h>

#include <string>
#include <string_view>

#include "tests/support/case_name.h"

namespace zervane {
namespace {

using Comparison = AlarmTest::Comparison;

AlarmTest LimitTest(std::int32_t type, Comparison comparison, double limit, std::int32_t priority) {
  return {.type = type, .comparison = comparison, .limit = limit, .priority = priority};
}

AlarmTest ChangeTest(double least, std::int32_t priority) {
  return {.type = ZR3_AM_REC_TYPE_CHANGE, .limit = least, .priority = priority};
}

// ---- tests ----

struct TestCase {
  const char* name;
  std::string_view text;
  AlarmTest test;
};

class AlarmTestText : public testing::TestWithParam<TestCase> {};

TEST_P(AlarmTestText, IsATest) {
  const auto parsed = ParseAlarmTest(GetParam().text);
  ASSERT_TRUE(parsed.ok()) << parsed.status().message();
  ASSERT_TRUE(parsed->has_value());
  EXPECT_EQ(**parsed, GetParam().test);
}

INSTANTIATE_TEST_SUITE_P(
    Of, AlarmTestText,
    testing::Values(
        TestCase{"LoLo", "LOLO < 5", LimitTest(ZR3_AM_REC_TYPE_LOLO, Comparison::kLess, 5, 1)},
        TestCase{"Low", "LOW <= 10",
                 LimitTest(ZR3_AM_REC_TYPE_LOW, Comparison::kLessOrEqual, 10, 2)},
        TestCase{"High", "HIGH > 90", LimitTest(ZR3_AM_REC_TYPE_HIGH, Comparison::kGreater, 90, 2)},
        TestCase{"HiHi", "HIHI >= 95",
                 LimitTest(ZR3_AM_REC_TYPE_HIHI, Comparison::kGreaterOrEqual, 95, 1)},
        TestCase{"Equal", "HIGH = 1", LimitTest(ZR3_AM_REC_TYPE_HIGH, Comparison::kEqual, 1, 2)},
        TestCase{"NotEqual", "LOW <> 0",
                 LimitTest(ZR3_AM_REC_TYPE_LOW, Comparison::kNotEqual, 0, 2)},
        TestCase{"AnyTypeHasAnyComparison", "LOLO > 5",
                 LimitTest(ZR3_AM_REC_TYPE_LOLO, Comparison::kGreater, 5, 1)},
        TestCase{"APriority", "HIGH > 90 PRIORITY 4",
                 LimitTest(ZR3_AM_REC_TYPE_HIGH, Comparison::kGreater, 90, 4)},
        TestCase{"TheFirstPriority", "LOW < 3 PRIORITY 1",
                 LimitTest(ZR3_AM_REC_TYPE_LOW, Comparison::kLess, 3, 1)},
        TestCase{"AnyCase", "hiHi >= 95 Priority 3",
                 LimitTest(ZR3_AM_REC_TYPE_HIHI, Comparison::kGreaterOrEqual, 95, 3)},
        TestCase{"NoSpacesBesideTheComparison", "HIGH>90 PRIORITY 3",
                 LimitTest(ZR3_AM_REC_TYPE_HIGH, Comparison::kGreater, 90, 3)},
        TestCase{"ManySpaces", "  HIGH   >   90   PRIORITY   3  ",
                 LimitTest(ZR3_AM_REC_TYPE_HIGH, Comparison::kGreater, 90, 3)},
        TestCase{"OtherBlanks", "\tHIGH\n>\r\n90\tPRIORITY\t3\n",
                 LimitTest(ZR3_AM_REC_TYPE_HIGH, Comparison::kGreater, 90, 3)},
        TestCase{"ASignBesideTheComparison", "LOW<-5",
                 LimitTest(ZR3_AM_REC_TYPE_LOW, Comparison::kLess, -5, 2)},
        TestCase{"APlusSign", "LOW < +5", LimitTest(ZR3_AM_REC_TYPE_LOW, Comparison::kLess, 5, 2)},
        TestCase{"AFraction", "LOW < -0.25",
                 LimitTest(ZR3_AM_REC_TYPE_LOW, Comparison::kLess, -0.25, 2)},
        TestCase{"AFractionAlone", "LOW < .5",
                 LimitTest(ZR3_AM_REC_TYPE_LOW, Comparison::kLess, 0.5, 2)},
        TestCase{"APointAtTheEnd", "LOW < 5. PRIORITY 1",
                 LimitTest(ZR3_AM_REC_TYPE_LOW, Comparison::kLess, 5, 1)},
        TestCase{"AnExponent", "HIGH > 1.5e3",
                 LimitTest(ZR3_AM_REC_TYPE_HIGH, Comparison::kGreater, 1500, 2)},
        TestCase{"AnExponentWithASign", "HIGH > 2E-2 PRIORITY 2",
                 LimitTest(ZR3_AM_REC_TYPE_HIGH, Comparison::kGreater, 0.02, 2)},
        TestCase{"TheGreatestNumber", "HIGH > 1.7976931348623157e308",
                 LimitTest(ZR3_AM_REC_TYPE_HIGH, Comparison::kGreater, 1.7976931348623157e308, 2)},
        TestCase{"Change", "CHANGE", ChangeTest(0, 3)},
        TestCase{"ChangeByTheLeast", "CHANGE 2.5", ChangeTest(2.5, 3)},
        TestCase{"ChangeByZero", "CHANGE 0", ChangeTest(0, 3)},
        TestCase{"ChangeByNegativeZero", "CHANGE -0.0", ChangeTest(0, 3)},
        TestCase{"ChangeWithAPriority", "CHANGE PRIORITY 1", ChangeTest(0, 1)},
        TestCase{"ChangeWithBoth", " change  5  priority  4 ", ChangeTest(5, 4)}),
    CaseName());

TEST(AlarmText, IsNoneWhenItIsEmptyOrOfSpaces) {
  for (const std::string_view text : {"", " ", "  \t\n "}) {
    const auto parsed = ParseAlarmTest(text);
    ASSERT_TRUE(parsed.ok()) << parsed.status().message();
    EXPECT_FALSE(parsed->has_value());
    const auto action = ParseAlarmAction(text);
    ASSERT_TRUE(action.ok()) << action.status().message();
    EXPECT_FALSE(action->has_value());
  }
}

struct ErrorCase {
  const char* name;
  std::string_view text;
  const char* message;
};

class AlarmTestError : public testing::TestWithParam<ErrorCase> {};

TEST_P(AlarmTestError, NamesItsPlaceAndWhatWasExpectedThere) {
  const auto parsed = ParseAlarmTest(GetParam().text);
  ASSERT_FALSE(parsed.ok()) << GetParam().text;
  EXPECT_EQ(parsed.code(), ZR3_ERR_INVALID_ALARM_TEST);
  EXPECT_EQ(parsed.status().message(), GetParam().message);
}

INSTANTIATE_TEST_SUITE_P(
    Of, AlarmTestError,
    testing::Values(
        ErrorCase{"AComparisonAlone", "> 5",
                  "column 1: expected LOLO, LOW, HIGH, HIHI or CHANGE, found >"},
        ErrorCase{"ANumberAlone", " 5",
                  "column 2: expected LOLO, LOW, HIGH, HIHI or CHANGE, found 5"},
        ErrorCase{"ALongerWord", "HIGHER > 5",
                  "column 1: expected LOLO, LOW, HIGH, HIHI or CHANGE, found HIGHER"},
        ErrorCase{"AShorterWord", "HI > 5",
                  "column 1: expected LOLO, LOW, HIGH, HIHI or CHANGE, found HI"},
        ErrorCase{"AWordWithoutASpaceBeforeTheNumber", "CHANGE5",
                  "column 1: expected LOLO, LOW, HIGH, HIHI or CHANGE, found CHANGE5"},
        ErrorCase{"AWordOfManyLetters", "ABCDEFGHIJKLMNOPQRSTUVWXYZ",
                  "column 1: expected LOLO, LOW, HIGH, HIHI or CHANGE, found ABCDEFGHIJKLMNOP"},
        ErrorCase{"ATypeAlone", "HIGH", "column 5: expected a comparison, found the end"},
        ErrorCase{"NoComparison", "HIGH 90", "column 6: expected a comparison, found 90"},
        ErrorCase{"AWordForAComparison", "HIGH GT 90", "column 6: expected a comparison, found GT"},
        ErrorCase{"AnExclamationMark", "HIGH != 90", "column 6: expected a comparison, found !"},
        ErrorCase{"NoNumber", "HIGH > ", "column 8: expected a number, found the end"},
        ErrorCase{"AWordForANumber", "HIGH > x", "column 8: expected a number, found x"},
        ErrorCase{"TwoEqualsSigns", "HIGH == 1", "column 7: expected a number, found ="},
        ErrorCase{"ASpaceInAComparison", "HIGH > = 1", "column 8: expected a number, found ="},
        ErrorCase{"TheComparisonTurnedRound", "HIGH >< 1", "column 7: expected a number, found <"},
        ErrorCase{"Infinity", "HIGH > inf", "column 8: expected a number, found inf"},
        ErrorCase{"NotANumber", "HIGH > nan", "column 8: expected a number, found nan"},
        ErrorCase{"APointAlone", "HIGH > . PRIORITY 1", "column 8: expected a number, found ."},
        ErrorCase{"TwoSigns", "HIGH > --1", "column 8: expected a number, found -"},
        ErrorCase{"ASpaceBehindTheSign", "HIGH > - 1", "column 8: expected a number, found -"},
        ErrorCase{"TooGreatANumber", "HIGH > 1e309", "column 8: the number is out of range"},
        ErrorCase{"TooSmallANumber", "HIGH > -1e-400", "column 8: the number is out of range"},
        ErrorCase{"TwoPoints", "HIGH > 1.2.3", "column 11: expected a space or the end, found ."},
        ErrorCase{"HexadecimalDigits", "HIGH > 0x10",
                  "column 9: expected a space or the end, found x10"},
        ErrorCase{"AnExponentWithoutDigits", "HIGH > 5e",
                  "column 9: expected a space or the end, found e"},
        ErrorCase{"ANumberBeforeAWord", "HIGH > 5PRIORITY 1",
                  "column 9: expected a space or the end, found PRIORITY"},
        ErrorCase{"ADecimalComma", "HIGH > 1,5", "column 9: expected PRIORITY or the end, found ,"},
        ErrorCase{"TwoNumbers", "HIGH > 1 2", "column 10: expected PRIORITY or the end, found 2"},
        ErrorCase{"AUnit", "HIGH > 90 degC", "column 11: expected PRIORITY or the end, found degC"},
        ErrorCase{"ANumberBehindTheWord", "HIGH > 90 PRIORITY2",
                  "column 11: expected PRIORITY or the end, found PRIORITY2"},
        ErrorCase{"NoPriority", "HIGH > 90 PRIORITY",
                  "column 19: expected a priority from 1 to 4, found the end"},
        ErrorCase{"PriorityZero", "HIGH > 90 PRIORITY 0",
                  "column 20: expected a priority from 1 to 4, found 0"},
        ErrorCase{"PriorityFive", "HIGH > 90 PRIORITY 5",
                  "column 20: expected a priority from 1 to 4, found 5"},
        ErrorCase{"ANegativePriority", "HIGH > 90 PRIORITY -1",
                  "column 20: expected a priority from 1 to 4, found -"},
        ErrorCase{"APriorityOfTwoDigits", "HIGH > 90 PRIORITY 12",
                  "column 21: expected a space or the end, found 2"},
        ErrorCase{"AFractionOfAPriority", "HIGH > 90 PRIORITY 1.0",
                  "column 21: expected a space or the end, found ."},
        ErrorCase{"TwoPriorities", "HIGH > 90 PRIORITY 1 PRIORITY 2",
                  "column 22: expected the end, found PRIORITY"},
        ErrorCase{"AChangeWithAComparison", "CHANGE > 5",
                  "column 8: expected a number, PRIORITY or the end, found >"},
        ErrorCase{"AChangeByAWord", "CHANGE much",
                  "column 8: expected a number, PRIORITY or the end, found much"},
        ErrorCase{"AChangeByTwoNumbers", "CHANGE 1 2",
                  "column 10: expected PRIORITY or the end, found 2"},
        ErrorCase{"AChangeByAFractionWithoutASpace", "CHANGE.5",
                  "column 7: expected a space or the end, found ."},
        ErrorCase{"AChangeByASignedNumberWithoutASpace", "CHANGE+5 PRIORITY 1",
                  "column 7: expected a space or the end, found +"},
        ErrorCase{"AChangeByNegativeZeroWithoutASpace", "CHANGE-0",
                  "column 7: expected a space or the end, found -"},
        ErrorCase{"AChangeByLessThanNothing", "CHANGE -1",
                  "column 8: the least difference is negative"},
        ErrorCase{"TwoTests", "HIGH > 90; LOW < 5",
                  "column 10: expected PRIORITY or the end, found ;"},
        ErrorCase{"LettersThatAreNotAscii", "HIGH\xc3\xa9 > 5",
                  "column 5: expected a comparison, found the byte 0xc3"},
        ErrorCase{"AZeroByte", std::string_view("HIGH\0> 5", 8),
                  "column 5: expected a comparison, found the byte 0x00"}),
    CaseName());

// ---- actions ----

struct ActionCase {
  const char* name;
  std::string_view text;
  const char* target;
  double number;
};

class AlarmActionText : public testing::TestWithParam<ActionCase> {};

TEST_P(AlarmActionText, IsAnAction) {
  const auto parsed = ParseAlarmAction(GetParam().text);
  ASSERT_TRUE(parsed.ok()) << parsed.status().message();
  ASSERT_TRUE(parsed->has_value());
  EXPECT_EQ((*parsed)->target, GetParam().target);
  EXPECT_EQ((*parsed)->number, GetParam().number);
}

INSTANTIATE_TEST_SUITE_P(
    Of, AlarmActionText,
    testing::Values(ActionCase{"AWholeNumber", "SET 'PUMP.RUN' 1", "PUMP.RUN", 1},
                    ActionCase{"ANegativeOne", "SET 'LIC 7.SP' -12.5e-1", "LIC 7.SP", -1.25},
                    ActionCase{"AnyCase", "sEt 'Pump' 0", "Pump", 0},
                    ActionCase{"ManySpaces", "  SET   'Pump'   5  ", "Pump", 5},
                    ActionCase{"NoSpacesBesideTheQuotes", "SET'Pump'5", "Pump", 5},
                    ActionCase{"SpacesInTheName", "SET ' a b ' 5", " a b ", 5},
                    ActionCase{"AQuoteInTheName", "SET 'O''Hara''s' 5", "O'Hara's", 5},
                    ActionCase{"AQuoteAlone", "SET '''' 5", "'", 5},
                    ActionCase{"LettersThatAreNotAscii", "SET '\xe6\xb8\xa9' 5", "\xe6\xb8\xa9",
                               5}),
    CaseName());

class AlarmActionError : public testing::TestWithParam<ErrorCase> {};

TEST_P(AlarmActionError, NamesItsPlaceAndWhatWasExpectedThere) {
  const auto parsed = ParseAlarmAction(GetParam().text);
  ASSERT_FALSE(parsed.ok()) << GetParam().text;
  EXPECT_EQ(parsed.code(), ZR3_ERR_INVALID_ALARM_TEST);
  EXPECT_EQ(parsed.status().message(), GetParam().message);
}

INSTANTIATE_TEST_SUITE_P(
    Of, AlarmActionError,
    testing::Values(
        ErrorCase{"AnotherWord", "RUN 'x' 1", "column 1: expected SET, found RUN"},
        ErrorCase{"ALongerWord", "SETS 'x' 1", "column 1: expected SET, found SETS"},
        ErrorCase{"AWordAlone", "SET", "column 4: expected a tag's name in quotes, found the end"},
        ErrorCase{"ANameWithoutQuotes", "SET x 1",
                  "column 5: expected a tag's name in quotes, found x"},
        ErrorCase{"OtherQuotes", "SET \"x\" 1",
                  "column 5: expected a tag's name in quotes, found \""},
        ErrorCase{"AnEmptyName", "SET '' 1", "column 6: expected a tag's name, found '"},
        ErrorCase{"AQuoteAtTheEnd", "SET '", "column 6: expected a tag's name, found the end"},
        ErrorCase{"AnOpenName", "SET 'x 1",
                  "column 9: expected the quote that ends the name, found the end"},
        ErrorCase{"AQuoteThatIsDoubledAtTheEnd", "SET 'x'' 1",
                  "column 11: expected the quote that ends the name, found the end"},
        ErrorCase{"NoNumber", "SET 'x'", "column 8: expected a number, found the end"},
        ErrorCase{"AWordForANumber", "SET 'x' on", "column 9: expected a number, found on"},
        ErrorCase{"TooGreatANumber", "SET 'x' 1e999", "column 9: the number is out of range"},
        ErrorCase{"ANumberBeforeAWord", "SET 'x' 1and",
                  "column 10: expected a space or the end, found and"},
        ErrorCase{"TwoNumbers", "SET 'x' 1 2", "column 11: expected the end, found 2"},
        ErrorCase{"ATest", "HIGH > 5", "column 1: expected SET, found HIGH"}),
    CaseName());

TEST(AlarmText, KeepsAllButTheNameWhenItsTargetIsRenamed) {
  EXPECT_EQ(WithTarget("SET 'a' 1", "b"), "SET 'b' 1");
  EXPECT_EQ(WithTarget("  set  'O''Hara'  +1.50  ", "it's"), "  set  'it''s'  +1.50  ");
  EXPECT_EQ(WithTarget("SET''''1", "longer"), "SET'longer'1");
}

}  // namespace
}  // namespace zervane
