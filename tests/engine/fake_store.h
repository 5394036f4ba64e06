#pragma once

#include <chrono>
#include <condition_variable>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <set>
#include <span>
#include <string>
#include <vector>

#include "engine/storage/store.h"

namespace zervane {

// How long a test waits for what must happen; reached only when the test fails.
constexpr std::chrono::seconds kPatience{30};

// What outlives a FakeStore, and the failures and delays that a test dictates. Threads: any.
class FakeDisk {
 public:
  // The next `times` appends fail; kForever: all of them.
  static constexpr int kForever = -1;
  void FailAppends(int times);
  // Every append that has a record of the tag fails.
  void FailAppendsOf(TagId tag);
  // Changes of the catalogue fail, or not.
  void FailCatalogue(bool fails);
  // What an append throws, once.
  void ThrowOnAppend();

  // From now on every change stops before it does anything, until it is released.
  void Hold();
  void Release();
  // Waits until one is held.
  bool AwaitHeld();

  // What is stored.
  CatalogueImage image() const;
  void set_image(CatalogueImage image);
  void set_current(TagSample current);
  void LoseCurrent(TagId tag);
  void LoseArchive(TagId tag);
  std::map<std::int64_t, Sample> archive(TagId tag) const;
  std::optional<Sample> current(TagId tag) const;
  std::optional<Sample> held(TagId tag) const;
  // The number of records of each append that was carried out.
  std::vector<std::size_t> append_sizes() const;
  // Records that came for a tag that does not exist.
  int orphans() const;

  // The operations of its store.
  Status PutTag(const Tag& properties, std::int64_t version);
  Status RemoveTag(TagId id, std::int64_t version);
  std::vector<TagSample> LoadCurrent() const;
  Status Append(std::span<const AcceptedSample> records);

 private:
  void WaitWhileHeld(std::unique_lock<std::mutex>& lock);
  void Take(const AcceptedSample& record);
  Status FailureOf(std::span<const AcceptedSample> records);

  mutable std::mutex mutex_;
  std::condition_variable changed_;
  bool holds_ = false;
  bool is_held_ = false;
  int failing_appends_ = 0;
  std::set<TagId> failing_tags_;
  bool catalogue_fails_ = false;
  bool throws_ = false;

  std::map<TagId, Tag> tags_;
  TagId last_id_ = 0;
  std::int64_t version_ = 0;
  std::map<TagId, std::map<std::int64_t, Sample>> archive_;
  std::map<TagId, Sample> current_;
  std::map<TagId, Sample> held_;
  std::vector<std::size_t> append_sizes_;
  int orphans_ = 0;
};

// A store on such a disk.
class FakeStore : public Store {
 public:
  explicit FakeStore(std::shared_ptr<FakeDisk> disk) : disk_(std::move(disk)) {}

  Result<CatalogueImage> LoadCatalogue() override { return disk_->image(); }
  Status PutTag(const Tag& properties, std::int64_t version) override {
    return disk_->PutTag(properties, version);
  }
  Status RemoveTag(TagId id, std::int64_t version) override {
    return disk_->RemoveTag(id, version);
  }
  Result<std::vector<TagSample>> LoadCurrent() override { return disk_->LoadCurrent(); }
  Status Append(std::span<const AcceptedSample> records) override { return disk_->Append(records); }
  Result<std::vector<Sample>> Read(TagId id, TimeRange range, Direction direction,
                                   std::size_t limit) override;
  Result<std::int64_t> Count(TagId id, TimeRange range) override;
  Result<std::optional<Sample>> ReadHeld(TagId id) override { return disk_->held(id); }

 private:
  const std::shared_ptr<FakeDisk> disk_;
};

}  // namespace zervane
