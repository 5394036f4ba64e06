#include "engine/derived/statistics_tags/statistics_worker.h"

#include <optional>
#include <utility>

#include "engine/guard.h"
#include "engine/log.h"
#include "engine/storage/table.h"

namespace zervane {
namespace {

using Kind = StatisticsJob::Kind;

}  // namespace

StatisticsWorker::StatisticsWorker(StatisticsBook& book, StatisticsStage& stage,
                                   WindowValues values, WritePath& writes, Clock clock)
    : book_(book),
      stage_(stage),
      values_(std::move(values)),
      writes_(writes),
      thread_({.what = "statistics tags",
               .work = [this] { return Work(); },
               .next_deadline_ms = [this] { return stage_.next_due_ms(); }},
              std::move(clock)) {
  stage_.OnWork([this] { thread_.Wake(); });
}

// What is done may ask for more: statistics of a statistics tag's values. What is refused because a
// tag has changed meanwhile, or is gone, is not what is to be done any more.
Status StatisticsWorker::Work() {
  return Guarded([this]() -> Status {
    while (!thread_.is_stopping()) {
      if (Status status = Claim(); !status.ok()) return status;
      if (jobs_.empty()) return {};
      Status status = Compute();
      if (status.ok() && !thread_.is_stopping()) {
        status = Settle();
        if (status.ok()) {
          TellOfProgress();
          continue;
        }
      }
      const Result<bool> was_good = Abandon();
      if (!was_good.ok()) return was_good.status();
      if (!status.ok() && *was_good) return status;
    }
    return {};
  });
}

// With the turn: what comes before is seen when the windows are computed, what comes behind is
// known to be late.
Status StatisticsWorker::Claim() {
  return writes_.Change(
      [this](Turn&, StoreBatch&) {
        book_.Abandon();  // what an exception has left
        jobs_ = book_.Claim(kMostWindows);
        return Status();
      },
      [](Turn&) {});
}

Result<bool> StatisticsWorker::Abandon() {
  bool was_good = false;
  Status status = writes_.Change(
      [&](Turn&, StoreBatch&) {
        was_good = book_.IsClaimGood();
        book_.Abandon();
        return Status();
      },
      [](Turn&) {});
  if (!status.ok()) return status;
  return was_good;
}

Status StatisticsWorker::Compute() {
  records_.Clear();
  rows_.clear();
  for (StatisticsJob& job : jobs_) {
    if (thread_.is_stopping()) return {};
    if (Status status = ComputeJob(job); !status.ok()) return status;
    AddRows(job);
  }
  return {};
}

// Of a source that has gone meanwhile nothing is computed; then the claim is not good any more, or
// there is nothing more to do.
Status StatisticsWorker::ComputeJob(StatisticsJob& job) {
  const Result<std::optional<TagPoints>> points = values_.PointsOf(*job.rule);
  if (!points.ok()) return points.status();
  if (!*points) return {};
  if (job.kind != Kind::kFindStart) return ComputeWindows(job, **points);
  const Result<std::int64_t> first_ms = WindowValues::FirstRecordOf(**points);
  if (!first_ms.ok()) return first_ms.status();
  if (*first_ms != kNoTime) job.progress.first_record_ms = *first_ms / 1000 * 1000;
  return {};
}

Status StatisticsWorker::ComputeWindows(const StatisticsJob& job, const TagPoints& points) {
  std::optional<Value> previous;
  for (const Window& window : job.windows) {
    if (thread_.is_stopping()) return {};
    Result<std::optional<Sample>> record = values_.RecordOf(*job.rule, points, window, previous);
    if (!record.ok()) return record.status();
    if (!*record) continue;
    records_.Add(job.rule->tag, **record);
    previous = (*record)->value;
  }
  return {};
}

void StatisticsWorker::AddRows(const StatisticsJob& job) {
  if (job.kind != Kind::kLate) {
    StoreBatch batch;
    Table<StatisticsProgress>::Put(job.progress, batch);
    rows_.push_back(std::move(batch.rows.front()));
    return;
  }
  using Format = RowFormat<LateStretch>;
  RowChange change = {.table = Format::kTable, .key = Format::KeyCells(job.late.key), .row = {}};
  if (job.is_rest_late) change.row = Format::RowOf(job.late);
  rows_.push_back(std::move(change));
}

Status StatisticsWorker::Settle() {
  if (records_.empty()) {
    return writes_.Change(
        [this](Turn& turn, StoreBatch& batch) {
          batch.rows = rows_;
          return stage_.PrepareFinish(turn);
        },
        [](Turn&) {});
  }
  const Result<WriteSamples::Reply> written = writes_.WriteAsSystem(records_, rows_);
  if (!written.ok()) return written.status();
  if (written->status == ZR3_OK) return {};
  return {written->status, zr3_status_text(written->status)};
}

void StatisticsWorker::TellOfProgress() {
  for (const StatisticsJob& job : jobs_) {
    if (!job.is_behind || job.windows.empty()) continue;
    std::int64_t& count = past_windows_[job.rule->tag];
    const std::int64_t before = count;
    count += static_cast<std::int64_t>(job.windows.size());
    if (before / kToldWindows == count / kToldWindows) continue;
    LogAt(spdlog::level::info, "statistics tag {}: {} past windows are computed, up to {}",
          job.rule->tag, count, job.progress.until_ms);
  }
}

}  // namespace zervane
