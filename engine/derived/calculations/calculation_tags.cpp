#include "engine/derived/calculations/calculation_tags.h"

#include <spdlog/fmt/fmt.h>

#include <algorithm>
#include <memory>
#include <string>
#include <utility>
#include <variant>

#include "api/words/ascii.h"
#include "api/words/samples.h"
#include "api/words/tag_columns.h"
#include "api/words/utf8.h"
#include "engine/derived/calculations/calculation.h"
#include "engine/derived/expression/parser.h"

namespace zervane {
namespace {

constexpr ExpressionWords kWords = {.variables = {}, .allows_tags = true};

const CalculationProperties& PropertiesOf(const Tag& tag) {
  return std::get<CalculationProperties>(tag.own);
}

// Whether the caller has set the property; all of those of a tag that is added.
bool IsGiven(const TagDraft& draft, std::int32_t column) {
  const auto bit = static_cast<std::size_t>(column - ZR3_TAG_COL_CA_EXT_PROP_MIN);
  return draft.before == nullptr || SelectsBit(draft.given.extension, bit);
}

Status NoSuchName(std::string_view name) {
  return {ZR3_ERR_NAME_NOT_FOUND, fmt::format("no tag '{}'", name.substr(0, 100))};
}

// What calculates reads values, and alarm tags have none.
Status CheckHasValues(const PackedTag& tag) {
  if (tag.tag_class() != ZR3_TAG_CLASS_ALARM) return {};
  return {ZR3_ERR_INVALID_TAG_CLASS,
          fmt::format("'{}' is an alarm tag, which has no values", tag.name())};
}

Status CheckHasNumbers(const PackedTag& tag) {
  if (Status status = CheckHasValues(tag); !status.ok()) return status;
  if (!IsText(static_cast<TagType>(tag.Unpack().type))) return {};
  return {ZR3_ERR_INVALID_TAG_TYPE, fmt::format("'{}' has texts for values", tag.name())};
}

Result<TagId> SourceOf(const TagDraft& draft) {
  if (!IsGiven(draft, ZR3_TAG_COL_CA_EXT_PROP_SRC_TAG_NAME)) {
    return draft.links_before->empty() ? TagId{0} : draft.links_before->front();
  }
  const std::string& name = PropertiesOf(draft.after).source_tag;
  if (name.empty()) return TagId{0};
  if (EqualsFolded(name, draft.after.name)) return draft.after.id;
  const PackedTag* const source = draft.tags.FindByName(name);
  if (source == nullptr) return NoSuchName(name);
  if (Status status = CheckHasValues(*source); !status.ok()) return status;
  return source->id();
}

// The names of the tags that the expression names, those with one place once.
Result<std::vector<std::string>> OperandNames(const std::string& expression) {
  Result<ParsedExpression> parsed = ParseExpression(expression, kWords);
  if (!parsed.ok()) return parsed.status();
  const std::vector<std::size_t> places = OperandPlaces(parsed->tags);
  std::vector<std::string> names;
  for (std::size_t at = 0; at < places.size(); ++at) {
    if (places[at] == names.size()) names.push_back(std::move(parsed->tags[at]));
  }
  return names;
}

// The operand is what it was, when that is known and still there; else the tag of that name, which
// may be the one that is saved; else what it was, which is gone.
Result<TagId> FindOperand(const TagDraft& draft, std::string_view name, TagId before) {
  if (before != 0 && draft.tags.Find(before) != nullptr) return before;
  if (EqualsFolded(name, draft.after.name)) return draft.after.id;
  const PackedTag* const found = draft.tags.FindByName(name);
  if (found == nullptr && before != 0) return before;
  if (found == nullptr) return NoSuchName(name);
  if (Status status = CheckHasNumbers(*found); !status.ok()) return status;
  return found->id();
}

// Puts the operands behind the source.
Status AddOperands(const TagDraft& draft, TagLinks& links) {
  const std::string& expression = PropertiesOf(draft.after).calc_expr;
  const Result<std::vector<std::string>> names = OperandNames(expression);
  if (!names.ok()) return names.status();
  const bool is_as_before =
      draft.before != nullptr && PropertiesOf(*draft.before).calc_expr == expression;
  for (std::size_t at = 0; at < names->size(); ++at) {
    const bool was_linked = is_as_before && 1 + at < draft.links_before->size();
    const Result<TagId> operand =
        FindOperand(draft, (*names)[at], was_linked ? (*draft.links_before)[1 + at] : 0);
    if (!operand.ok()) return operand.status();
    links.push_back(*operand);
  }
  return {};
}

Result<TagLinks> LinksOf(const TagDraft& draft) {
  const Result<TagId> source = SourceOf(draft);
  if (!source.ok()) return source.status();
  TagLinks links = {*source};
  if (IsGiven(draft, ZR3_TAG_COL_CA_EXT_PROP_CALC_EXPR)) {
    if (Status status = AddOperands(draft, links); !status.ok()) return status;
  } else {
    const TagLinks& before = *draft.links_before;
    if (!before.empty()) links.insert(links.end(), before.begin() + 1, before.end());
  }
  return links;
}

// A character takes at least one byte of its array in every encoding: a text of more than there are
// could be read back by nobody, whatever its bytes here.
Status SetText(std::string text, std::int32_t number, std::size_t most_bytes, const Tag& tag,
               std::string* property) {
  const PropertyColumn& column =
      CalculationColumns()[static_cast<std::size_t>(number - ZR3_TAG_COL_CA_EXT_PROP_MIN)];
  if (text.size() > most_bytes || CountCharacters(text) >= column.array_bytes) {
    return {ZR3_ERR_INVALID_PROPERTY, fmt::format("{} of '{}' would be too long: {} bytes",
                                                  column.name, tag.name, text.size())};
  }
  *property = std::move(text);
  return {};
}

std::string Quoted(std::string_view name) {
  std::string quoted = "'";
  for (const char c : name) quoted.append(c == '\'' ? 2 : 1, c);
  return quoted + "'";
}

}  // namespace

Result<std::string> RenameOperand(std::string_view expression, std::size_t place,
                                  std::string_view name) {
  const Result<ParsedExpression> parsed = ParseExpression(expression, kWords);
  if (!parsed.ok()) return parsed.status();
  const std::vector<std::size_t> places = OperandPlaces(parsed->tags);
  for (std::size_t at = 0; at < places.size(); ++at) {
    if (places[at] != place && EqualsFolded(parsed->tags[at], name)) {
      return Status(ZR3_ERR_INVALID_PROPERTY,
                    fmt::format("it names a deleted tag '{}' already", name.substr(0, 100)));
    }
  }
  std::string renamed;
  std::size_t behind = 0;
  for (const TagMention& mention : parsed->mentions) {
    if (places[mention.tag] != place) continue;
    renamed += expression.substr(behind, mention.begin - behind);
    renamed += Quoted(name);
    behind = mention.begin + mention.size;
  }
  renamed += expression.substr(behind);
  return renamed;
}

Result<TagLinks> CalculationTags::Plan(const TagDraft& draft) {
  Result<TagLinks> links = LinksOf(draft);
  if (!links.ok()) return links;
  Result<Calculation> rule = MakeCalculation(draft.after, *links);
  if (!rule.ok()) return rule.status();
  rules_.Propose(*std::move(rule));
  return links;
}

Status CalculationTags::Follow(const TagLinks& links, TagId changed,
                               std::optional<std::string_view> name, Tag& tag) {
  auto& calculation = std::get<CalculationProperties>(tag.own);
  if (!links.empty() && links[0] == changed) {
    const PropertyColumn& column = CalculationColumns()[static_cast<std::size_t>(
        ZR3_TAG_COL_CA_EXT_PROP_SRC_TAG_NAME - ZR3_TAG_COL_CA_EXT_PROP_MIN)];
    Status status = SetText(std::string(name.value_or("")), ZR3_TAG_COL_CA_EXT_PROP_SRC_TAG_NAME,
                            column.max_bytes(), tag, &calculation.source_tag);
    if (!status.ok()) return status;
  }
  if (!name) return {};  // an expression is read back by the last name of an operand
  for (std::size_t place = 1; place < links.size(); ++place) {
    if (links[place] != changed) continue;
    Result<std::string> renamed = RenameOperand(calculation.calc_expr, place - 1, *name);
    if (!renamed.ok()) {
      return {renamed.code(), fmt::format("'{}': {}", tag.name, renamed.status().message())};
    }
    Status status = SetText(*std::move(renamed), ZR3_TAG_COL_CA_EXT_PROP_CALC_EXPR,
                            kMostExpressionBytes, tag, &calculation.calc_expr);
    if (!status.ok()) return status;
  }
  return {};
}

namespace {

// The rule of a stored tag, which could have been saved so.
Result<Calculation> StoredRule(const TagImage& tags, const Tag& tag, const TagLinks& links) {
  const Result<std::vector<std::string>> names = OperandNames(PropertiesOf(tag).calc_expr);
  if (!names.ok()) return names.status();
  const std::size_t linked = links.empty() ? 0 : links.size() - 1;
  if (linked != names->size() || std::ranges::find(links.begin() + (linked > 0 ? 1 : 0),
                                                   links.end(), TagId{0}) != links.end()) {
    return Status(ZR3_ERR_STORAGE_DAMAGED, "its expression names other tags than it is linked to");
  }
  for (std::size_t place = 0; place < links.size(); ++place) {
    const PackedTag* const target = tags.Find(links[place]);
    if (target == nullptr) continue;
    Status status = place == 0 ? CheckHasValues(*target) : CheckHasNumbers(*target);
    if (!status.ok()) return status;
  }
  return MakeCalculation(tag, links);
}

}  // namespace

Result<std::vector<CalculationPtr>> CalculationsOf(const TagImage& tags,
                                                   const std::function<TagLinks(TagId)>& links_of) {
  std::vector<CalculationPtr> rules;
  if (tags.CountOf(ZR3_TAG_CLASS_CALC) == 0) return rules;  // as among millions of others
  Status fault;
  tags.tags().VisitFrom(0, [&](const PackedTag& tag) {
    if (tag.tag_class() != ZR3_TAG_CLASS_CALC) return true;
    Result<Calculation> rule = StoredRule(tags, tag.Unpack(), links_of(tag.id()));
    if (rule.ok()) {
      rules.push_back(std::make_shared<const Calculation>(*std::move(rule)));
      return true;
    }
    fault = {ZR3_ERR_STORAGE_DAMAGED,
             fmt::format("the stored calculation tag {}: {}", tag.id(), rule.status().message())};
    return false;
  });
  if (!fault.ok()) return fault;
  return rules;
}

}  // namespace zervane
