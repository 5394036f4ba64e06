#pragma once

#include "api/caller.h"
#include "api/words/status.h"
#include "api/words/user.h"
#include "engine/clock.h"
#include "engine/storage/store.h"
#include "engine/write/write_path.h"

namespace zervane {

// Users, user groups and who is in which, in memory and in the store; and what follows of that: the
// level that a caller has in an authority item.
//
// Threads: any.
class Security {
 public:
  // Both outlive it.
  Security(Store& store, WritePath& writes) : store_(store), writes_(writes) {}

  // Before anybody asks. ZR3_ERR_STORAGE_DAMAGED when a stored row is none of its table.
  Status Load();

  // The highest level of the groups that the caller's user is in; kNoUserNeeded when the user is
  // gone. The engine itself has kMaxLevel. Some nanoseconds, for it is asked with every operation.
  int LevelOf(const Caller& caller, AuthorityItem item) const;

 private:
  Store& store_;
  WritePath& writes_;
};

}  // namespace zervane
