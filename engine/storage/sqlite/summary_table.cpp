#include "engine/storage/sqlite/summary_table.h"

#include <spdlog/fmt/fmt.h>

#include <string>
#include <string_view>

#include "engine/assert.h"

namespace zervane::storage {
namespace {

constexpr std::string_view kAscendingChunksSql =
    "SELECT first_time, payload FROM summary "
    "WHERE tag = ? AND level = 0 AND first_time BETWEEN ? AND ? ORDER BY first_time";
constexpr std::string_view kDescendingChunksSql =
    "SELECT first_time, payload FROM summary "
    "WHERE tag = ? AND level = 0 AND first_time BETWEEN ? AND ? ORDER BY first_time DESC";

constexpr std::string_view kFirstGroupSql =
    "SELECT first_time, last_time, payload FROM summary WHERE tag = ?1 AND level = 1 "
    "AND first_time BETWEEN ?2 AND ?3 AND last_time <= ?3 ORDER BY first_time LIMIT 1";
constexpr std::string_view kLastGroupSql =
    "SELECT first_time, last_time, payload FROM summary WHERE tag = ?1 AND level = 1 "
    "AND first_time BETWEEN ?2 AND ?3 AND last_time <= ?3 ORDER BY first_time DESC LIMIT 1";

bool IsDamaged(const Query& rows) { return rows.status().code() == ZR3_ERR_STORAGE_DAMAGED; }

// The times of a group's row, and what is in it when that is whole.
struct GroupRow {
  GroupExtent extent;
  std::optional<Summary> summary;
};

GroupRow ReadGroup(const Query& row, TagId tag) {
  GroupRow group{.extent = {row.Integer(0), row.Integer(1)}, .summary = {}};
  Decoded<Summary> summary = DecodeSummary(row.Bytes(2));
  const bool is_of_row = summary.ok() && summary->tag == tag &&
                         summary->level == SummaryLevel::kGroup &&
                         summary->run.first_ms == group.extent.first_ms &&
                         summary->run.last_ms == group.extent.last_ms;
  if (is_of_row) group.summary = *std::move(summary);
  return group;
}

// The group whose start the row has. In a damaged row that may be no time, which is greater than
// all times where SQLite compares it: whoever goes on behind it would go round in circles.
Result<std::optional<GroupExtent>> ReadExtent(Query& row, TagId tag, TimeRange starts) {
  if (row.Next()) {
    const GroupExtent extent{row.Integer(0), row.Integer(1)};
    const bool is_asked_for = row.Integer(2) == std::int64_t{tag} && starts.Holds(extent.first_ms);
    if (is_asked_for) return std::optional(extent);
    return Status(ZR3_ERR_STORAGE_DAMAGED,
                  fmt::format("the groups of chunks of tag {} are out of order", tag));
  }
  if (!row.status().ok()) return row.status();
  return std::optional<GroupExtent>();
}

}  // namespace

Status PutSummary(Connection& connection, const Summary& summary) {
  const std::string payload = EncodeSummary(summary);
  return Query(connection,
               "INSERT OR REPLACE INTO summary (tag, level, first_time, last_time, payload) "
               "VALUES (?, ?, ?, ?, ?)",
               summary.tag, static_cast<int>(summary.level), summary.run.first_ms,
               summary.run.last_ms, payload)
      .Run();
}

Status DeleteSummary(Connection& connection, TagId tag, SummaryLevel level, std::int64_t first_ms) {
  return Query(connection, "DELETE FROM summary WHERE tag = ? AND level = ? AND first_time = ?",
               tag, static_cast<int>(level), first_ms)
      .Run();
}

// ---- groups ----

Result<std::optional<Summary>> NextGroup(Connection& connection, TagId tag, TimeRange range,
                                         Direction direction) {
  const bool is_forward = direction == Direction::kForward;
  while (!range.empty()) {
    Query row(connection, is_forward ? kFirstGroupSql : kLastGroupSql, tag, range.from_ms,
              range.to_ms);
    if (!row.Next()) {
      if (!row.status().ok() && !IsDamaged(row)) return row.status();
      break;
    }
    GroupRow group = ReadGroup(row, tag);
    const GroupExtent& extent = group.extent;
    const bool is_inside = range.Holds(extent.first_ms) && range.Holds(extent.last_ms);
    if (group.summary && is_inside) return group.summary;
    // Not whole: the next one is looked for by its start, which the index answered.
    const std::int64_t first_ms = extent.first_ms;
    if (!range.Holds(first_ms)) break;
    (is_forward ? range.from_ms : range.to_ms) = is_forward ? first_ms + 1 : first_ms - 1;
  }
  return std::optional<Summary>();
}

Result<std::optional<GroupExtent>> GroupStartingBy(Connection& connection, TagId tag,
                                                   std::int64_t time_ms) {
  Query row(connection,
            "SELECT first_time, last_time, tag FROM summary WHERE tag = ? AND level = 1 "
            "AND first_time <= ? ORDER BY first_time DESC LIMIT 1",
            tag, time_ms);
  return ReadExtent(row, tag, {.from_ms = 0, .to_ms = time_ms});
}

Result<std::optional<GroupExtent>> GroupStartingAfter(Connection& connection, TagId tag,
                                                      std::int64_t time_ms) {
  Query row(connection,
            "SELECT first_time, last_time, tag FROM summary WHERE tag = ? AND level = 1 "
            "AND first_time > ? ORDER BY first_time LIMIT 1",
            tag, time_ms);
  return ReadExtent(row, tag, {.from_ms = time_ms + 1});
}

// ---- chunks ----

void ChunkSummaries::Open(const ChunkExtent& first) {
  const bool is_forward = direction_ == Direction::kForward;
  rows_.emplace(connection_, is_forward ? kAscendingChunksSql : kDescendingChunksSql, tag_,
                is_forward ? first.first_ms : range_.from_ms,
                is_forward ? range_.to_ms : first.first_ms);
  has_row_ = rows_->Next();
}

// Whether the direction passes the row before it comes to the chunk.
bool ChunkSummaries::IsBefore(const ChunkExtent& chunk) const {
  const std::int64_t first_ms = rows_->Integer(0);
  return direction_ == Direction::kForward ? first_ms < chunk.first_ms : first_ms > chunk.first_ms;
}

Result<const RunStatistics*> ChunkSummaries::Find(const ChunkExtent& chunk) {
  ZERVANE_ASSERT(chunk.tag == tag_);
  if (!rows_) Open(chunk);
  while (has_row_ && IsBefore(chunk)) has_row_ = rows_->Next();
  if (!has_row_) {
    if (!rows_->status().ok() && !IsDamaged(*rows_)) return rows_->status();
    return nullptr;
  }
  if (rows_->Integer(0) != chunk.first_ms) return nullptr;
  const Decoded<Summary> summary = DecodeSummary(rows_->Bytes(1));
  const bool is_of_chunk =
      summary.ok() && summary->tag == tag_ && summary->level == SummaryLevel::kChunk &&
      summary->member == chunk.id && summary->run.first_ms == chunk.first_ms &&
      summary->run.last_ms == chunk.last_ms && summary->run.count == chunk.count;
  if (!is_of_chunk) return nullptr;
  found_ = summary->run;
  return &found_;
}

}  // namespace zervane::storage
