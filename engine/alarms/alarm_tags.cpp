#include "engine/alarms/alarm_tags.h"

#include <spdlog/fmt/fmt.h>

#include <algorithm>
#include <array>
#include <cstddef>
#include <string>
#include <utility>

#include "api/words/samples.h"
#include "api/words/tag_columns.h"
#include "api/words/utf8.h"
#include "engine/alarms/alarm_action.h"
#include "engine/alarms/alarm_test.h"
#include "engine/assert.h"

namespace zervane {
namespace {

constexpr std::size_t kLinks = 1 + kAlarmTests;

using Texts = std::array<std::string AlarmProperties::*, kAlarmTests>;
constexpr Texts kTests = {&AlarmProperties::test1, &AlarmProperties::test2, &AlarmProperties::test3,
                          &AlarmProperties::test4};
constexpr Texts kActions = {&AlarmProperties::action1, &AlarmProperties::action2,
                            &AlarmProperties::action3, &AlarmProperties::action4};

const AlarmProperties& PropertiesOf(const Tag& tag) { return std::get<AlarmProperties>(tag.own); }

// What the tag's own texts and numbers say. Its links are those given; of actions without a target
// only the number is known.
Result<AlarmRule> Parse(const Tag& tag, const TagLinks& links) {
  const AlarmProperties& alarm = PropertiesOf(tag);
  AlarmRule rule;
  rule.tag = tag.id;
  rule.source = links[0];
  rule.acknowledges_itself = alarm.auto_ack == ZR3_AM_ACK_TYPE_AUTO;
  rule.group = alarm.alarm_group_id;
  rule.conditions.time_dead_band_ms = std::int64_t{alarm.time_dead_band} * 1000;
  rule.conditions.value_dead_band = alarm.value_dead_band;
  for (std::size_t at = 0; at < kAlarmTests; ++at) {
    const Result<std::optional<AlarmTest>> test = ParseAlarmTest(alarm.*kTests[at]);
    if (!test.ok()) return test.status();
    const Result<std::optional<AlarmAction>> action = ParseAlarmAction(alarm.*kActions[at]);
    if (!action.ok()) return action.status();
    rule.conditions.tests[at] = *test;
    rule.texts[at] = alarm.*kTests[at];
    rule.has_change = rule.has_change || (*test && (*test)->is_change());
    if (*action) rule.actions[at] = {.target = links[1 + at], .number = (*action)->number};
  }
  return rule;
}

bool CanTestTexts(const AlarmConditions& conditions) {
  return std::ranges::all_of(conditions.tests, [](const std::optional<AlarmTest>& test) {
    return !test || (test->is_change() && test->limit == 0);
  });
}

// Whether the caller has set the property; all of those of a tag that is added.
bool IsGiven(const TagDraft& draft, std::int32_t column) {
  const auto bit = static_cast<std::size_t>(column - ZR3_TAG_COL_AM_EXT_PROP_MIN);
  return draft.before == nullptr || SelectsBit(draft.given.extension, bit);
}

TagType TypeOf(const PackedTag& tag) { return static_cast<TagType>(tag.Unpack().type); }

Result<const PackedTag*> FindNamed(const TagImage& tags, std::string_view name) {
  const PackedTag* const tag = tags.FindByName(name);
  if (tag != nullptr) return tag;
  return Status(ZR3_ERR_NAME_NOT_FOUND, fmt::format("no tag '{}'", name.substr(0, 100)));
}

Result<TagId> FindTarget(const TagImage& tags, const AlarmAction& action) {
  const Result<const PackedTag*> found = FindNamed(tags, action.target);
  if (!found.ok()) return found.status();
  const PackedTag& target = **found;
  if (target.tag_class() != ZR3_TAG_CLASS_BASIC) {
    return Status(ZR3_ERR_INVALID_TAG_CLASS,
                  fmt::format("the target '{}' is no point tag", target.name()));
  }
  const TagType type = TypeOf(target);
  if (IsText(type)) {
    return Status(ZR3_ERR_INVALID_TAG_TYPE,
                  fmt::format("the target '{}' has texts for values", target.name()));
  }
  if (!SampleOf(type, action.number, 0)) {
    return Status(ZR3_ERR_TYPE_MISMATCH,
                  fmt::format("the target '{}' cannot hold {}", target.name(), action.number));
  }
  return target.id();
}

// What the draft is linked to: looked up where it is given, else as it was.
Result<TagLinks> LinksOf(const TagDraft& draft) {
  const AlarmProperties& alarm = PropertiesOf(draft.after);
  TagLinks links(kLinks);
  if (draft.links_before != nullptr) links = *draft.links_before;
  links.resize(kLinks);
  if (IsGiven(draft, ZR3_TAG_COL_AM_EXT_PROP_SOURCE_TAG)) {
    const Result<const PackedTag*> source = FindNamed(draft.tags, alarm.source_tag);
    if (!source.ok()) return source.status();
    links[0] = (*source)->id();
  }
  for (std::size_t at = 0; at < kAlarmTests; ++at) {
    if (!IsGiven(draft, ZR3_TAG_COL_AM_EXT_PROP_ACTION1 + static_cast<std::int32_t>(at))) continue;
    const Result<std::optional<AlarmAction>> action = ParseAlarmAction(alarm.*kActions[at]);
    if (!action.ok()) return action.status();
    links[1 + at] = 0;
    if (!*action) continue;
    const Result<TagId> target = FindTarget(draft.tags, **action);
    if (!target.ok()) return target.status();
    links[1 + at] = *target;
  }
  return links;
}

// A source that was deleted stays so.
Status CheckSource(const TagImage& tags, const AlarmRule& rule) {
  const PackedTag* const source = tags.Find(rule.source);
  if (source == nullptr) return {};
  if (source->tag_class() == ZR3_TAG_CLASS_ALARM) {
    return {ZR3_ERR_INVALID_TAG_CLASS,
            fmt::format("the source '{}' is an alarm tag, which has no values", source->name())};
  }
  if (!IsText(TypeOf(*source)) || CanTestTexts(rule.conditions)) return {};
  return {ZR3_ERR_INVALID_TAG_TYPE,
          fmt::format("the source '{}' has texts for values", source->name())};
}

const PropertyColumn& ColumnOf(std::int32_t column) {
  return AlarmColumns()[static_cast<std::size_t>(column - ZR3_TAG_COL_AM_EXT_PROP_MIN)];
}

// A character takes at least one byte of its array in every encoding: a text of more than there are
// could be read back by nobody, whatever its bytes here.
Status SetText(std::string text, std::int32_t number, const Tag& tag, std::string* property) {
  const PropertyColumn& column = ColumnOf(number);
  if (text.size() > column.max_bytes() || CountCharacters(text) >= column.array_bytes) {
    return {ZR3_ERR_INVALID_PROPERTY, fmt::format("{} of '{}' would be too long: {} characters",
                                                  column.name, tag.name, CountCharacters(text))};
  }
  *property = std::move(text);
  return {};
}

}  // namespace

Result<TagLinks> AlarmTags::Plan(const TagDraft& draft) {
  Result<TagLinks> links = LinksOf(draft);
  if (!links.ok()) return links;
  Result<AlarmRule> rule = Parse(draft.after, *links);
  if (!rule.ok()) return rule.status();
  if (Status status = CheckSource(draft.tags, *rule); !status.ok()) return status;
  if (!groups_.Exists(rule->group)) {
    return Status(ZR3_ERR_GROUP_NOT_FOUND, fmt::format("alarm group {}", rule->group));
  }
  book_.Propose(*std::move(rule));
  return links;
}

Status AlarmTags::Follow(const TagLinks& links, TagId changed, std::optional<std::string_view> name,
                         Tag& tag) {
  auto& alarm = std::get<AlarmProperties>(tag.own);
  const auto is_linked_in = [&](std::size_t place) {
    return place < links.size() && links[place] == changed;
  };
  if (is_linked_in(0)) {
    Status status = SetText(std::string(name.value_or("")), ZR3_TAG_COL_AM_EXT_PROP_SOURCE_TAG, tag,
                            &alarm.source_tag);
    if (!status.ok()) return status;
  }
  if (!name) return {};  // an action is read back by the last name of its target
  for (std::size_t at = 0; at < kAlarmTests; ++at) {
    if (!is_linked_in(1 + at)) continue;
    std::string& action = alarm.*kActions[at];
    const std::int32_t column = ZR3_TAG_COL_AM_EXT_PROP_ACTION1 + static_cast<std::int32_t>(at);
    Status status = SetText(WithTarget(action, *name), column, tag, &action);
    if (!status.ok()) return status;
  }
  return {};
}

namespace {

// The rule of a stored tag, which could have been saved so.
Result<AlarmRule> StoredRule(const TagImage& tags, const Tag& tag, TagLinks links) {
  if (links.empty() || links[0] == 0) return Status(ZR3_ERR_STORAGE_DAMAGED, "it has no source");
  links.resize(kLinks);
  Result<AlarmRule> rule = Parse(tag, links);
  if (!rule.ok()) return rule;
  for (std::size_t at = 0; at < kAlarmTests; ++at) {
    if (rule->actions[at].has_value() == (links[1 + at] != 0)) continue;
    return Status(ZR3_ERR_STORAGE_DAMAGED, "an action without its target, or the reverse");
  }
  if (Status status = CheckSource(tags, *rule); !status.ok()) return status;
  return rule;
}

}  // namespace

Result<std::vector<AlarmRule>> RulesOf(const TagImage& tags,
                                       const std::function<TagLinks(TagId)>& links_of) {
  std::vector<AlarmRule> rules;
  if (tags.CountOf(ZR3_TAG_CLASS_ALARM) == 0) return rules;  // as among millions of others
  Status fault;
  tags.tags().VisitFrom(0, [&](const PackedTag& tag) {
    if (tag.tag_class() != ZR3_TAG_CLASS_ALARM) return true;
    Result<AlarmRule> rule = StoredRule(tags, tag.Unpack(), links_of(tag.id()));
    if (rule.ok()) {
      rules.push_back(*std::move(rule));
      return true;
    }
    fault = {ZR3_ERR_STORAGE_DAMAGED,
             fmt::format("the stored alarm tag {}: {}", tag.id(), rule.status().message())};
    return false;
  });
  if (!fault.ok()) return fault;
  return rules;
}

}  // namespace zervane
