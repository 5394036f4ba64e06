#pragma once

#include <functional>
#include <optional>
#include <string_view>
#include <vector>

#include "api/words/status.h"
#include "api/words/tag.h"
#include "engine/catalogue/tag_class.h"
#include "engine/catalogue/tag_image.h"
#include "engine/derived/statistics_tags/statistics_book.h"
#include "engine/derived/statistics_tags/statistics_rule.h"

namespace zervane {

// What statistics tags ask for: a source that has values, and properties of which windows and a
// statistic can be made. They are linked to their source, in place 0.
//
// Of a tag that may be saved it makes the rule by which its values are computed, and notes that in
// the book, where the stage finds it when it hears of the change.
class StatisticsTagClass final : public TagClass {
 public:
  explicit StatisticsTagClass(StatisticsBook& book) : book_(book) {}

  // Besides what its base and CheckRule say: ZR3_ERR_NAME_NOT_FOUND for the source,
  // ZR3_ERR_INVALID_TAG_CLASS for one that is an alarm tag.
  Result<TagLinks> Plan(const TagDraft& draft) override;
  Status Follow(const TagLinks& links, TagId changed, std::optional<std::string_view> name,
                Tag& tag) override;
  bool Reads(std::size_t place) const override { return place == 0; }

 private:
  StatisticsBook& book_;
};

// The rules of all statistics tags of a catalogue, for opening. ZR3_ERR_STORAGE_DAMAGED when one of
// them could not have been saved.
Result<std::vector<StatisticsRule>> StatisticsRulesOf(
    const TagImage& tags, const std::function<TagLinks(TagId)>& links_of);

}  // namespace zervane
