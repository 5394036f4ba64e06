#include "tests/engine/database/archive_model.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdlib>
#include <filesystem>
#include <iterator>
#include <memory>
#include <random>
#include <string>
#include <utility>
#include <vector>

#include "engine/embedded.h"
#include "tests/engine/database/random_records.h"
#include "tests/engine/history/oracle.h"
#include "tests/engine/storage/support.h"
#include "tests/support/case_name.h"
#include "tests/support/database_client.h"
#include "tests/support/seed.h"

// Random calls of a database and of plain maps, which must tell the same. What a run does follows
// from its seed.
namespace zervane {
namespace {

namespace fs = std::filesystem;

constexpr std::int64_t kTags = 20;
constexpr std::int64_t kAnchors = 8;
constexpr std::int64_t kYearMs = 365LL * 24 * 3600 * 1000;
constexpr std::int64_t kStartMs = 20 * kYearMs;

struct ModelCase {
  const char* name;
  SqliteStoreOptions options;
  std::int64_t operations;
};

class ArchiveModelTest : public testing::TestWithParam<ModelCase> {
 protected:
  ArchiveModelTest() { Open(); }

  fs::path Folder() const { return temp_.path() / std::to_string(generation_); }

  void Open() {
    auto opened =
        OpenEmbedded(storage::MustOpen(Folder(), GetParam().options), [] { return kStartMs; });
    ASSERT_TRUE(opened.ok()) << opened.status().message();
    database_ = *std::move(opened);
  }

  // ---- what to do it with ----

  TagId AnyTag() {
    return std::next(model_.tags().begin(), random_.Draw(0, std::ssize(model_.tags()) - 1))->first;
  }

  // A time at which a late record may come: on the grid of one of the tag's clusters, whose anchors
  // lie milliseconds to years apart; that of a record, or just beside one.
  std::int64_t AnyTime(TagId id) {
    const auto& archive = model_.tags()[id].archive;
    const std::vector<std::int64_t>& anchors = anchors_[id];
    const auto cluster = random_.Draw(0, kAnchors - 1);
    const std::int64_t grid_ms = cluster % 2 == 0 ? 1 : 1000;
    const std::int64_t time_ms =
        anchors[static_cast<std::size_t>(cluster)] + grid_ms * random_.Draw(0, 100);
    const auto near = archive.lower_bound(time_ms);
    if (near == archive.end() || random_.OneIn(2)) return time_ms;
    return near->first + (random_.OneIn(2) ? 0 : random_.Draw(-1, 1));
  }

  // Mostly that of a record that is there.
  std::int64_t AnyRecordTime(TagId id) {
    const ArchiveModel::Tag& tag = model_.tags()[id];
    if (tag.current && random_.OneIn(5)) return tag.current->time_ms;
    const std::int64_t time_ms = AnyTime(id);
    const auto near = tag.archive.lower_bound(time_ms);
    return near == tag.archive.end() || random_.OneIn(20) ? time_ms : near->first;
  }

