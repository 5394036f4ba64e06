#include "engine/storage/sqlite/record_table.h"

#include <string>
#include <string_view>
#include <utility>

#include "api/words/samples.h"
#include "engine/log.h"
#include "engine/storage/codec/chunk_codec.h"

namespace zervane::storage {
namespace {

// The statements of a table, and what its records are called.
struct Statements {
  std::string_view put;
  std::string_view remove;
  std::string_view load_range;
  std::string_view load;
  const char* called;
};

const Statements& StatementsOf(RecordTable table) {
  static constexpr Statements kCurrent{
      "INSERT OR REPLACE INTO current (tag, payload) VALUES (?, ?)",
      "DELETE FROM current WHERE tag = ?",
      "SELECT tag, payload FROM current WHERE tag BETWEEN ? AND ? ORDER BY tag",
      "SELECT tag, payload FROM current WHERE tag = ?", "current value"};
  static constexpr Statements kHeld{
      "INSERT OR REPLACE INTO held (tag, payload) VALUES (?, ?)", "DELETE FROM held WHERE tag = ?",
      "SELECT tag, payload FROM held WHERE tag BETWEEN ? AND ? ORDER BY tag",
      "SELECT tag, payload FROM held WHERE tag = ?", "record held back"};
  return table == RecordTable::kCurrent ? kCurrent : kHeld;
}

// The columns of the chunk before serve the next one.
std::optional<Sample> DecodeRecord(const Query& row, const char* called, const TextDecoder& decoder,
                                   SampleColumns* memory) {
  Decoded<SampleColumns> record = DecodeChunk(row.Bytes(1), decoder, std::move(*memory));
  if (!record.ok()) {
    LogError("the {} of tag {} is lost: {}", called, row.Integer(0), record.damage().what);
    return std::nullopt;
  }
  *memory = *std::move(record);
  return memory->At(0);
}

}  // namespace

Status PutRecord(Connection& connection, RecordTable table, TagId tag, const Sample& record) {
  SampleColumns columns;
  columns.Add(record);
  const std::string payload = EncodeChunk(columns, 0, 1);
  return Query(connection, StatementsOf(table).put, tag, payload).Run();
}

Status DeleteRecord(Connection& connection, RecordTable table, TagId tag) {
  return Query(connection, StatementsOf(table).remove, tag).Run();
}

Status VisitRecords(Connection& connection, RecordTable table, TagId first, TagId last,
                    const TextDecoder& decoder, const std::function<void(TagId, Sample)>& take) {
  const Statements& statements = StatementsOf(table);
  Query rows(connection, statements.load_range, first, last);
  SampleColumns memory;
  while (rows.Next()) {
    std::optional<Sample> record = DecodeRecord(rows, statements.called, decoder, &memory);
    if (record) take(static_cast<TagId>(rows.Integer(0)), *std::move(record));
  }
  return rows.status();
}

Result<std::optional<Sample>> LoadRecord(Connection& connection, RecordTable table, TagId tag,
                                         const TextDecoder& decoder) {
  const Statements& statements = StatementsOf(table);
  Query row(connection, statements.load, tag);
  SampleColumns memory;
  if (row.Next()) return DecodeRecord(row, statements.called, decoder, &memory);
  if (!row.status().ok()) return row.status();
  return std::optional<Sample>();
}

}  // namespace zervane::storage
