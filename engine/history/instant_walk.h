#pragma once

#include <cstddef>
#include <cstdint>

#include "api/words/samples.h"
#include "api/words/statistics.h"
#include "api/words/status.h"
#include "engine/history/instants.h"
#include "engine/history/last_good.h"
#include "engine/history/points.h"
#include "engine/storage/store.h"

namespace zervane {

// Tells a sink what a tag's values are at instants, none of which lies beyond now. Memory is needed
// for one chunk, however many instants there are.
//
// One pass over the points: what has no instant in it is passed over by its statistics, or, where
// it has none, by looking the next instant up anew. So a chunk is decoded once at the most, and for
// a point that lies far back nothing is decoded that lies between. The status of the store.
Status InterpolateAt(const TagPoints& points, InterpolationMode mode, const Instants& instants,
                     InstantSink& sink);

// Such a pass, forward.
class InstantWalk final : public ScanVisitor {
 public:
  // `is_line`: whether values run to the next good record's.
  InstantWalk(bool is_line, const Instants& instants, InstantSink& sink);

  bool IsDone() const { return next_ == instants_.size() && !IsWaiting(); }
  // The first instant about which nothing is known yet.
  std::int64_t next_ms() const { return next_ms_; }

  // The records before the next instant of which the walk has to know before it starts.
  TimeRange UnseenBefore() const;
  // Begins at the next instant, with what was found among them. No instant waits.
  void StartFrom(const LastGood& unseen);
  Wants Offer(const RunSummary& run) override;
  bool Show(const SampleColumns& records, std::size_t begin, std::size_t end) override;
  // There are no records any more, unless what was passed over has to be looked at, so that the
  // walk is to start anew.
  void Finish();

 private:
  static constexpr std::int64_t kNever = LastGood::kNever;

  bool IsWaiting() const { return first_waiting_ < next_; }
  bool IsLost() const { return before_.state() == LastGood::State::kUnknown; }

  void MoveTo(std::size_t next);
  // Passes the instants before a time, up to which there is no further record.
  void PassInstants(std::int64_t time_ms);
  void TellHeld();
  void TellWaiting(const RunStatistics::Point& next_good);
  void PassRun(const RunStatistics& run);
  void PassRecord(const SampleColumns& records, std::size_t at);

  const bool is_line_;
  const Instants& instants_;
  InstantSink& sink_;
  LastGood before_;
  std::size_t first_waiting_ = 0;  // from there on instants wait for the next good record
  std::size_t next_ = 0;
  std::int64_t next_ms_ = kNever;
  std::int64_t passed_ms_ = kNoTime;  // up to there all records were passed
  bool starts_anew_ = false;
};

}  // namespace zervane
