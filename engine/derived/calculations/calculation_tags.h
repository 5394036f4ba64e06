#pragma once

#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "api/words/status.h"
#include "api/words/tag.h"
#include "engine/catalogue/tag_class.h"
#include "engine/catalogue/tag_image.h"
#include "engine/derived/calculations/calculation_rules.h"

namespace zervane {

// What calculation tags ask for: an expression that parses and names tags that have numbers. They
// are linked to their source, in place 0, if they have one, and behind it to the tags that the
// expression names, in the order in which they are first named.
//
// Of a tag that may be saved it makes the rule by which it is computed, and proposes that.
class CalculationTags final : public TagClass {
 public:
  explicit CalculationTags(CalculationRules& rules) : rules_(rules) {}

  // Besides what MakeCalculation says: ZR3_ERR_NAME_NOT_FOUND for the source or an operand;
  // ZR3_ERR_INVALID_TAG_CLASS for one that is an alarm tag; ZR3_ERR_INVALID_TAG_TYPE for an operand
  // that has texts.
  //
  // Of an expression that is saved as it was, the operands that are still there stay what they are,
  // and one that was deleted is the tag that has its name now, if there is one.
  Result<TagLinks> Plan(const TagDraft& draft) override;
  Status Follow(const TagLinks& links, TagId changed, std::optional<std::string_view> name,
                Tag& tag) override;
  // The source too: a new value of it is a reason to compute.
  bool Reads(std::size_t) const override { return true; }

 private:
  CalculationRules& rules_;
};

// The expression with another name for the operand in a place, wherever it is mentioned.
// ZR3_ERR_INVALID_PROPERTY when another operand, which was deleted, has the name there: the two
// could not be told apart. REQUIRES that it is an expression.
Result<std::string> RenameOperand(std::string_view expression, std::size_t place,
                                  std::string_view name);

// All calculation tags of a catalogue, for opening. ZR3_ERR_STORAGE_DAMAGED when one is none.
Result<std::vector<CalculationPtr>> CalculationsOf(const TagImage& tags,
                                                   const std::function<TagLinks(TagId)>& links_of);

}  // namespace zervane
