#pragma once

#include <string>
#include <string_view>
#include <unordered_map>

#include "api/words/value.h"
#include "engine/catalogue/catalogue.h"
#include "engine/feed/committed_group.h"
#include "engine/storage/row.h"

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
  // The same for the tag that an alarm tag watches; empty when that was deleted before.
  std::string SourceOf(TagId alarm) const;

 private:
  // Of a tag that has come, or changed, and gone.
  struct Passing {
    std::string name;
    std::string source;
  };

  void NoteTag(TagId id, RowView row);
  void NoteAlarmTag(TagId id, RowView row);

  const Catalogue& catalogue_;
  TagImagePtr before_;  // as it was when nothing was left to be looked at
  TagImagePtr now_;
  std::unordered_map<TagId, Passing> passing_;  // since then
};

}  // namespace zervane
