#include "api/words/value.h"

#include <gtest/gtest.h>

#include <cmath>
#include <string>
#include <utility>

#include "tests/support/case_name.h"

namespace zervane {
namespace {

struct ValueCase {
  const char* name;
  TagType type;
  Value value;
  ValueFault fault;
};

class CheckedValue : public testing::TestWithParam<ValueCase> {};

TEST_P(CheckedValue, HasTheFault) {
  EXPECT_EQ(CheckValue(GetParam().type, GetParam().value), GetParam().fault);
}

INSTANTIATE_TEST_SUITE_P(
    Value, CheckedValue,
    testing::Values(
        ValueCase{"LeastInt8", TagType::kInt8, -128, ValueFault::kNone},
        ValueCase{"BelowInt8", TagType::kInt8, -129, ValueFault::kWrongType},
        ValueCase{"GreatestInt16", TagType::kInt16, 32767, ValueFault::kNone},
        ValueCase{"AboveInt16", TagType::kInt16, 32768, ValueFault::kWrongType},
        ValueCase{"Int32", TagType::kInt32, -2147483647, ValueFault::kNone},
        ValueCase{"DigitalAboveItsByte", TagType::kDigital, 128, ValueFault::kWrongType},
        ValueCase{"Float32", TagType::kFloat32, 1.5F, ValueFault::kNone},
        ValueCase{"DoubleForFloat32", TagType::kFloat32, 1.5, ValueFault::kWrongType},
        ValueCase{"Float64", TagType::kFloat64, 1.5, ValueFault::kNone},
        ValueCase{"TextForFloat64", TagType::kFloat64, std::string("1"), ValueFault::kWrongType},
        ValueCase{"EmptyString", TagType::kString, std::string(), ValueFault::kNone},
        ValueCase{"LongestString", TagType::kString, std::string(999, 'x'), ValueFault::kNone},
        ValueCase{"StringTooLong", TagType::kString, std::string(kMaxStringBytes + 1, 'x'),
                  ValueFault::kTooLong},
        ValueCase{"StringWithNul", TagType::kString, std::string("a\0b", 3),
                  ValueFault::kEmbeddedNul},
        ValueCase{"LongestBlob", TagType::kBlob, std::string(1000, '\0'), ValueFault::kNone},
        ValueCase{"BlobTooLong", TagType::kBlob, std::string(1001, 'x'), ValueFault::kTooLong},
        ValueCase{"NoSuchType", static_cast<TagType>(8), 1, ValueFault::kWrongType}),
    CaseName());

// ---- copies ----

struct KindCase {
  const char* name;
  Value value;
  Value::Kind kind;
};

class CopiedValue : public testing::TestWithParam<KindCase> {};

TEST_P(CopiedValue, IsTheSame) {
  const Value& value = GetParam().value;
  const Value copy = value;
  EXPECT_EQ(copy.kind(), GetParam().kind);
  EXPECT_EQ(copy, value);
}

TEST_P(CopiedValue, TakesThePlaceOfAnyOther) {
  const Value& value = GetParam().value;
  for (const Value& before : {Value(), Value(1.5F), Value(2.5), Value(std::string("before"))}) {
    Value assigned = before;
    assigned = value;
    EXPECT_EQ(assigned, value);
    Value moved = before;
    moved = Value(value);
    EXPECT_EQ(moved, value);
    Value& itself = moved;
    moved = itself;
    EXPECT_EQ(moved, value);
    moved = std::move(itself);
    EXPECT_EQ(moved, value);
  }
}

INSTANTIATE_TEST_SUITE_P(Value, CopiedValue,
                         testing::Values(KindCase{"Nothing", Value(), Value::Kind::kInteger},
                                         KindCase{"Integer", std::int32_t{-7},
                                                  Value::Kind::kInteger},
                                         KindCase{"Float32", 1.25F, Value::Kind::kFloat32},
                                         KindCase{"Float64", -0.1, Value::Kind::kFloat64},
                                         KindCase{"Text", std::string("text"), Value::Kind::kText},
                                         KindCase{"EmptyText", std::string(), Value::Kind::kText}),
                         CaseName());

TEST(Values, HaveNoTextWhenTheyAreNumbers) {
  for (const Value& number : {Value(), Value(1.5F), Value(-2.5)}) {
    EXPECT_EQ(number.text().str(), "");
    EXPECT_EQ(number.text_size(), 0U);
  }
}

TEST(Values, CompareAsNumbers) {
  EXPECT_EQ(Value(0.0), Value(-0.0));
  EXPECT_NE(Value(std::nan("")), Value(std::nan("")));
  EXPECT_NE(Value(1.0), Value(1.0F));
  EXPECT_NE(Value(std::int32_t{1}), Value(1.0));
}

}  // namespace
}  // namespace zervane
