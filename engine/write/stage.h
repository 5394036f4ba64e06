#pragma once

#include <cstdint>
#include <span>

#include "api/words/samples.h"
#include "api/words/status.h"
#include "engine/storage/row.h"
#include "engine/storage/store.h"
#include "engine/write/turn.h"

namespace zervane {

// A group's records as a stage sees them, marked already. It may change the marks of those that it
// looks at.
struct StagedRecords {
  std::span<const TagId> tags;
  const SampleColumns& samples;
  std::span<std::uint8_t> marks;
  std::span<const std::uint8_t> was_newest;  // for each whether it was its tag's newest in its turn
  // Positions of the records that a stage may look at.
  std::span<const std::uint32_t> filtered;  // of tags with filters
  std::span<const std::uint32_t> read;      // of tags that others read
  std::span<const RowChange> rows;          // what else the batch changes, for these records
};

// Something that looks at records, and at changes of tags, before they are stored, and adds to the
// same batch: what it adds is stored with them or not at all.
//
// It works on copies of what it knows. Between the first call of Process or of one that prepares,
// and the next Keep or Discard, lies one batch.
class Stage {
 public:
  virtual ~Stage() = default;

  // Looks at its records of a group, in their order. Records that it adds to the batch go
  // before all of the group's, so of equal times of a tag the group's one counts.
  virtual Status Process(Turn& turn, const StagedRecords& group, StoreBatch& batch) = 0;

  // The tag's properties are about to change, or the tag is about to go, with this batch.
  virtual Status PrepareTagChange(Turn& turn, TagId tag, StoreBatch& batch) = 0;
  virtual Status PrepareTagRemoval(Turn& turn, TagId tag, StoreBatch& batch) = 0;

  // A change puts a record of the tag, as a correction does, where its marks say and past all
  // stages: what the stage knows of the tag may not be so any more. It may change the marks.
  // Records that it adds to the batch go before those of the change.
  virtual Status PrepareRecord(Turn& turn, TagId tag, std::int64_t time_ms, std::uint8_t* marks,
                               StoreBatch& batch) = 0;

  // The batch is stored: the copies are what counts from now on. Or it is not: they are dropped.
  virtual void Keep(Turn& turn) noexcept = 0;
  virtual void Discard(Turn& turn) noexcept = 0;
};

}  // namespace zervane
