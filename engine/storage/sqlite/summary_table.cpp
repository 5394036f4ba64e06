#include "engine/storage/sqlite/summary_table.h"

#include <spdlog/fmt/fmt.h>

#include <string>
#include <string_view>

#include "engine/assert.h"
#include "engine/log.h"

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

constexpr char kSpare[] = "spare_summary";

Status CreateTable(Connection& connection, std::string_view name) {
  const std::string sql = fmt::format(
      "CREATE TABLE {} (tag INTEGER NOT NULL, level INTEGER NOT NULL, "
      "first_time INTEGER NOT NULL, last_time INTEGER NOT NULL, payload BLOB NOT NULL, "
      "PRIMARY KEY (tag, level, first_time)) WITHOUT ROWID",
      name);
  return connection.Execute(sql.c_str());
}

Status RenameTable(Connection& connection, std::string_view from, std::string_view to) {
  return connection.Execute(fmt::format("ALTER TABLE {} RENAME TO {}", from, to).c_str());
}

Result<std::int64_t> CountTables(Connection& connection, std::string_view pattern) {
  Query row(connection, "SELECT count(*) FROM sqlite_schema WHERE type = 'table' AND name GLOB ?");
  row.BindText(pattern);
  if (row.Next()) return row.Integer(0);
  return row.status();
}

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

Status CreateSummaries(Connection& connection) {
  Status status = CreateTable(connection, "summary");
  return status.ok() ? CreateTable(connection, kSpare) : status;
}

// The schema alone is changed. Whoever still reads the table as it was finds it where it was.
Status RenewSummaries(Connection& connection) {
  const auto earlier = CountTables(connection, "damaged_summary_*");
  if (!earlier.ok()) return earlier.status();
  const auto spare = CountTables(connection, kSpare);
  if (!spare.ok()) return spare.status();
  const std::string name = fmt::format("damaged_summary_{}", *earlier + 1);
  Status status = RenameTable(connection, "summary", name);
  if (!status.ok()) return status;
  return *spare == 1 ? RenameTable(connection, kSpare, "summary")
                     : CreateTable(connection, "summary");
}

void LogSummariesRenewed() {
  LogError(
      "the table of summaries is damaged and was given up; chunks have none until they are written "
      "again");
}

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

Status DeleteSummaries(Connection& connection, TagId tag) {
  return Query(connection, "DELETE FROM summary WHERE tag = ?", tag).Run();
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
