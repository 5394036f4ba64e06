#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

#include "api/words/samples.h"
#include "api/words/value.h"
#include "engine/storage/row.h"

namespace zervane {

// What one commit has changed, for those who follow the database. It never changes, and all who
// want it share it.
struct CommittedGroup {
  std::int64_t commit = 0;

  // The records as they were accepted, in their order, whatever became of them on their way to the
  // archive; for each whether it was its tag's newest when its turn came, as the correction of a
  // current value is. What filters let go for a change is not among them. Those of a tag that went
  // between their acceptance and their turn are among them, though stored nowhere: never the
  // newest. A commit that changes nothing, as one of such records alone, is not told at all.
  std::vector<TagId> tags;
  SampleColumns samples;
  std::vector<std::uint8_t> was_newest;

  std::vector<RowChange> rows;
  std::vector<TagId> emptied;  // tags whose records are gone; they may be gone themselves

  std::size_t size() const { return tags.size() + rows.size() + emptied.size(); }
};

using CommittedGroupPtr = std::shared_ptr<const CommittedGroup>;

}  // namespace zervane
