#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <variant>

#include "api/words/ascii.h"
#include "engine/catalogue/tag_class.h"

namespace zervane {

// A class of alarm tags that only looks up names: place 0 is the source, which is read; place 2 is
// the tag that action 1 names, which is set. It keeps what it was asked last.
class ReadingClass final : public TagClass {
 public:
  static constexpr std::size_t kSource = 0;
  static constexpr std::size_t kTarget = 2;
  static constexpr std::size_t kMaxNameBytes = 40;

  Result<TagLinks> Plan(const TagDraft& draft) override {
    const auto& alarm = std::get<AlarmProperties>(draft.after.own);
    id = draft.after.id;
    links_before =
        draft.links_before == nullptr ? std::nullopt : std::optional(*draft.links_before);
    TagLinks links = links_before.value_or(TagLinks());
    links.resize(5);
    Status status =
        Link(draft, ZR3_TAG_COL_AM_EXT_PROP_SOURCE_TAG, alarm.source_tag, links[kSource]);
    if (!status.ok()) return status;
    status = Link(draft, ZR3_TAG_COL_AM_EXT_PROP_ACTION1, alarm.action1, links[kTarget]);
    if (!status.ok()) return status;
    return links;
  }

  Status Follow(const TagLinks& links, TagId changed, std::optional<std::string_view> name,
                Tag& tag) override {
    if (name && name->size() > kMaxNameBytes) return {ZR3_ERR_INVALID_PROPERTY, tag.name};
    auto& alarm = std::get<AlarmProperties>(tag.own);
    if (links[kSource] == changed) alarm.source_tag = name.value_or("");
    if (links.size() > kTarget && links[kTarget] == changed && name) alarm.action1 = *name;
    return {};
  }

  bool Reads(std::size_t place) const override { return place == kSource; }

  TagId id = 0;
  std::optional<TagLinks> links_before;

 private:
  static Status Link(const TagDraft& draft, std::int32_t column, const std::string& name,
                     TagId& link) {
    const auto bit = static_cast<std::size_t>(column - ZR3_TAG_COL_AM_EXT_PROP_MIN);
    if (draft.before != nullptr && !SelectsBit(draft.given.extension, bit)) return {};
    if (FoldAscii(name) == FoldAscii(draft.after.name)) {
      link = draft.after.id;
      return {};
    }
    const PackedTag* const tag = draft.tags.FindByName(name);
    if (tag == nullptr && !name.empty()) return {ZR3_ERR_NAME_NOT_FOUND, name};
    link = tag == nullptr ? 0 : tag->id();
    return {};
  }
};

}  // namespace zervane
