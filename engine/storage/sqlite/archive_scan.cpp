#include "engine/storage/sqlite/archive_scan.h"

#include <algorithm>
#include <cstddef>
#include <optional>
#include <utility>

#include "engine/storage/series.h"
#include "engine/storage/sqlite/chunk_table.h"
#include "engine/storage/sqlite/summary_table.h"

namespace zervane::storage {
namespace {

// How many pending records the first piece of a range has at most; each further one has four times
// as many, up to the most.
constexpr std::size_t kFirstPiece = 1'024;
constexpr std::size_t kLargestPiece = 65'536;

// A group costs about as much as so many chunks that are not decoded.
constexpr std::size_t kGroupCost = 8;

class ArchiveScan {
 public:
  ArchiveScan(const Archive& archive, TagId tag, Direction direction, ScanVisitor& visitor)
      : connection_(archive.connection),
        tag_(tag),
        direction_(direction),
        decoder_(archive.decoder),
        visitor_(visitor),
        uses_statistics_(visitor.UsesStatistics()),
        piece_chunks_(archive.piece_chunks),
        order_(direction),
        chunk_(archive.opening) {}

  // Shows what lies in the range of chunks and of the pending records, which were copied before, or
  // a part of it with which the direction begins (shown()). Whether the visitor wants what comes
  // behind it.
  Result<bool> Show(const SampleColumns& pending, TimeRange range) {
    pending_ = AllOf(pending);
    range_ = shown_ = range;
    looked_at_ = 0;
    is_cut_ = false;
    order_ = ChunkOrder(direction_);
    Result<bool> goes_on = ShowStored();
    if (goes_on.ok() && is_cut_) return true;
    return goes_on.ok() && *goes_on ? ShowRun(pending_) : goes_on;
  }

  // What was shown last.
  TimeRange shown() const { return shown_; }

 private:
  // ---- what is stored ----

  // Most ranges lie in a chunk or two. So groups are looked for when the first chunk comes that is
  // in the range as a whole, and what is stored is then shown by groups from there on. As long as
  // there are none, a query for the chunks is all.
  Result<bool> ShowStored() {
    std::optional<Transaction> one_state;
    std::optional<Summary> group;
    std::optional<TimeRange> by_groups;
    const auto show = [&](const ChunkExtent& chunk) -> Result<bool> {
      const bool may_begin_groups = uses_statistics_ && !by_groups && IsInRange(chunk);
      if (!may_begin_groups) return ShowOrCut(chunk);
      by_groups = FromOn(chunk);
      Result<std::optional<Summary>> found = NextUsableGroup(*by_groups);
      if (!found.ok()) return found.status();
      if (!*found) return ShowOrCut(chunk);
      group = **std::move(found);
      // Begins while the query for the chunks is under way, whose state of the file it keeps.
      one_state.emplace(connection_, Transaction::Kind::kRead);
      if (!one_state->status().ok()) return one_state->status();
      return false;
    };
    Result<bool> goes_on = VisitChunks(range_, show);
    return group && goes_on.ok() ? ShowByGroups(*by_groups, *group) : goes_on;
  }

  // Groups, the first of which is given, and what lies before, between and behind them.
  Result<bool> ShowByGroups(TimeRange range, std::optional<Summary> group) {
    const auto show = [&](const ChunkExtent& chunk) { return ShowOrCut(chunk); };
    for (;;) {
      Result<bool> goes_on = VisitChunks(group ? UpTo(range, *group) : range, show);
      if (!goes_on.ok() || !*goes_on || !group) return goes_on;
      Result<bool> wants_more = ShowGroup(group->run);
      if (!wants_more.ok() || !*wants_more) return wants_more;
      range = Behind(range, group->run);
      if (range.empty()) return true;
      Result<std::optional<Summary>> next = NextUsableGroup(range);
      if (!next.ok()) return next.status();
      group = *std::move(next);
    }
  }

  // Whether `show` had none that it wanted to be the last.
  template <typename ShowOne>
  Result<bool> VisitChunks(TimeRange range, const ShowOne& show) {
    if (range.empty()) return true;
    summaries_.emplace(connection_, tag_, range, direction_);
    bool goes_on = true;
    const auto visit = [&](const ChunkExtent& chunk) {
      Result<bool> shown = show(chunk);
      goes_on = shown.ok() && *shown;
      return shown;
    };
    Status status = VisitExtents(connection_, tag_, range, direction_, order_, visit);
    summaries_.reset();
    if (!status.ok()) return status;
    return goes_on;
  }

