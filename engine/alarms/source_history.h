#pragma once

#include <cstdint>
#include <optional>

#include "api/words/status.h"
#include "api/words/value.h"
#include "engine/catalogue/tag_index.h"
#include "engine/current/current_values.h"
#include "engine/storage/store.h"

namespace zervane {

bool IsGood(const Sample& sample);

// The newest good value that is stored of a source: the current value when it is good, else the
// last good one of the tag's points. None when there is no such value, or no such tag.
//
// Threads: any.
class SourceHistory {
 public:
  SourceHistory(Store& store, const TagIndex& tags, const CurrentValues& current_values)
      : store_(store), tags_(tags), current_values_(current_values) {}

  Result<std::optional<Sample>> NewestGoodOf(TagId source) const;
  // None when there is no such tag.
  std::optional<TagType> TypeOf(TagId source) const;

 private:
  Store& store_;
  const TagIndex& tags_;
  const CurrentValues& current_values_;
};

}  // namespace zervane
