#include "engine/current/current_values.h"

#include <gtest/gtest.h>

#include <atomic>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include "tests/engine/records.h"
#include "tests/engine/short_memory.h"
#include "tests/support/case_name.h"

namespace zervane {
namespace {

CurrentValues::Next Prepare(CurrentValues& values, Turn& turn, TagId tag, const Sample& sample) {
  SampleColumns samples;
  samples.Add(sample);
  return values.Prepare(turn, tag, samples, 0);
}

void Put(CurrentValues& values, TagId tag, const Sample& sample) {
  Turn turn = Turn::Issue();
  values.Put(turn, Prepare(values, turn, tag, sample));
}

TEST(CurrentValues, AreFoundByTag) {
  CurrentValues values;
  Put(values, 1, NumberAt(10, 1.5));
  Put(values, 65, NumberAt(20, 2.5));
  EXPECT_EQ(values.Find(1), NumberAt(10, 1.5));
  EXPECT_EQ(values.Find(65), NumberAt(20, 2.5));
  EXPECT_EQ(values.TimeOf(65), 20);
  EXPECT_EQ(values.Find(129), std::nullopt);
  EXPECT_EQ(values.TimeOf(129), kNoTime);
}

TEST(CurrentValues, AreReplacedAndRemoved) {
  CurrentValues values;
  Put(values, 1, NumberAt(10, 1.5));
  Put(values, 1, TextAt(11, "on"));
  EXPECT_EQ(values.Find(1), TextAt(11, "on"));
  Turn turn = Turn::Issue();
  values.Remove(turn, 1);
  EXPECT_EQ(values.Find(1), std::nullopt);
}

TEST(CurrentValues, TellNothingOfAValueThatIsOnlyPrepared) {
  CurrentValues values;
  Turn turn = Turn::Issue();
  const CurrentValues::Next next = Prepare(values, turn, 1, TextAt(10, "on"));
  EXPECT_EQ(values.Find(1), std::nullopt);
  values.Put(turn, next);
  EXPECT_EQ(values.Find(1), TextAt(10, "on"));
}

TEST(CurrentValues, NeedNoMemoryOnceTheyArePrepared) {
  CurrentValues values;
  Turn turn = Turn::Issue();
  const CurrentValues::Next number = Prepare(values, turn, 1, NumberAt(10, 1.5));
  const CurrentValues::Next text = Prepare(values, turn, 2, TextAt(11, std::string(500, 'x')));
  {
    const ShortMemory memory(1);
    values.Put(turn, number);
    values.Put(turn, text);
    values.Remove(turn, 3);
  }
  EXPECT_EQ(ShortMemory::Failed(), 0U);
  EXPECT_EQ(values.TimeOf(1), 10);
  EXPECT_EQ(values.TimeOf(2), 11);
}

TEST(CurrentValues, AreAddedToColumns) {
  CurrentValues values;
  Put(values, 1, NumberAt(10, 1.5));
  Put(values, 2, TextAt(11, "on"));
  SampleColumns columns;
  EXPECT_TRUE(values.AddTo(columns, 2));
  EXPECT_FALSE(values.AddTo(columns, 3));
  EXPECT_TRUE(values.AddTo(columns, 1));
  ASSERT_EQ(columns.size(), 2U);
  EXPECT_EQ(columns.At(0), TextAt(11, "on"));
  EXPECT_EQ(columns.At(1), NumberAt(10, 1.5));
}

struct TypedCase {
  const char* name;
  TagType type;
  Value value;
};

class CurrentValueOfType : public testing::TestWithParam<TypedCase> {};

TEST_P(CurrentValueOfType, ComesBackAsItWasPut) {
  const Sample sample = {
      .time_ms = kMaxTimeMs, .quality = 0xFFFF, .type = GetParam().type, .value = GetParam().value};
  CurrentValues values;
  Put(values, 0xFFFFFFFF, sample);
  EXPECT_EQ(values.Find(0xFFFFFFFF), sample);
}

INSTANTIATE_TEST_SUITE_P(Of, CurrentValueOfType,
                         testing::Values(TypedCase{"Int8", TagType::kInt8, -128},
                                         TypedCase{"Int16", TagType::kInt16, 32767},
                                         TypedCase{"Int32", TagType::kInt32, -2147483647},
                                         TypedCase{"Float32", TagType::kFloat32, 0.1F},
                                         TypedCase{"Float64", TagType::kFloat64, -0.1},
                                         TypedCase{"Digital", TagType::kDigital, 1},
                                         TypedCase{"String", TagType::kString, std::string("on")},
                                         TypedCase{"EmptyString", TagType::kString, std::string()},
                                         TypedCase{"Blob", TagType::kBlob, std::string("a\0b", 3)}),
                         CaseName());

// Each value says its time, and its quality the low half of that.
Sample TellingAt(std::int64_t time_ms, bool is_text) {
  Sample sample = is_text ? TextAt(time_ms, std::to_string(time_ms))
                          : NumberAt(time_ms, static_cast<double>(time_ms));
  sample.quality = static_cast<std::uint16_t>(time_ms);
  return sample;
}

TEST(CurrentValues, AreReadWholeWhileTheyChange) {
  constexpr std::int64_t kRounds = 20'000;
  CurrentValues values;
  std::atomic<bool> has_ended = false;
  std::vector<std::thread> readers;
  for (int reader = 0; reader < 4; ++reader) {
    readers.emplace_back([&] {
      std::int64_t newest[2] = {kNoTime, kNoTime};
      while (!has_ended) {
        for (const TagId tag : {1, 2}) {
          const std::optional<Sample> sample = values.Find(tag);
          if (!sample) continue;
          ASSERT_EQ(*sample, TellingAt(sample->time_ms, sample->type == TagType::kString));
          ASSERT_GE(sample->time_ms, newest[tag - 1]);
          newest[tag - 1] = sample->time_ms;
        }
      }
    });
  }
  for (std::int64_t round = 1; round <= kRounds; ++round) {
    Put(values, 1, TellingAt(round, false));
    Put(values, 2, TellingAt(round, round % 2 == 0));
    if (round % 1000 != 0) continue;
    Turn turn = Turn::Issue();
    values.Remove(turn, 2);
  }
  has_ended = true;
  for (std::thread& reader : readers) reader.join();
  EXPECT_EQ(values.TimeOf(1), kRounds);
}

}  // namespace
}  // namespace zervane
