// Random tags and random conditions, against an evaluator that takes the rules at their word.

#include <gtest/gtest.h>

#include <cmath>
#include <cstdlib>
#include <map>
#include <random>
#include <string>
#include <string_view>
#include <vector>

#include "engine/catalogue/tag_search.h"
#include "tests/engine/catalogue/random_tags.h"
#include "tests/support/seed.h"

namespace zervane {
namespace {

std::string Lower(std::string text) {
  for (char& c : text) {
    if (c >= 'A' && c <= 'Z') c = static_cast<char>(c + 32);
  }
  return text;
}

std::size_t CharacterSize(std::string_view text) {
  std::size_t size = 1;
  while (size < text.size() && (text[size] & 0xC0) == 0x80) ++size;
  return size;
}

// By every way in which '*' can be taken.
bool IsLike(std::string_view text, std::string_view pattern) {
  if (pattern.empty()) return text.empty();
  if (pattern[0] == '*') {
    return IsLike(text, pattern.substr(1)) ||
           (!text.empty() && IsLike(text.substr(CharacterSize(text)), pattern));
  }
  if (text.empty()) return false;
  if (pattern[0] == '?') return IsLike(text.substr(CharacterSize(text)), pattern.substr(1));
  return pattern[0] == text[0] && IsLike(text.substr(1), pattern.substr(1));
}

// How the property compares with the value: less than 0, 0 or greater.
int Order(const std::string& property, const std::string& value) {
  return Lower(property).compare(Lower(value));
}
int Order(float property, const std::string& value) {
  const float number = std::strtof(value.c_str(), nullptr);
  return property < number ? -1 : (property > number ? 1 : 0);
}
int Order(double property, const std::string& value) {
  const double number = std::strtod(value.c_str(), nullptr);
  return property < number ? -1 : (property > number ? 1 : 0);
}
// A long double holds every number of 32 bits and what random conditions add to it.
template <std::integral T>
int Order(T property, const std::string& value) {
  const long double number = std::strtold(value.c_str(), nullptr);
  const auto exact = static_cast<long double>(property);
  return exact < number ? -1 : (exact > number ? 1 : 0);
}

bool Holds(const Tag& tag, const PropertyColumn& column, const Condition& condition) {
  if (condition.relation == ZR3_RELATION_LIKE) {
    return VisitProperty(column, tag, [&]<typename T>(const T& property) {
      if constexpr (!std::is_same_v<T, std::string>)
        return false;
      else
        return condition.value.empty() || IsLike(Lower(property), Lower(condition.value));
    });
  }
  const int order = VisitProperty(
      column, tag, [&](const auto& property) { return Order(property, condition.value); });
  switch (condition.relation) {
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

bool IsMatch(const Tag& tag, const TagQuery& query) {
  const std::int64_t mask = query.class_mask;
  if (mask != -1 && (mask & 64) == 0 && (mask >> tag.tag_class & 1) == 0) return false;
  for (const Condition& condition : query.conditions) {
    bool holds = false;
    ForEachColumn(tag, [&](const PropertyColumn& column) {
      if (column.column == condition.column) holds = Holds(tag, column, condition);
    });
    if (!holds) return false;
  }
  return true;
}

constexpr std::int32_t kClasses[] = {ZR3_TAG_CLASS_BASIC, ZR3_TAG_CLASS_ALARM, ZR3_TAG_CLASS_STATS,
                                     ZR3_TAG_CLASS_CALC};

class SearchModel : public testing::Test {
 protected:
  SearchModel() {
    for (TagId id = 1; id <= 200; ++id) {
      const std::int32_t tag_class = kClasses[random_() % 4];
      tags_[id] = RandomTag(random_() % 2 == 0 ? 0 : tag_class, id, random_);
      image_.Put(PackedTag::Pack(tags_[id]));
    }
  }

  // Of a tag that there is, so that searches find something.
  const PropertyColumn& RandomColumn() {
    const auto own = OwnColumns(kClasses[random_() % 4]);
    if (random_() % 3 == 0) return own[random_() % own.size()];
    return CommonColumns()[random_() % CommonColumns().size()];
  }

  std::string RandomPattern(std::string text) {
    for (int edits = 1 + static_cast<int>(random_() % 3); edits > 0 && !text.empty(); --edits) {
      // Whole characters alone, so that it stays UTF-8.
      const std::size_t at = random_() % text.size();
      if ((text[at] & 0x80) != 0) continue;
      if (random_() % 2 == 0) {
        text[at] = "*?"[random_() % 2];
      } else {
        text.insert(at, 1, '*');
      }
    }
    return text;
  }

  Condition RandomCondition() {
    const PropertyColumn& column = RandomColumn();
    const bool is_text = column.kind == PropertyKind::kText;
    Condition condition{.column = column.column,
                        .relation = static_cast<std::int32_t>(random_() % (is_text ? 7 : 6)),
                        .value = {}};
    Tag tag = tags_[static_cast<TagId>(1 + random_() % tags_.size())];
    if (!OwnColumns(tag.tag_class).empty() && column.column >= 100) {
      tag = RandomTag(column.column / 100 == 1   ? ZR3_TAG_CLASS_BASIC
                      : column.column / 100 == 2 ? ZR3_TAG_CLASS_ALARM
                      : column.column / 100 == 4 ? ZR3_TAG_CLASS_STATS
                                                 : ZR3_TAG_CLASS_CALC,
                      1, random_);
    }
    condition.value = VisitProperty(column, tag, [&]<typename T>(const T& property) {
      if constexpr (std::is_same_v<T, std::string>) {
        return property;
      } else {
        return std::to_string(property) + (random_() % 4 == 0 ? ".5" : "");
      }
    });
    // to_string of a float has a point already.
    if (condition.value.find('.') != condition.value.rfind('.')) {
      condition.value.erase(condition.value.rfind('.'));
    }
    if (condition.relation == ZR3_RELATION_LIKE) condition.value = RandomPattern(condition.value);
    return condition;
  }

  TagQuery RandomQuery() {
    static constexpr std::int64_t kMasks[] = {-1, 64, 1, 2, 4, 8, 1 | 4, 2 | 8};
    TagQuery query{.class_mask = kMasks[random_() % std::size(kMasks)], .conditions = {}};
    for (std::size_t left = random_() % 4; left > 0; --left) {
      query.conditions.push_back(RandomCondition());
    }
    return query;
  }

  const Seed seed_;
  std::mt19937 random_{seed_.value()};
  std::map<TagId, Tag> tags_;
  TagImage image_;
  const StopFlag is_stopped_{false};
};

TEST_F(SearchModel, FindsCountsAndPagesWhatTheRulesSay) {
  std::size_t found = 0;
  for (int round = 0; round < 1'000; ++round) {
    const TagQuery query = RandomQuery();
    std::string described = "classes " + std::to_string(query.class_mask);
    for (const Condition& c : query.conditions) {
      described +=
          "; " + std::to_string(c.column) + " " + std::to_string(c.relation) + " '" + c.value + "'";
    }
    std::vector<Tag> expected;
    for (const auto& [id, tag] : tags_) {
      if (IsMatch(tag, query)) expected.push_back(tag);
    }
    const Result<TagMatcher> matcher = TagMatcher::Compile(query);
    ASSERT_TRUE(matcher.ok()) << described << ": " << matcher.status().message();
    ASSERT_EQ(*CountMatches(image_, *matcher, is_stopped_), expected.size()) << described;

    std::vector<Tag> paged;
    const PageLimits limits{.items = 1 + random_() % 50};
    std::optional<TagId> from = 0;
    while (from) {
      Result<Page<Tag>> page = FindPage(image_, *matcher, {-1, -1}, *from, limits, is_stopped_);
      ASSERT_LE(page->items.size(), limits.items);
      for (Tag& tag : page->items) paged.push_back(std::move(tag));
      from = page->next;
    }
    ASSERT_EQ(paged, expected) << described;
    found += expected.size();
  }
  EXPECT_GT(found, 5'000U) << "most searches find something";
}

}  // namespace
}  // namespace zervane
