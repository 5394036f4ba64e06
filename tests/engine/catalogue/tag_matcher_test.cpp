#include "engine/catalogue/tag_matcher.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "tests/support/case_name.h"

namespace zervane {
namespace {

constexpr auto kEqual = ZR3_RELATION_EQUAL;
constexpr auto kNonEqual = ZR3_RELATION_NON_EQUAL;
constexpr auto kGreat = ZR3_RELATION_GREAT;
constexpr auto kLess = ZR3_RELATION_LESS;
constexpr auto kGreatEqual = ZR3_RELATION_GREAT_EQUAL;
constexpr auto kLessEqual = ZR3_RELATION_LESS_EQUAL;
constexpr auto kLike = ZR3_RELATION_LIKE;

constexpr auto kName = ZR3_TAG_COL_COMM_PROP_TAG_NAME;
constexpr auto kDescriptor = ZR3_TAG_COL_COMM_PROP_DESCRIPTOR;
constexpr auto kType = ZR3_TAG_COL_COMM_PROP_TAG_TYPE;
constexpr auto kCompDev = ZR3_TAG_COL_COMM_PROP_COMP_DEV;

Tag Pump() {
  Tag tag;
  tag.id = 4'000'000'000;
  tag.name = "Pump7.PV";
  tag.eng_units = "bar";
  tag.type = ZR3_TAG_TYPE_INT32;
  tag.comp_dev = 0.1F;
  tag.min_value = -40;
  tag.archiving = true;
  tag.scan = false;
  tag.creation_date = 3'000'000'000;
  tag.point().collector_id = -5;
  tag.point().device_name = "PLC";
  tag.point().data_order = ZR3_DATA_ORDER_21;
  return tag;
}

struct MatchCase {
  const char* name;
  std::vector<Condition> conditions;
  bool matches;
};

class Conditions : public testing::TestWithParam<MatchCase> {};

TEST_P(Conditions, FindATag) {
  const auto matcher = TagMatcher::Compile({.class_mask = -1, .conditions = GetParam().conditions});
  ASSERT_TRUE(matcher.ok()) << matcher.status().message();
  EXPECT_EQ(matcher->Matches(*PackedTag::Pack(Pump())), GetParam().matches);
}

INSTANTIATE_TEST_SUITE_P(
    Pump, Conditions,
    testing::Values(
        MatchCase{"None", {}, true},
        MatchCase{"NameInAnyCase", {{kName, kEqual, "pUMP7.pv"}}, true},
        MatchCase{"OtherName", {{kName, kEqual, "pump8.pv"}}, false},
        MatchCase{"NotThatName", {{kName, kNonEqual, "pump7.pv"}}, false},
        MatchCase{"NameGreater", {{kName, kGreat, "PUMP7"}}, true},
        MatchCase{"NameNotGreaterThanItself", {{kName, kGreat, "PUMP7.PV"}}, false},
        MatchCase{"NameGreaterOrEqual", {{kName, kGreatEqual, "PUMP7.PV"}}, true},
        MatchCase{"NameLess", {{kName, kLess, "q"}}, true},
        MatchCase{"NameLessOrEqual", {{kName, kLessEqual, "PUMP7.PV"}}, true},
        MatchCase{"NameLike", {{kName, kLike, "*.pv"}}, true},
        MatchCase{"UnderscoreIsBelowLetters", {{kName, kGreat, "_"}}, true},
        MatchCase{"EmptyTextIsEmpty", {{kDescriptor, kEqual, ""}}, true},
        MatchCase{"EmptyTextIsLess", {{kDescriptor, kLess, "a"}}, true},
        MatchCase{"EmptyPattern", {{kDescriptor, kLike, ""}, {kName, kLike, ""}}, true},
        MatchCase{"QuestionMarkAndEmptyText", {{kDescriptor, kLike, "?"}}, false},
        MatchCase{"AllHold", {{kName, kLike, "p*"}, {kType, kEqual, "2"}}, true},
        MatchCase{"OneDoesNot", {{kName, kLike, "p*"}, {kType, kEqual, "3"}}, false},
        MatchCase{"EnumerationBetween", {{kType, kGreat, "1.5"}, {kType, kLess, "2.5"}}, true},
        MatchCase{"EnumerationIsNoFraction", {{kType, kEqual, "2.5"}}, false},
        MatchCase{"EnumerationWithZeros", {{kType, kEqual, "2.000"}}, true},
        MatchCase{"FloatRounded", {{kCompDev, kEqual, "0.1"}}, true},
        MatchCase{"FloatNotGreaterThanRounded", {{kCompDev, kGreat, "0.1"}}, false},
        MatchCase{"FloatRoundedFromMoreDigits", {{kCompDev, kEqual, "0.100000001"}}, true},
        MatchCase{"NegativeFloat", {{ZR3_TAG_COL_COMM_PROP_MIN_VALUE, kLess, "-39.9"}}, true},
        MatchCase{"FlagSet", {{ZR3_TAG_COL_COMM_PROP_ARCHIVING, kEqual, "1"}}, true},
        MatchCase{"FlagNotSet", {{ZR3_TAG_COL_COMM_PROP_SCAN, kEqual, "0"}}, true},
        MatchCase{"FlagIsNoTwo", {{ZR3_TAG_COL_COMM_PROP_ARCHIVING, kEqual, "2"}}, false},
        MatchCase{"Identifier", {{ZR3_TAG_COL_COMM_PROP_TAGID, kEqual, "4e9"}}, true},
        MatchCase{"IdentifierPastTheColumn", {{ZR3_TAG_COL_COMM_PROP_TAGID, kLess, "1e30"}}, true},
        MatchCase{"DatePastTheSignBit",
                  {{ZR3_TAG_COL_COMM_PROP_CREATION_DATE, kGreat, "2999999999"}},
                  true},
        MatchCase{"DateIsNotNegative", {{ZR3_TAG_COL_COMM_PROP_CREATION_DATE, kLess, "0"}}, false},
        MatchCase{"ClassColumn", {{ZR3_TAG_COL_COMM_PROP_TAG_CLASS, kEqual, "0"}}, true},
        MatchCase{"OwnText", {{ZR3_TAG_COL_PT_EXT_PROP_DEVICE_NAME, kEqual, "plc"}}, true},
        MatchCase{"OwnNumber", {{ZR3_TAG_COL_PT_EXT_PROP_COLLECTOR_ID, kEqual, "-5"}}, true},
        MatchCase{"OwnEnumeration", {{ZR3_TAG_COL_PT_EXT_PROP_DATA_ORDER, kEqual, "2"}}, true},
        MatchCase{"ColumnOfAnotherClass", {{ZR3_TAG_COL_AM_EXT_PROP_TEST1, kLike, "*"}}, false},
        MatchCase{"NumberOfAnotherClass", {{ZR3_TAG_COL_ST_EXT_PROP_RESET, kEqual, "0"}}, false},
        MatchCase{"ColumnsOfTwoClasses",
                  {{ZR3_TAG_COL_PT_EXT_PROP_DEVICE_NAME, kLike, "*"},
                   {ZR3_TAG_COL_CA_EXT_PROP_CALC_EXPR, kLike, "*"}},
                  false}),
    CaseName());

// The double columns are of statistics tags alone.
TEST(TagMatcher, RoundsToTheTypeOfTheColumn) {
  Tag tag;
  tag.name = "s";
  tag.tag_class = ZR3_TAG_CLASS_STATS;
  StatisticsProperties own;
  own.conversion = 0.1;
  own.pct_good = 0.1F;
  tag.own = own;
  const Ref<const PackedTag> packed = PackedTag::Pack(tag);
  const auto matches = [&](std::int32_t column, const char* value) {
    return TagMatcher::Compile({-1, {{column, kEqual, value}}})->Matches(*packed);
  };
  EXPECT_TRUE(matches(ZR3_TAG_COL_ST_EXT_PROP_CONVERSION, "0.1"));
  EXPECT_FALSE(matches(ZR3_TAG_COL_ST_EXT_PROP_CONVERSION, "0.100000001"));
  EXPECT_TRUE(matches(ZR3_TAG_COL_ST_EXT_PROP_PCT_GOOD, "0.100000001"));
}

// ---- classes ----

struct ClassMaskCase {
  const char* name;
  std::int64_t class_mask;
  ZR3_STATUS status;
  bool has_points;
  bool has_alarms;
};

class ClassMask : public testing::TestWithParam<ClassMaskCase> {};

TEST_P(ClassMask, HasABitForEachClassAndOneForAll) {
  const ClassMaskCase& row = GetParam();
  const auto matcher = TagMatcher::Compile({.class_mask = row.class_mask, .conditions = {}});
  ASSERT_EQ(matcher.code(), row.status);
  if (row.status != ZR3_OK) return;
  Tag tag = Pump();
  EXPECT_EQ(matcher->Matches(*PackedTag::Pack(tag)), row.has_points);
  tag.own = AlarmProperties{};
  tag.tag_class = ZR3_TAG_CLASS_ALARM;
  EXPECT_EQ(matcher->Matches(*PackedTag::Pack(tag)), row.has_alarms);
}

INSTANTIATE_TEST_SUITE_P(
    Masks, ClassMask,
    testing::Values(ClassMaskCase{"Points", 1, ZR3_OK, true, false},
                    ClassMaskCase{"Alarms", 2, ZR3_OK, false, true},
                    ClassMaskCase{"Both", 3, ZR3_OK, true, true},
                    ClassMaskCase{"Others", 4 + 8 + 16 + 32, ZR3_OK, false, false},
                    ClassMaskCase{"BitOfAll", 64, ZR3_OK, true, true},
                    ClassMaskCase{"BitOfAllAndAnother", 64 + 4, ZR3_OK, true, true},
                    ClassMaskCase{"MinusOne", -1, ZR3_OK, true, true},
                    ClassMaskCase{"Nothing", 0, ZR3_ERR_INVALID_MASK, false, false},
                    ClassMaskCase{"NoSuchClass", 128, ZR3_ERR_INVALID_MASK, false, false},
                    ClassMaskCase{"NoSuchClassToo", 1 + 128, ZR3_ERR_INVALID_MASK, false, false},
                    ClassMaskCase{"MinusTwo", -2, ZR3_ERR_INVALID_MASK, false, false},
                    ClassMaskCase{"FarBit", (std::int64_t{1} << 40) | 1, ZR3_ERR_INVALID_MASK,
                                  false, false},
                    ClassMaskCase{"SignBit", std::numeric_limits<std::int64_t>::min(),
                                  ZR3_ERR_INVALID_MASK, false, false}),
    CaseName());

// ---- conditions that mean nothing ----

struct RefusalCase {
  const char* name;
  Condition condition;
  ZR3_STATUS status;
};

class ConditionWithoutMeaning : public testing::TestWithParam<RefusalCase> {};

TEST_P(ConditionWithoutMeaning, IsRefused) {
  const std::vector<Condition> conditions = {{kName, kLike, "*"}, GetParam().condition};
  EXPECT_EQ(TagMatcher::Compile({-1, conditions}).code(), GetParam().status);
}

constexpr auto kArgument = ZR3_ERR_INVALID_ARGUMENT;

INSTANTIATE_TEST_SUITE_P(
    Conditions, ConditionWithoutMeaning,
    testing::Values(
        RefusalCase{"ColumnBelowAll", {-1, kEqual, "1"}, kArgument},
        RefusalCase{"ColumnPastCommon", {36, kEqual, "1"}, kArgument},
        RefusalCase{"ColumnBeforePoints", {99, kEqual, "1"}, kArgument},
        RefusalCase{"ColumnPastPoints", {109, kEqual, "1"}, kArgument},
        RefusalCase{"ColumnPastAlarms", {213, kEqual, "1"}, kArgument},
        RefusalCase{"ColumnOfProcessControl", {300, kEqual, "1"}, kArgument},
        RefusalCase{"ColumnPastStatistics", {426, kEqual, "1"}, kArgument},
        RefusalCase{"ColumnPastCalculations", {508, kEqual, "1"}, kArgument},
        RefusalCase{"ColumnOfAJavaByteBelowZero", {255, kEqual, "1"}, kArgument},
        RefusalCase{"GreatestColumn", {2147483647, kEqual, "1"}, kArgument},
        RefusalCase{"RelationBelowAll", {kName, -1, "a"}, kArgument},
        RefusalCase{"RelationPastAll", {kName, 7, "a"}, kArgument},
        RefusalCase{"LikeWithANumber", {kType, kLike, "1"}, kArgument},
        RefusalCase{"LikeWithAFlag", {ZR3_TAG_COL_COMM_PROP_SCAN, kLike, "*"}, kArgument},
        RefusalCase{"WordForANumber", {kType, kEqual, "FLOAT64"}, kArgument},
        RefusalCase{"NothingForANumber", {kType, kEqual, ""}, kArgument},
        RefusalCase{"SpaceAroundANumber", {kType, kEqual, " 1"}, kArgument},
        RefusalCase{"WordForANumberOfAnotherClass",
                    {ZR3_TAG_COL_AM_EXT_PROP_AUTOACK, kEqual, "yes"},
                    kArgument},
        RefusalCase{"PatternEndsInABackslash", {kName, kLike, "a\\"}, kArgument},
        RefusalCase{"NotUtf8", {kName, kEqual, "\xFF"}, ZR3_ERR_INVALID_TEXT},
        RefusalCase{"TooLong", {kName, kEqual, std::string(766, 'a')}, ZR3_ERR_INVALID_TEXT}),
    CaseName());

TEST(TagMatcher, TakesTheLongestValueAndABackslashWhereThereIsNoPattern) {
  EXPECT_TRUE(TagMatcher::Compile({-1, {{kName, kEqual, std::string(765, 'a')}}}).ok());
  EXPECT_TRUE(TagMatcher::Compile({-1, {{kName, kEqual, "a\\"}}}).ok());
}

TEST(TagMatcher, TakesTenThousandConditions) {
  TagQuery query;
  for (int i = 0; i < 10'000; ++i) {
    query.conditions.push_back({kName, kNonEqual, "x" + std::to_string(i)});
  }
  EXPECT_TRUE(TagMatcher::Compile(query)->Matches(*PackedTag::Pack(Pump())));
  query.conditions.push_back({kName, kLike, "x*"});
  EXPECT_FALSE(TagMatcher::Compile(query)->Matches(*PackedTag::Pack(Pump())));
}

}  // namespace
}  // namespace zervane
