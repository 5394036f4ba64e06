#include "engine/storage/sqlite/upgrade.h"

#include <spdlog/fmt/fmt.h>

#include <algorithm>
#include <cstddef>
#include <optional>
#include <string>
#include <unordered_map>
#include <utility>
#include <variant>
#include <vector>

#include "api/words/ascii.h"
#include "api/words/utf8.h"
#include "engine/assert.h"
#include "engine/log.h"
#include "engine/storage/sqlite/row_table.h"
#include "engine/storage/sqlite/settings.h"
#include "engine/storage/sqlite/summary_table.h"
#include "engine/storage/tables.h"

namespace zervane::storage {
namespace {

// Layout 1 knew no records held back, and wrote chunks that this release still reads.
constexpr char kFromLayout1[] = R"(
CREATE TABLE held (
  tag INTEGER PRIMARY KEY,
  payload BLOB NOT NULL
);
)";

// Layout 2 kept the catalogue's numbers in a table of their own, and counted entries of the journal
// where commits are counted now.
constexpr char kFromLayout2[] = R"(
INSERT INTO settings SELECT 'last_id', last_id FROM catalogue;
INSERT INTO settings SELECT 'catalogue_version', version FROM catalogue;
INSERT INTO settings SELECT 'last_commit', ifnull(max(seq), 0) FROM journal;
DROP TABLE catalogue;
)";

// What layout 4 did not have.
constexpr TableId kTablesOfLayout5[] = {TableId::kAlarmTag, TableId::kTagLink, TableId::kAlarmGroup,
                                        TableId::kAlarmRecord, TableId::kStandingAlarm};

// What layout 5 did not have.
constexpr TableId kTablesOfLayout6[] = {TableId::kStatisticsTag, TableId::kCalculationTag,
                                        TableId::kUser, TableId::kUserGroup, TableId::kMember};

// So many tags are in memory at a time.
constexpr std::size_t kTagsAtOnce = 1'000;

// Where a tag's row has its name.
std::size_t NameColumn() {
  const auto& columns = InfoOf(TableId::kTag).columns;
  const auto name = std::ranges::find(columns, std::string_view("name"), &TableColumn::name);
  ZERVANE_ASSERT(name != columns.end());
  return static_cast<std::size_t>(name - columns.begin());
}

// Converts tags' rows to UTF-8.
class TagTexts {
 public:
  TagTexts(Connection& connection, std::string_view encoding, const TextDecoder& decoder)
      : connection_(connection), encoding_(encoding), decoder_(decoder) {}

  Status Convert() {
    Row last;
    do {
      changes_.clear();
      Status status;
      std::size_t rows = 0;
      const RowRange range{.table = TableId::kTag, .from = last, .is_behind = true};
      const auto convert = [&](RowView row) {
        ++rows;
        last = {CopyOf(row.front())};
        status = ConvertRow(row);
        return status.ok();
      };
      Status visited = VisitRows(connection_, range, kTagsAtOnce, convert);
      if (status.ok()) status = std::move(visited);
      for (const RowChange& change : changes_) {
        if (status.ok()) status = ChangeRow(connection_, change);
      }
      if (!status.ok()) return status;
      if (rows < kTagsAtOnce) return {};
    } while (true);
  }

 private:
  // Plain ASCII too: such bytes are other characters in some encodings.
  Status ConvertRow(RowView row) {
    RowChange change{.table = TableId::kTag, .key = {CopyOf(row.front())}, .row = Row()};
    bool is_changed = false;
    for (const CellView& cell : row) {
      Cell copy = CopyOf(cell);
      if (auto* text = std::get_if<CellBytes>(&copy)) {
        std::optional<std::string> converted = Converted(*text);
        if (!converted) return NotInEncoding(IdOf(row));
        is_changed |= *converted != *text;
        *text = *std::move(converted);
      }
      change.row->push_back(std::move(copy));
    }
    Status status = NoteName(IdOf(row), (*change.row)[name_column_]);
    if (status.ok() && is_changed) changes_.push_back(std::move(change));
    return status;
  }

