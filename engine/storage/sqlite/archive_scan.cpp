#include "engine/storage/sqlite/archive_scan.h"

#include <algorithm>
#include <cstddef>
#include <utility>

#include "engine/storage/series.h"
#include "engine/storage/sqlite/chunk_table.h"

namespace zervane::storage {
namespace {

// How many pending records the first piece of a range has at most; each further one has four times
// as many, up to the most.
constexpr std::size_t kFirstPiece = 1'024;
constexpr std::size_t kLargestPiece = 65'536;

class ArchiveScan {
 public:
  ArchiveScan(Connection& connection, TagId tag, Direction direction, const TextDecoder& decoder,
              ScanVisitor& visitor)
      : connection_(connection),
        tag_(tag),
        is_forward_(direction == Direction::kForward),
        decoder_(decoder),
        visitor_(visitor) {}

  // Shows what lies in the range of chunks and of the pending records, which were copied before.
  // Whether the visitor wants what comes behind it.
  Result<bool> Show(const SampleColumns& pending, TimeRange range) {
    pending_ = AllOf(pending);
    range_ = range;
    bool goes_on = true;
    const auto show = [&](const ChunkExtent& chunk) {
      Result<bool> shown = ShowUpTo(chunk);
      goes_on = shown.ok() && *shown;
      return shown;
    };
    const Direction direction = is_forward_ ? Direction::kForward : Direction::kBackward;
    Status status = VisitExtents(connection_, tag_, range, direction, show);
    if (!status.ok()) return status;
    return goes_on && ShowRun(pending_);
  }

 private:
  // The pending records that come before the chunk, then those of the chunk.
  Result<bool> ShowUpTo(const ChunkExtent& chunk) {
    const SampleRun before = is_forward_ ? PassPending({.from_ms = 0, .to_ms = chunk.first_ms - 1})
                                         : PassPending({.from_ms = chunk.last_ms + 1});
    if (!ShowRun(before)) return false;
    const SampleRun inside = PassPending({.from_ms = chunk.first_ms, .to_ms = chunk.last_ms});
    const bool is_whole = range_.Holds(chunk.first_ms) && range_.Holds(chunk.last_ms);
    if (is_whole && inside.empty()) return ShowChunk(chunk);
    if (Status status = Load(chunk); !status.ok()) return status;
    const SampleRun in_range = Within(AllOf(chunk_), range_);
    if (inside.empty()) return ShowRun(in_range);
    merged_.Clear();
    Merge(inside, in_range, &merged_);
    return ShowRun(AllOf(merged_));
  }

  // What is left of the pending records in the range, which lies where the direction begins.
  SampleRun PassPending(TimeRange range) {
    const SampleRun passed = Within(pending_, range);
    if (passed.empty()) return passed;
    (is_forward_ ? pending_.begin : pending_.end) = is_forward_ ? passed.end : passed.begin;
    return passed;
  }

  // Its summary stands in its row: it is decoded only when it is wanted.
  Result<bool> ShowChunk(const ChunkExtent& chunk) {
    const auto wants = visitor_.Offer(
        {.first_ms = chunk.first_ms, .last_ms = chunk.last_ms, .count = chunk.count});
    if (wants != ScanVisitor::Wants::kRecords) return wants == ScanVisitor::Wants::kNext;
    if (Status status = Load(chunk); !status.ok()) return status;
    return visitor_.Show(chunk_, 0, chunk_.size());
  }

  bool ShowRun(const SampleRun& run) {
    if (run.empty()) return true;
    const auto wants = visitor_.Offer({.first_ms = run.times().front(),
                                       .last_ms = run.times().back(),
                                       .count = static_cast<std::int64_t>(run.size())});
    if (wants != ScanVisitor::Wants::kRecords) return wants == ScanVisitor::Wants::kNext;
    return visitor_.Show(*run.samples, run.begin, run.end);
  }

  Status Load(const ChunkExtent& chunk) {
    Result<Decoded<SampleColumns>> records =
        LoadChunk(connection_, chunk, decoder_, std::move(chunk_));
    if (!records.ok()) return records.status();
    if (!records->ok()) return records->damage().status();
    chunk_ = **std::move(records);
    return {};
  }

  Connection& connection_;
  const TagId tag_;
  const bool is_forward_;
  const TextDecoder& decoder_;
  ScanVisitor& visitor_;
  TimeRange range_;
  SampleRun pending_;     // those that were not shown yet
  SampleColumns chunk_;   // the chunk that was loaded last, whose memory serves the next
  SampleColumns merged_;  // likewise
};

}  // namespace

Status ScanArchive(Connection& connection, Pending& pending, TagId tag, TimeRange range,
                   Direction direction, const TextDecoder& decoder, ScanVisitor& visitor) {
  ArchiveScan scan(connection, tag, direction, decoder, visitor);
  const bool is_forward = direction == Direction::kForward;
  std::size_t limit = kFirstPiece;
  for (TimeRange rest = range; !rest.empty(); limit = std::min(4 * limit, kLargestPiece)) {
    const SampleColumns copied = pending.Copy(tag, rest, direction, limit);
    const bool is_last = copied.size() < limit;
    TimeRange piece = rest;
    if (!is_last && is_forward) piece.to_ms = copied.times().back();
    if (!is_last && !is_forward) piece.from_ms = copied.times().front();
    const Result<bool> goes_on = scan.Show(copied, piece);
    if (!goes_on.ok()) return goes_on.status();
    if (is_last || !*goes_on) return {};
    (is_forward ? rest.from_ms : rest.to_ms) = is_forward ? piece.to_ms + 1 : piece.from_ms - 1;
  }
  return {};
}

}  // namespace zervane::storage
