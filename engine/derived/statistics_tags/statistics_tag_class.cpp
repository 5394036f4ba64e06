#include "engine/derived/statistics_tags/statistics_tag_class.h"

#include <spdlog/fmt/fmt.h>

#include <cstddef>
#include <string>
#include <utility>

#include "api/words/ascii.h"
#include "api/words/tag_columns.h"
#include "api/words/utf8.h"

namespace zervane {
namespace {

// Whether the caller has set the source; so it is with a tag that is added.
bool IsSourceGiven(const TagDraft& draft) {
  constexpr auto kBit = static_cast<std::size_t>(ZR3_TAG_COL_ST_EXT_PROP_SOURCE_TAG_NAME -
                                                 ZR3_TAG_COL_ST_EXT_PROP_MIN);
  return draft.before == nullptr || SelectsBit(draft.given.extension, kBit);
}

// Whether the caller asks for a new start. Adding a tag asks for none.
bool StartsAnew(const TagDraft& draft) {
  constexpr auto kBit =
      static_cast<std::size_t>(ZR3_TAG_COL_ST_EXT_PROP_RESET - ZR3_TAG_COL_ST_EXT_PROP_MIN);
  return draft.before != nullptr && SelectsBit(draft.given.extension, kBit) &&
         std::get<StatisticsProperties>(draft.after.own).reset;
}

Result<TagId> SourceOf(const TagDraft& draft) {
  if (!IsSourceGiven(draft)) {
    const TagLinks& links = *draft.links_before;
    return links.empty() ? TagId{0} : links[0];
  }
  const std::string& name = std::get<StatisticsProperties>(draft.after.own).source_tag;
  if (EqualsFolded(name, draft.after.name)) return draft.after.id;  // a loop, which is refused
  const PackedTag* const source = draft.tags.FindByName(name);
  if (source != nullptr) return source->id();
  return Status(ZR3_ERR_NAME_NOT_FOUND, fmt::format("no tag '{}'", name.substr(0, 100)));
}

// A source that was deleted stays so.
Status CheckWithSource(const TagImage& tags, const StatisticsRule& rule) {
  const PackedTag* const source = tags.Find(rule.source);
  if (source == nullptr) return CheckRule(rule, std::nullopt);
  if (source->tag_class() == ZR3_TAG_CLASS_ALARM) {
    return {ZR3_ERR_INVALID_TAG_CLASS,
            fmt::format("the source '{}' is an alarm tag, which has no values", source->name())};
  }
  return CheckRule(rule, static_cast<TagType>(source->Unpack().type));
}

const PropertyColumn& SourceColumn() {
  return StatisticsColumns()[ZR3_TAG_COL_ST_EXT_PROP_SOURCE_TAG_NAME - ZR3_TAG_COL_ST_EXT_PROP_MIN];
}

}  // namespace

Result<TagLinks> StatisticsTagClass::Plan(const TagDraft& draft) {
  const Result<TagId> source = SourceOf(draft);
  if (!source.ok()) return source.status();
  StatisticsRule rule = RuleOf(draft.after, *source);
  if (Status status = CheckWithSource(draft.tags, rule); !status.ok()) return status;
  book_.Propose({.rule = std::move(rule), .starts_anew = StartsAnew(draft)});
  return TagLinks{*source};
}

// A name of more characters than its array has bytes could be read back by nobody.
Status StatisticsTagClass::Follow(const TagLinks& links, TagId changed,
                                  std::optional<std::string_view> name, Tag& tag) {
  if (links.empty() || links[0] != changed) return {};
  const std::string_view text = name.value_or("");
  if (text.size() > SourceColumn().max_bytes() ||
      CountCharacters(text) >= SourceColumn().array_bytes) {
    return {ZR3_ERR_INVALID_PROPERTY,
            fmt::format("{} of '{}' would be too long", SourceColumn().name, tag.name)};
  }
  std::get<StatisticsProperties>(tag.own).source_tag = text;
  return {};
}

Result<std::vector<StatisticsRule>> StatisticsRulesOf(
    const TagImage& tags, const std::function<TagLinks(TagId)>& links_of) {
  std::vector<StatisticsRule> rules;
  if (tags.CountOf(ZR3_TAG_CLASS_STATS) == 0) return rules;  // as among millions of others
  Status fault;
  tags.tags().VisitFrom(0, [&](const PackedTag& tag) {
    if (tag.tag_class() != ZR3_TAG_CLASS_STATS) return true;
    const TagLinks links = links_of(tag.id());
    rules.push_back(RuleOf(tag.Unpack(), links.empty() ? TagId{0} : links[0]));
    Status status = links.empty() ? Status(ZR3_ERR_STORAGE_DAMAGED, "it has no source")
                                  : CheckWithSource(tags, rules.back());
    if (status.ok()) return true;
    fault = {ZR3_ERR_STORAGE_DAMAGED,
             fmt::format("the stored statistics tag {}: {}", tag.id(), status.message())};
    return false;
  });
  if (!fault.ok()) return fault;
  return rules;
}

}  // namespace zervane
