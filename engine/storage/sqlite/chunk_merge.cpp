#include "engine/storage/sqlite/chunk_merge.h"

#include <algorithm>
#include <cstdint>
#include <iterator>
#include <optional>
#include <span>
#include <utility>

#include "engine/assert.h"
#include "engine/storage/codec/block.h"

namespace zervane::storage {
namespace {

bool IsEarlier(const Sample& a, const Sample& b) { return a.time_ms < b.time_ms; }

// A tag's records go in by groups: a group is those that lie before the next chunk's start, hence
// in or behind one chunk.
class ChunkMerge {
 public:
  ChunkMerge(Connection& connection, TagId tag, std::size_t chunk_records)
      : connection_(connection), tag_(tag), chunk_records_(chunk_records) {
    ZERVANE_ASSERT(chunk_records_ >= 1 && chunk_records_ <= kMaxBlockRecords);
  }

  Result<ChunkEdits> Plan(std::span<const Sample> records) {
    ZERVANE_ASSERT(std::ranges::is_sorted(records, IsEarlier));
    while (!records.empty()) {
      const auto next_start = NextChunkStart(connection_, tag_, records.front().time_ms);
      if (!next_start.ok()) return next_start.status();
      run_ = *next_start ? StartingBefore(records, **next_start) : records;
      records = records.subspan(run_.size());
      if (Status status = TakeChunks(); !status.ok()) return status;
      Write(!*next_start);
    }
    return std::move(edits_);
  }

 private:
  static std::span<const Sample> StartingBefore(std::span<const Sample> records,
                                                std::int64_t time_ms) {
    const auto end = std::ranges::lower_bound(records, time_ms, {}, &Sample::time_ms);
    return records.first(static_cast<std::size_t>(end - records.begin()));
  }

  // Takes chunks out of the table into the run: the one that the run falls into, or the small ones
  // that it follows. A damaged one that it falls into goes; since its row may be what is damaged,
  // the run may fall into the one before it too.
  Status TakeChunks() {
    for (std::int64_t by_ms = run_.front().time_ms;;) {
      const auto before = ChunkBefore(by_ms);
      if (!before.ok()) return before.status();
      if (!*before) return {};
      const ChunkExtent& chunk = **before;
      const bool is_overlapped = chunk.last_ms >= run_.front().time_ms;
      if (!is_overlapped && !IsWorthJoining(chunk)) return {};
      Result<Decoded<std::vector<Sample>>> records = LoadChunk(connection_, chunk);
      if (!records.ok()) return records.status();
      if (records->ok()) {
        Join(**std::move(records));
        edits_.replaced.push_back(chunk);
        if (is_overlapped) return {};
      } else if (is_overlapped) {
        edits_.damaged.push_back({chunk, records->damage().what});
      } else {
        return {};  // stays as it is, before the run
      }
      by_ms = chunk.first_ms - 1;
    }
  }

  // The last chunk that starts by the time, of those behind the groups planned so far.
  Result<std::optional<ChunkExtent>> ChunkBefore(std::int64_t time_ms) {
    auto before = ChunkStartingBy(connection_, tag_, time_ms);
    if (before.ok() && *before && (*before)->first_ms <= planned_to_ms_) {
      return std::optional<ChunkExtent>();
    }
    return before;
  }

  // Only chunks no larger than the run: so a record is rewritten a logarithmic number of times
  // until it lies in a full chunk, however few records of a tag come at a time.
  bool IsWorthJoining(const ChunkExtent& chunk) const {
    const auto count = static_cast<std::size_t>(chunk.count);
    return run_.size() < chunk_records_ && count < chunk_records_ && count <= run_.size();
  }

  // Merges a chunk's records into the run, whose records win.
  void Join(std::vector<Sample> chunk) {
    std::vector<Sample> joined;
    joined.reserve(run_.size() + chunk.size());
    std::set_union(run_.begin(), run_.end(), std::make_move_iterator(chunk.begin()),
                   std::make_move_iterator(chunk.end()), std::back_inserter(joined), IsEarlier);
    joined_ = std::move(joined);
    run_ = joined_;
  }

  // Full chunks first where the tag's archive ends, since its end is where it grows; else evenly
  // filled ones, which leaves room for more late records.
  void Write(bool ends_archive) {
    const std::size_t pieces = (run_.size() + chunk_records_ - 1) / chunk_records_;
    const std::size_t size = ends_archive ? chunk_records_ : (run_.size() + pieces - 1) / pieces;
    for (auto rest = run_; !rest.empty();) {
      const std::size_t count = PieceOf(rest, size);
      edits_.added.push_back(EncodeForTable(tag_, rest.first(count)));
      rest = rest.subspan(count);
    }
    ZERVANE_ASSERT(planned_to_ms_ < run_.front().time_ms);
    planned_to_ms_ = run_.back().time_ms;
  }

  // How many of the records make a chunk: those of one type, up to the size.
  static std::size_t PieceOf(std::span<const Sample> records, std::size_t size) {
    const auto within = records.first(std::min(size, records.size()));
    const auto end = std::ranges::find_if(
        within, [type = records.front().type](const Sample& s) { return s.type != type; });
    return static_cast<std::size_t>(end - within.begin());
  }

  Connection& connection_;
  const TagId tag_;
  const std::size_t chunk_records_;
  std::span<const Sample> run_;  // of the given records, or all of the joined ones
  std::vector<Sample> joined_;
  std::int64_t planned_to_ms_ = kNoTime;
  ChunkEdits edits_;
};

}  // namespace

Result<ChunkEdits> PlanMerge(Connection& connection, TagId tag, std::span<const Sample> records,
                             std::size_t chunk_records) {
  return ChunkMerge(connection, tag, chunk_records).Plan(records);
}

Status ApplyEdits(Connection& connection, const ChunkEdits& edits) {
  for (const ChunkSetAside& chunk : edits.damaged) {
    if (Status status = SetChunkAside(connection, chunk.extent); !status.ok()) return status;
  }
  for (const ChunkExtent& chunk : edits.replaced) {
    if (Status status = DeleteChunk(connection, chunk); !status.ok()) return status;
  }
  for (const EncodedChunk& chunk : edits.added) {
    if (Status status = InsertChunk(connection, chunk); !status.ok()) return status;
  }
  return {};
}

}  // namespace zervane::storage
