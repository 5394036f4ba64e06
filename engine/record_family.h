#pragma once

#include <cstdint>

#include "api/caller.h"
#include "api/operations/history.h"
#include "api/operations/values.h"
#include "engine/catalogue/tag_index.h"
#include "engine/storage/store.h"
#include "engine/write/write_path.h"

namespace zervane {

// Carries out the operations that write and read records: current values and the archive.
//
// Threads: any.
class RecordFamily {
 public:
  RecordFamily(Store& store, const TagIndex& tags, WritePath& writes)
      : store_(store), tags_(tags), writes_(writes) {}

  Result<WriteSamples::Reply> Handle(const Caller& caller, const WriteSamples& operation) {
    return writes_.Write(caller, operation);
  }
  // Into the reply itself, since it is asked for millions of times.
  Status HandleInto(const Caller& caller, const ReadCurrent& operation, Sample* reply) const;
  Result<ReadCurrentValues::Reply> Handle(const Caller& caller,
                                          const ReadCurrentValues& operation) const;
  Result<std::int64_t> Handle(const Caller& caller, const CountRecords& operation) const;
  Result<SampleColumns> Handle(const Caller& caller, const ReadRecords& operation) const;
  // In its turn, after all that was queued before.
  Result<Nothing> Handle(const Caller& caller, const CorrectRecord& operation);

 private:
  // ZR3_ERR_TAG_NOT_FOUND.
  Status CheckTag(TagId id) const;
  // Adds the tag's value to the samples, or any one when it has none, which its status says.
  ZR3_STATUS ReadCurrentInto(TagId id, SampleColumns& samples) const;

  // Adds the corrected record to the batch, marked for all places where the tag has one of its
  // time.
  Status PlanCorrection(const CorrectRecord& operation, StoreBatch& batch) const;
  Status CheckCorrection(const CorrectRecord& operation) const;
  // The marks of these places; none when there is no such record.
  Result<std::uint8_t> PlacesAt(TagId id, std::int64_t time_ms) const;

  Store& store_;
  const TagIndex& tags_;
  WritePath& writes_;
};

}  // namespace zervane
