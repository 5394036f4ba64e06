#include "engine/storage/sqlite/group_planner.h"

#include <algorithm>
#include <limits>
#include <optional>
#include <unordered_set>
#include <utility>
#include <vector>

#include "engine/assert.h"
#include "engine/storage/sqlite/summary_table.h"

namespace zervane::storage {
namespace {

// What changes of a tag's chunks, ascending in time.
std::vector<TimeRange> ChangesOf(const ChunkEdits& edits) {
  std::vector<TimeRange> changes;
  for (const ChunkExtent& chunk : edits.replaced) {
    changes.push_back({.from_ms = chunk.first_ms, .to_ms = chunk.last_ms});
  }
  for (const ChunkSetAside& chunk : edits.damaged) {
    changes.push_back({.from_ms = chunk.extent.first_ms, .to_ms = chunk.extent.last_ms});
  }
  for (const EncodedChunk& chunk : edits.added) {
    changes.push_back({.from_ms = chunk.first_ms, .to_ms = chunk.last_ms});
  }
  std::ranges::sort(changes, {}, &TimeRange::from_ms);
  return changes;
}

// Takes chunks one behind the other, and keeps those that may be in one group.
class ChunkRuns {
 public:
  struct Run {
    std::vector<RunStatistics> chunks;
    std::int64_t begin = 0;  // how many chunks came before
    std::int64_t end() const { return begin + std::ssize(chunks); }
  };

  // Those of fewer chunks are not kept.
  explicit ChunkRuns(std::int64_t least) : least_(least) {}

  // Null for a chunk without a summary.
  void Add(const RunStatistics* chunk) {
    if (chunk == nullptr || !GoesOn(*chunk)) Cut();
    if (chunk != nullptr) run_.chunks.push_back(*chunk);
    ++added_;
    if (chunk == nullptr) run_.begin = added_;
  }

  // When all were added.
  const std::vector<Run>& runs() {
    Cut();
    return runs_;
  }
  std::int64_t added() const { return added_; }

 private:
  // In a damaged file a chunk that stays may overlap one that is new: the merge did not find it.
  bool GoesOn(const RunStatistics& chunk) const {
    if (run_.chunks.empty()) return false;
    const RunStatistics& last = run_.chunks.back();
    return last.course == chunk.course && last.last_ms < chunk.first_ms;
  }

  void Cut() {
    if (std::ssize(run_.chunks) >= least_) runs_.push_back(std::move(run_));
    run_ = {.chunks = {}, .begin = added_};
  }

  const std::int64_t least_;
  std::int64_t added_ = 0;
  Run run_;
  std::vector<Run> runs_;
};

}  // namespace

// A part of the archive between two groups that stay, some chunks of which change.
struct GroupPlanner::Window {
  TimeRange range;
  TimeRange changed;
  bool ends_archive() const { return range.to_ms == kMaxTimeMs; }
};

// The groups of a tag for its edits.
class GroupPlanner::Planning {
 public:
  Planning(Connection& connection, std::int64_t group_chunks, TagId tag, ChunkEdits* edits)
      : connection_(connection), group_chunks_(group_chunks), tag_(tag), edits_(*edits) {
    for (const ChunkExtent& chunk : edits_.replaced) gone_.insert(chunk.id);
    for (const ChunkSetAside& chunk : edits_.damaged) gone_.insert(chunk.extent.id);
  }

  // ZR3_ERR_STORAGE_DAMAGED is of the table of summaries alone.
  Status Run() {
    const std::vector<TimeRange> changes = ChangesOf(edits_);
    for (std::size_t next = 0; next < changes.size();) {
      const Result<Window> window = NextWindow(changes, &next);
      if (!window.ok()) return window.status();
      if (Status status = PlanWindow(*window); !status.ok()) return status;
    }
    return {};
  }

  // How many chunks there are behind the last group then, where that is known.
  std::optional<std::int64_t> count_behind() const { return count_behind_; }

 private:
  // From the change on that is the next, with all those before the next group that stays. The
  // groups that they fall into are dropped.
  Result<Window> NextWindow(const std::vector<TimeRange>& changes, std::size_t* next) {
    Window window{.range = {}, .changed = changes[*next]};
    TimeRange& changed = window.changed;
    auto before = GroupStartingBy(connection_, tag_, changed.to_ms);
    while (before.ok() && *before && (*before)->last_ms >= changed.from_ms) {
      edits_.dropped_groups.push_back((*before)->first_ms);
      before = GroupStartingBy(connection_, tag_, (*before)->first_ms - 1);
    }
    if (!before.ok()) return before.status();
    auto behind = GroupStartingAfter(connection_, tag_, changed.to_ms);
    while (behind.ok() && ++*next < changes.size()) {
      if (*behind && changes[*next].from_ms > (*behind)->last_ms) break;
      changed.to_ms = std::max(changed.to_ms, changes[*next].to_ms);
      while (behind.ok() && *behind && (*behind)->first_ms <= changed.to_ms) {
        edits_.dropped_groups.push_back((*behind)->first_ms);
        behind = GroupStartingAfter(connection_, tag_, (*behind)->first_ms);
      }
    }
    if (!behind.ok()) return behind.status();
    window.range.from_ms = *before ? (*before)->last_ms + 1 : 0;
    window.range.to_ms = *behind ? (*behind)->first_ms - 1 : kMaxTimeMs;
    return window;
  }

