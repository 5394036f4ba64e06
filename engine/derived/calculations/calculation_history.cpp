#include "engine/derived/calculations/calculation_history.h"

#include <spdlog/fmt/fmt.h>

#include <algorithm>
#include <limits>
#include <utility>

#include "engine/assert.h"
#include "engine/log.h"
#include "engine/storage/table.h"

namespace zervane {
namespace {

using Format = RowFormat<HistoryProgress>;

// How often the log is told of one stretch.
constexpr std::int64_t kTellEveryPercent = 5;
constexpr std::int64_t kTellEveryMs = 60'000;

Status Damaged(TagId tag) {
  return {ZR3_ERR_STORAGE_DAMAGED,
          fmt::format("what the store holds of the history of tag {} is none of it", tag)};
}

std::int64_t ShareOf(const HistoryProgress& progress) {
  const std::int64_t all_ms = progress.key.until_ms - progress.from_ms + 1;
  return (progress.next_ms - progress.from_ms) * 100 / std::max<std::int64_t>(all_ms, 1);
}

RowChange RowFor(const HistoryProgress& progress) {
  RowChange change = {.table = Format::kTable, .key = Format::KeyCells(progress.key), .row = {}};
  if (!progress.IsDone()) change.row = Format::RowOf(progress);
  return change;
}

template <typename Map>
typename Map::node_type NodeOf(typename Map::key_type key, typename Map::mapped_type value) {
  Map one;
  one.emplace(std::move(key), std::move(value));
  return one.extract(one.begin());
}

}  // namespace

CalculationHistory::CalculationHistory(Store& store, WritePath& writes, const TagIndex& tags,
                                       Clock clock, std::size_t most_instants)
    : store_(store),
      writes_(writes),
      clock_(clock),
      reader_(store, tags, writes.current_values(), std::move(clock), most_instants) {}

// ---- opening ----

Status CalculationHistory::Load(Turn& turn, std::span<const CalculationPtr> calculations) {
  turn.AssertHeld();
  const MutexLock lock(mutex_);
  for (const CalculationPtr& calculation : calculations) {
    if (calculation->history) calculations_.emplace(calculation->tag, calculation);
  }
  Status fault;
  Status status = Table<HistoryProgress>(store_).Visit(
      {.table = Format::kTable, .from = Format::AllKeys(), .to = Format::AllKeys()},
      std::numeric_limits<std::size_t>::max(), [&](const HistoryProgress& progress) {
        mutex_.AssertHeld();
        const auto calculation = calculations_.find(progress.key.tag);
        if (calculation == calculations_.end()) fault = Damaged(progress.key.tag);
        if (!fault.ok()) return false;
        jobs_.emplace(progress.key, std::make_shared<Job>(Job{.calculation = calculation->second,
                                                              .progress = progress}));
        return true;
      });
  return fault.ok() ? status : fault;
}

Status CalculationHistory::Begin(std::int64_t opened_ms) {
  if (has_begun_) return {};
  const auto plan = [&](Turn&, StoreBatch& batch) -> Status {
    const MutexLock lock(mutex_);
    for (const auto& [tag, calculation] : calculations_) {
      const std::optional<HistoryProgress> gap = GapOf(*calculation, opened_ms);
      if (!gap) continue;
      auto job = std::make_shared<Job>(Job{.calculation = calculation, .progress = *gap});
      changes_.push_back(
          {.tag = tag, .replaces = false, .job = NodeOf<Jobs>(gap->key, std::move(job))});
      batch.rows.push_back(RowFor(*gap));
    }
    return {};
  };
  Status status = writes_.Change(plan, [](Turn&) {});
  has_begun_ = status.ok();
  return status;
}

// Records of a tag that has a history itself may be about to come, so that nothing can be said of
// whoever is computed at these.
std::optional<HistoryProgress> CalculationHistory::GapOf(const Calculation& calculation,
                                                         std::int64_t opened_ms) const {
  std::int64_t known_ms = writes_.current_values().TimeOf(calculation.tag);
  for (auto job = jobs_.lower_bound({.tag = calculation.tag});
       job != jobs_.end() && job->first.tag == calculation.tag; ++job) {
    known_ms = std::max(known_ms, job->first.until_ms);
  }
  const bool is_due = calculation.mode == Calculation::Mode::kPoll ||
                      NewestTriggerOf(calculation) > known_ms ||
                      std::ranges::any_of(TriggersOf(calculation), [&](TagId tag) {
                        mutex_.AssertHeld();
                        return calculations_.contains(tag);
                      });
  return is_due ? StretchFrom(calculation, known_ms + 1, opened_ms) : std::nullopt;
}

// A record may be stamped later than the clock says; it is the past, too.
std::optional<HistoryProgress> CalculationHistory::StretchFrom(const Calculation& calculation,
                                                               std::int64_t from_ms,
                                                               std::int64_t now_ms) const {
  const bool is_polled = calculation.mode == Calculation::Mode::kPoll;
  const std::int64_t to_ms = is_polled ? now_ms : std::max(now_ms, NewestTriggerOf(calculation));
  const TimeRange range =
      HistoryWithin(calculation, {.from_ms = from_ms, .to_ms = std::min(to_ms, kMaxTimeMs)});
  if (range.empty()) return std::nullopt;
  return HistoryProgress{.key = {.tag = calculation.tag, .until_ms = range.to_ms},
                         .from_ms = range.from_ms,
                         .next_ms = range.from_ms};
}

std::int64_t CalculationHistory::NewestTriggerOf(const Calculation& calculation) const {
  std::int64_t newest_ms = kNoTime;
  for (const TagId tag : TriggersOf(calculation)) {
    newest_ms = std::max(newest_ms, writes_.current_values().TimeOf(tag));
  }
  return newest_ms;
}

// ---- what is saved ----

void CalculationHistory::PrepareSave(Turn& turn, CalculationPtr calculation, std::int64_t now_ms,
                                     StoreBatch& batch) {
  turn.AssertHeld();
  const TagId tag = calculation->tag;
  if (!calculation->history) return PrepareRemoval(turn, tag, batch);
  const MutexLock lock(mutex_);
  const auto before = calculations_.find(tag);
  if (before != calculations_.end() && HaveSameHistory(*before->second, *calculation)) return;
  if (HasJobs(tag)) {
    batch.rows.push_back({.table = Format::kTable, .key = Format::KeysOf(tag), .row = {}});
  }
  Change change = {.tag = tag, .calculation = NodeOf<Calculations>(tag, calculation)};
  if (const auto stretch = StretchFrom(*calculation, 0, now_ms)) {
    auto job = std::make_shared<Job>(Job{.calculation = calculation, .progress = *stretch});
    change.job = NodeOf<Jobs>(stretch->key, std::move(job));
    batch.rows.push_back(RowFor(*stretch));
  }
  changes_.push_back(std::move(change));
}

void CalculationHistory::PrepareRemoval(Turn& turn, TagId tag, StoreBatch& batch) {
  turn.AssertHeld();
  const MutexLock lock(mutex_);
  if (!calculations_.contains(tag)) return;
  if (HasJobs(tag)) {
    batch.rows.push_back({.table = Format::kTable, .key = Format::KeysOf(tag), .row = {}});
  }
  changes_.push_back({.tag = tag});
}

Status CalculationHistory::Check(Turn& turn, std::span<const RowChange> rows) {
  turn.AssertHeld();
  for (const RowChange& row : rows) {
    const std::optional<HistoryProgress::Key> key = StretchOf(row);
    if (!key) continue;
    const MutexLock lock(mutex_);
    const auto job = jobs_.find(*key);
    if (job == jobs_.end() || job->second != in_work_) {
      return {ZR3_ERR_INVALID_ARGUMENT, "a calculation tag was changed meanwhile"};
    }
  }
  return {};
}

void CalculationHistory::Keep(Turn& turn) noexcept {
  turn.AssertHeld();
  if (changes_.empty()) return;
  const MutexLock lock(mutex_);
  for (Change& change : changes_) {
    if (change.replaces) {
      calculations_.erase(change.tag);
      jobs_.erase(jobs_.lower_bound({.tag = change.tag}),
                  jobs_.upper_bound({.tag = change.tag, .until_ms = kMaxTimeMs}));
    }
    calculations_.insert(std::move(change.calculation));
    jobs_.insert(std::move(change.job));
  }
  changes_.clear();
}

void CalculationHistory::Discard(Turn& turn) noexcept {
  turn.AssertHeld();
  changes_.clear();
}

bool CalculationHistory::HasJobs(TagId tag) const {
  const auto job = jobs_.lower_bound({.tag = tag});
  return job != jobs_.end() && job->first.tag == tag;
}

// ---- working ----

bool CalculationHistory::HasWork() const {
  const MutexLock lock(mutex_);
  return !jobs_.empty();
}

Result<TagId> CalculationHistory::Step() {
  const JobPtr job = NextJob();
  if (job == nullptr) return TagId{0};
  const Result<HistoryStep> step = reader_.Compute(*job->calculation, job->progress);
  if (!step.ok()) return step.status();
  const Status status = step->records.empty() ? WriteEnd(job) : Write(job, *step);
  if (!IsCurrent(job)) return TagId{0};  // it was saved anew, or is gone: that counts
  if (!status.ok()) return status;
  Follow(job, *step);
  return step->records.empty() ? TagId{0} : job->calculation->tag;
}

// The next one behind the last that is ready. There is one, for tags do not read each other in a
// loop.
CalculationHistory::JobPtr CalculationHistory::NextJob() {
  const MutexLock lock(mutex_);
  in_work_ = nullptr;
  auto at = jobs_.upper_bound(last_);
  for (std::size_t left = jobs_.size(); left > 0; --left, ++at) {
    if (at == jobs_.end()) at = jobs_.begin();
    if (!IsReady(*at->second)) continue;
    last_ = at->first;
    in_work_ = at->second;
    break;
  }
  return in_work_;
}

// Stretches of one tag are computed in order of time.
bool CalculationHistory::IsReady(const Job& job) const {
  const auto has_jobs = [this](TagId tag) {
    mutex_.AssertHeld();
    return HasJobs(tag);
  };
  const Calculation& calculation = *job.calculation;
  return jobs_.lower_bound({.tag = calculation.tag})->second.get() == &job &&
         std::ranges::none_of(calculation.operands, has_jobs) &&
         std::ranges::none_of(TriggersOf(calculation), has_jobs);
}

bool CalculationHistory::IsCurrent(const JobPtr& job) const {
  const MutexLock lock(mutex_);
  const auto found = jobs_.find(job->progress.key);
  return found != jobs_.end() && found->second == job;
}

Status CalculationHistory::Write(const JobPtr& job, const HistoryStep& step) {
  const auto written = writes_.WriteAsSystem(step.records, {RowFor(step.after)});
  if (!written.ok()) return written.status();
  if (written->status == ZR3_OK) return {};
  const auto refused = std::ranges::find_if(written->codes, [](auto code) { return code != 0; });
  const auto code = refused == written->codes.end() ? written->status : ZR3_STATUS(*refused);
  return {code, fmt::format("the history of calculation tag {} is not stored: {}",
                            job->progress.key.tag, zr3_status_text(code))};
}

Status CalculationHistory::WriteEnd(const JobPtr& job) {
  const auto plan = [&](Turn& turn, StoreBatch& batch) {
    HistoryProgress done = job->progress;
    done.next_ms = done.key.until_ms + 1;
    const std::vector<RowChange> rows = {RowFor(done)};
    if (Status status = Check(turn, rows); !status.ok()) return status;
    batch.rows.push_back(rows.front());
    return Status();
  };
  return writes_.Change(plan, [](Turn&) {});
}

void CalculationHistory::Follow(const JobPtr& job, const HistoryStep& step) {
  Tell(*job, step);
  job->progress = step.after;
  if (!step.after.IsDone()) return;
  const MutexLock lock(mutex_);
  const auto found = jobs_.find(step.after.key);
  if (found != jobs_.end() && found->second == job) jobs_.erase(found);
}

// The first and the last line always; those between every few percent, or every minute.
void CalculationHistory::Tell(Job& job, const HistoryStep& step) const {
  const HistoryProgress& after = step.after;
  if (step.records.empty() && !job.is_told) return;  // there was nothing to compute
  const std::int64_t share = after.IsDone() ? 100 : ShareOf(after);
  const std::int64_t now_ms = clock_();
  const bool is_due = !job.is_told || after.IsDone() ||
                      share >= job.told_share + kTellEveryPercent ||
                      now_ms >= job.told_ms + kTellEveryMs;
  if (!is_due) return;
  job.is_told = true;
  job.told_ms = now_ms;
  job.told_share = share;
  LogAt(spdlog::level::info, "calculation tag {} is computed over the past from {} to {} ms: {} %",
        after.key.tag, after.from_ms, after.key.until_ms, share);
}

}  // namespace zervane
