#include "api/words/samples.h"

#include <gtest/gtest.h>

#include <cmath>
#include <string>
#include <utility>
#include <vector>

namespace zervane {
namespace {

std::vector<Sample> OneOfEachType() {
  return {{.time_ms = 1, .quality = 192, .type = TagType::kInt8, .value = -128},
          {.time_ms = 2, .quality = 0, .type = TagType::kInt16, .value = -32768},
          {.time_ms = 3, .quality = 64, .type = TagType::kInt32, .value = -2'147'483'647},
          {.time_ms = 4, .quality = 65535, .type = TagType::kFloat32, .value = -0.1F},
          {.time_ms = 5, .quality = 192, .type = TagType::kFloat64, .value = 0.1},
          {.time_ms = 6, .quality = 192, .type = TagType::kDigital, .value = 127},
          {.time_ms = 7, .quality = 192, .type = TagType::kString, .value = std::string("text")},
          {.time_ms = 8, .quality = 192, .type = TagType::kString, .value = std::string()},
          {.time_ms = kMaxTimeMs, .type = TagType::kBlob, .value = std::string("\0\xFF", 2)}};
}

SampleColumns ColumnsOf(const std::vector<Sample>& samples) {
  SampleColumns columns;
  for (const Sample& sample : samples) columns.Add(sample);
  return columns;
}

std::vector<Sample> SamplesOf(const SampleColumns& columns) {
  std::vector<Sample> samples;
  for (std::size_t at = 0; at < columns.size(); ++at) samples.push_back(columns.At(at));
  return samples;
}

TEST(SampleColumns, GiveBackWhatTheyWereGiven) {
  EXPECT_EQ(SamplesOf(ColumnsOf(OneOfEachType())), OneOfEachType());
}

TEST(SampleColumns, KeepEveryBitOfANumberThatIsNone) {
  SampleColumns columns;
  columns.AddNumber(1, 192, TagType::kFloat64, 0x7FF8'0000'0000'1234);
  SampleColumns copy;
  copy.AddAll(columns);
  EXPECT_EQ(copy.values()[0], 0x7FF8'0000'0000'1234U);
  EXPECT_TRUE(std::isnan(copy.At(0).value.float64()));
}

TEST(SampleColumns, GrowWithoutLosingAnything) {
  SampleColumns columns;
  std::vector<Sample> samples;
  for (int round = 0; round < 100; ++round) {
    for (const Sample& sample : OneOfEachType()) {
      columns.Add(sample);
      samples.push_back(sample);
    }
  }
  EXPECT_EQ(SamplesOf(columns), samples);
}

TEST(SampleColumns, CopyPartsOfOthersWithTheirTexts) {
  const std::vector<Sample> all = OneOfEachType();
  const SampleColumns from = ColumnsOf(all);
  for (std::size_t begin = 0; begin <= all.size(); ++begin) {
    for (std::size_t end = begin; end <= all.size(); ++end) {
      SampleColumns to = ColumnsOf({all[6]});
      to.AddRange(from, begin, end);
      std::vector<Sample> expected = {all[6]};
      expected.insert(expected.end(), all.begin() + static_cast<std::ptrdiff_t>(begin),
                      all.begin() + static_cast<std::ptrdiff_t>(end));
      EXPECT_EQ(SamplesOf(to), expected);
    }
  }
}

TEST(SampleColumns, ReplaceOneSampleByAnother) {
  const std::vector<Sample> all = OneOfEachType();
  const SampleColumns from = ColumnsOf(all);
  for (std::size_t at = 0; at < all.size(); ++at) {
    SampleColumns to = ColumnsOf(all);
    to.ReplaceFrom(0, from, at);
    EXPECT_EQ(to.At(0), all[at]);
    EXPECT_EQ(to.At(6), all[6]);
  }
}

TEST(SampleColumns, AreCopiedAndMovedWhole) {
  SampleColumns columns = ColumnsOf(OneOfEachType());
  const SampleColumns copy = columns;
  const SampleColumns moved = std::move(columns);
  EXPECT_EQ(copy, moved);
  EXPECT_EQ(SamplesOf(moved), OneOfEachType());
}

TEST(SampleColumns, NeedNoMoreMemoryForWhatIsReserved) {
  SampleColumns columns;
  columns.Reserve(3, 10);
  const std::int64_t* const times = columns.times().data();
  for (int i = 0; i < 3; ++i) columns.AddText(i, 192, TagType::kString, "abc");
  EXPECT_EQ(columns.times().data(), times);
  EXPECT_EQ(columns.capacity(), 3U);
}

TEST(SampleColumns, AnswerTheFaultOfAValue) {
  struct Case {
    Sample sample;
    ValueFault fault;
  };
  const Case cases[] = {
      {{.type = TagType::kInt8, .value = 127}, ValueFault::kNone},
      {{.type = TagType::kInt8, .value = 128}, ValueFault::kWrongType},
      {{.type = TagType::kDigital, .value = -129}, ValueFault::kWrongType},
      {{.type = TagType::kInt16, .value = 32768}, ValueFault::kWrongType},
      {{.type = TagType::kInt32, .value = 32768}, ValueFault::kNone},
      {{.type = TagType::kString, .value = std::string(kMaxStringBytes, 'x')}, ValueFault::kNone},
      {{.type = TagType::kString, .value = std::string(kMaxStringBytes + 1, 'x')},
       ValueFault::kTooLong},
      {{.type = TagType::kString, .value = std::string("a\0b", 3)}, ValueFault::kEmbeddedNul},
      {{.type = TagType::kBlob, .value = std::string("a\0b", 3)}, ValueFault::kNone},
      {{.type = TagType::kBlob, .value = std::string(kMaxBlobBytes + 1, 'x')},
       ValueFault::kTooLong},
      {{.type = static_cast<TagType>(99), .value = 1}, ValueFault::kWrongType},
  };
  for (const Case& row : cases) {
    EXPECT_EQ(CheckValue(ColumnsOf({row.sample}), 0), row.fault)
        << static_cast<int>(row.sample.type) << ", " << row.sample.value.text_size();
  }
}

}  // namespace
}  // namespace zervane