  // Chunks out of order cost their groups; whoever reads them is told.
  Status PlanWindow(const Window& window) {
    ChunkRuns runs(group_chunks_);
    bool is_whole = true;
    bool is_whole_behind = true;
    for (const auto add : {&Planning::AddBefore, &Planning::AddChanged, &Planning::AddBehind}) {
      const Result<bool> added_all = (this->*add)(window, &runs);
      if (added_all.code() == ZR3_ERR_STORAGE_DAMAGED) return {};
      if (!added_all.ok()) return added_all.status();
      is_whole = is_whole && *added_all;
      is_whole_behind = *added_all;
    }
    std::int64_t grouped_to = 0;
    for (const ChunkRuns::Run& run : runs.runs()) {
      const std::int64_t end = Group(run, window.ends_archive() && is_whole_behind, runs.added());
      grouped_to = std::max(grouped_to, end);
    }
    if (window.ends_archive() && is_whole) count_behind_ = runs.added() - grouped_to;
    return {};
  }

  // Adds chunks from what changes on, until one has no summary or there are so many that they
  // cannot matter. Whether that is all of the range.
  Result<bool> Walk(TimeRange range, Direction direction, std::vector<RunStatistics>* chunks) {
    if (range.empty()) return true;
    ChunkSummaries summaries(connection_, tag_, range, direction);
    bool is_all = true;
    const auto visit = [&](const ChunkExtent& chunk) -> Result<bool> {
      const auto summary = summaries.Find(chunk);
      if (!summary.ok()) return summary.status();
      is_all = *summary != nullptr && std::ssize(*chunks) < 2 * group_chunks_;
      if (is_all) chunks->push_back(**summary);
      return is_all;
    };
    Status status = VisitExtents(connection_, tag_, range, direction, visit);
    if (!status.ok()) return status;
    return is_all;
  }

  Result<bool> AddBefore(const Window& window, ChunkRuns* runs) {
    std::vector<RunStatistics> chunks;
    const TimeRange range{.from_ms = window.range.from_ms, .to_ms = window.changed.from_ms - 1};
    Result<bool> is_all = Walk(range, Direction::kBackward, &chunks);
    std::ranges::reverse(chunks);
    for (const RunStatistics& chunk : chunks) runs->Add(&chunk);
    return is_all;
  }

  Result<bool> AddBehind(const Window& window, ChunkRuns* runs) {
    std::vector<RunStatistics> chunks;
    const TimeRange range{.from_ms = window.changed.to_ms + 1, .to_ms = window.range.to_ms};
    Result<bool> is_all = Walk(range, Direction::kForward, &chunks);
    for (const RunStatistics& chunk : chunks) runs->Add(&chunk);
    return is_all;
  }

  // The chunks that stay where some change, and those that are new.
  Result<bool> AddChanged(const Window& window, ChunkRuns* runs) {
    ChunkSummaries summaries(connection_, tag_, window.changed, Direction::kForward);
    const auto visit = [&](const ChunkExtent& chunk) -> Result<bool> {
      if (gone_.contains(chunk.id)) return true;
      AddNew(chunk.first_ms - 1, runs);
      const auto summary = summaries.Find(chunk);
      if (!summary.ok()) return summary.status();
      runs->Add(*summary);
      return true;
    };
    Status status = VisitExtents(connection_, tag_, window.changed, Direction::kForward, visit);
    if (!status.ok()) return status;
    AddNew(window.changed.to_ms, runs);
    return true;
  }

  // The new chunks that start by the time.
  void AddNew(std::int64_t time_ms, ChunkRuns* runs) {
    for (; next_new_ < edits_.added.size(); ++next_new_) {
      const EncodedChunk& chunk = edits_.added[next_new_];
      if (chunk.first_ms > time_ms) return;
      runs->Add(chunk.statistics ? &*chunk.statistics : nullptr);
    }
  }