  // Mostly a little newer than the tag's newest record; now and then years, as new or older.
  std::int64_t NextTime(std::int64_t newest_ms) {
    if (newest_ms == kNoTime) return kStartMs;
    if (random_.OneIn(10)) return newest_ms;
    if (random_.OneIn(30)) {
      return std::max<std::int64_t>(newest_ms - random_.DrawMagnitude(kYearMs), 1);
    }
    const std::int64_t step_ms = random_.DrawMagnitude(random_.OneIn(200) ? kYearMs : 60'000);
    return std::min(newest_ms + step_ms, kMaxTimeMs);
  }

  std::size_t AnyBatchSize() {
    if (random_.OneIn(100)) return static_cast<std::size_t>(random_.Draw(20, 200));
    return static_cast<std::size_t>(random_.OneIn(10) ? random_.Draw(5, 20) : random_.Draw(1, 4));
  }

  TimeRange AnyRange(TagId id) {
    if (random_.OneIn(10)) return {};
    if (random_.OneIn(3)) return {AnyTime(id), AnyTime(id)};
    const std::int64_t middle_ms = AnyTime(id);
    return {middle_ms - random_.DrawMagnitude(10 * kYearMs),
            middle_ms + random_.DrawMagnitude(10 * kYearMs)};
  }

  std::size_t AnyLimit() {
    if (random_.OneIn(12)) return SIZE_MAX;
    return static_cast<std::size_t>(random_.OneIn(30) ? 0 : random_.DrawMagnitude(100));
  }

  // ---- what to do ----

  void AddTag() {
    Tag properties;
    properties.name = "TAG" + std::to_string(operation_) + "." + std::to_string(anchors_.size());
    properties.type = static_cast<std::int32_t>(random_.Draw(0, 7));
    properties.archiving = !random_.OneIn(10);
    const Result<TagId> id = database_->AddTag(properties, {});
    ASSERT_TRUE(id.ok()) << id.status().message();
    model_.StoreAll();
    model_.tags()[*id].type = static_cast<TagType>(properties.type);
    model_.tags()[*id].archiving = properties.archiving;
    std::int64_t anchor_ms = 1 + random_.DrawMagnitude(kYearMs);
    for (std::int64_t i = 0; i < kAnchors; ++i) {
      anchors_[*id].push_back(anchor_ms);
      anchor_ms += random_.DrawMagnitude(5 * kYearMs);
    }
  }

  void ReplaceTag() {
    const TagId id = AnyTag();
    ASSERT_TRUE(database_->DeleteTag(id).ok());
    model_.StoreAll();
    model_.tags().erase(id);
    anchors_.erase(id);
    deleted_ = id;
    AddTag();
  }

  void Write(std::vector<TagSample> batch, WriteOrder order, WriteAnswer answer) {
    const std::vector<std::int32_t> expected = model_.Accept(batch, order);
    const auto refused = std::ranges::count_if(expected, [](auto code) { return code != ZR3_OK; });
    std::vector<std::int32_t> codes(batch.size(), -1);
    const Status status = database_->Write(std::move(batch), order, answer, codes);
    EXPECT_EQ(status.code(), refused == 0 ? ZR3_OK : ZR3_ERR_SOME_RECORDS_FAILED);
    EXPECT_EQ(codes, expected);
    const bool waited = answer == WriteAnswer::kDurable && std::cmp_less(refused, codes.size());
    if (waited) model_.StoreAll();
  }

  void WriteInOrder() {
    std::map<TagId, std::int64_t> newest;
    std::vector<TagSample> batch;
    const TagId first = AnyTag();
    const bool one_tag = random_.OneIn(3);
    for (std::size_t n = AnyBatchSize(); n > 0; --n) {
      const TagId id = one_tag ? first : AnyTag();
      const ArchiveModel::Tag& tag = model_.tags()[id];
      std::int64_t& newest_ms = newest.try_emplace(id, tag.newest_ms).first->second;
      const std::int64_t time_ms = NextTime(newest_ms);
      newest_ms = std::max(newest_ms, time_ms);
      batch.push_back({id, random_.AnySample(tag.type, time_ms)});
    }
    if (random_.OneIn(100)) batch.front().tag = deleted_;
    Write(std::move(batch), WriteOrder::kInOrder, AnyAnswer());
  }

  void WriteLate() {
    std::vector<TagSample> batch;
    const TagId first = AnyTag();
    const bool one_tag = random_.OneIn(2);
    for (std::size_t n = AnyBatchSize(); n > 0; --n) {
      const TagId id = one_tag ? first : AnyTag();
      batch.push_back({id, random_.AnySample(model_.tags()[id].type, AnyTime(id))});
    }
    Write(std::move(batch), WriteOrder::kAnyOrder, AnyAnswer());
  }

  WriteAnswer AnyAnswer() {
    return random_.OneIn(4) ? WriteAnswer::kDurable : WriteAnswer::kQueued;
  }

  void WriteSome() {
    for (std::int64_t n = random_.Draw(1, 6); n > 0 && !HasFailure(); --n, ++operation_) {
      random_.OneIn(2) ? WriteInOrder() : WriteLate();
    }
  }

  // Waits for what was answered when queued: it is readable once a later durable write is answered.
  void Settle() {
    if (model_.unstored() == 0) return;
    const TagId id = AnyTag();
    Write({{id, random_.AnySample(model_.tags()[id].type, AnyTime(id))}}, WriteOrder::kAnyOrder,
          WriteAnswer::kDurable);
    ++operation_;
  }

  // It is answered when it is stored, with all that was queued before. Now and then there is no
  // such record, tag or type.
  void Correct() {
    const TagId id = random_.OneIn(100) ? deleted_ : AnyTag();
    const bool is_there = model_.tags().contains(id);
    TagType type = is_there ? model_.tags()[id].type : TagType::kFloat64;
    if (random_.OneIn(50)) type = static_cast<TagType>(random_.Draw(0, 7));
    const Sample sample = random_.AnySample(type, is_there ? AnyRecordTime(id) : kStartMs);
    const std::int32_t expected = model_.Correct(id, sample);
    EXPECT_EQ(database_->CorrectRecord(id, sample).code(), expected)
        << "tag " << id << " at " << sample.time_ms << " ms";
    model_.StoreAll();
  }

  // What was computed of the tag's records at instants near some of them.
  void CompareInterpolation() {
    Settle();
    const TagId id = AnyTag();
    const auto mode = random_.OneIn(2) ? InterpolationMode::kLinear : InterpolationMode::kPrevious;
    std::vector<std::int64_t> times(3);
    for (std::int64_t& time_ms : times) time_ms = AnyTime(id);
    const auto values = database_->Do(InterpolateTag{.id = id, .mode = mode, .times_ms = times});
    ASSERT_TRUE(values.ok()) << values.status().message();
    const ArchiveModel::Tag& tag = model_.tags()[id];
    const std::vector<Sample> points = model_.Points(id);
    for (std::size_t at = 0; at < times.size(); ++at) {
      ExpectValue(oracle::ValueAt(points, tag.type, mode, NowOf(tag), times[at]), *values, at);
    }
  }

  static std::int64_t NowOf(const ArchiveModel::Tag& tag) {
    return tag.current ? std::max(kStartMs, tag.current->time_ms) : kStartMs;
  }

  static void ExpectValue(const oracle::Answer& expected, const Interpolated& values,
                          std::size_t at) {
    SCOPED_TRACE(testing::Message() << "at " << values.samples.times()[at] << " ms");
    ASSERT_EQ(values.codes[at], expected.code);
    if (expected.code != ZR3_OK) return;
    const Sample value = values.samples.At(at);
    // Halfway between two floats the last place of the line decides which of them it is.
    const double place = value.type == TagType::kFloat32 ? 0x1p-23 : 1e-9;
    EXPECT_EQ(value.quality, expected.quality);
    if (IsText(value.type)) {
      EXPECT_EQ(value.value.text().str(), expected.text);
    } else {
      EXPECT_NEAR(oracle::NumberIn(value.value), expected.number,
                  place * (1 + std::abs(expected.number)));
    }
  }

  // What a statistic of the points may differ by for the order in which its terms are added: so
  // many units in the last place of the sum of their amounts, or of a duration.
  static double RoundingOf(const std::vector<Sample>& points, const StatisticRequest& request) {
    double amounts = 1;
    for (const Sample& point : points) {
      const double number = std::abs(oracle::NumberIn(point.value));
      if (std::isfinite(number)) amounts = std::max(amounts, number);
    }
    const TimeRegion& region = request.regions.front();
    const double seconds = static_cast<double>(region.right_ms - region.left_ms) / 1000;
    const bool is_area = request.type == StatisticType::kIntegral;
    const double terms = static_cast<double>(points.size()) + 1;
    return 1e-12 * amounts * (is_area ? seconds + 1 : terms) + 1e-15 * seconds * terms;
  }

  // Texts have no others.
  StatisticType AnyStatistic(TagType type) {
    constexpr std::array kOfTexts = {StatisticType::kCount, StatisticType::kCountOfChanges,
                                     StatisticType::kPercentGood, StatisticType::kTimeDuration};
    if (IsText(type)) return kOfTexts[static_cast<std::size_t>(random_.Draw(0, 3))];
    return static_cast<StatisticType>(random_.Draw(0, ZR3_STATS_TYPE_LIMIT_MAX));
  }

  // A statistic over one region, of which the ends come as they may.
  void CompareStatistic() {
    Settle();
    const TagId id = AnyTag();
    const ArchiveModel::Tag& tag = model_.tags()[id];
    StatisticRequest request;
    request.type = AnyStatistic(tag.type);
    const auto [from_ms, to_ms] = std::minmax({AnyTime(id), AnyTime(id)});
    request.regions = {{.left_ms = from_ms,
                        .right_ms = to_ms + 1,
                        .is_left_closed = random_.OneIn(2),
                        .is_right_closed = random_.OneIn(2)}};
    request.parameter_1 = static_cast<double>(random_.Draw(-50'000, 0)) / 100;
    request.parameter_2 = static_cast<double>(random_.Draw(0, 50'000)) / 100;
    request.uses_bad_values = random_.OneIn(4);
    const auto actual = database_->Do(CalculateStatistic{.id = id, .request = request});
    const std::vector<Sample> points = model_.Points(id);
    const oracle::Answer expected = oracle::StatisticOf(points, tag.type, request, {}, NowOf(tag));
    SCOPED_TRACE(testing::Message()
                 << "tag " << id << ", statistic " << static_cast<int>(request.type) << ", "
                 << from_ms << " to " << to_ms + 1 << " ms");
    ASSERT_EQ(actual.code(), expected.code) << actual.status().message();
    if (!actual.ok()) return;
    EXPECT_NEAR(*actual, expected.number, RoundingOf(points, request));
  }

  void CompareRead() {
    Settle();
    const TagId id = AnyTag();
    const TimeRange range = AnyRange(id);
    const auto direction = random_.OneIn(2) ? Direction::kForward : Direction::kBackward;
    const std::size_t limit = AnyLimit();
    const auto actual = database_->ReadRecords(id, range, direction, limit);
    ASSERT_TRUE(actual.ok()) << actual.status().message();
    EXPECT_EQ(FirstDifference(model_.Read(id, range, direction, limit), *actual), "")
        << "tag " << id << ", " << range.from_ms << " to " << range.to_ms << " ms, "
        << (direction == Direction::kForward ? "forward" : "backward") << ", limit " << limit;
  }

  void CompareCount() {
    Settle();
    const TagId id = AnyTag();
    const TimeRange range = AnyRange(id);
    const auto count = database_->CountRecords(id, range);
    ASSERT_TRUE(count.ok()) << count.status().message();
    EXPECT_EQ(*count, model_.Count(id, range))
        << "tag " << id << ", " << range.from_ms << " to " << range.to_ms << " ms";
  }

  void CompareCurrent() {
    Settle();
    const TagId id = AnyTag();
    EXPECT_EQ(DifferenceOfCurrent(model_, *database_, id), "") << "tag " << id;
  }

  void Reopen() {
    EXPECT_TRUE(database_->Close().ok());
    model_.StoreAll();
    database_.reset();
    storage::ExpectWholeFile(Folder());
    Open();
    EXPECT_EQ(DifferenceOfAll(model_, *database_), "") << "after an orderly close";
  }

  // Goes on with a copy of the files as they stand. Of the batches that were answered when queued
  // it holds the first so many.
  void Crash() {
    const fs::path before = Folder();
    ++generation_;
    storage::CopyWhileOpen(before, Folder());
    database_.reset();
    fs::remove_all(before);
    Open();
    EXPECT_EQ(DifferenceAfterCrash(model_, *database_), "") << "after a crash";
    model_.LoseUnstored();
  }

  void Step() {
    const std::int64_t kind = random_.Draw(1, 20'000);
    if (kind == 1) return random_.OneIn(2) ? Reopen() : Crash();
    if (kind <= 20) return ReplaceTag();
    if (kind <= 2'000) return WriteSome();
    if (kind <= 2'200) return Correct();
    if (kind <= 2'250) return CompareInterpolation();
    if (kind <= 2'300) return CompareStatistic();
    if (kind <= 14'000) return CompareRead();
    if (kind <= 17'000) return CompareCount();
    CompareCurrent();
  }

  const Seed seed_;
  RandomRecords random_{seed_.value()};
  storage::TempFolder temp_;
  int generation_ = 0;
  DatabaseClient database_;
  ArchiveModel model_;
  std::map<TagId, std::vector<std::int64_t>> anchors_;
  TagId deleted_ = 0;
  std::int64_t operation_ = 0;
};

// With the tiny bounds the journal is trimmed and chunks are split and joined all the time; with
// the default ones nearly everything is pending until the database is closed.
INSTANTIATE_TEST_SUITE_P(Bounds, ArchiveModelTest,
                         testing::Values(ModelCase{"Tiny",
                                                   {.pending_bytes = 200 * kPendingRecordBytes,
                                                    .chunk_records = 16},
                                                   ZERVANE_MODEL_OPERATIONS},
                                         ModelCase{"Default", {}, ZERVANE_MODEL_OPERATIONS / 10}),
                         CaseName());

TEST_P(ArchiveModelTest, TellsTheSameAsPlainMaps) {
  for (std::int64_t i = 0; i < kTags; ++i) AddTag();
  for (; operation_ < GetParam().operations && !HasFailure(); ++operation_) Step();
  ASSERT_FALSE(HasFailure()) << "in operation " << operation_;
  Reopen();
}

}  // namespace
}  // namespace zervane
