#include "engine/storage/sqlite/chunk_table.h"

#include <spdlog/fmt/fmt.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <string_view>
#include <utility>

#include "engine/storage/codec/block.h"
#include "engine/storage/codec/chunk_codec.h"

namespace zervane::storage {
namespace {

// What a query answers that a sound index would not.
Status DamagedIndex(TagId tag) {
  return Status(ZR3_ERR_STORAGE_DAMAGED, fmt::format("the chunks of tag {} are out of order", tag));
}

// Whether chunks come one behind the other, in a direction: they do, unless the file is damaged,
// and then their records would come out of order, or twice.
class ChunkOrder {
 public:
  explicit ChunkOrder(Direction direction)
      : direction_(direction), end_ms_(direction == Direction::kForward ? -1 : kMaxTimeMs + 1) {}

  bool Takes(const ChunkExtent& next) {
    const bool forward = direction_ == Direction::kForward;
    const bool follows = forward ? next.first_ms > end_ms_ : next.last_ms < end_ms_;
    end_ms_ = forward ? next.last_ms : next.first_ms;
    return follows && next.first_ms <= next.last_ms;
  }

 private:
  const Direction direction_;
  std::int64_t end_ms_;  // of what came so far
};

// A text that is known to the compiler.
template <std::size_t kSize>
struct FixedText {
  std::array<char, kSize> characters;

  constexpr operator std::string_view() const {  // NOLINT(google-explicit-constructor): it is one
    return {characters.data(), characters.size()};
  }
};

// Literals one behind the other.
template <std::size_t... kSizes>
consteval auto Joined(const char (&... literals)[kSizes]) {
  FixedText<(kSizes + ...) - sizeof...(kSizes)> text{};
  auto to = text.characters.begin();
  ((to = std::copy_n(literals, kSizes - 1, to)), ...);
  return text;
}

// The chunks of tag ?1 that overlap [?2, ?3]. Since chunks do not overlap each other, the search
// starts at the last one that begins by ?2 and needs no other.
constexpr char kOverlapping[] =
    " FROM chunk WHERE tag = ?1 AND first_time <= ?3 AND last_time >= ?2 AND first_time >= "
    "ifnull((SELECT max(first_time) FROM chunk WHERE tag = ?1 AND first_time <= ?2), ?2) "
    "ORDER BY first_time";
constexpr char kExtent[] = "SELECT id, tag, first_time, last_time, count";

constexpr auto kExtentsSql = Joined(kExtent, kOverlapping);
constexpr auto kAscendingSql = Joined(kExtent, ", payload", kOverlapping);
constexpr auto kDescendingSql = Joined(kExtent, ", payload", kOverlapping, " DESC");

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

Decoded<std::vector<Sample>> DecodeRow(const ChunkExtent& extent, std::string_view payload) {
  Decoded<std::vector<Sample>> records = DecodeChunk(payload);
  if (!records.ok()) return DamagedChunk(extent, records.damage().what);
  const bool as_the_row_says = std::cmp_equal(records->size(), extent.count) &&
                               records->front().time_ms == extent.first_ms &&
                               records->back().time_ms == extent.last_ms;
  if (!as_the_row_says) return DamagedChunk(extent, "its records are not those of its row");
  return records;
}

}  // namespace

Result<std::optional<ChunkExtent>> ChunkStartingBy(Connection& connection, TagId tag,
                                                   std::int64_t time_ms) {
  Query row(connection,
            "SELECT id, tag, first_time, last_time, count FROM chunk "
            "WHERE tag = ? AND first_time <= ? ORDER BY first_time DESC LIMIT 1",
            tag, time_ms);
  if (row.Next()) {
    const ChunkExtent extent = ReadExtent(row);
    if (extent.first_ms > time_ms) return DamagedIndex(tag);
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

Status VisitExtents(Connection& connection, TagId tag, TimeRange range,
                    const std::function<Status(const ChunkExtent&)>& take) {
  Query rows(connection, kExtentsSql, tag, range.from_ms, range.to_ms);
  ChunkOrder order(Direction::kForward);
  while (rows.Next()) {
    const ChunkExtent extent = ReadExtent(rows);
    if (!order.Takes(extent)) return DamagedIndex(tag);
    if (extent.count < 1 || std::cmp_greater(extent.count, kMaxBlockRecords)) {
      return DamagedChunk(extent, "no chunk has as many").status();
    }
    if (Status status = take(extent); !status.ok()) return status;
  }
  return rows.status();
}

Result<Decoded<std::vector<Sample>>> LoadChunk(Connection& connection, const ChunkExtent& extent) {
  Query row(connection, "SELECT payload FROM chunk WHERE id = ?", extent.id);
  if (row.Next()) return DecodeRow(extent, row.Bytes(0));
  if (!row.status().ok()) return row.status();
  return Decoded<std::vector<Sample>>(DamagedChunk(extent, "its row is missing"));
}

Status VisitChunks(Connection& connection, TagId tag, TimeRange range, Direction direction,
                   const std::function<bool(std::vector<Sample>)>& take) {
  const bool forward = direction == Direction::kForward;
  const std::string_view sql = forward ? std::string_view(kAscendingSql) : kDescendingSql;
  Query rows(connection, sql, tag, range.from_ms, range.to_ms);
  ChunkOrder order(direction);
  while (rows.Next()) {
    const ChunkExtent extent = ReadExtent(rows);
    Decoded<std::vector<Sample>> records = DecodeRow(extent, rows.Bytes(5));
    if (!records.ok()) return records.damage().status();
    if (!order.Takes(extent)) return DamagedIndex(tag);
    if (!take(*std::move(records))) return {};
  }
  return rows.status();
}

EncodedChunk EncodeForTable(TagId tag, std::span<const Sample> records) {
  return {.tag = tag,
          .first_ms = records.front().time_ms,
          .last_ms = records.back().time_ms,
          .count = records.size(),
          .payload = EncodeChunk(records)};
}

Status InsertChunk(Connection& connection, const EncodedChunk& chunk) {
  return Query(connection,
               "INSERT INTO chunk (tag, first_time, last_time, count, payload) "
               "VALUES (?, ?, ?, ?, ?)",
               chunk.tag, chunk.first_ms, chunk.last_ms, chunk.count, chunk.payload)
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
