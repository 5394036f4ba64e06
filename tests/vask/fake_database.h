#pragma once

#include <atomic>
#include <functional>
#include <map>
#include <mutex>

#include "engine/database.h"

namespace zervane {

// A small process database in memory, for tests of the layer above: what comes in is kept to be
// looked at, and every call can be made to fail.
class FakeDatabase : public Database {
 public:
  // Called first in every method but Close: its status, unless 0, is the method's; it may throw and
  // wait. Set before the calls that it is meant for.
  std::function<Status()> on_call;

  // Called in Close; its status is Close's.
  std::function<Status()> on_close;

  // Adds a tag of the type with id = the number of tags ever added.
  TagId Add(const std::string& name, TagType type);

  int calls() const { return calls_; }
  const Tag& last_properties() const { return last_properties_; }
  PropertyMask last_mask() const { return last_mask_; }
  WriteOrder last_order() const { return last_order_; }
  WriteAnswer last_answer() const { return last_answer_; }
  const std::vector<TagSample>& last_batch() const { return last_batch_; }

  // The status that the next writes answer in place of storing anything.
  void FailWrites(ZR3_STATUS status) { write_status_ = status; }

  // What CountRecords answers from now on.
  void CountAs(std::int64_t count) { count_ = count; }

  Result<TagId> AddTag(const Tag& properties, PropertyMask mask) override;
  Status ModifyTag(TagId id, std::int32_t tag_class, const Tag& properties,
                   PropertyMask mask) override;
  Status DeleteTag(TagId id) override;
  Result<Tag> GetTag(TagId id) override;
  ZR3_STATUS GetTagType(TagId id, TagType* type) override;
  Result<TagId> FindTag(std::string_view name) override;
  Result<std::int64_t> CatalogueVersion() override;
  Status Write(std::vector<TagSample>&& batch, WriteOrder order, WriteAnswer answer,
               std::span<std::int32_t> codes) override;
  Result<Sample> ReadCurrent(TagId id) override;
  Result<std::int64_t> CountRecords(TagId id, TimeRange range) override;
  Result<std::vector<Sample>> ReadRecords(TagId id, TimeRange range, Direction direction,
                                          std::size_t limit) override;
  Result<std::int64_t> ServerTimeMs() override;
  Status Close() override;

 private:
  struct Kept {
    Tag properties;
    std::map<std::int64_t, Sample> records;
  };

  Status Enter();
  Result<Kept*> Find(TagId id);
  ZR3_STATUS Judge(const TagSample& record, WriteOrder order);

  std::mutex mutex_;  // guards the tags and their version
  std::map<TagId, Kept> tags_;
  TagId last_id_ = 0;
  std::int64_t version_ = 0;

  std::atomic<int> calls_{0};
  ZR3_STATUS write_status_ = ZR3_OK;
  std::int64_t count_ = -1;
  Tag last_properties_;
  PropertyMask last_mask_;
  WriteOrder last_order_ = WriteOrder::kInOrder;
  WriteAnswer last_answer_ = WriteAnswer::kDurable;
  std::vector<TagSample> last_batch_;
};

}  // namespace zervane