  // Makes groups of the run's chunks. Where the last of them ends.
  std::int64_t Group(const ChunkRuns::Run& run, bool is_end_known, std::int64_t all_chunks) {
    const std::int64_t behind = all_chunks - run.end();
    const bool ends_archive = is_end_known && behind <= 1;
    const std::int64_t chunks = std::ssize(run.chunks) - (ends_archive && behind == 0 ? 1 : 0);
    const std::int64_t groups = chunks / group_chunks_;
    const std::int64_t grouped = ends_archive ? groups * group_chunks_ : groups == 0 ? 0 : chunks;
    for (std::int64_t i = 0; i < groups; ++i) {
      AddGroup(run, grouped * i / groups, grouped * (i + 1) / groups);
    }
    return groups == 0 ? 0 : run.begin + grouped;
  }

  void AddGroup(const ChunkRuns::Run& run, std::int64_t begin, std::int64_t end) {
    ZERVANE_ASSERT(end - begin >= group_chunks_ && end <= std::ssize(run.chunks));
    Summary& group = edits_.groups.emplace_back();
    group.tag = tag_;
    group.level = SummaryLevel::kGroup;
    group.member = end - begin;
    group.run = run.chunks[static_cast<std::size_t>(begin)];
    for (std::int64_t at = begin + 1; at < end; ++at) {
      Append(group.run, run.chunks[static_cast<std::size_t>(at)]);
    }
  }

  Connection& connection_;
  const std::int64_t group_chunks_;
  const TagId tag_;
  ChunkEdits& edits_;
  std::unordered_set<std::int64_t> gone_;  // identifiers of chunks
  std::size_t next_new_ = 0;
  std::optional<std::int64_t> count_behind_;
};

GroupPlanner::GroupPlanner(Connection& connection, std::size_t group_chunks)
    : connection_(connection), group_chunks_(static_cast<std::int64_t>(group_chunks)) {
  ZERVANE_ASSERT(group_chunks >= 1 && group_chunks <= 10'000);
}

Status GroupPlanner::Plan(TagId tag, ChunkEdits* edits) {
  if (edits->added.empty()) return {};
  Status status = PlanGroups(tag, edits);
  if (!edits->are_summaries_damaged) return status;
  tags_.At(tag) = {};
  edits->dropped_groups.clear();
  edits->groups.clear();
  return {};
}

Status GroupPlanner::PlanGroups(TagId tag, ChunkEdits* edits) {
  Known& known = tags_.At(tag);
  std::int64_t group_end_ms = kNoTime;
  const Result<bool> fall_into_groups = FallIntoGroups(*edits, tag, &group_end_ms);
  edits->are_summaries_damaged = fall_into_groups.code() == ZR3_ERR_STORAGE_DAMAGED;
  if (!fall_into_groups.ok()) return fall_into_groups.status();
  if (*fall_into_groups) {
    known.is_counted = false;
  } else {
    if (Status status = CountBehind(*edits, tag, group_end_ms); !status.ok()) return status;
    if (known.chunks_behind <= group_chunks_) return {};
  }
  Planning planning(connection_, group_chunks_, tag, edits);
  Status status = planning.Run();
  edits->are_summaries_damaged = status.code() == ZR3_ERR_STORAGE_DAMAGED;
  if (!status.ok()) return status;
  if (!edits->groups.empty()) known.has_no_groups = known.is_counted = false;
  if (planning.count_behind()) {
    known.chunks_behind = static_cast<std::uint16_t>(std::min(*planning.count_behind(), many()));
    known.is_counted = true;
  }
  return {};
}

// Whether some of what changes lies before the end of the last group.
Result<bool> GroupPlanner::FallIntoGroups(const ChunkEdits& edits, TagId tag,
                                          std::int64_t* group_end_ms) {
  Known& known = tags_.At(tag);
  if (known.has_no_groups) return false;
  const auto last = GroupStartingBy(connection_, tag, kMaxTimeMs);
  if (!last.ok()) return last.status();
  known.has_no_groups = !*last;
  if (!*last) return false;
  *group_end_ms = (*last)->last_ms;
  return *group_end_ms >= ChangesOf(edits).front().from_ms;
}

Status GroupPlanner::CountBehind(const ChunkEdits& edits, TagId tag, std::int64_t group_end_ms) {
  Known& known = tags_.At(tag);
  std::int64_t count = known.chunks_behind;
  if (!known.is_counted && !edits.is_first) {
    const auto counted = CountChunksAfter(connection_, tag, group_end_ms, many());
    if (!counted.ok()) return counted.status();
    count = *counted;
  }
  if (edits.is_first) {
    count = std::ssize(edits.added);
  } else if (count < many()) {
    count += std::ssize(edits.added) - std::ssize(edits.replaced) - std::ssize(edits.damaged);
  }
  known.chunks_behind = static_cast<std::uint16_t>(std::clamp<std::int64_t>(count, 0, many()));
  known.is_counted = true;
  return {};
}

}  // namespace zervane::storage
