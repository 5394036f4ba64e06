#include "engine/storage/sqlite/record_table.h"

#include <cstdint>
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

// Where the table has pages that cannot be read any more: looks for the record of each tag, and
// leaves out those on such pages.
Status VisitSoundRecords(Connection& connection, RecordTable table, std::uint64_t first, TagId last,
                         const TextDecoder& decoder,
                         const std::function<void(TagId, Sample)>& take) {
  Query tags(connection, "SELECT id FROM tag WHERE id BETWEEN ? AND ? ORDER BY id", first, last);
  while (tags.Next()) {
    const auto tag = static_cast<TagId>(tags.Integer(0));
    Result<std::optional<Sample>> record = LoadRecord(connection, table, tag, decoder);
    if (record.code() == ZR3_ERR_STORAGE_DAMAGED) continue;
    if (!record.ok()) return record.status();
    if (*record) take(tag, **std::move(record));
  }
  return tags.status();
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
  std::uint64_t next = first;
  Query rows(connection, statements.load_range, first, last);
  SampleColumns memory;
  while (rows.Next()) {
    const auto tag = static_cast<TagId>(rows.Integer(0));
    next = std::uint64_t{tag} + 1;
    std::optional<Sample> record = DecodeRecord(rows, statements.called, decoder, &memory);
    if (record) take(tag, *std::move(record));
  }
  if (rows.status().code() != ZR3_ERR_STORAGE_DAMAGED) return rows.status();
  LogError("{}: some {}s are lost", rows.status().message(), statements.called);
  return VisitSoundRecords(connection, table, next, last, decoder, take);
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