  // The next group that no pending record falls into.
  Result<std::optional<Summary>> NextUsableGroup(TimeRange range) {
    for (;;) {
      Result<std::optional<Summary>> group = NextGroup(connection_, tag_, range, direction_);
      if (!group.ok() || !*group) return group;
      const RunStatistics& run = (*group)->run;
      if (Within(pending_, {.from_ms = run.first_ms, .to_ms = run.last_ms}).empty()) return group;
      range = Behind(range, run);
      if (range.empty()) return std::optional<Summary>();
    }
  }

  Result<bool> ShowGroup(const RunStatistics& group) {
    if (!order_.IsNext(group.first_ms, group.last_ms)) return DamagedIndex(tag_);
    if (!ShowRun(PassBefore(group.first_ms, group.last_ms))) return false;
    const auto wants = Offer(group, &group);
    if (wants == ScanVisitor::Wants::kRecords) {
      return VisitChunks({.from_ms = group.first_ms, .to_ms = group.last_ms},
                         [&](const ChunkExtent& chunk) { return ShowOrCut(chunk); });
    }
    order_.Pass(group.first_ms, group.last_ms);
    return wants == ScanVisitor::Wants::kNext && !CutsBehind(group, kGroupCost);
  }

  // ---- cuts ----

  // Whether the visitor wants what comes behind the chunk, and it is still to be shown.
  Result<bool> ShowOrCut(const ChunkExtent& chunk) {
    Result<bool> goes_on = ShowUpTo(chunk);
    if (!goes_on.ok() || !*goes_on) return goes_on;
    return !CutsBehind(chunk, 1);
  }

  // Whether enough was looked at with the chunk or the group. What is pending before its end was
  // shown with it, and what lies behind is read anew.
  template <typename Stored>
  bool CutsBehind(const Stored& stored, std::size_t cost) {
    looked_at_ += cost;
    is_cut_ = looked_at_ >= piece_chunks_;
    if (!is_cut_) return false;
    if (is_forward()) shown_.to_ms = std::min(range_.to_ms, stored.last_ms);
    if (!is_forward()) shown_.from_ms = std::max(range_.from_ms, stored.first_ms);
    return true;
  }

  // ---- parts of ranges, in the direction ----

  bool is_forward() const { return direction_ == Direction::kForward; }

  bool IsInRange(const ChunkExtent& chunk) const {
    return range_.Holds(chunk.first_ms) && range_.Holds(chunk.last_ms);
  }
  TimeRange FromOn(const ChunkExtent& chunk) const {
    return is_forward() ? TimeRange{.from_ms = chunk.first_ms, .to_ms = range_.to_ms}
                        : TimeRange{.from_ms = range_.from_ms, .to_ms = chunk.last_ms};
  }
  TimeRange UpTo(TimeRange range, const Summary& group) const {
    return is_forward() ? TimeRange{.from_ms = range.from_ms, .to_ms = group.run.first_ms - 1}
                        : TimeRange{.from_ms = group.run.last_ms + 1, .to_ms = range.to_ms};
  }
  TimeRange Behind(TimeRange range, const RunStatistics& run) const {
    return is_forward() ? TimeRange{.from_ms = run.last_ms + 1, .to_ms = range.to_ms}
                        : TimeRange{.from_ms = range.from_ms, .to_ms = run.first_ms - 1};
  }

  // ---- runs ----

  // The pending records that come before the chunk, then those of the chunk.
  Result<bool> ShowUpTo(const ChunkExtent& chunk) {
    if (!ShowRun(PassBefore(chunk.first_ms, chunk.last_ms))) return false;
    const SampleRun inside = PassPending({.from_ms = chunk.first_ms, .to_ms = chunk.last_ms});
    if (IsInRange(chunk) && inside.empty()) return ShowChunk(chunk);
    if (Status status = chunk_.Load(connection_, chunk, decoder_); !status.ok()) return status;
    const SampleRun in_range = Within(AllOf(chunk_.records()), range_);
    if (inside.empty()) return ShowRun(in_range);
    merged_.Clear();
    Merge(inside, in_range, &merged_);
    return ShowRun(AllOf(merged_));
  }

