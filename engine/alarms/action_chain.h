#pragma once

#include <cstdint>

namespace zervane {

// Where an action stands among those that follow from each other: its value raises alarms, whose
// actions write values, and so on. A chain ends, however it branches and wherever it leads back to.
//
// Every action has a share of all the actions that may follow from one value: itself and what comes
// of it. Those that its value raises have what is left, in equal parts.
struct ActionChain {
  static constexpr std::int32_t kGreatestDepth = 16;
  static constexpr std::int32_t kWholeShare = 4'096;

  std::int32_t depth = 1;  // the how many-th it is, from a value that no action wrote
  std::int32_t share = kWholeShare;

  // Of each of so many actions that its value raises. REQUIRES one at least.
  constexpr ActionChain Next(std::int32_t actions) const {
    return {.depth = depth + 1, .share = (share - 1) / actions};
  }
  // Whether the action is left out.
  constexpr bool IsCut() const { return depth > kGreatestDepth || share < 1; }

  friend bool operator==(const ActionChain&, const ActionChain&) = default;
};

}  // namespace zervane
