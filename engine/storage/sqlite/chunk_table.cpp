#include "engine/storage/sqlite/chunk_table.h"

#include <spdlog/fmt/fmt.h>

#include <algorithm>
#include <string_view>
#include <utility>

#include "engine/storage/codec/block.h"
#include "engine/storage/codec/chunk_codec.h"

namespace zervane::storage {
namespace {

// The chunks of tag ?1 that overlap [?2, ?3]. Since chunks do not overlap each other, the search
// starts at the last one that begins by ?2 and needs no other.
constexpr std::string_view kAscendingSql =
    "SELECT id, tag, first_time, last_time, count FROM chunk "
    "WHERE tag = ?1 AND first_time <= ?3 AND last_time >= ?2 AND first_time >= "
    "ifnull((SELECT max(first_time) FROM chunk WHERE tag = ?1 AND first_time <= ?2), ?2) "
    "ORDER BY first_time";
constexpr std::string_view kDescendingSql =
    "SELECT id, tag, first_time, last_time, count FROM chunk "
    "WHERE tag = ?1 AND first_time <= ?3 AND last_time >= ?2 AND first_time >= "
    "ifnull((SELECT max(first_time) FROM chunk WHERE tag = ?1 AND first_time <= ?2), ?2) "
    "ORDER BY first_time DESC";

ChunkExtent ReadExtent(const Query& row) {
  return {.id = row.Integer(0),
          .tag = static_cast<TagId>(row.Integer(1)),
          .first_ms = row.Integer(2),
          .last_ms = row.Integer(3),
          .count = row.Integer(4)};
}

Damage DamagedChunk(const ChunkExtent& extent, std::string_view why) {
  return {fmt::format("chunk {} of tag {}, times {} to {} ms, {} records: {}", extent.id,
                      extent.tag, extent.first_ms, extent.last_ms, extent.count, why)};
}

Decoded<SampleColumns> DecodeRow(const ChunkExtent& extent, std::string_view payload,
                                 const TextDecoder& decoder, SampleColumns memory) {
  Decoded<SampleColumns> records = DecodeChunk(payload, decoder, std::move(memory));
  if (!records.ok()) return DamagedChunk(extent, records.damage().what);
  const bool as_the_row_says = std::cmp_equal(records->size(), extent.count) &&
                               records->times().front() == extent.first_ms &&
                               records->times().back() == extent.last_ms;
  if (!as_the_row_says) return DamagedChunk(extent, "its records are not those of its row");
  return records;
}

}  // namespace

Status DamagedIndex(TagId tag) {
  return Status(ZR3_ERR_STORAGE_DAMAGED, fmt::format("the chunks of tag {} are out of order", tag));
}

Result<std::optional<ChunkExtent>> ChunkStartingBy(Connection& connection, TagId tag,
                                                   std::int64_t time_ms) {
  Query row(connection,
            "SELECT id, tag, first_time, last_time, count FROM chunk "
            "WHERE tag = ? AND first_time <= ? ORDER BY first_time DESC LIMIT 1",
            tag, time_ms);
  if (row.Next()) {
    const ChunkExtent extent = ReadExtent(row);
    if (extent.tag != tag || extent.first_ms > time_ms) return DamagedIndex(tag);
    return std::optional(extent);
  }
  if (!row.status().ok()) return row.status();
  return std::optional<ChunkExtent>();
}

Result<std::optional<std::int64_t>> NextChunkStart(Connection& connection, TagId tag,
                                                   std::int64_t time_ms) {
  // What is no time, in a damaged row, is greater than all times.
  Query row(
      connection,
      "SELECT min(first_time) FROM chunk WHERE tag = ? AND first_time > ? AND first_time <= ?", tag,
      time_ms, kMaxTimeMs);
  if (row.Next() && !row.IsNull(0)) {
    if (row.Integer(0) <= time_ms) return DamagedIndex(tag);
    return std::optional(row.Integer(0));
  }
  if (!row.status().ok()) return row.status();
  return std::optional<std::int64_t>();
}

Status VisitExtents(Connection& connection, TagId tag, TimeRange range, Direction direction,
                    const ExtentVisitor& visit) {
  ChunkOrder order(direction);
  return VisitExtents(connection, tag, range, direction, order, visit);
}

Status VisitExtents(Connection& connection, TagId tag, TimeRange range, Direction direction,
                    ChunkOrder& order, const ExtentVisitor& visit) {
  const bool is_forward = direction == Direction::kForward;
  Query rows(connection, is_forward ? kAscendingSql : kDescendingSql, tag, range.from_ms,
             range.to_ms);
  while (rows.Next()) {
    const ChunkExtent extent = ReadExtent(rows);
    // SQLite takes an index to be in order: where it is not, rows of other tags come along.
    const bool is_next = extent.tag == tag && order.IsNext(extent.first_ms, extent.last_ms);
    if (!is_next) return DamagedIndex(tag);
    if (extent.count < 1 || std::cmp_greater(extent.count, kMaxBlockRecords)) {
      return DamagedChunk(extent, "no chunk has as many").status();
    }
    const Result<bool> goes_on = visit(extent);
    if (!goes_on.ok()) return goes_on.status();
    if (!*goes_on) return {};
    order.Pass(extent.first_ms, extent.last_ms);
  }
  return rows.status();
}

Result<std::int64_t> CountChunksAfter(Connection& connection, TagId tag, std::int64_t time_ms,
                                      std::int64_t limit) {
  Query row(connection,
            "SELECT count(*) FROM "
            "(SELECT 1 FROM chunk WHERE tag = ? AND first_time > ? LIMIT ?)",
            tag, time_ms, limit);
  if (row.Next()) return row.Integer(0);
  return row.status();
}

Result<Decoded<SampleColumns>> LoadChunk(Connection& connection, const ChunkExtent& extent,
                                         const TextDecoder& decoder, SampleColumns memory) {
  Query row(connection, "SELECT payload FROM chunk WHERE id = ?", extent.id);
  if (row.Next()) return DecodeRow(extent, row.Bytes(0), decoder, std::move(memory));
  if (!row.status().ok()) return row.status();
  return Decoded<SampleColumns>(DamagedChunk(extent, "its row is missing"));
}

EncodedChunk EncodeForTable(TagId tag, const SampleRun& records) {
  return {.tag = tag,
          .first_ms = records.times().front(),
          .last_ms = records.times().back(),
          .count = records.size(),
          .payload = EncodeChunk(*records.samples, records.begin, records.end),
          .statistics = {}};
}

// Where the last of them cannot be read, or is no number that was ever given, those behind all that
// are given: a file lasts for 2^62 chunks.
Result<ChunkIds> ChunkIds::Behind(Connection& connection) {
  constexpr std::int64_t kEnd = std::int64_t{1} << 62;
  Query row(connection, "SELECT max(id) FROM chunk");
  if (row.Next()) return ChunkIds(std::clamp<std::int64_t>(row.Integer(0), 0, kEnd));
  if (row.status().code() == ZR3_ERR_STORAGE_DAMAGED) return ChunkIds(kEnd);
  return row.status();
}

Status InsertChunk(Connection& connection, std::int64_t id, const EncodedChunk& chunk) {
  return Query(connection,
               "INSERT INTO chunk (id, tag, first_time, last_time, count, payload) "
               "VALUES (?, ?, ?, ?, ?, ?)",
               id, chunk.tag, chunk.first_ms, chunk.last_ms, chunk.count, chunk.payload)
      .Run();
}

Status DeleteChunk(Connection& connection, const ChunkExtent& extent) {
  return Query(connection, "DELETE FROM chunk WHERE id = ?", extent.id).Run();
}

Status SetChunkAside(Connection& connection, const ChunkExtent& extent) {
  Status status = Query(connection,
                        "INSERT INTO damaged (tag, payload) "
                        "SELECT tag, payload FROM chunk WHERE id = ?",
                        extent.id)
                      .Run();
  return status.ok() ? DeleteChunk(connection, extent) : status;
}

}  // namespace zervane::storage
