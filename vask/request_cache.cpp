#include "vask/request_cache.h"

#include <optional>

#include "engine/assert.h"

namespace zervane {

void RequestCache::SetCapacity(std::size_t capacity) {
  const WriterLock lock(mutex_);
  capacity_ = capacity;
  if (ids_.size() > capacity) ids_.clear();
}

Result<TagId> RequestCache::FindTagId(Database& database, const Caller& caller,
                                      std::string_view name) {
  const auto ask = [&] { return database.Do(caller, zervane::FindTagId{std::string(name)}); };
  const std::optional<std::int64_t> version = database.HeardCatalogueVersion();
  if (capacity_ == 0 || !version) return ask();
  {
    const ReaderLock lock(mutex_);
    const auto kept = ids_.find(name);
    if (version_ == *version && kept != ids_.end()) return kept->second;
  }
  Result<TagId> id = ask();
  if (id.ok()) Keep(name, *id, *version);
  return id;
}

void RequestCache::Clear() {
  const WriterLock lock(mutex_);
  ids_.clear();
  version_ = kNoVersion;
}

std::size_t RequestCache::size() {
  const ReaderLock lock(mutex_);
  return ids_.size();
}

void RequestCache::Keep(std::string_view name, TagId id, std::int64_t version) {
  const WriterLock lock(mutex_);
  if (version < version_) return;  // another thread has seen a later catalogue
  const std::size_t capacity = capacity_;
  if (version > version_ || ids_.size() >= capacity) ids_.clear();
  version_ = version;
  if (capacity > 0) ids_.insert_or_assign(std::string(name), id);
  ZERVANE_ASSERT(ids_.size() <= capacity_);
}

}  // namespace zervane
