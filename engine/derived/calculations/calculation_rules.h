#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <unordered_map>
#include <utility>
#include <vector>

#include "api/words/value.h"
#include "engine/derived/calculations/calculation.h"
#include "engine/tag_array.h"

namespace zervane {

// The tags that a calculation reads, its source among them, each once.
std::vector<TagId> TargetsOf(const Calculation& calculation);

// The calculation tags as they are saved, and which tags they read. What a batch changes counts
// once the store has it.
//
// Threads: with the turn alone.
class CalculationRules {
 public:
  // Before the first batch.
  void Load(const std::vector<CalculationPtr>& rules);

  bool Has(TagId calculation) const { return rules_.contains(calculation); }
  // Whether any calculation reads the tag.
  bool IsRead(TagId tag) const;

  // The rule of a tag that is about to be saved; and what was last proposed for the tag in this
  // batch, null when nothing was.
  void Propose(Calculation rule);
  CalculationPtr ProposalFor(TagId calculation) const;

  // Has what was proposed become the tag's rule with this batch, or the rule go.
  void PrepareRule(const CalculationPtr& rule);
  void PrepareRemoval(TagId calculation);

  // The batch is stored, or it is not.
  void Keep() noexcept;
  void Discard() noexcept;

 private:
  struct Change {
    TagId tag = 0;
    CalculationPtr rule;        // null: it goes
    std::vector<TagId> begins;  // to be read
    std::vector<TagId> ends;    // to be
  };
  using Rules = std::unordered_map<TagId, CalculationPtr>;

  void Prepare(TagId tag, CalculationPtr rule);

  Rules rules_;
  TagArray<std::uint32_t> readers_;  // how many calculations read a tag

  // Of the batch that is on its way.
  std::vector<CalculationPtr> proposals_;
  std::vector<Change> changes_;
};

}  // namespace zervane
