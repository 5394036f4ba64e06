#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>

#include "api/words/statistics.h"
#include "api/words/status.h"
#include "engine/history/points.h"
#include "engine/history/statistics/point_block.h"
#include "engine/history/statistics/tally.h"
#include "engine/storage/store.h"

namespace zervane {

// Adds up what a request's regions hold: their records, and the spans that cover them. One pass
// over the points. Runs that lie in a region as a whole are not looked at where their statistics
// serve; those between regions never are. The status of the store.
//
// REQUIRES a request for records. `judge` and `tally` are new.
Status TallyRecords(const TagPoints& points, const StatisticRequest& request, RecordJudge& judge,
                    Tally& tally);

// What comes before a region: the last point, and the last one that is admitted.
class PointsBefore final : public ScanVisitor {
 public:
  PointsBefore(const StatisticNeeds& needs, RecordJudge& judge) : needs_(needs), judge_(judge) {}

  Wants Offer(const RunSummary& run) override;
  bool Show(const SampleColumns& records, std::size_t begin, std::size_t end) override;

  const PassedPoint& last() const { return last_; }
  std::optional<double> last_admitted() const { return last_admitted_; }

 private:
  bool IsDone() const { return last_.exists() && (!needs_.previous || last_admitted_); }
  void Pass(const PointBlock& block);

  const StatisticNeeds needs_;
  RecordJudge& judge_;
  PassedPoint last_;
  std::optional<double> last_admitted_;
};

// Such a pass, forward.
class RegionWalk final : public ScanVisitor {
 public:
  RegionWalk(const StatisticRequest& request, std::int64_t now_ms, RecordJudge& judge,
             Tally& tally);

  bool IsDone() const { return at_ == regions_.size(); }
  // Where the next region begins. REQUIRES that there is one.
  std::int64_t next_ms() const { return regions_[at_].left_ms; }
  // Up to there everything was passed that has been there.
  std::int64_t passed_ms() const { return passed_ms_; }
  // Whether what comes before the next region is to be looked up.
  bool IsLost() const { return is_lost_; }

  void StartFrom(const PointsBefore& before);
  bool UsesStatistics() const override { return tally_.needs().takes_runs; }
  Wants Offer(const RunSummary& run) override;
  bool Show(const SampleColumns& records, std::size_t begin, std::size_t end) override;
  // There are no points any more.
  void Finish();

 private:
  const TimeRegion& region() const { return regions_[at_]; }
  bool IsInside(const RunStatistics& run) const;

  Wants OfferStatistics(const RunStatistics& run);
  Wants OfferRecords(const RunSummary& run);
  void PassBlock(const PointBlock& block);
  void AddInside(const PointBlock& block, std::size_t begin, std::size_t end);
  // The region's end, at or behind which the next point lies, if there is one.
  void EndRegion(const PassedPoint& next);

  const std::span<const TimeRegion> regions_;
  const std::int64_t now_ms_;
  RecordJudge& judge_;
  Tally& tally_;
  std::size_t at_ = 0;
  PassedPoint last_;  // the point that was passed last
  std::int64_t passed_ms_ = kNoTime;
  bool is_lost_ = true;
};

}  // namespace zervane
