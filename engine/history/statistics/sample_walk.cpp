#include "engine/history/statistics/sample_walk.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <utility>
#include <vector>

#include "engine/assert.h"
#include "engine/history/instant_walk.h"
#include "engine/history/instants.h"
#include "engine/history/interpolation.h"
#include "engine/history/statistics/request_check.h"

namespace zervane {
namespace {

// The instants of all regions at which there may be samples: none beyond now.
class SampleInstants final : public Instants {
 public:
  SampleInstants(const StatisticRequest& request, std::int64_t now_ms) {
    for (const TimeRegion& region : request.regions) {
      SampleGrid grid = GridOf(request, region);
      const std::int64_t up_to_now = (now_ms - grid.first_ms) / grid.period_ms + 1;
      grid.count = now_ms < grid.first_ms ? 0 : std::min(grid.count, up_to_now);
      grids_.push_back(grid);
      size_ += static_cast<std::size_t>(grid.count);
      ends_.push_back(size_);
    }
  }

  std::size_t size() const override { return size_; }
  std::int64_t At(std::size_t at) const override {
    const std::size_t region = RegionOf(at);
    const std::size_t begin = region == 0 ? 0 : ends_[region - 1];
    return grids_[region].first_ms +
           static_cast<std::int64_t>(at - begin) * grids_[region].period_ms;
  }

  // Which region has it; one that was asked for lately is found at once.
  std::size_t RegionOf(std::size_t at) const {
    const bool is_same = at < ends_[lately_] && (lately_ == 0 || at >= ends_[lately_ - 1]);
    if (!is_same) {
      lately_ = static_cast<std::size_t>(std::ranges::upper_bound(ends_, at) - ends_.begin());
    }
    return lately_;
  }
  std::size_t EndOf(std::size_t region) const { return ends_[region]; }

 private:
  std::vector<SampleGrid> grids_;
  std::vector<std::size_t> ends_;  // of each region's instants
  std::size_t size_ = 0;
  mutable std::size_t lately_ = 0;
};

// Hears the samples in order, and hands them on to the tally block by block.
class SampleTally final : public InstantSink {
 public:
  SampleTally(const SampleInstants& instants, const StatisticRequest& request, TagType type,
              std::int64_t now_ms, RecordJudge& judge, Tally& tally)
      : instants_(instants),
        request_(request),
        type_(type),
        now_ms_(now_ms),
        judge_(judge),
        tally_(tally) {
    block_.Reserve(RecordJudge::kMostRecords);
  }

  void Miss(std::size_t, std::size_t) override {}
  void Match(std::size_t begin, std::size_t end, const SampleColumns& records,
             std::size_t at) override {
    ForEach(begin, end, [&](std::size_t, std::int64_t) { block_.AddFrom(records, at); });
  }
  void Hold(std::size_t begin, std::size_t end, const Held& held, std::uint16_t quality) override {
    ForEach(begin, end, [&](std::size_t, std::int64_t time_ms) {
      if (IsText(type_)) return block_.AddText(time_ms, quality, type_, held.text);
      AddNumber(time_ms, quality, held.point.value);
    });
  }
  void Line(std::size_t begin, std::size_t end, const RunStatistics::Point& from,
            const RunStatistics::Point& to, std::uint16_t quality) override {
    ForEach(begin, end, [&](std::size_t, std::int64_t time_ms) {
      AddNumber(time_ms, quality, ValueBetween(type_, from, to, time_ms));
    });
  }

  void Finish() {
    Flush();
    EndRegion();
  }

 private:
  // Calls the body for each instant, when there is room for its sample in the block, which is of
  // its region.
  template <typename Body>
  void ForEach(std::size_t begin, std::size_t end, Body body) {
    for (std::size_t at = begin; at < end; ++at) {
      const std::size_t region = instants_.RegionOf(at);
      if (region != region_ || block_.size() == RecordJudge::kMostRecords) Flush();
      if (region != region_) EndRegion();
      region_ = region;
      body(at, instants_.At(at));
    }
  }

  void AddNumber(std::int64_t time_ms, std::uint16_t quality, double number) {
    block_.AddNumber(time_ms, quality, type_, BitsOfNumber(type_, number));
  }

  void Flush() {
    if (block_.empty()) return;
    const PointBlock block = judge_.Judge(block_, 0, block_.size());
    tally_.AddPiece(last_, PointAt(block, 0), last_.time_ms, block.times[0]);
    tally_.AddRecords(block, 0, block.size());
    tally_.AddSpans(block, 0, block.size());
    last_ = PointAt(block, block.size() - 1);
    block_.Clear();
  }

  // The last sample holds to the region's end.
  void EndRegion() {
    const std::int64_t right_ms = request_.regions[region_].right_ms;
    tally_.AddPiece(last_, {}, last_.time_ms, std::min(right_ms, now_ms_));
    tally_.ForgetPrevious();
    last_ = {};
  }

  const SampleInstants& instants_;
  const StatisticRequest& request_;
  const TagType type_;
  const std::int64_t now_ms_;
  RecordJudge& judge_;
  Tally& tally_;
  SampleColumns block_;     // samples of one region that were not added up yet
  std::size_t region_ = 0;  // theirs
  PassedPoint last_;        // the region's last sample that was added up
};

}  // namespace

Status TallySamples(const TagPoints& points, const StatisticRequest& request, RecordJudge& judge,
                    Tally& tally) {
  ZERVANE_ASSERT(request.source != SampleSource::kRecords && !tally.needs().line);
  const SampleInstants instants(request, points.now_ms());
  SampleTally samples(instants, request, points.type(), points.now_ms(), judge, tally);
  const auto mode = request.source == SampleSource::kLinear ? InterpolationMode::kLinear
                                                            : InterpolationMode::kPrevious;
  if (Status status = InterpolateAt(points, mode, instants, samples); !status.ok()) return status;
  samples.Finish();
  return {};
}

}  // namespace zervane
