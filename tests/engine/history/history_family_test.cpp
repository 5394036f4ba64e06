#include "engine/history_family.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <cmath>
#include <cstdint>
#include <string>
#include <thread>
#include <vector>

#include "engine/history/interpolation.h"
#include "tests/engine/embedded_fixture.h"

namespace zervane {
namespace {

using testing::ElementsAre;

constexpr std::int64_t kStartMs = 1'700'000'000'000;

class HistoryFamilyTest : public EmbeddedTest {
 protected:
  TagId AddFiltered(float compression, float exception = 0) {
    Tag tag;
    tag.name = "FILTERED";
    tag.type = static_cast<std::int32_t>(TagType::kFloat64);
    tag.archiving = true;
    tag.comp_type = ZR3_COMP_TYPE_SDT;
    tag.comp_dev = compression;
    tag.exc_dev = exception;
    const Result<TagId> id = database_->AddTag(tag, {});
    EXPECT_TRUE(id.ok()) << id.status().message();
    return *id;
  }
  void WriteNumbers(TagId id, std::vector<double> values) {
    std::vector<TagSample> batch;
    for (std::size_t i = 0; i < values.size(); ++i) {
      batch.push_back({id, NumberAt(kStartMs + 1000 * static_cast<std::int64_t>(i), values[i])});
    }
    ASSERT_EQ(Write(std::move(batch)).status, ZR3_OK);
  }
  Result<Interpolated> Ask(TagId id, std::vector<std::int64_t> times,
                           InterpolationMode mode = InterpolationMode::kLinear) {
    return database_->Do(InterpolateTag{.id = id, .mode = mode, .times_ms = std::move(times)});
  }
  Result<double> Ask(TagId id, StatisticType type) {
    CalculateStatistic operation;
    operation.id = id;
    operation.request.type = type;
    operation.request.regions = {{kStartMs, kStartMs + 60'000, true, false}};
    return database_->Do(operation);
  }
};

TEST_F(HistoryFamilyTest, InterpolatesTheRecordsOfATag) {
  const TagId id = AddTag("A");
  WriteNumbers(id, {1, 3});
  const auto reply = Ask(id, {kStartMs + 500, kStartMs - 1});
  ASSERT_TRUE(reply.ok());
  EXPECT_EQ(reply->samples.At(0), NumberAt(kStartMs + 500, 2));
  EXPECT_THAT(reply->codes, ElementsAre(ZR3_OK, ZR3_ERR_NO_RECORD));
}

TEST_F(HistoryFamilyTest, InterpolatesManyTagsThoughSomeAreUnknown) {
  const TagId id = AddTag("A");
  WriteNumbers(id, {1, 3});
  const auto reply = database_->Do(InterpolateTags{.mode = InterpolationMode::kPrevious,
                                                   .ids = {99, id},
                                                   .times_ms = {kStartMs, kStartMs + 500}});
  ASSERT_TRUE(reply.ok());
  EXPECT_THAT(reply->codes, ElementsAre(ZR3_ERR_TAG_NOT_FOUND, ZR3_OK));
  EXPECT_EQ(reply->samples.At(1), NumberAt(kStartMs + 500, 1));
}

TEST_F(HistoryFamilyTest, RefusesWhatCannotBeAsked) {
  const TagId id = AddTag("A");
  EXPECT_EQ(Ask(99, {kStartMs}).code(), ZR3_ERR_TAG_NOT_FOUND);
  EXPECT_EQ(Ask(99, StatisticType::kMax).code(), ZR3_ERR_TAG_NOT_FOUND);
  EXPECT_EQ(Ask(id, {kStartMs}, static_cast<InterpolationMode>(2)).code(),
            ZR3_ERR_INVALID_ARGUMENT);
  EXPECT_EQ(Ask(id, std::vector<std::int64_t>(kMaxInstants + 1, kStartMs)).code(),
            ZR3_ERR_INVALID_COUNT);
  EXPECT_EQ(database_->Do(InterpolateTags{.ids = {id, id}, .times_ms = {kStartMs}}).code(),
            ZR3_ERR_INVALID_COUNT);
}

TEST_F(HistoryFamilyTest, AnswersFromWhatIsHeldBackAsFromTheArchive) {
  const TagId id = AddFiltered(0.5);
  WriteNumbers(id, {0, 1, 2, 3, 7});
  EXPECT_EQ(*database_->CountRecords(id, {}), 2);  // the last one is held
  now_ms_ = kStartMs + 60'000;
  EXPECT_EQ(Ask(id, {kStartMs + 4000})->samples.At(0), NumberAt(kStartMs + 4000, 7));
  EXPECT_EQ(Ask(id, {kStartMs + 3500})->samples.At(0), NumberAt(kStartMs + 3500, 5));
  EXPECT_EQ(*Ask(id, StatisticType::kLast), 7);
  EXPECT_EQ(*Ask(id, StatisticType::kTimeWeightedMean), (4.5 + 5 + 7 * 56) / 60);
  const double before = *Ask(id, StatisticType::kIntegral);
  Reopen();
  EXPECT_EQ(*Ask(id, StatisticType::kIntegral), before);
  Tag tag;
  tag.comp_dev = 3;
  const PropertyMask mask = {std::int64_t{1} << ZR3_TAG_COL_COMM_PROP_COMP_DEV, 0};
  ASSERT_TRUE(database_->ModifyTag(id, ZR3_TAG_CLASS_BASIC, tag, mask).ok());  // which lets go
  EXPECT_EQ(*database_->CountRecords(id, {}), 3);
  EXPECT_EQ(*Ask(id, StatisticType::kIntegral), before);
}

TEST_F(HistoryFamilyTest, HasBothRecordsThatTheTwoFiltersHold) {
  const TagId id = AddFiltered(1, 1);
  WriteNumbers(id, {0, 9, 9.5});
  EXPECT_EQ(*database_->CountRecords(id, {}), 1);
  now_ms_ = kStartMs + 60'000;
  for (int reopened = 0; reopened < 2; ++reopened) {
    EXPECT_EQ(Ask(id, {kStartMs + 1000})->samples.At(0), NumberAt(kStartMs + 1000, 9));
    EXPECT_EQ(Ask(id, {kStartMs + 1500})->samples.At(0), NumberAt(kStartMs + 1500, 9.25));
    EXPECT_EQ(*Ask(id, StatisticType::kCount), 3);
    EXPECT_EQ(*Ask(id, StatisticType::kIntegral), 4.5 + 9.25 + 9.5 * 58);
    Reopen();
  }
}

TEST_F(HistoryFamilyTest, FailsAsAWholeOnceTheDatabaseIsClosed) {
  const TagId id = AddTag("A");
  WriteNumbers(id, {1, 3});
  ASSERT_TRUE(database_->Close().ok());
  EXPECT_EQ(Ask(id, {kStartMs}).code(), ZR3_ERR_NOT_CONNECTED);
  EXPECT_EQ(Ask(id, StatisticType::kMax).code(), ZR3_ERR_NOT_CONNECTED);
}

// A triangular wave goes through compression. Whatever record was answered, the value at its time
// is within the deviation from then on: nothing is missed on its way from the current value over
// what is held into the archive.
TEST_F(HistoryFamilyTest, MissesNoRecordThatMovesIntoTheArchiveMeanwhile) {
  constexpr int kRecords = 4000;
  const auto value = [](int i) { return std::abs(i % 14 - 7.0); };
  const TagId id = AddFiltered(0.25);
  std::atomic<int> answered = -1;
  std::thread writer([&] {
    for (int i = 0; i < kRecords; ++i) {
      EXPECT_EQ(Write({{id, NumberAt(kStartMs + i, value(i))}}).status, ZR3_OK);
      answered = i;
    }
  });
  while (answered < 0) std::this_thread::yield();
  for (int seen = 0; seen < kRecords - 1;) {
    seen = answered;
    const auto reply = Ask(id, {kStartMs + seen, kStartMs + seen / 2});
    if (!reply.ok()) {
      ADD_FAILURE() << reply.status().message();
      break;
    }
    EXPECT_NEAR(NumberAt(reply->samples, 0), value(seen), 0.25 + 1e-9) << seen;
    EXPECT_NEAR(NumberAt(reply->samples, 1), value(seen / 2), 0.25 + 1e-9) << seen / 2;
    if (HasFailure()) break;
  }
  writer.join();
}

}  // namespace
}  // namespace zervane
