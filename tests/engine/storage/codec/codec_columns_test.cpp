#include <gtest/gtest.h>

#include <algorithm>
#include <bit>
#include <limits>
#include <random>
#include <string>
#include <vector>

#include "engine/storage/codec/bytes.h"
#include "engine/storage/codec/integer_column.h"
#include "engine/storage/codec/scaled_floats.h"
#include "engine/storage/codec/section.h"
#include "tests/engine/storage/codec/codec_cases.h"
#include "tests/support/case_name.h"
#include "tests/support/seed.h"

namespace zervane::storage {
namespace {

// ---- sections ----

std::string Section(std::string_view bytes) {
  ByteWriter out;
  WriteSection(bytes, &out);
  return std::string(out.bytes());
}

struct SectionCase {
  const char* name;
  std::string bytes;
  std::size_t max_size;  // of the section
};

const SectionCase kSections[] = {
    {"Nothing", "", 1},
    {"OneByte", "x", 2},
    {"TwoDifferentBytes", "xy", 3},
    {"OneByteThatRepeats", std::string(65'536, 'x'), 2},
    {"TooFewToCompress", kEveryByte.substr(0, 63), 64},
    {"WhatDoesNotCompress", kEveryByte, 257},
    {"WhatCompresses", std::string(300, 'x') + kEveryByte + std::string(300, 'y'), 320},
};

class Sections : public testing::TestWithParam<SectionCase> {};

INSTANTIATE_TEST_SUITE_P(Section, Sections, testing::ValuesIn(kSections), CaseName());

TEST_P(Sections, ComeBackFromTheShortestForm) {
  const std::string section = Section(GetParam().bytes);
  EXPECT_LE(section.size(), GetParam().max_size);
  std::string bytes(GetParam().bytes.size(), '?');
  ByteReader in(section);
  EXPECT_TRUE(ReadSection(&in, bytes));
  EXPECT_TRUE(in.AtEnd());
  EXPECT_EQ(bytes, GetParam().bytes);
}

TEST(Section, OfCompressedBytesGivesNeitherFewerNorMore) {
  const std::string bytes = std::string(500, 'x') + std::string(500, 'y');
  const std::string section = Section(bytes);
  ASSERT_LT(section.size(), 50U);
  for (const std::size_t size : {0U, 999U, 1001U}) {
    std::string other(size, '?');
    ByteReader in(section);
    EXPECT_FALSE(ReadSection(&in, other)) << size << " bytes";
  }
}

// ---- integers ----

using Numbers = std::vector<std::int64_t>;

std::string Column(const Numbers& numbers) {
  ByteWriter out;
  WriteIntegers(numbers, &out);
  return std::string(out.bytes());
}

void ExpectBack(const Numbers& numbers) {
  const std::string column = Column(numbers);
  Numbers back(numbers.size());
  ByteReader in(column);
  EXPECT_TRUE(ReadIntegers(&in, back)) << Hex(column);
  EXPECT_TRUE(in.AtEnd());
  EXPECT_EQ(back, numbers);
}

struct WidthCase {
  const char* name;
  std::int64_t outlier;
  int width;
};

const WidthCase kWidths[] = {
    {"Nothing", 0, 0},
    {"OneByte", 1, 1},
    {"MostOfOneByte", 0xFF, 1},
    {"TwoBytes", 0x100, 2},
    {"MostOfTwoBytes", 0xFFFF, 2},
    {"ThreeBytes", 0x1'0000, 3},
    {"FourBytes", 0x100'0000, 4},
    {"MostOfFourBytes", 0xFFFF'FFFF, 4},
    {"FiveBytes", 0x1'0000'0000, 5},
    {"MostOfSevenBytes", 0xFF'FFFF'FFFF'FFFF, 7},
    {"EightBytes", 0x100'0000'0000'0000, 8},
    {"MostOfEightBytes", std::numeric_limits<std::int64_t>::max(), 8},
    {"MostOfEightBytesDownward", std::numeric_limits<std::int64_t>::min(), 8},
};

class Widths : public testing::TestWithParam<WidthCase> {};

INSTANTIATE_TEST_SUITE_P(IntegerColumn, Widths, testing::ValuesIn(kWidths), CaseName());

TEST_P(Widths, AreAsFewBytesAsTheOutlierNeeds) {
  const Numbers numbers = {0, 0, GetParam().outlier, 0};
  EXPECT_EQ(Column(numbers)[0] & 0x0F, GetParam().width);
  ExpectBack(numbers);
}

struct NumbersCase {
  const char* name;
  Numbers numbers;
  std::size_t max_size;  // of the column
};

Numbers Generated(std::size_t count, std::int64_t (*number)(std::int64_t i, std::mt19937_64&)) {
  std::mt19937_64 random(1);
  Numbers numbers;
  for (std::size_t i = 0; i < count; ++i) {
    numbers.push_back(number(static_cast<std::int64_t>(i), random));
  }
  return numbers;
}

Numbers Summed(Numbers numbers) {
  for (std::size_t i = 1; i < numbers.size(); ++i) numbers[i] += numbers[i - 1];
  return numbers;
}

constexpr auto kHundred = [](std::int64_t, std::mt19937_64& random) {
  return static_cast<std::int64_t>(random() % 100);
};

// The bounds are a tenth above what the numbers' own uncertainty needs: the predictor that suits
// them was found.
const NumbersCase kNumbers[] = {
    {"One", {-1}, 3},
    {"Two",
     {std::numeric_limits<std::int64_t>::min(), std::numeric_limits<std::int64_t>::max()},
     14},
    {"Equal", Numbers(1000, 7), 5},
    {"Ramp", Generated(1000, [](std::int64_t i, std::mt19937_64&) { return i * 1000; }), 7},
    {"NoiseOfHundred", Generated(1000, kHundred), 915},
    {"WalkOfHundred", Summed(Generated(1000, kHundred)), 915},
    {"ClockThatTrembles",
     Generated(1000,
               [](std::int64_t i, std::mt19937_64& random) {
                 return i * 1000 + static_cast<std::int64_t>(random() % 100);
               }),
     915},
    {"AnyBits",
     Generated(1000, [](std::int64_t,
                        std::mt19937_64& random) { return static_cast<std::int64_t>(random()); }),
     8040},
};

class IntegerColumns : public testing::TestWithParam<NumbersCase> {};

INSTANTIATE_TEST_SUITE_P(IntegerColumn, IntegerColumns, testing::ValuesIn(kNumbers), CaseName());

TEST_P(IntegerColumns, ComeBackFromFewBytes) {
  EXPECT_LE(Column(GetParam().numbers).size(), GetParam().max_size);
  ExpectBack(GetParam().numbers);
}

TEST(IntegerColumn, BringsBackNumbersOfAllSizes) {
  const Seed seed;
  std::mt19937_64 random(seed.value());
  for (int round = 0; round < 500; ++round) {
    const auto drop = random() % 64;
    Numbers numbers(1 + random() % 300);
    for (std::int64_t& number : numbers) number = static_cast<std::int64_t>(random()) >> drop;
    ExpectBack(numbers);
    for (std::size_t i = 1; i < numbers.size(); ++i) {
      const auto sum =
          static_cast<std::uint64_t>(numbers[i - 1]) + static_cast<std::uint64_t>(numbers[i]);
      numbers[i] = static_cast<std::int64_t>(sum);
    }
    ExpectBack(numbers);
  }
}

// ---- scaled floating point ----

constexpr int kNotScaled = -1;

template <typename T>
struct ScaleCase {
  const char* name;
  std::vector<T> values;
  int exponent;
};

// Thirty-two numbers, of which two may be exceptions.
template <typename T>
std::vector<T> TensAnd(T exception, std::size_t exceptions = 2) {
  std::vector<T> values(32, T{10});
  std::fill_n(values.begin() + 5, exceptions, exception);
  return values;
}

const ScaleCase<double> kDoubles[] = {
    {"Integers", {0.0, 1.0, -2.0, 1e15}, 0},
    {"OneDecimal", {0.1, 20.5, -3.0}, 1},
    {"TwoDecimals", {21.37, 0.29, -1234567.89, 0.07}, 2},
    {"TwelveDecimals", {0.123456789012}, 12},
    {"ThirteenDecimals", {0.1234567890123}, kNotScaled},
    {"LastDecimalByRounding", {0.1 + 0.2}, kNotScaled},
    {"LargestCount", {0x1p52 - 1, 1 - 0x1p52}, 0},
    {"BeyondTheLargestCount", {0x1p52}, kNotScaled},
    {"NegativeZero", {-0.0}, kNotScaled},
    {"NotANumber", {std::numeric_limits<double>::quiet_NaN()}, kNotScaled},
    {"Infinity", {-std::numeric_limits<double>::infinity()}, kNotScaled},
    {"Denormal", {std::numeric_limits<double>::denorm_min()}, kNotScaled},
    {"Third", {1.0 / 3}, kNotScaled},
    {"ExceptionsAmongMany", TensAnd(-0.0), 0},
    {"TooManyExceptions", TensAnd(-0.0, 3), kNotScaled},
    {"PayloadAmongMany", TensAnd(std::bit_cast<double>(0xFFF8123456789ABCULL)), 0},
};

const ScaleCase<float> kFloats[] = {
    {"Integers", {0.0F, 1.0F, -2.0F}, 0},
    {"TwoDecimals", {21.37F, 0.29F, -1234.56F}, 2},
    {"LargestCount", {0x1p24F - 1, 1 - 0x1p24F}, 0},
    {"BeyondTheLargestCount", {0x1p24F}, kNotScaled},
    {"AllItsDigits", {1.0F / 3}, kNotScaled},
    {"NegativeZero", {-0.0F}, kNotScaled},
    {"LargestOfAll", {std::numeric_limits<float>::max()}, kNotScaled},
    {"ExceptionsAmongMany", TensAnd(std::bit_cast<float>(0xFFC12345U)), 0},
};

// As they stand in columns.
template <typename T>
std::vector<std::uint64_t> BitsOfAll(const std::vector<T>& values) {
  std::vector<std::uint64_t> bits;
  for (const T value : values) bits.push_back(BitsOf(Value(value)));
  return bits;
}

template <typename T, typename Bits>
void ExpectScaled(const ScaleCase<T>& row) {
  const auto scaled = Scale<T>(BitsOfAll(row.values));
  if (row.exponent == kNotScaled) {
    EXPECT_FALSE(scaled) << "exponent " << scaled->exponent;
    return;
  }
  ASSERT_TRUE(scaled);
  EXPECT_EQ(static_cast<int>(scaled->exponent), row.exponent);
  std::vector<Bits> bits;
  for (const std::int64_t count : scaled->counts) {
    bits.push_back(std::bit_cast<Bits>(Unscale<T>(count, scaled->exponent)));
  }
  for (const ScaledFloats::Exception& exception : scaled->exceptions) {
    bits[exception.index] = static_cast<Bits>(exception.bits);
  }
  ASSERT_EQ(bits.size(), row.values.size());
  for (std::size_t i = 0; i < bits.size(); ++i) {
    EXPECT_EQ(bits[i], std::bit_cast<Bits>(row.values[i])) << "value " << i;
  }
}

class ScaledDoubles : public testing::TestWithParam<ScaleCase<double>> {};
class ScaledSingles : public testing::TestWithParam<ScaleCase<float>> {};

INSTANTIATE_TEST_SUITE_P(ScaledFloats, ScaledDoubles, testing::ValuesIn(kDoubles), CaseName());
INSTANTIATE_TEST_SUITE_P(ScaledFloats, ScaledSingles, testing::ValuesIn(kFloats), CaseName());

TEST_P(ScaledDoubles, ComeBackToTheBit) { ExpectScaled<double, std::uint64_t>(GetParam()); }
TEST_P(ScaledSingles, ComeBackToTheBit) { ExpectScaled<float, std::uint32_t>(GetParam()); }

TEST(ScaledFloats, KeepTheExceptionsThatCameBeforeALargerExponent) {
  ScaleCase<double> row{"", TensAnd(-0.0), 2};
  row.values.back() = 21.37;
  ExpectScaled<double, std::uint64_t>(row);
}

TEST(ScaledFloats, TakeEveryNumberOfTwoDecimals) {
  std::vector<double> values;
  for (int hundredths = -200'000; hundredths <= 200'000; ++hundredths) {
    values.push_back(hundredths / 100.0);
  }
  const auto scaled = Scale<double>(BitsOfAll(values));
  ASSERT_TRUE(scaled);
  EXPECT_EQ(scaled->exponent, 2U);
  EXPECT_TRUE(scaled->exceptions.empty());
}

template <typename T, typename Bits>
void ExpectUnscaledAsOne(const std::vector<std::int64_t>& counts) {
  for (unsigned exponent = 0; exponent <= kMaxScaleExponent; ++exponent) {
    std::vector<std::uint64_t> all(counts.begin(), counts.end());
    UnscaleAll<T>(all, exponent);
    for (std::size_t i = 0; i < counts.size(); ++i) {
      EXPECT_EQ(all[i], std::bit_cast<Bits>(Unscale<T>(counts[i], exponent))) << counts[i];
    }
  }
}

// All at once, as one by one: where all counts are small, and where one is not.
TEST(ScaledFloats, AreUnscaledAtOnceAsOneByOne) {
  constexpr std::int64_t kEdge = std::int64_t{1} << 50;
  std::vector<std::int64_t> small = {0, 1, -1, 2137, -2137, kEdge - 1, -kEdge, (1 << 24) - 1};
  for (int round = 0; round < 2; ++round) {
    ExpectUnscaledAsOne<double, std::uint64_t>(small);
    ExpectUnscaledAsOne<float, std::uint32_t>(small);
    small.insert(small.end(), {kEdge, -kEdge - 1, std::numeric_limits<std::int64_t>::max(),
                               std::numeric_limits<std::int64_t>::min()});
  }
}

}  // namespace
}  // namespace zervane::storage
