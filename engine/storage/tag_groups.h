#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

#include "api/words/value.h"

namespace zervane::storage {

// The records of a batch by tag, so that each tag is looked up once, and what belongs to it is
// touched once:
//
//   groups.Sort(batch.tags);
//   for (const TagGroups::Group& group : groups.all()) ...
//
// Threads: as a container; it keeps its memory for the next batch.
class TagGroups {
 public:
  struct Group {
    TagId tag = 0;
    std::span<const std::uint32_t> records;  // where they stand in the batch, in its order
  };

  // Makes the groups anew, in order of tag. What it made before is no longer valid.
  void Sort(std::span<const TagId> tags);
  // Of the tags that were sorted last, as long as these stay.
  std::span<const Group> all() const { return groups_; }

 private:
  void Scatter(std::span<const TagId> tags, unsigned shift);

  std::vector<std::uint32_t> order_;  // of the records, by tag
  std::vector<std::uint32_t> scattered_;
  std::vector<std::uint32_t> ends_;  // of a digit's records
  std::vector<Group> groups_;
};

}  // namespace zervane::storage
