#pragma once

#include <memory>
#include <utility>
#include <vector>

#include "engine/storage/store.h"

namespace zervane {

// A store that outlives the databases on it, and the failures that a test dictates: once each.
struct SharedDisk {
  std::shared_ptr<Store> store = OpenMemoryStore();
  bool refuses_append = false;
  bool refuses_read = false;
  bool refuses_read_held = false;
};

class SharedStore : public Store {
 public:
  explicit SharedStore(std::shared_ptr<SharedDisk> disk) : disk_(std::move(disk)) {}

  Result<CatalogueImage> LoadCatalogue() override { return disk_->store->LoadCatalogue(); }
  Status PutTag(const Tag& properties, std::int64_t version) override {
    return disk_->store->PutTag(properties, version);
  }
  Status RemoveTag(TagId id, std::int64_t version) override {
    return disk_->store->RemoveTag(id, version);
  }
  Result<std::vector<TagSample>> LoadCurrent() override { return disk_->store->LoadCurrent(); }
  Status Append(std::span<const AcceptedSample> records) override {
    if (std::exchange(disk_->refuses_append, false)) return Dictated();
    return disk_->store->Append(records);
  }
  Result<std::vector<Sample>> Read(TagId id, TimeRange range, Direction direction,
                                   std::size_t limit) override {
    if (std::exchange(disk_->refuses_read, false)) return Dictated();
    return disk_->store->Read(id, range, direction, limit);
  }
  Result<std::int64_t> Count(TagId id, TimeRange range) override {
    return disk_->store->Count(id, range);
  }
  Result<std::optional<Sample>> ReadHeld(TagId id) override {
    if (std::exchange(disk_->refuses_read_held, false)) return Dictated();
    return disk_->store->ReadHeld(id);
  }

 private:
  static Status Dictated() { return {ZR3_ERR_STORAGE_FAILED, "dictated"}; }

  const std::shared_ptr<SharedDisk> disk_;
};

}  // namespace zervane
