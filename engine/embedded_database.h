#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "engine/catalogue/catalogue.h"
#include "engine/clock.h"
#include "engine/current/current_values.h"
#include "engine/database.h"
#include "engine/filters/record_filters.h"
#include "engine/mutex.h"
#include "engine/storage/store.h"
#include "engine/write/admission.h"
#include "engine/write/write_queue.h"

namespace zervane {

// The database in this process: the catalogue and the current values in memory, everything in a
// store. It brings the parts together; the README of this folder tells how they meet.
class EmbeddedDatabase final : public Database, private WriteQueue::Owner {
 public:
  static Result<std::unique_ptr<Database>> Open(std::unique_ptr<Store> store, Clock clock,
                                                std::string user,
                                                const WriteQueue::Limits& limits = {});
  ~EmbeddedDatabase() override;

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
  EmbeddedDatabase(std::unique_ptr<Store> store, Clock clock, std::string user);

  Status Load();
  // Unlocked: there is neither a queue nor another thread yet.
  Status LoadCurrentValues() NO_THREAD_SAFETY_ANALYSIS;
  Status CheckOpen() const;
  Status CheckReadable(TagId id) const;
  Status CarryOut(const Catalogue::Change& change);
  // ZR3_ERR_TAG_HAS_RECORDS when the tag has one, stored or queued.
  Status CheckHoldsNoRecord(TagId id) REQUIRES(queue_->mutex());
  Stamp Now() const { return MakeStamp(clock_(), user_); }

  Status Commit(std::vector<AcceptedSample>& records) override;
  void Refused(std::span<const AcceptedSample> settled,
               std::span<const AcceptedSample> queued) noexcept override;

  const std::unique_ptr<Store> store_;
  const Clock clock_;
  const std::string user_;
  std::atomic<bool> is_closed_{false};
  Catalogue catalogue_;
  CurrentValues current_values_;
  Admission admission_ GUARDED_BY(queue_->mutex());
  // These three are used in commits and in changes alone, of which the queue carries out one at a
  // time.
  RecordFilters filters_;
  GroupMarks marks_;
  std::vector<TagSample> newest_;
  // Set once by Open, after loading; goes first, for its thread uses all of the above.
  std::unique_ptr<WriteQueue> queue_;
};

}  // namespace zervane
