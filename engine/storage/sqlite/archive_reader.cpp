#include "engine/storage/sqlite/archive_reader.h"

#include <algorithm>
#include <iterator>
#include <utility>

#include "engine/storage/series.h"
#include "engine/storage/sqlite/chunk_table.h"

namespace zervane::storage {
namespace {

// How many of the chunk's records lie in the range and are not replaced by pending ones.
Result<std::int64_t> CountChunk(Connection& connection, const ChunkExtent& chunk,
                                const std::vector<std::int64_t>& pending, TimeRange range) {
  const bool whole = range.Holds(chunk.first_ms) && range.Holds(chunk.last_ms);
  const auto first_pending = std::ranges::lower_bound(pending, chunk.first_ms);
  const bool touched = first_pending != pending.end() && *first_pending <= chunk.last_ms;
  if (whole && !touched) return chunk.count;
  const Result<Decoded<std::vector<Sample>>> records = LoadChunk(connection, chunk);
  if (!records.ok()) return records.status();
  if (!records->ok()) return records->damage().status();
  return std::int64_t{std::ranges::count_if(**records, [&](const Sample& record) {
    return range.Holds(record.time_ms) && !std::ranges::binary_search(pending, record.time_ms);
  })};
}

}  // namespace

Result<std::vector<Sample>> ReadArchive(Connection& connection, std::vector<Sample> pending,
                                        TagId tag, TimeRange range, Direction direction,
                                        std::size_t limit) {
  SeriesMerge merge(std::move(pending), direction, limit);
  const auto take = [&](std::vector<Sample> records) {
    const auto begin = std::ranges::lower_bound(records, range.from_ms, {}, &Sample::time_ms);
    const auto end = std::ranges::upper_bound(records, range.to_ms, {}, &Sample::time_ms);
    const auto first = std::make_move_iterator(begin);
    const auto last = std::make_move_iterator(end);
    if (direction == Direction::kForward) return merge.AddAll(first, last);
    return merge.AddAll(std::make_reverse_iterator(last), std::make_reverse_iterator(first));
  };
  Status status = VisitChunks(connection, tag, range, direction, take);
  if (!status.ok()) return status;
  return merge.Finish();
}

Result<std::int64_t> CountArchive(Connection& connection, const std::vector<std::int64_t>& pending,
                                  TagId tag, TimeRange range) {
  auto total = static_cast<std::int64_t>(pending.size());
  Status status = VisitExtents(connection, tag, range, [&](const ChunkExtent& chunk) {
    const Result<std::int64_t> count = CountChunk(connection, chunk, pending, range);
    if (count.ok()) total += *count;
    return count.status();
  });
  if (!status.ok()) return status;
  return total;
}

}  // namespace zervane::storage
