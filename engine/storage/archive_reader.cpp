#include "engine/storage/archive_reader.h"

#include <algorithm>
#include <utility>

#include "engine/storage/chunk_table.h"
#include "engine/storage/series.h"

namespace zervane::storage {
namespace {

bool IsWithin(std::int64_t time_ms, TimeRange range) {
  return time_ms >= range.from_ms && time_ms <= range.to_ms;
}

// How many of the chunk's records lie in the range and are not replaced by pending ones.
Result<std::int64_t> CountChunk(Connection& connection, const ChunkExtent& chunk,
                                const std::vector<std::int64_t>& pending, TimeRange range) {
  const bool whole = IsWithin(chunk.first_ms, range) && IsWithin(chunk.last_ms, range);
  const auto first_pending = std::ranges::lower_bound(pending, chunk.first_ms);
  const bool touched = first_pending != pending.end() && *first_pending <= chunk.last_ms;
  if (whole && !touched) return chunk.count;
  const Result<std::vector<Sample>> records = LoadChunk(connection, chunk);
  if (!records.ok()) return records.status();
  return std::int64_t{std::ranges::count_if(*records, [&](const Sample& record) {
    return IsWithin(record.time_ms, range) && !std::ranges::binary_search(pending, record.time_ms);
  })};
}

}  // namespace

Result<std::vector<Sample>> ReadArchive(Connection& connection, std::vector<Sample> pending,
                                        TagId tag, TimeRange range, Direction direction,
                                        std::size_t limit) {
  SeriesMerge merge(std::move(pending), direction, limit);
  const auto take = [&](std::vector<Sample> records) {
    if (direction == Direction::kBackward) std::ranges::reverse(records);
    for (Sample& record : records) {
      if (IsWithin(record.time_ms, range) && !merge.Add(std::move(record))) return false;
    }
    return true;
  };
  Status status = VisitChunks(connection, tag, range, direction, take);
  if (!status.ok()) return status;
  return merge.Finish();
}

Result<std::int64_t> CountArchive(Connection& connection, const std::vector<std::int64_t>& pending,
                                  TagId tag, TimeRange range) {
  const Transaction state(connection, Transaction::Kind::kRead);
  if (!state.status().ok()) return state.status();
  const Result<std::vector<ChunkExtent>> chunks = ChunksWithin(connection, tag, range);
  if (!chunks.ok()) return chunks.status();
  auto total = static_cast<std::int64_t>(pending.size());
  for (const ChunkExtent& chunk : *chunks) {
    const Result<std::int64_t> count = CountChunk(connection, chunk, pending, range);
    if (!count.ok()) return count.status();
    total += *count;
  }
  return total;
}

}  // namespace zervane::storage
