#include "engine/relay/tag_names.h"

#include <utility>
#include <variant>
#include <vector>

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
    if (change.table != TableId::kTag || !change.row) continue;
    const auto id = static_cast<TagId>(std::get<std::int64_t>(change.key.front()));
    if (now_->Find(id) != nullptr) continue;
    std::vector<CellView> cells;
    for (const Cell& cell : *change.row) cells.push_back(ViewOf(cell));
    if (auto tag = RowFormat<Tag>::FromRow(cells)) passing_[id] = std::move(tag->name);
  }
}

const PackedTag* TagNames::Find(TagId tag) const {
  const PackedTag* const found = now_->Find(tag);
  return found != nullptr ? found : before_->Find(tag);
}

std::string_view TagNames::NameOf(TagId tag) const {
  if (const PackedTag* const found = now_->Find(tag)) return found->name();
  // A tag that was renamed and has gone since is told by the later name.
  if (const auto passing = passing_.find(tag); passing != passing_.end()) return passing->second;
  const PackedTag* const found = before_->Find(tag);
  return found != nullptr ? found->name() : std::string_view();
}

std::string TagNames::SourceOf(TagId alarm) const {
  const PackedTag* const found = Find(alarm);
  if (found == nullptr) return {};
  const Tag tag = found->Unpack();
  const auto* const own = std::get_if<AlarmProperties>(&tag.own);
  return own == nullptr ? std::string() : own->source_tag;
}

}  // namespace zervane
