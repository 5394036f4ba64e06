#include "engine/catalogue/tag_matcher.h"

#include <spdlog/fmt/fmt.h>

#include <algorithm>
#include <compare>
#include <cstddef>
#include <span>
#include <utility>

#include "api/words/ascii.h"
#include "api/words/tag_columns.h"
#include "api/words/utf8.h"

namespace zervane {
namespace {

constexpr std::uint32_t kAllClasses = (std::uint32_t{1} << ZR3_TAG_CLASS_ALL) - 1;
// As many bytes as the client's record has room for, each of which may have become three in UTF-8.
constexpr std::size_t kMaxValueBytes = 3 * (ZR3_LEN_FILTER_VALUE - 1);

Status Refuse(const Condition& condition, const char* reason) {
  return {ZR3_ERR_INVALID_ARGUMENT,
          fmt::format("column {}, relation {}: {}", condition.column, condition.relation, reason)};
}

bool HoldsFor(std::int32_t relation, std::strong_ordering order) {
  switch (relation) {
    case ZR3_RELATION_EQUAL:
      return order == 0;
    case ZR3_RELATION_NON_EQUAL:
      return order != 0;
    case ZR3_RELATION_GREAT:
      return order > 0;
    case ZR3_RELATION_LESS:
      return order < 0;
    case ZR3_RELATION_GREAT_EQUAL:
      return order >= 0;
    default:
      return order <= 0;
  }
}

bool IsIn(const PropertyPlace& place, std::int32_t column) {
  return place.column->column == column;
}

}  // namespace

// ---- classes ----

Result<ClassSet> ClassSet::Parse(std::int64_t class_mask) {
  constexpr std::int64_t kAll = std::int64_t{1} << ZR3_TAG_CLASS_ALL;
  if (class_mask == -1) return ClassSet(kAllClasses);
  if (class_mask <= 0 || class_mask >= 2 * kAll) {
    return Status(ZR3_ERR_INVALID_MASK, fmt::format("class mask {:#x}", class_mask));
  }
  if ((class_mask & kAll) != 0) return ClassSet(kAllClasses);
  return ClassSet(static_cast<std::uint32_t>(class_mask));
}

// ---- compiling ----

Result<TagMatcher> TagMatcher::Compile(const TagQuery& query) {
  TagMatcher matcher;
  Result<ClassSet> classes = ClassSet::Parse(query.class_mask);
  if (!classes.ok()) return classes.status();
  matcher.asked_classes_ = matcher.classes_ = *classes;
  matcher.tests_.reserve(query.conditions.size());
  for (const Condition& condition : query.conditions) {
    const Result<PropertyPlace> place = matcher.FindPlace(condition.column);
    if (!place.ok()) return place.status();
    Result<Test> test = CompileTest(condition, *place);
    if (!test.ok()) return test.status();
    const bool is_name = condition.column == ZR3_TAG_COL_COMM_PROP_TAG_NAME;
    if (is_name && condition.relation == ZR3_RELATION_EQUAL) matcher.only_name_ = condition.value;
    matcher.tests_.push_back(*std::move(test));
  }
  // Most tags fall at the first test or two; so those go first that cost least.
  std::ranges::stable_sort(matcher.tests_, {}, [](const Test& t) { return t.operand.index(); });
  return matcher;
}

Result<PropertyPlace> TagMatcher::FindPlace(std::int32_t column) {
  const TagLayout& any = TagLayout::OfClass(ZR3_TAG_CLASS_BASIC);
  for (const PropertyPlace& place : any.common()) {
    if (IsIn(place, column)) return place;
  }
  for (std::int32_t tag_class = 0; tag_class < ZR3_TAG_CLASS_ALL; ++tag_class) {
    if (OwnColumns(tag_class).empty()) continue;
    for (const PropertyPlace& place : TagLayout::OfClass(tag_class).own()) {
      if (!IsIn(place, column)) continue;
      classes_.KeepOnly(tag_class);
      return place;
    }
  }
  return Status(ZR3_ERR_INVALID_ARGUMENT, fmt::format("no class has a column {}", column));
}

Result<TagMatcher::Test> TagMatcher::CompileTest(const Condition& condition, PropertyPlace place) {
  if (condition.relation < ZR3_RELATION_MIN || condition.relation > ZR3_RELATION_MAX) {
    return Refuse(condition, "unknown relation");
  }
  if (condition.value.size() > kMaxValueBytes || !IsUtf8(condition.value)) {
    return Status(ZR3_ERR_INVALID_TEXT,
                  fmt::format("column {}: the value is too long or not UTF-8", condition.column));
  }
  const bool is_text = place.column->kind == PropertyKind::kText;
  const bool is_like = condition.relation == ZR3_RELATION_LIKE;
  if (!is_text) {
    if (is_like) return Refuse(condition, "numbers have no patterns");
    std::optional<NumberOperand> number = NumberOperand::Parse(condition.value);
    if (!number) return Refuse(condition, "the value is no number");
    return Test{place, condition.relation, *number};
  }
  if (!is_like) return Test{place, condition.relation, condition.value};
  std::optional<LikePattern> pattern = LikePattern::Parse(condition.value);
  if (!pattern) return Refuse(condition, "the pattern ends in a '\\'");
  return Test{place, condition.relation, *std::move(pattern)};
}

// ---- matching ----

bool TagMatcher::Matches(const PackedTag& tag) const {
  if (!classes_.Has(tag.tag_class())) return false;
  return std::ranges::all_of(tests_, [&](const Test& test) { return test.Holds(tag); });
}

bool TagMatcher::Test::Holds(const PackedTag& tag) const {
  switch (place.column->kind) {
    case PropertyKind::kText:
      if (const auto* pattern = std::get_if<LikePattern>(&operand)) {
        return pattern->Matches(tag.Text(place));
      }
      return HoldsFor(relation, CompareFolded(tag.Text(place), std::get<std::string>(operand)));
    case PropertyKind::kFloat32:
      return HoldsFor(relation,
                      std::get<NumberOperand>(operand).CompareWith(tag.Real<float>(place)));
    case PropertyKind::kFloat64:
      return HoldsFor(relation,
                      std::get<NumberOperand>(operand).CompareWith(tag.Real<double>(place)));
    default:
      return HoldsFor(relation, std::get<NumberOperand>(operand).CompareWith(tag.Integer(place)));
  }
}

}  // namespace zervane