  // Names of different bytes can be one text, of which a catalogue can have one only.
  Status NoteName(std::int64_t id, const Cell& cell) {
    const auto* name = std::get_if<CellBytes>(&cell);
    if (name == nullptr) return {};
    const auto [first, is_new] = ids_.try_emplace(FoldAscii(*name), id);
    if (is_new) return {};
    return Refusal(
        fmt::format("the names of tags {} and {} are one in {}", first->second, id, encoding_));
  }

  std::optional<std::string> Converted(const std::string& text) const {
    std::optional<std::string> utf8 = decoder_ == nullptr ? text : decoder_(text);
    return utf8 && IsUtf8(*utf8) ? utf8 : std::nullopt;
  }

  static std::int64_t IdOf(RowView row) {
    const auto* id = std::get_if<std::int64_t>(&row.front());
    return id == nullptr ? 0 : *id;
  }

  Status NotInEncoding(std::int64_t id) const {
    return Refusal(fmt::format("a text of tag {} is not in {}", id, encoding_));
  }

  static Status Refusal(std::string_view what) {
    std::string message = fmt::format(
        "{}, which the texts of this database of an earlier release are taken to be in; "
        "ZERVANE_ENCODING names another encoding",
        what);
    LogError("{}", message);
    return {ZR3_ERR_INVALID_TEXT, std::move(message)};
  }

  Connection& connection_;
  const std::string_view encoding_;
  const TextDecoder& decoder_;
  const std::size_t name_column_ = NameColumn();
  std::vector<RowChange> changes_;
  std::unordered_map<std::string, std::int64_t> ids_;  // of tags, by their names, folded
};

}  // namespace

namespace {

// From layouts 1 and 2 to 3.
Status BringToUtf8(Connection& connection, std::int64_t layout, const TextEncoding& encoding) {
  const Result<TextDecoder> decoder = DecoderOf(encoding, encoding.name);
  if (!decoder.ok()) return decoder.status();
  std::string sql = layout < 2 ? kFromLayout1 : "";
  sql += CreateTable(InfoOf(TableId::kSettings)) + CreateTable(InfoOf(TableId::kProgress));
  sql += kFromLayout2;
  if (Status status = connection.Execute(sql.c_str()); !status.ok()) return status;
  Status status = PutSetting(connection, kEncodingSetting, encoding.name);
  if (!status.ok()) return status;
  return TagTexts(connection, encoding.name, *decoder).Convert();
}

}  // namespace

// Layout 3 knew no summaries, which chunks get when they are written again, layout 4 no alarms, and
// layout 5 neither derived tags nor users.
Status Upgrade(Connection& connection, std::int64_t layout, const TextEncoding& encoding) {
  if (layout < 3) {
    if (Status status = BringToUtf8(connection, layout, encoding); !status.ok()) return status;
  }
  if (layout < 4) {
    if (Status status = CreateSummaries(connection); !status.ok()) return status;
  }
  std::string sql;
  if (layout < 5) {
    for (const TableId table : kTablesOfLayout5) sql += CreateTable(InfoOf(table));
  }
  for (const TableId table : kTablesOfLayout6) sql += CreateTable(InfoOf(table));
  return connection.Execute(sql.c_str());
}

Result<TextDecoder> DecoderOf(const TextEncoding& encoding, std::string_view name) {
  if (name == "UTF-8") return TextDecoder();
  std::optional<TextDecoder> decoder =
      encoding.decoder_of == nullptr ? std::nullopt : encoding.decoder_of(name);
  if (decoder) return *std::move(decoder);
  return Status(ZR3_ERR_INVALID_TEXT,
                fmt::format("texts of the database are in {}, which is not known here", name));
}

}  // namespace zervane::storage
