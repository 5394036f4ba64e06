#pragma once

#include <string>
#include <string_view>
#include <unordered_map>

#include "api/words/value.h"
#include "engine/catalogue/catalogue.h"
#include "engine/feed/committed_group.h"

namespace zervane {

// The names of the tags of what was committed, by one who follows it and is behind: a tag may be
// gone when he comes to its records, and is told by its last name nevertheless.
//
//   names.CatchUp();               // nothing that was committed is left to be looked at
//   names.Follow(group);           // the next group
//   names.NameOf(tag)              // of one of its tags
//
// Threads: as a container.
class TagNames {
 public:
  // The catalogue outlives it.
  explicit TagNames(const Catalogue& catalogue) : catalogue_(catalogue) { CatchUp(); }

  void CatchUp();
  void Follow(const CommittedGroup& group);

  // The name now, else the last one; empty for what never was a tag. Until CatchUp or Follow.
  std::string_view NameOf(TagId tag) const;
  // The name of the tag that an alarm tag watches; empty when that was deleted.
  std::string SourceOf(TagId alarm) const;

 private:
  const PackedTag* Find(TagId tag) const;

  const Catalogue& catalogue_;
  TagImagePtr before_;  // as it was when nothing was left to be looked at
  TagImagePtr now_;
  // Of tags that have come and gone since then.
  std::unordered_map<TagId, std::string> passing_;
};

}  // namespace zervane
