#include "vask/request_cache.h"

#include "engine/assert.h"

namespace zervane {

void RequestCache::SetCapacity(std::size_t capacity) {
  const WriterLock lock(mutex_);
  capacity_ = capacity;
  if (ids_.size() > capacity) ids_.clear();
  if (types_.Count() > capacity) types_.BeginRound();
}

Result<TagId> RequestCache::FindTagId(Database& database, const Caller& caller,
                                      std::string_view name) {
  const std::optional<std::int64_t> version = database.HeardCatalogueVersion(caller);
  const bool may_keep = version && capacity_ > 0;
  if (may_keep) {
    const ReaderLock lock(mutex_);
    const auto kept = ids_.find(name);
    if (version_ == *version && kept != ids_.end()) return kept->second;
  }
  Result<TagId> id = database.Do(caller, zervane::FindTagId{std::string(name)});
  if (id.ok() && may_keep) KeepId(name, *id, *version);
  return id;
}

// What is found was true after the version was heard, for it was kept after a later version was, or
// while this one stood.
Result<TagType> RequestCache::GetTagType(Database& database, const Caller& caller, TagId id) {
  const std::optional<std::int64_t> version = database.HeardCatalogueVersion(caller);
  if (version && version_.load(std::memory_order_acquire) == *version) {
    if (const std::optional<TagType> kept = types_.Find(id)) return *kept;
  }
  Result<TagType> type = database.Do(caller, zervane::GetTagType{id});
  if (type.ok() && version) KeepType(id, *type, *version);
  return type;
}

void RequestCache::Clear() {
  const WriterLock lock(mutex_);
  ForgetAll();
  version_ = kNoVersion;
}

std::size_t RequestCache::name_count() {
  const ReaderLock lock(mutex_);
  return ids_.size();
}

std::size_t RequestCache::type_count() {
  const ReaderLock lock(mutex_);
  return types_.Count();
}

void RequestCache::KeepId(std::string_view name, TagId id, std::int64_t version) {
  const WriterLock lock(mutex_);
  const std::size_t capacity = capacity_;
  if (capacity == 0 || !GoOnTo(version)) return;
  if (ids_.size() >= capacity) ids_.clear();
  ids_.insert_or_assign(std::string(name), id);
  ZERVANE_ASSERT(ids_.size() <= capacity);
}

void RequestCache::KeepType(TagId id, TagType type, std::int64_t version) {
  const WriterLock lock(mutex_);
  const std::size_t capacity = capacity_;
  if (capacity == 0 || !GoOnTo(version)) return;
  types_.Keep(id, type, capacity);
  ZERVANE_ASSERT(types_.Count() <= capacity);
}

bool RequestCache::GoOnTo(std::int64_t version) {
  if (version < version_) return false;  // another thread has heard of a later catalogue
  if (version > version_) {
    ForgetAll();
    version_ = version;
  }
  return true;
}

void RequestCache::ForgetAll() {
  ids_.clear();
  types_.BeginRound();
}

}  // namespace zervane
