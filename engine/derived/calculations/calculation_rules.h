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
  // Whether a new value of the tag is a reason to compute any NOTIFY tag.
  bool Notifies(TagId tag) const;

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
  // That a calculation reads a tag.
  struct Reading {
    TagId tag = 0;
    bool notifies = false;  // a new value of it is a reason to compute the calculation
  };
  struct Change {
    TagId tag = 0;
    CalculationPtr rule;  // null: it goes
    std::vector<Reading> begins;
    std::vector<Reading> ends;
  };
  using Rules = std::unordered_map<TagId, CalculationPtr>;

  // How many calculations read a tag, and of how many it is a reason.
  struct Readers {
    std::uint32_t all = 0;
    std::uint32_t notified = 0;
  };

  void Prepare(TagId tag, CalculationPtr rule);
  static std::vector<Reading> ReadingsOf(const Calculation& rule);

  Rules rules_;
  TagArray<Readers> readers_;

  // Of the batch that is on its way.
  std::vector<CalculationPtr> proposals_;
  std::vector<Change> changes_;
};

}  // namespace zervane
