#include "engine/storage/sqlite/chunk_merge.h"

#include <algorithm>
#include <cstdint>
#include <optional>
#include <span>
#include <utility>

#include "engine/assert.h"
#include "engine/storage/codec/block.h"
#include "engine/storage/sqlite/summary_table.h"

namespace zervane::storage {
namespace {

// The last chunk of an archive gets a summary when it has one of so many parts of a full one.
constexpr std::size_t kSummaryShare = 8;

// A tag's records go in by groups: a group is those that lie before the next chunk's start, hence
// in or behind one chunk.
class ChunkMerge {
 public:
  ChunkMerge(Connection& connection, TagId tag, std::size_t chunk_records,
             const TextDecoder& decoder)
      : connection_(connection), tag_(tag), chunk_records_(chunk_records), decoder_(decoder) {
    ZERVANE_ASSERT(chunk_records_ >= 1 && chunk_records_ <= kMaxBlockRecords);
  }

  Result<ChunkEdits> Plan(SampleRun records) {
    ZERVANE_ASSERT(std::ranges::is_sorted(records.times()));
    edits_.is_first = true;
    while (!records.empty()) {
      const auto next_start = NextChunkStart(connection_, tag_, records.times().front());
      if (!next_start.ok()) return next_start.status();
      run_ = *next_start ? Within(records, {.from_ms = 0, .to_ms = **next_start - 1}) : records;
      records.begin = run_.end;
      if (Status status = JoinChunks(); !status.ok()) return status;
      edits_.is_first = edits_.is_first && !*next_start;
      Write(!*next_start);
    }
    return std::move(edits_);
  }

 private:
  // Takes chunks out of the table into the run: the one that the run falls into, or the small ones
  // that it follows. A damaged one that it falls into goes; since its row may be what is damaged,
  // the run may fall into the one before it too.
  Status JoinChunks() {
    for (std::int64_t by_ms = first_ms();;) {
      const auto before = ChunkBefore(by_ms);
      if (!before.ok()) return before.status();
      if (!*before) return {};
      const ChunkExtent& chunk = **before;
      edits_.is_first = false;
      const bool is_overlapped = chunk.last_ms >= first_ms();
      if (!is_overlapped && !IsWorthJoining(chunk)) return {};
      Result<Decoded<SampleColumns>> records = LoadChunk(connection_, chunk, decoder_);
      if (!records.ok()) return records.status();
      if (records->ok()) {
        Join(**records);
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
  void Join(const SampleColumns& chunk) {
    SampleColumns joined;
    Merge(run_, AllOf(chunk), &joined);
    joined_ = std::move(joined);
    run_ = AllOf(joined_);
  }

  // Full chunks first where the tag's archive ends, since its end is where it grows; else evenly
  // filled ones, which leaves room for more late records.
  void Write(bool ends_archive) {
    const std::size_t pieces = (run_.size() + chunk_records_ - 1) / chunk_records_;
    const std::size_t size = ends_archive ? chunk_records_ : (run_.size() + pieces - 1) / pieces;
    for (SampleRun rest = run_; !rest.empty();) {
      SampleRun piece = rest;
      piece.end = EndOfPiece(rest, size);
      edits_.added.push_back(EncodeForTable(tag_, piece));
      rest.begin = piece.end;
      const bool will_grow =
          ends_archive && rest.empty() && piece.size() * kSummaryShare < chunk_records_;
      if (will_grow) continue;
      edits_.added.back().statistics = StatisticsOf(*piece.samples, piece.begin, piece.end);
    }
    // Groups follow each other, except where rows of chunks overlap, as in a damaged file.
    planned_to_ms_ = std::max(planned_to_ms_, run_.times().back());
  }

  // Where those records end that make a chunk: of one type, up to the size.
  static std::size_t EndOfPiece(const SampleRun& records, std::size_t size) {
    const std::span<const TagType> types =
        records.samples->types().subspan(records.begin, std::min(size, records.size()));
    const auto end = std::ranges::find_if_not(
        types, [type = types.front()](TagType other) { return other == type; });
    return records.begin + static_cast<std::size_t>(end - types.begin());
  }

  std::int64_t first_ms() const { return run_.times().front(); }

  Connection& connection_;
  const TagId tag_;
  const std::size_t chunk_records_;
  const TextDecoder& decoder_;
  SampleRun run_;  // of the given records, or all of the joined ones
  SampleColumns joined_;
  std::int64_t planned_to_ms_ = kNoTime;
  ChunkEdits edits_;
};

}  // namespace

Result<ChunkEdits> PlanMerge(Connection& connection, TagId tag, const SampleRun& records,
                             std::size_t chunk_records, const TextDecoder& decoder) {
  return ChunkMerge(connection, tag, chunk_records, decoder).Plan(records);
}

namespace {

class Edits {
 public:
  Edits(Connection& connection, const ChunkEdits& edits, ChunkIds& ids)
      : connection_(connection), edits_(edits), ids_(ids) {}

  Status Apply() {
    for (const ChunkSetAside& chunk : edits_.damaged) {
      if (Status status = SetChunkAside(connection_, chunk.extent); !status.ok()) return status;
      if (Status status = DeleteSummaryOf(chunk.extent); !status.ok()) return status;
    }
    for (const ChunkExtent& chunk : edits_.replaced) {
      if (Status status = DeleteChunk(connection_, chunk); !status.ok()) return status;
      if (Status status = DeleteSummaryOf(chunk); !status.ok()) return status;
    }
    for (const EncodedChunk& chunk : edits_.added) {
      if (Status status = AddChunk(chunk, ids_.Next()); !status.ok()) return status;
    }
    // Every chunk that goes has others in its place.
    return edits_.added.empty() ? Status() : ApplyGroups(edits_.added.front().tag);
  }

  bool are_summaries_damaged() const { return are_summaries_damaged_; }

 private:
  Status DeleteSummaryOf(const ChunkExtent& chunk) {
    return Noted(DeleteSummary(connection_, chunk.tag, SummaryLevel::kChunk, chunk.first_ms));
  }

  Status AddChunk(const EncodedChunk& chunk, std::int64_t id) {
    Status status = InsertChunk(connection_, id, chunk);
    if (!status.ok() || !chunk.statistics) return status;
    return Noted(PutSummary(
        connection_,
        {.tag = chunk.tag, .level = SummaryLevel::kChunk, .member = id, .run = *chunk.statistics}));
  }

  Status ApplyGroups(TagId tag) {
    for (const std::int64_t first_ms : edits_.dropped_groups) {
      Status status = Noted(DeleteSummary(connection_, tag, SummaryLevel::kGroup, first_ms));
      if (!status.ok()) return status;
    }
    for (const Summary& group : edits_.groups) {
      if (Status status = Noted(PutSummary(connection_, group)); !status.ok()) return status;
    }
    return {};
  }

  // What came of a change of the table of summaries.
  Status Noted(Status status) {
    are_summaries_damaged_ |= status.code() == ZR3_ERR_STORAGE_DAMAGED;
    return status;
  }

  Connection& connection_;
  const ChunkEdits& edits_;
  ChunkIds& ids_;
  bool are_summaries_damaged_ = false;
};

}  // namespace

Status ApplyEdits(Connection& connection, const ChunkEdits& edits, ChunkIds& ids,
                  bool* are_summaries_damaged) {
  Edits applied(connection, edits, ids);
  Status status = applied.Apply();
  if (are_summaries_damaged != nullptr && applied.are_summaries_damaged()) {
    *are_summaries_damaged = true;
  }
  return status;
}

}  // namespace zervane::storage
