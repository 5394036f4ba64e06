#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <string_view>
#include <unordered_map>

#include "api/database.h"
#include "api/operation_table.h"
#include "engine/mutex.h"
#include "engine/thread_annotations.h"

namespace zervane {

// Remembers which identifier a name has, for as long as the catalogue stays as it is; every look-up
// asks for its version first. Types are not kept: the embedded database tells one faster than a
// look-up here would. Threads: any.
class RequestCache {
 public:
  static constexpr std::size_t kDefaultCapacity = 100'000;

  // How many names are kept at most; 0 keeps none. What is kept beyond that is forgotten.
  void SetCapacity(std::size_t capacity);

  // The identifier of a name, from memory when possible. Failures are not kept.
  Result<TagId> FindTagId(Database& database, const Caller& caller, std::string_view name);

  // Forgets everything, as before another database is asked.
  void Clear();

  // How many names are kept.
  std::size_t size();

 private:
  static constexpr std::int64_t kNoVersion = -1;

  struct Hash {
    using is_transparent = void;
    std::size_t operator()(std::string_view name) const {
      return std::hash<std::string_view>()(name);
    }
  };

  // `id` as it was at `version` of the catalogue or later.
  void Keep(std::string_view name, TagId id, std::int64_t version) EXCLUDES(mutex_);

  std::atomic<std::size_t> capacity_{kDefaultCapacity};  // changed with mutex_ held
  SharedMutex mutex_;
  std::int64_t version_ GUARDED_BY(mutex_) = kNoVersion;
  std::unordered_map<std::string, TagId, Hash, std::equal_to<>> ids_ GUARDED_BY(mutex_);
};

}  // namespace zervane
