#include "engine/catalogue/rules.h"

#include <gtest/gtest.h>

#include <cmath>
#include <functional>
#include <limits>
#include <string>
#include <vector>

#include "api/words/tag_columns.h"
#include "tests/support/case_name.h"

namespace zervane {
namespace {

// ---- names ----

struct NameCase {
  const char* name;
  std::string given;
  ZR3_STATUS status;
};

class TagName : public testing::TestWithParam<NameCase> {};

TEST_P(TagName, HasOneTo765BytesOfUtf8AndNoControlCharacters) {
  EXPECT_EQ(CheckName(GetParam().given).code(), GetParam().status);
}

INSTANTIATE_TEST_SUITE_P(
    Names, TagName,
    testing::Values(NameCase{"OneByte", "a", ZR3_OK},
                    NameCase{"Longest", std::string(765, 'x'), ZR3_OK},
                    NameCase{"Space", " ", ZR3_OK}, NameCase{"Tilde", "~", ZR3_OK},
                    NameCase{"OtherScripts", "\xE6\xB5\x8B\xF0\x9F\x9A\xB0", ZR3_OK},
                    NameCase{"NotUtf8", "\x80\xFF", ZR3_ERR_INVALID_TEXT},
                    NameCase{"Surrogate", "\xED\xA0\x80", ZR3_ERR_INVALID_TEXT},
                    NameCase{"Empty", "", ZR3_ERR_INVALID_TAG_NAME},
                    NameCase{"TooLong", std::string(766, 'x'), ZR3_ERR_INVALID_TAG_NAME},
                    NameCase{"Nul", std::string("a\0b", 3), ZR3_ERR_INVALID_TAG_NAME},
                    NameCase{"LineFeed", "a\n", ZR3_ERR_INVALID_TAG_NAME},
                    NameCase{"LastControlBelowSpace", "\x1F", ZR3_ERR_INVALID_TAG_NAME},
                    NameCase{"Delete", "a\x7F", ZR3_ERR_INVALID_TAG_NAME}),
    CaseName());

// ---- masks ----

struct MaskCase {
  const char* name;
  PropertyMask mask;
  ZR3_STATUS status;
};

class Mask : public testing::TestWithParam<MaskCase> {};

TEST_P(Mask, HasBitsForPropertiesAlone) {
  EXPECT_EQ(CheckMask(GetParam().mask, ZR3_TAG_CLASS_BASIC).code(), GetParam().status);
}

constexpr std::int64_t Bit(int bit) { return static_cast<std::int64_t>(std::uint64_t{1} << bit); }

INSTANTIATE_TEST_SUITE_P(
    Masks, Mask,
    testing::Values(MaskCase{"Nothing", {0, 0}, ZR3_OK}, MaskCase{"All", {-1, -1}, ZR3_OK},
                    MaskCase{"EveryCommonBit", {Bit(36) - 1, 0}, ZR3_OK},
                    MaskCase{"EveryExtensionBit", {0, Bit(9) - 1}, ZR3_OK},
                    MaskCase{"BitPastTheCommonOnes", {Bit(36), 0}, ZR3_ERR_INVALID_MASK},
                    MaskCase{"BitPastTheExtension", {0, Bit(9)}, ZR3_ERR_INVALID_MASK},
                    MaskCase{"MinusTwo", {-2, 0}, ZR3_ERR_INVALID_MASK},
                    MaskCase{"SignBitOfTheExtension", {0, Bit(63)}, ZR3_ERR_INVALID_MASK}),
    CaseName());

// ---- properties ----

struct PropertyCase {
  const char* name;
  std::function<void(Tag&)> change;
  ZR3_STATUS status;
};

class Property : public testing::TestWithParam<PropertyCase> {};

TEST_P(Property, StaysInItsRange) {
  Tag tag;
  tag.name = "a";
  GetParam().change(tag);
  EXPECT_EQ(CheckProperties(tag).code(), GetParam().status);
}

using Tag = Tag;
constexpr float kInfinity = std::numeric_limits<float>::infinity();

// A function, since a lambda's parameter inside the macro would shadow the macro's own.
std::vector<PropertyCase> PropertyCases() {
  return {
      {"Defaults", [](Tag&) {}, ZR3_OK},
      {"NoName", [](Tag& t) { t.name = ""; }, ZR3_ERR_INVALID_TAG_NAME},
      {"LeastType", [](Tag& t) { t.type = ZR3_TAG_TYPE_INT8; }, ZR3_OK},
      {"GreatestType", [](Tag& t) { t.type = ZR3_TAG_TYPE_BLOB; }, ZR3_OK},
      {"TypeTooGreat", [](Tag& t) { t.type = 8; }, ZR3_ERR_INVALID_TAG_TYPE},
      {"NegativeType", [](Tag& t) { t.type = -1; }, ZR3_ERR_INVALID_TAG_TYPE},
      {"AlarmClass", [](Tag& t) { t.tag_class = ZR3_TAG_CLASS_ALARM; }, ZR3_ERR_INVALID_TAG_CLASS},
      {"ProcessControlClass", [](Tag& t) { t.tag_class = ZR3_TAG_CLASS_SPC; },
       ZR3_ERR_NOT_SUPPORTED},
      {"SystemClass", [](Tag& t) { t.tag_class = ZR3_TAG_CLASS_SYS; }, ZR3_ERR_NOT_SUPPORTED},
      {"EveryClass", [](Tag& t) { t.tag_class = ZR3_TAG_CLASS_ALL; }, ZR3_ERR_INVALID_TAG_CLASS},
      {"NegativeClass", [](Tag& t) { t.tag_class = -1; }, ZR3_ERR_INVALID_TAG_CLASS},
      {"SwingingDoor", [](Tag& t) { t.comp_type = ZR3_COMP_TYPE_SDT; }, ZR3_OK},
      {"CompressionTooGreat", [](Tag& t) { t.comp_type = 2; }, ZR3_ERR_INVALID_PROPERTY},
      {"AvailableTooGreat", [](Tag& t) { t.available = 2; }, ZR3_ERR_INVALID_PROPERTY},
      {"NegativeOpcState", [](Tag& t) { t.opc_state = -1; }, ZR3_ERR_INVALID_PROPERTY},
      {"GreatestDataOrder", [](Tag& t) { t.point().data_order = 14; }, ZR3_OK},
      {"DataOrderTooGreat", [](Tag& t) { t.point().data_order = 15; }, ZR3_ERR_INVALID_PROPERTY},
      {"LongestDescriptor", [](Tag& t) { t.descriptor = std::string(3 * 2047, 'x'); }, ZR3_OK},
      {"DescriptorTooLong", [](Tag& t) { t.descriptor = std::string(3 * 2047 + 1, 'x'); },
       ZR3_ERR_INVALID_PROPERTY},
      {"UnitsTooLong", [](Tag& t) { t.eng_units = std::string(3 * 63 + 1, 'x'); },
       ZR3_ERR_INVALID_PROPERTY},
      {"DeviceNameTooLong", [](Tag& t) { t.point().device_name = std::string(3 * 127 + 1, 'x'); },
       ZR3_ERR_INVALID_PROPERTY},
      {"TextWithLineFeed", [](Tag& t) { t.descriptor = "a\nb"; }, ZR3_OK},
      {"TextWithNul", [](Tag& t) { t.descriptor = std::string("a\0b", 3); },
       ZR3_ERR_INVALID_PROPERTY},
      {"TextNotUtf8",
       [](Tag& t) {
         t.eng_units =
             "\xB0"
             "C";
       },
       ZR3_ERR_INVALID_TEXT},
      {"OwnTextNotUtf8", [](Tag& t) { t.point().device_name = "\xC0\xAF"; }, ZR3_ERR_INVALID_TEXT},
      {"OwnPropertiesOfAnotherClass", [](Tag& t) { t.own = AlarmProperties{}; },
       ZR3_ERR_INVALID_TAG_CLASS},
      {"CompressionDeviationOfZero", [](Tag& t) { t.comp_dev = 0; }, ZR3_OK},
      {"NegativeCompressionDeviation", [](Tag& t) { t.comp_dev = -0.5F; },
       ZR3_ERR_INVALID_PROPERTY},
      {"NegativeExceptionDeviation", [](Tag& t) { t.exc_dev = -0.5F; }, ZR3_ERR_INVALID_PROPERTY},
      {"InfiniteExceptionDeviation", [](Tag& t) { t.exc_dev = kInfinity; },
       ZR3_ERR_INVALID_PROPERTY},
      {"CompressionDeviationNotANumber", [](Tag& t) { t.comp_dev = std::nanf(""); },
       ZR3_ERR_INVALID_PROPERTY},
      {"NegativeCompressionTime", [](Tag& t) { t.comp_max_time = -1; }, ZR3_ERR_INVALID_PROPERTY},
      {"NegativeExceptionTime", [](Tag& t) { t.exc_max_time = -1; }, ZR3_ERR_INVALID_PROPERTY},
      {"LongestExceptionTime",
       [](Tag& t) { t.exc_max_time = std::numeric_limits<std::int32_t>::max(); }, ZR3_OK},
      {"SpanOfZero", [](Tag& t) { t.span = 0; }, ZR3_OK},
      {"NegativeMinimum", [](Tag& t) { t.min_value = -40; }, ZR3_OK},
      {"SpanNotANumber", [](Tag& t) { t.span = std::nanf(""); }, ZR3_ERR_INVALID_PROPERTY},
      {"NegativeCollector", [](Tag& t) { t.point().collector_id = -1; }, ZR3_OK}};
}

INSTANTIATE_TEST_SUITE_P(Properties, Property, testing::ValuesIn(PropertyCases()), CaseName());

// ---- stamps ----

struct StampCase {
  const char* name;
  std::int64_t now_ms;
  std::uint32_t date;
};

class StampDate : public testing::TestWithParam<StampCase> {};

TEST_P(StampDate, IsTheClocksWholeSeconds) {
  EXPECT_EQ(MakeStamp(GetParam().now_ms, "u").date, GetParam().date);
}

INSTANTIATE_TEST_SUITE_P(Stamps, StampDate,
                         testing::Values(StampCase{"CutsMilliseconds", 1999, 1},
                                         StampCase{"PastTheSignBit", 3'000'000'000'000, 3000000000},
                                         StampCase{"ClockBeforeTheEpoch", -5000, 0},
                                         StampCase{"ClockPastTheLastSecond", kMaxTimeMs + 1,
                                                   0xFFFFFFFF}),
                         CaseName());

const Stamp kStamp = {.date = 1000, .user = "admin"};

Tag EverythingGiven() {
  Tag tag;
  tag.name = "given";
  tag.archiving = false;
  tag.change_date = 5;
  tag.changer = "bob";
  tag.creation_date = 6;
  tag.creator = "ann";
  tag.eng_units = "bar";
  tag.type = ZR3_TAG_TYPE_INT32;
  tag.id = 77;
  tag.span = 3;
  tag.point().device_name = "plc";
  tag.point().data_order = ZR3_DATA_ORDER_21;
  return tag;
}

TEST(NewTag, TakesDefaultsForAllButItsNameWhenNothingIsSelected) {
  Tag expected;
  expected.name = "given";
  expected.creation_date = expected.change_date = 1000;
  expected.creator = expected.changer = "admin";
  EXPECT_EQ(NewTag(EverythingGiven(), {0, 0}, kStamp), expected);
}

TEST(NewTag, TakesEverythingGivenButTheIdentifierWhenAllIsSelected) {
  Tag expected = EverythingGiven();
  expected.id = 0;
  EXPECT_EQ(NewTag(EverythingGiven(), {-1, -1}, kStamp), expected);
}

TEST(NewTag, TakesTheSelectedPropertiesOfBothMasks) {
  Tag expected;
  expected.name = "given";
  expected.eng_units = "bar";
  expected.point().data_order = ZR3_DATA_ORDER_21;
  expected.creation_date = expected.change_date = 1000;
  expected.creator = expected.changer = "admin";
  const PropertyMask mask = {Bit(ZR3_TAG_COL_COMM_PROP_ENG_UNITS), Bit(8)};
  EXPECT_EQ(NewTag(EverythingGiven(), mask, kStamp), expected);
}

TEST(NewTag, IsStampedWhereSelectedStampsAreZeroOrEmpty) {
  Tag given = EverythingGiven();
  given.creation_date = given.change_date = 0;
  given.creator = given.changer = "";
  const Tag tag = NewTag(given, {-1, -1}, kStamp);
  EXPECT_EQ(tag.creation_date, 1000U);
  EXPECT_EQ(tag.change_date, 1000U);
  EXPECT_EQ(tag.creator, "admin");
  EXPECT_EQ(tag.changer, "admin");
}

Tag Existing() {
  Tag tag;
  tag.name = "existing";
  tag.id = 3;
  tag.creation_date = tag.change_date = 10;
  tag.creator = tag.changer = "eve";
  tag.descriptor = "kept";
  return tag;
}

TEST(ChangedTag, KeepsEverythingButTheStampOfChangeWhenNothingIsSelected) {
  Tag expected = Existing();
  expected.change_date = 1000;
  expected.changer = "admin";
  EXPECT_EQ(ChangedTag(Existing(), EverythingGiven(), {0, 0}, kStamp), expected);
}

TEST(ChangedTag, TakesEverythingGivenButTheIdentifierWhenAllIsSelected) {
  Tag expected = EverythingGiven();
  expected.id = 3;
  EXPECT_EQ(ChangedTag(Existing(), EverythingGiven(), {-1, -1}, kStamp), expected);
}

TEST(ChangedTag, TakesTheNameOnlyWhenItIsSelected) {
  const PropertyMask name = {Bit(ZR3_TAG_COL_COMM_PROP_TAG_NAME), 0};
  EXPECT_EQ(ChangedTag(Existing(), EverythingGiven(), name, kStamp).name, "given");
}

TEST(ChangedTag, KeepsItsCreationAndIsStampedWhereSelectedStampsAreZeroOrEmpty) {
  Tag given = EverythingGiven();
  given.creation_date = given.change_date = 0;
  given.creator = given.changer = "";
  const Tag tag = ChangedTag(Existing(), given, {-1, -1}, kStamp);
  EXPECT_EQ(tag.creation_date, 10U);
  EXPECT_EQ(tag.creator, "eve");
  EXPECT_EQ(tag.change_date, 1000U);
  EXPECT_EQ(tag.changer, "admin");
}

}  // namespace
}  // namespace zervane
