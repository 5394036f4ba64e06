// What alarms make of values of all types.

#include "engine/alarms/source_value.h"

#include <gtest/gtest.h>

#include <limits>
#include <string>

#include "tests/support/case_name.h"

namespace zervane {
namespace {

struct TextCase {
  const char* name;
  TagType type;
  Value value;
  const char* text;
};

class SourceValueAsText : public testing::TestWithParam<TextCase> {};

TEST_P(SourceValueAsText, HasTheFewestDigitsThatReadBack) {
  SampleColumns columns;
  columns.Add({.time_ms = 1, .type = TagType::kString, .value = std::string("before it")});
  columns.Add({.time_ms = 2, .type = GetParam().type, .value = GetParam().value});
  const SourceValue value = SourceValueAt(columns, 1);
  EXPECT_EQ(value.type, GetParam().type);
  EXPECT_EQ(SourceValueText(value), GetParam().text);
}

INSTANTIATE_TEST_SUITE_P(
    Of, SourceValueAsText,
    testing::Values(TextCase{"Int8", TagType::kInt8, -128, "-128"},
                    TextCase{"Int16", TagType::kInt16, 32767, "32767"},
                    TextCase{"Int32", TagType::kInt32, 100000, "100000"},
                    TextCase{"TheLeastInt32", TagType::kInt32,
                             std::numeric_limits<std::int32_t>::min(), "-2147483648"},
                    TextCase{"Digital", TagType::kDigital, 1, "1"},
                    TextCase{"AWholeFloat64", TagType::kFloat64, 100.0, "100"},
                    TextCase{"AFloat64", TagType::kFloat64, 0.1, "0.1"},
                    TextCase{"AFloat64OfManyDigits", TagType::kFloat64, 1.0 / 3,
                             "0.3333333333333333"},
                    TextCase{"AFloat32IsOne", TagType::kFloat32, 0.1F, "0.1"},
                    TextCase{"AWholeFloat32", TagType::kFloat32, 16777216.0F, "16777216"},
                    TextCase{"AMillion", TagType::kFloat64, 1e6, "1000000"},
                    TextCase{"BeforeTheExponent", TagType::kFloat64, 1e15, "1000000000000000"},
                    TextCase{"WithAnExponent", TagType::kFloat64, -1e16, "-1e+16"},
                    TextCase{"SmallWithoutOne", TagType::kFloat64, 1e-4, "0.0001"},
                    TextCase{"SmallWithOne", TagType::kFloat64, 1.5e-5, "1.5e-05"},
                    TextCase{"TheGreatest", TagType::kFloat64, std::numeric_limits<double>::max(),
                             "1.7976931348623157e+308"},
                    TextCase{"AString", TagType::kString, std::string("pump 'A' is \xc3\xbc"),
                             "pump 'A' is \xc3\xbc"},
                    TextCase{"AnEmptyString", TagType::kString, std::string(), ""},
                    TextCase{"ABlob", TagType::kBlob, std::string("\0\1\2", 3), "BLOB of 3 bytes"},
                    TextCase{"AnEmptyBlob", TagType::kBlob, std::string(), "BLOB of 0 bytes"}),
    CaseName());

bool Differ(const char* test, const SourceValue& before, const SourceValue& value) {
  return IsChange(ParseAlarmTest(test)->value(), before, value);
}

SourceValue Number(double number) { return {.number = number}; }
SourceValue String(const char* text) { return {.type = TagType::kString, .text = text}; }

TEST(Change, IsAnyDifferenceWhenNoLeastOneIsAskedFor) {
  EXPECT_TRUE(Differ("CHANGE", Number(1), Number(1.0000001)));
  EXPECT_TRUE(Differ("CHANGE 0", Number(1), Number(-1)));
  EXPECT_FALSE(Differ("CHANGE", Number(1), Number(1)));
  EXPECT_FALSE(Differ("CHANGE", Number(0), Number(-0.0)));
}

TEST(Change, IsADifferenceOfTheLeastOneOrMoreInEitherDirection) {
  EXPECT_TRUE(Differ("CHANGE 2", Number(10), Number(12)));
  EXPECT_TRUE(Differ("CHANGE 2", Number(10), Number(8)));
  EXPECT_FALSE(Differ("CHANGE 2", Number(10), Number(11.9)));
  EXPECT_FALSE(Differ("CHANGE 2", Number(10), Number(10)));
  const double greatest = std::numeric_limits<double>::max();
  EXPECT_TRUE(Differ("CHANGE 2", Number(-greatest), Number(greatest)));
}

TEST(Change, OfATextIsAnyDifference) {
  EXPECT_TRUE(Differ("CHANGE", String("on"), String("On")));
  EXPECT_TRUE(Differ("CHANGE", String("on"), String("")));
  EXPECT_FALSE(Differ("CHANGE", String("on"), String("on")));
  EXPECT_TRUE(Differ("CHANGE", String(""), Number(0)));
}

}  // namespace
}  // namespace zervane
