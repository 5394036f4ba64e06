#include "engine/relay/tag_names.h"

#include <algorithm>
#include <utility>
#include <variant>
#include <vector>

#include "engine/assert.h"
#include "engine/storage/cells.h"
#include "engine/storage/table.h"
#include "engine/storage/tables.h"

namespace zervane {

void TagNames::CatchUp() {
  before_ = catalogue_.image();
  now_ = before_;
  passing_.clear();
}

void TagNames::Follow(const CommittedGroup& group) {
  now_ = catalogue_.image();
  for (const RowChange& change : group.rows) {
    const bool is_tag = change.table == TableId::kTag;
    if ((!is_tag && change.table != TableId::kAlarmTag) || !change.row) continue;
    const auto id = static_cast<TagId>(std::get<std::int64_t>(change.key.front()));
    if (now_->Find(id) != nullptr) continue;
    std::vector<CellView> cells;
    for (const Cell& cell : *change.row) cells.push_back(ViewOf(cell));
    if (is_tag) {
      NoteTag(id, cells);
    } else {
      NoteAlarmTag(id, cells);
    }
  }
}

void TagNames::NoteTag(TagId id, RowView row) {
  if (auto tag = RowFormat<Tag>::FromRow(row)) passing_[id].name = std::move(tag->name);
}

void TagNames::NoteAlarmTag(TagId id, RowView row) {
  static const std::size_t source_column = [] {
    const auto& columns = InfoOf(TableId::kAlarmTag).columns;
    const auto source = std::ranges::find(columns, "source_tag", &TableColumn::name);
    ZERVANE_ASSERT(source != columns.end());
    return static_cast<std::size_t>(source - columns.begin());
  }();
  (void)FromCell(row[source_column], &passing_[id].source);
}

std::string_view TagNames::NameOf(TagId tag) const {
  if (const PackedTag* const found = now_->Find(tag)) return found->name();
  const auto passing = passing_.find(tag);
  if (passing != passing_.end() && !passing->second.name.empty()) return passing->second.name;
  const PackedTag* const found = before_->Find(tag);
  return found != nullptr ? found->name() : std::string_view();
}

std::string TagNames::SourceOf(TagId alarm) const {
  const PackedTag* const now = now_->Find(alarm);
  if (now == nullptr) {
    const auto passing = passing_.find(alarm);
    if (passing != passing_.end() && !passing->second.source.empty()) return passing->second.source;
  }
  const PackedTag* const found = now != nullptr ? now : before_->Find(alarm);
  if (found == nullptr) return {};
  const Tag tag = found->Unpack();
  const auto* const own = std::get_if<AlarmProperties>(&tag.own);
  return own == nullptr ? std::string() : own->source_tag;
}

}  // namespace zervane