  // What is left of the pending records that the direction passes before it comes to these times.
  SampleRun PassBefore(std::int64_t first_ms, std::int64_t last_ms) {
    return is_forward() ? PassPending({.from_ms = 0, .to_ms = first_ms - 1})
                        : PassPending({.from_ms = last_ms + 1});
  }

  // What is left of the pending records in the range, which lies where the direction begins.
  SampleRun PassPending(TimeRange range) {
    const SampleRun passed = Within(pending_, range);
    if (passed.empty()) return passed;
    (is_forward() ? pending_.begin : pending_.end) = is_forward() ? passed.end : passed.begin;
    return passed;
  }

  // Its summary stands in a row: it is decoded only when it is wanted.
  Result<bool> ShowChunk(const ChunkExtent& chunk) {
    const Result<const RunStatistics*> statistics =
        uses_statistics_ ? summaries_->Find(chunk) : nullptr;
    if (!statistics.ok()) return statistics.status();
    const auto wants = Offer(chunk, *statistics);
    if (wants != ScanVisitor::Wants::kRecords) return wants == ScanVisitor::Wants::kNext;
    if (Status status = chunk_.Load(connection_, chunk, decoder_); !status.ok()) return status;
    return visitor_.Show(chunk_.records(), 0, chunk_.records().size());
  }

  bool ShowRun(const SampleRun& run) {
    if (run.empty()) return true;
    const auto wants = visitor_.Offer({.first_ms = run.times().front(),
                                       .last_ms = run.times().back(),
                                       .count = static_cast<std::int64_t>(run.size())});
    if (wants != ScanVisitor::Wants::kRecords) return wants == ScanVisitor::Wants::kNext;
    return visitor_.Show(*run.samples, run.begin, run.end);
  }

  // A chunk or a group as a whole.
  template <typename Stored>
  ScanVisitor::Wants Offer(const Stored& stored, const RunStatistics* statistics) {
    return visitor_.Offer({.first_ms = stored.first_ms,
                           .last_ms = stored.last_ms,
                           .count = stored.count,
                           .statistics = statistics});
  }

  Connection& connection_;
  const TagId tag_;
  const Direction direction_;
  const TextDecoder& decoder_;
  ScanVisitor& visitor_;
  const bool uses_statistics_;
  const std::size_t piece_chunks_;
  TimeRange range_;
  TimeRange shown_;
  std::size_t looked_at_ = 0;                // chunks, a group for some
  bool is_cut_ = false;                      // there is more in the range
  ChunkOrder order_;                         // of what was shown of the range
  std::optional<ChunkSummaries> summaries_;  // of the chunks that are visited
  SampleRun pending_;                        // those that were not shown yet
  LoadedChunk chunk_;                        // the one that was wanted last
  SampleColumns merged_;                     // its records with pending ones, likewise
};

}  // namespace

Status ScanArchive(const Archive& archive, TagId tag, TimeRange range, Direction direction,
                   ScanVisitor& visitor) {
  ArchiveScan scan(archive, tag, direction, visitor);
  const bool is_forward = direction == Direction::kForward;
  std::size_t limit = kFirstPiece;
  for (TimeRange rest = range; !rest.empty();) {
    const SampleColumns copied = archive.pending.Copy(tag, rest, direction, limit);
    TimeRange piece = rest;
    if (copied.size() == limit) {
      (is_forward ? piece.to_ms : piece.from_ms) =
          is_forward ? copied.times().back() : copied.times().front();
      limit = std::min(4 * limit, kLargestPiece);
    }
    const Result<bool> goes_on = scan.Show(copied, piece);
    if (!goes_on.ok()) return goes_on.status();
    const TimeRange shown = scan.shown();
    const bool is_all = is_forward ? shown.to_ms == rest.to_ms : shown.from_ms == rest.from_ms;
    if (!*goes_on || is_all) return {};
    (is_forward ? rest.from_ms : rest.to_ms) = is_forward ? shown.to_ms + 1 : shown.from_ms - 1;
  }
  return {};
}

}  // namespace zervane::storage
