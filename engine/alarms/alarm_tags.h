#pragma once

#include <functional>
#include <optional>
#include <string_view>
#include <vector>

#include "api/words/status.h"
#include "api/words/tag.h"
#include "engine/alarms/alarm_book.h"
#include "engine/alarms/alarm_groups.h"
#include "engine/alarms/alarm_rule.h"
#include "engine/catalogue/tag_class.h"
#include "engine/catalogue/tag_image.h"

namespace zervane {

// What alarm tags ask for: tests and actions that parse, a source that can be tested, a group that
// exists. They are linked to their source, in place 0, and to the target of each action, in places
// 1 to 4.
//
// Of a tag that may be saved it makes the rule by which it is judged, and notes that in the book,
// where the stage finds it when it hears of the change.
class AlarmTags final : public TagClass {
 public:
  AlarmTags(AlarmBook& book, const AlarmGroups& groups) : book_(book), groups_(groups) {}

  // Besides what its base says: ZR3_ERR_INVALID_ALARM_TEST for a test or an action.
  // ZR3_ERR_NAME_NOT_FOUND for the source or a target; ZR3_ERR_INVALID_TAG_CLASS for a source that
  // is an alarm tag, or a target that is no point tag; ZR3_ERR_INVALID_TAG_TYPE for a source that
  // has texts, unless any difference between them is all that is asked for, or such a target;
  // ZR3_ERR_TYPE_MISMATCH for a number that the target cannot hold. ZR3_ERR_GROUP_NOT_FOUND.
  Result<TagLinks> Plan(const TagDraft& draft) override;
  Status Follow(const TagLinks& links, TagId changed, std::optional<std::string_view> name,
                Tag& tag) override;
  bool Reads(std::size_t place) const override { return place == 0; }

 private:
  AlarmBook& book_;
  const AlarmGroups& groups_;
};

// The rules of all alarm tags of a catalogue, for opening. ZR3_ERR_STORAGE_DAMAGED when a test or
// an action does not parse, or a link is missing.
Result<std::vector<AlarmRule>> RulesOf(const TagImage& tags,
                                       const std::function<TagLinks(TagId)>& links_of);

}  // namespace zervane
