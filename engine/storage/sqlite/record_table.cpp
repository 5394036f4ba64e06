#include "engine/storage/sqlite/record_table.h"

#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "engine/log.h"
#include "engine/storage/codec/chunk_codec.h"

namespace zervane::storage {
namespace {

// The statements of a table, and what its records are called.
struct Statements {
  std::string_view put;
  std::string_view remove;
  std::string_view load_all;
  std::string_view load;
  const char* called;
};

const Statements& Of(RecordTable table) {
  static constexpr Statements kCurrent{
      "INSERT OR REPLACE INTO current (tag, payload) VALUES (?, ?)",
      "DELETE FROM current WHERE tag = ?", "SELECT tag, payload FROM current",
      "SELECT tag, payload FROM current WHERE tag = ?", "current value"};
  static constexpr Statements kHeld{
      "INSERT OR REPLACE INTO held (tag, payload) VALUES (?, ?)", "DELETE FROM held WHERE tag = ?",
      "SELECT tag, payload FROM held", "SELECT tag, payload FROM held WHERE tag = ?",
      "record held back"};
  return table == RecordTable::kCurrent ? kCurrent : kHeld;
}

std::optional<Sample> Decode(const Query& row, const char* called) {
  Decoded<std::vector<Sample>> records = DecodeChunk(row.Bytes(1));
  if (records.ok()) return std::move(records->front());
  LogError("the {} of tag {} is lost: {}", called, row.Integer(0), records.damage().what);
  return std::nullopt;
}

}  // namespace

Status PutRecord(Connection& connection, RecordTable table, TagId tag, const Sample& record) {
  const std::string payload = EncodeChunk({&record, 1});
  return Query(connection, Of(table).put, tag, payload).Run();
}

Status DeleteRecord(Connection& connection, RecordTable table, TagId tag) {
  return Query(connection, Of(table).remove, tag).Run();
}

Status VisitRecords(Connection& connection, RecordTable table,
                    const std::function<void(TagId, Sample)>& take) {
  Query rows(connection, Of(table).load_all);
  while (rows.Next()) {
    std::optional<Sample> record = Decode(rows, Of(table).called);
    if (record) take(static_cast<TagId>(rows.Integer(0)), *std::move(record));
  }
  return rows.status();
}

Result<std::optional<Sample>> LoadRecord(Connection& connection, RecordTable table, TagId tag) {
  Query row(connection, Of(table).load, tag);
  if (row.Next()) return Decode(row, Of(table).called);
  if (!row.status().ok()) return row.status();
  return std::optional<Sample>();
}

}  // namespace zervane::storage
