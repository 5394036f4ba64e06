#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>

#include "api/database.h"
#include "api/operation_table.h"
#include "engine/mutex.h"
#include "engine/thread_annotations.h"
#include "vask/type_cache.h"

namespace zervane {

// Remembers which identifier a name has, and of which type a tag is, for as long as the catalogue's
// version stays the one that was heard; while none was heard lately, the database is asked. What
// every record asks is answered from here: a type costs some nanoseconds, without a lock, and no
// message to a server. Failures are not kept. Threads: any.
class RequestCache {
 public:
  static constexpr std::size_t kDefaultCapacity = 100'000;

  // How many names, and how many types, are kept at most; 0 keeps none. What is kept beyond that is
  // forgotten.
  void SetCapacity(std::size_t capacity);

  // The identifier of a name, and the type of a tag, from memory when possible.
  Result<TagId> FindTagId(Database& database, const Caller& caller, std::string_view name);
  Result<TagType> GetTagType(Database& database, const Caller& caller, TagId id);

  // Forgets everything, as before another database, or another user, asks.
  void Clear();

  // How many names and how many types are kept.
  std::size_t name_count();
  std::size_t type_count();

 private:
  static constexpr std::int64_t kNoVersion = -1;

  struct Hash {
    using is_transparent = void;
    std::size_t operator()(std::string_view name) const {
      return std::hash<std::string_view>()(name);
    }
  };

  // Those that keep: what was answered when `version` had been heard. From a later one on it is of
  // no use; an earlier one's is forgotten first.
  void KeepId(std::string_view name, TagId id, std::int64_t version) EXCLUDES(mutex_);
  void KeepType(TagId id, TagType type, std::int64_t version) EXCLUDES(mutex_);
  bool GoOnTo(std::int64_t version) REQUIRES(mutex_);
  void ForgetAll() REQUIRES(mutex_);

  std::atomic<std::size_t> capacity_{kDefaultCapacity};  // changed with mutex_ held, as version_
  SharedMutex mutex_;
  // Of what is kept. Changed after the types of another version were forgotten: who reads it before
  // looking for a type finds none that is older.
  std::atomic<std::int64_t> version_{kNoVersion};
  std::unordered_map<std::string, TagId, Hash, std::equal_to<>> ids_ GUARDED_BY(mutex_);
  TypeCache types_;  // looked up without mutex_, changed with it held
};

}  // namespace zervane
