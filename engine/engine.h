#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "api/caller.h"
#include "api/operation_table.h"
#include "engine/catalogue/catalogue.h"
#include "engine/clock.h"
#include "engine/current/current_values.h"
#include "engine/filters/record_filters.h"
#include "engine/mutex.h"
#include "engine/storage/store.h"
#include "engine/write/admission.h"
#include "engine/write/write_queue.h"

namespace zervane {

// The database in this process: the catalogue and the current values in memory, everything in a
// store. It brings the parts together and hands each operation to the part that carries it out; the
// README of this folder tells how they meet.
//
// Threads: any may call Handle.
class Engine final : private WriteQueue::Owner {
 public:
  static Result<std::unique_ptr<Engine>> Open(std::unique_ptr<Store> store, Clock clock,
                                              const WriteQueue::Limits& limits = {});
  ~Engine();

  Result<TagId> Handle(const Caller& caller, const AddTag& operation);
  Result<Nothing> Handle(const Caller& caller, const ModifyTag& operation);
  Result<Nothing> Handle(const Caller& caller, const DeleteTag& operation);
  Result<Tag> Handle(const Caller& caller, const GetTag& operation);
  Result<TagType> Handle(const Caller& caller, const GetTagType& operation);
  Result<TagId> Handle(const Caller& caller, const FindTagId& operation);
  Result<std::int64_t> Handle(const Caller& caller, const GetCatalogueVersion& operation);
  Result<Page<Tag>> Handle(const Caller& caller, const FindTags& operation);
  Result<std::int64_t> Handle(const Caller& caller, const CountTags& operation);
  Result<ListTags::Reply> Handle(const Caller& caller, const ListTags& operation);
  Result<WriteSamples::Reply> Handle(const Caller& caller, const WriteSamples& operation);
  Result<Sample> Handle(const Caller& caller, const ReadCurrent& operation);
  Result<ReadCurrentValues::Reply> Handle(const Caller& caller, const ReadCurrentValues& operation);
  Result<std::int64_t> Handle(const Caller& caller, const CountRecords& operation);
  Result<SampleColumns> Handle(const Caller& caller, const ReadRecords& operation);
  Result<std::int64_t> Handle(const Caller& caller, const ReadClock& operation);

  std::int64_t catalogue_version() const { return catalogue_.Version(); }

  // Stores what is still queued. The status of queued records that could not be stored, unless it
  // was told before.
  Status Close();

 private:
  Engine(std::unique_ptr<Store> store, Clock clock);

  Status Load();
  // Unlocked: there is neither a queue nor another thread yet.
  Status LoadCurrentValues() NO_THREAD_SAFETY_ANALYSIS;
  Status CheckTag(TagId id) const;
  Status CarryOut(const Catalogue::Change& change);
  // ZR3_ERR_TAG_HAS_RECORDS when the tag has one, stored or queued.
  Status CheckHoldsNoRecord(TagId id) REQUIRES(queue_->mutex());
  Stamp StampOf(const Caller& caller) const { return MakeStamp(clock_(), caller.user); }
  ZR3_STATUS ReadCurrentInto(TagId id, SampleColumns& samples) const;

  Status Commit(std::vector<AcceptedSample>& records) override;
  void Refused(std::span<const AcceptedSample> settled,
               std::span<const AcceptedSample> queued) noexcept override;

  const std::unique_ptr<Store> store_;
  const Clock clock_;
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
