#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <variant>
#include <vector>

#include "api/words/status.h"
#include "api/words/tag_query.h"
#include "engine/catalogue/like_pattern.h"
#include "engine/catalogue/number_operand.h"
#include "engine/catalogue/packed_tag.h"

namespace zervane {

// Classes of tags: bit i is class i.
class ClassSet {
 public:
  // Of a search's class mask: ZR3_ERR_INVALID_MASK for one that names no class, or one that there
  // is not.
  static Result<ClassSet> Parse(std::int64_t class_mask);

  ClassSet() = default;

  void KeepOnly(std::int32_t tag_class) { bits_ &= std::uint32_t{1} << tag_class; }
  bool Has(std::int32_t tag_class) const { return (bits_ >> tag_class & 1) != 0; }

 private:
  explicit ClassSet(std::uint32_t bits) : bits_(bits) {}
  std::uint32_t bits_ = 0;
};

// Tells which tags a query is for. What it takes to judge a tag is found out once, before.
//
// Threads: any may use it.
class TagMatcher {
 public:
  // ZR3_ERR_INVALID_MASK; ZR3_ERR_INVALID_ARGUMENT for an unknown column or relation, for LIKE or a
  // value that is none with a column of numbers, and for a pattern that ends in a '\'.
  // ZR3_ERR_INVALID_TEXT for a value that is not UTF-8 or too long.
  static Result<TagMatcher> Compile(const TagQuery& query);

  bool Matches(const PackedTag& tag) const;

  // The classes of the query, whether or not its conditions leave any tag of them.
  const ClassSet& asked_classes() const { return asked_classes_; }
  // Whether every tag of the classes is a match.
  bool has_no_test() const { return tests_.empty(); }
  // The name that every match has, when a condition says so.
  const std::optional<std::string>& only_name() const { return only_name_; }

 private:
  struct Test {
    PropertyPlace place;
    std::int32_t relation = ZR3_RELATION_EQUAL;
    std::variant<NumberOperand, std::string, LikePattern> operand;  // ascending in what they cost

    bool Holds(const PackedTag& tag) const;
  };

  static Result<Test> CompileTest(const Condition& condition, PropertyPlace place);
  // Leaves only those of the classes that have the column.
  Result<PropertyPlace> FindPlace(std::int32_t column);

  ClassSet asked_classes_;
  ClassSet classes_;
  std::vector<Test> tests_;
  std::optional<std::string> only_name_;
};

}  // namespace zervane
