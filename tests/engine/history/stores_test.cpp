// The same answers from every store: series of all types, of which a store keeps some in chunks and
// some in memory yet, against a plain calculation.

#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "engine/history/interpolation.h"
#include "engine/history/statistics/calculate.h"
#include "tests/engine/history/oracle.h"
#include "tests/engine/history/random_requests.h"
#include "tests/engine/storage/support.h"
#include "tests/support/case_name.h"
#include "tests/support/seed.h"

namespace zervane {
namespace {

struct StoreCase {
  const char* name;
  std::unique_ptr<Store> (*open)(const std::filesystem::path& folder);
  bool is_reopened = false;  // so that all records stand in chunks
};

template <std::size_t kChunkRecords, std::size_t kGroupChunks = 256>
std::unique_ptr<Store> OpenWithChunks(const std::filesystem::path& folder) {
  return storage::MustOpen(folder, {.pending_bytes = 400 * kPendingRecordBytes,
                                    .chunk_records = kChunkRecords,
                                    .group_chunks = kGroupChunks});
}

class HistoryOf : public testing::TestWithParam<StoreCase> {
 protected:
  struct Series {
    TagType type = TagType::kFloat64;
    std::vector<Sample> records;
  };
  static constexpr TagId kTags = 40;

  HistoryOf() : store_(GetParam().open(folder_.path())) {}

  // The records come a few at a time, here of this tag and there of that.
  void WriteAll() {
    storage::StoreDriver driver(*store_);
    std::map<TagId, std::size_t> written;
    for (TagId id = 1; id <= kTags; ++id) {
      Tag tag = storage::TagNamed(id, "TAG" + std::to_string(id));
      series_[id].type = static_cast<TagType>(id % 8);
      tag.type = static_cast<std::int32_t>(series_[id].type);
      driver.PutTag(tag);
      series_[id].records = draw_.Series(series_[id].type);
      written[id] = 0;
    }
    while (!written.empty()) {
      const auto turn = std::next(written.begin(), draw_.Draw(0, std::ssize(written) - 1));
      const std::vector<Sample>& records = series_[turn->first].records;
      std::vector<storage::MarkedSample> batch;
      for (auto count = draw_.Draw(1, 20); count > 0 && turn->second < records.size(); --count) {
        batch.push_back({.tag = turn->first, .sample = records[turn->second++]});
      }
      if (!batch.empty()) driver.Append(batch);
      if (turn->second == records.size()) written.erase(turn);
    }
    if (!GetParam().is_reopened) return;
    ASSERT_TRUE(store_->Close().ok());
    store_ = GetParam().open(folder_.path());
  }

  TagPoints PointsOf(TagId id, std::int64_t now_ms) {
    CurrentValues values;
    if (!series_[id].records.empty()) PutCurrent(values, id, series_[id].records.back());
    return *TagPoints::Read(*store_, values, id, {.type = series_[id].type}, now_ms);
  }

  const Seed seed_;
  RequestDrawer draw_{seed_.value()};
  storage::TempFolder folder_;
  std::unique_ptr<Store> store_;
  std::map<TagId, Series> series_;
};

INSTANTIATE_TEST_SUITE_P(
    Store, HistoryOf,
    testing::Values(StoreCase{"Memory",
                              [](const std::filesystem::path&) { return OpenMemoryStore(); }},
                    StoreCase{"ChunksOf1", OpenWithChunks<1>},
                    StoreCase{"ChunksOf1InGroupsOf4", OpenWithChunks<1, 4>, true},
                    StoreCase{"ChunksOf7InGroupsOf2", OpenWithChunks<7, 2>, true},
                    StoreCase{"ChunksOf7", OpenWithChunks<7>},
                    StoreCase{"ChunksOf1000", OpenWithChunks<1000>}),
    CaseName());

TEST_P(HistoryOf, HasTheStatisticsOfItsRecords) {
  WriteAll();
  for (auto& [id, series] : series_) {
    for (int i = 0; i < 30; ++i) {
      const std::int64_t clock_ms = draw_.TimeNear(series.records);
      const TagPoints points = PointsOf(id, clock_ms);
      StatisticRequest request = draw_.Request(series.records, series.type);
      const FilterCase& filter = draw_.Filter();
      request.filter = filter.text;
      const oracle::Answer expected =
          oracle::StatisticOf(series.records, series.type, request, filter.filter, points.now_ms());
      const Result<double> value = CalculateStatisticOf(points, request);
      ASSERT_EQ(value.code(), expected.code) << "tag " << id << ": " << Describe(request);
      if (!value.ok()) continue;
      ASSERT_TRUE(IsNear(*value, expected.number, RoundingOf(series.records, request)))
          << *value << " for " << expected.number << ": "
          << "tag " << id << ": " << Describe(request);
    }
  }
}

TEST_P(HistoryOf, HasTheValuesAtInstantsOfItsRecords) {
  WriteAll();
  for (auto& [id, series] : series_) {
    const TagPoints points = PointsOf(id, draw_.TimeNear(series.records));
    std::vector<std::int64_t> times;
    for (int i = 0; i < 30; ++i) times.push_back(draw_.TimeNear(series.records));
    for (const auto mode : {InterpolationMode::kLinear, InterpolationMode::kPrevious}) {
      const Result<Interpolated> reply = Interpolate(points, mode, times);
      ASSERT_TRUE(reply.ok());
      for (std::size_t at = 0; at < times.size(); ++at) {
        const oracle::Answer expected =
            oracle::ValueAt(series.records, series.type, mode, points.now_ms(), times[at]);
        ASSERT_EQ(reply->codes[at], expected.code) << "tag " << id << " at " << times[at];
        if (expected.code != ZR3_OK) continue;
        ASSERT_EQ(reply->samples.qualities()[at], expected.quality);
        if (IsText(series.type)) {
          ASSERT_EQ(reply->samples.TextAt(at), expected.text);
        } else {
          ASSERT_NEAR(NumberAt(reply->samples, at), expected.number,
                      1e-12 * GreatestOf(series.records));
        }
      }
    }
  }
}

}  // namespace
}  // namespace zervane
