#include "engine/storage/chunk_merge.h"

#include <algorithm>
#include <cstdint>
#include <optional>
#include <span>
#include <vector>

#include "engine/log.h"
#include "engine/storage/chunk_table.h"

namespace zervane::storage {
namespace {

// A tag's pending records go in by groups: a group is those that lie before the next chunk's start,
// hence in or behind one chunk.
class ChunkMerge {
 public:
  ChunkMerge(Connection& connection, TagId tag, std::size_t chunk_records)
      : connection_(connection), tag_(tag), chunk_records_(chunk_records) {}

  Status Run(const Series& pending) {
    for (auto begin = pending.begin(); begin != pending.end();) {
      const auto next_start = NextChunkStart(connection_, tag_, begin->first);
      if (!next_start.ok()) return next_start.status();
      const auto end = *next_start ? pending.lower_bound(**next_start) : pending.end();
      run_.clear();
      for (; begin != end; ++begin) run_.push_back(begin->second);
      if (Status status = TakeChunks(); !status.ok()) return status;
      if (Status status = Write(!*next_start); !status.ok()) return status;
    }
    return {};
  }

 private:
  // Takes chunks out of the table into the run: the one that the run falls into, or the small ones
  // that it follows.
  Status TakeChunks() {
    Result<std::optional<ChunkExtent>> before = ChunkBefore();
    if (!before.ok()) return before.status();
    if (*before && (*before)->last_ms >= run_.front().time_ms) return TakeOverlapped(**before);
    while (*before && IsWorthJoining(**before)) {
      Result<std::vector<Sample>> records = LoadChunk(connection_, **before);
      if (records.code() == ZR3_ERR_STORAGE_DAMAGED) return {};  // stays as it is, before the run
      if (!records.ok()) return records.status();
      Join(*std::move(records));
      if (Status status = DeleteChunk(connection_, **before); !status.ok()) return status;
      before = ChunkBefore();
      if (!before.ok()) return before.status();
    }
    return {};
  }

  Result<std::optional<ChunkExtent>> ChunkBefore() {
    return ChunkStartingBy(connection_, tag_, run_.front().time_ms);
  }

  // Only chunks no larger than the run: so a record is rewritten a logarithmic number of times
  // until it lies in a full chunk, however few records of a tag come at a time.
  bool IsWorthJoining(const ChunkExtent& chunk) const {
    const auto count = static_cast<std::size_t>(chunk.count);
    return run_.size() < chunk_records_ && count < chunk_records_ && count <= run_.size();
  }

  Status TakeOverlapped(const ChunkExtent& chunk) {
    Result<std::vector<Sample>> records = LoadChunk(connection_, chunk);
    if (records.code() == ZR3_ERR_STORAGE_DAMAGED) {
      Log().error("{}; set aside for newer records", records.status().message());
      return SetChunkAside(connection_, chunk);
    }
    if (!records.ok()) return records.status();
    Join(*std::move(records));
    return DeleteChunk(connection_, chunk);
  }

  // Merges a chunk's records into the run, whose records win.
  void Join(std::vector<Sample> chunk) {
    const auto earlier = [](const Sample& a, const Sample& b) { return a.time_ms < b.time_ms; };
    std::vector<Sample> joined;
    joined.reserve(run_.size() + chunk.size());
    std::set_union(std::make_move_iterator(run_.begin()), std::make_move_iterator(run_.end()),
                   std::make_move_iterator(chunk.begin()), std::make_move_iterator(chunk.end()),
                   std::back_inserter(joined), earlier);
    run_ = std::move(joined);
  }

  // Full chunks first where the tag's archive ends, since its end is where it grows; else evenly
  // filled ones, which leaves room for more late records.
  Status Write(bool ends_archive) {
    const std::size_t pieces = (run_.size() + chunk_records_ - 1) / chunk_records_;
    const std::size_t size = ends_archive ? chunk_records_ : (run_.size() + pieces - 1) / pieces;
    for (std::span<const Sample> rest = run_; !rest.empty();) {
      const std::size_t count = PieceOf(rest, size);
      if (Status status = InsertChunk(connection_, tag_, rest.first(count)); !status.ok()) {
        return status;
      }
      rest = rest.subspan(count);
    }
    return {};
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
  std::vector<Sample> run_;
};

}  // namespace

Status MergeIntoChunks(Connection& connection, TagId tag, const Series& pending,
                       std::size_t chunk_records) {
  return ChunkMerge(connection, tag, chunk_records).Run(pending);
}

}  // namespace zervane::storage
