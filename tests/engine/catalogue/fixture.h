#pragma once

#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <utility>

#include "engine/catalogue/catalogue.h"
#include "tests/engine/storage/faulty_store.h"
#include "tests/engine/storage/store_driver.h"

namespace zervane {

const Stamp kStamp = {.date = 1000, .user = "admin"};
constexpr PropertyMask kAll = {-1, -1};

inline Tag Named(const std::string& name) {
  Tag tag;
  tag.name = name;
  return tag;
}

// A catalogue over a store in memory that fails as it is told; changes are carried out as the write
// path does it.
class CatalogueFixture : public testing::Test {
 protected:
  CatalogueFixture() { EXPECT_TRUE(catalogue_->Load().ok()); }

  // Over the same store, as if that were opened again.
  Status Reload() {
    catalogue_ = std::make_unique<Catalogue>(*store_);
    if (alarm_class_ != nullptr) catalogue_->Register(ZR3_TAG_CLASS_ALARM, *alarm_class_);
    return catalogue_->Load();
  }

  Result<TagId> TryAdd(const Tag& given, const PropertyMask& mask = kAll) {
    StoreBatch batch;
    Result<CatalogueChange> change = catalogue_->PlanAdd(given, mask, kStamp, batch);
    if (!change.ok()) return change.status();
    Status status = CarryOut(*change, batch);
    if (!status.ok()) return status;
    return change->id();
  }
  TagId Add(const Tag& given) {
    const Result<TagId> id = TryAdd(given);
    EXPECT_TRUE(id.ok()) << id.status().message();
    return id.ok() ? *id : 0;
  }
  TagId Add(const std::string& name) { return Add(Named(name)); }
  Status Modify(TagId id, std::int32_t tag_class, const Tag& given, const PropertyMask& mask) {
    StoreBatch batch;
    Result<CatalogueChange> change =
        catalogue_->PlanModify(id, tag_class, given, mask, kStamp, batch);
    return change.ok() ? CarryOut(*change, batch) : change.status();
  }
  Status Rename(TagId id, const std::string& name) {
    return Modify(id, ZR3_TAG_CLASS_BASIC, Named(name), {1, 0});
  }
  Status Retype(TagId id, std::int32_t type) {
    Tag given;
    given.type = type;
    return Modify(id, ZR3_TAG_CLASS_BASIC, given,
                  {std::int64_t{1} << ZR3_TAG_COL_COMM_PROP_TAG_TYPE, 0});
  }
  Status Remove(TagId id) {
    StoreBatch batch;
    Result<CatalogueChange> change = catalogue_->PlanRemove(id, batch);
    return change.ok() ? CarryOut(*change, batch) : change.status();
  }

  // 0 when there is none.
  TagId IdOf(const std::string& name) const {
    const Result<TagId> id = catalogue_->FindByName(name);
    return id.ok() ? *id : 0;
  }

  // What alarm tags ask for; null when they are not kept. From the next reloading on.
  TagClass* alarm_class_ = nullptr;
  const std::shared_ptr<storage::Faults> faults_ = std::make_shared<storage::Faults>();
  const std::unique_ptr<Store> store_ =
      std::make_unique<storage::FaultyStore>(std::shared_ptr<Store>(OpenMemoryStore()), faults_);
  storage::StoreDriver driver_{*store_};
  std::unique_ptr<Catalogue> catalogue_ = std::make_unique<Catalogue>(*store_);

 private:
  Status CarryOut(const CatalogueChange& change, StoreBatch& batch) {
    CommitAnswer answer = driver_.Commit(batch);
    if (!answer.status.ok()) return answer.status;
    catalogue_->Adopt(change);
    return {};
  }
};

}  // namespace zervane
