#pragma once

#include <cstdint>
#include <map>
#include <span>
#include <vector>

#include "api/words/samples.h"
#include "api/words/status.h"
#include "engine/clock.h"
#include "engine/derived/statistics_tags/statistics_book.h"
#include "engine/derived/statistics_tags/statistics_stage.h"
#include "engine/derived/statistics_tags/window_values.h"
#include "engine/storage/row.h"
#include "engine/work_thread.h"
#include "engine/write/write_path.h"

namespace zervane {

// Computes the windows that are due, and those into which late records came, and writes their
// records as the database's own. It goes through the write path as any caller does, and computes
// without the turn.
//
// Threads: one after the other.
class StatisticsWorker {
 public:
  // All outlive it.
  StatisticsWorker(StatisticsBook& book, StatisticsStage& stage, WindowValues values,
                   WritePath& writes, Clock clock);
  ~StatisticsWorker() { Stop(); }
  StatisticsWorker(const StatisticsWorker&) = delete;
  StatisticsWorker& operator=(const StatisticsWorker&) = delete;

  // Begins to work whenever there is something to do, on a thread of its own. Throws
  // std::system_error when there can be none.
  void Start() { thread_.Start(); }
  void Stop() noexcept { thread_.Stop(); }

  // Does all that is to be done now. The status of the store, when it refuses; then the rest is
  // still to be done.
  Status Work();

 private:
  // So many windows are computed and stored in one go.
  static constexpr std::int64_t kMostWindows = 1'000;
  // So many of a tag's past windows are told of in the log at a time.
  static constexpr std::int64_t kToldWindows = 100'000;

  Status Claim();
  // Answers whether the tags were as they were until now.
  Result<bool> Abandon();
  Status Compute();
  Status ComputeJob(StatisticsJob& job);
  Status ComputeWindows(const StatisticsJob& job, const TagPoints& points);
  void AddRows(const StatisticsJob& job);
  // Has what was computed stored.
  Status Settle();
  void TellOfProgress();

  StatisticsBook& book_;
  StatisticsStage& stage_;
  const WindowValues values_;
  WritePath& writes_;
  // Of what is claimed.
  std::span<StatisticsJob> jobs_;
  SampleBatch records_;
  std::vector<RowChange> rows_;
  std::map<TagId, std::int64_t> past_windows_;  // that were computed of those who are behind
  WorkThread thread_;
};

}  // namespace zervane
