#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <utility>
#include <vector>

#include "api/words/samples.h"
#include "engine/catalogue/tag_index.h"
#include "engine/clock.h"
#include "engine/current/current_values.h"
#include "engine/storage/store.h"
#include "engine/tag_array.h"
#include "engine/write/acceptance.h"

namespace zervane {

// Whether every text of the samples lies among their texts. Columns that a caller filled in himself
// may say otherwise.
bool HasAllTexts(const SampleColumns& samples) noexcept;

// Lets records into the write queue, batch by batch. Order is judged against what was accepted
// before, stored or still queued, so a batch that is answered when queued is judged all the same.
// Threads: all calls under the mutex of the write queue.
class Admission {
 public:
  Admission(const TagIndex& tags, const CurrentValues& current_values, Clock clock)
      : tags_(tags), current_values_(current_values), clock_(std::move(clock)) {}

  // Takes note of the time of a current value that is stored, before the first batch.
  void NoteStored(TagId tag, std::int64_t time_ms) { newest_.At(tag).time_ms = time_ms; }

  // Judges the batch in its order and appends the records that are accepted to `accepted`, whose
  // marks stay as they are; where all or none are to be, these are none unless all are accepted.
  // Records of time 0 take the clock. When some are refused, `codes` becomes the status of each
  // record; else it stays empty, as it must be. When it throws, nothing has changed. REQUIRES that
  // the batch has all its texts.
  void Admit(const SampleBatch& batch, const WriteRules& rules, RecordBatch& accepted,
             std::vector<std::int32_t>& codes);

  // Whether the tag holds a record, stored or queued.
  bool HoldsRecords(TagId tag) const;

  // When some of `settled` could not be stored, what counts as accepted for their tags is what is
  // stored, and then what is still queued.
  void FallBackToStored(const RecordBatch& settled) noexcept;
  void CountQueued(const RecordBatch& queued) noexcept;

 private:
  struct NewestTime {
    std::int64_t time_ms = kNoTime;  // among the tag's accepted records
  };

  void MakePlaces(std::span<const TagId> tags);
  // Codes of the records into `codes_`, unless all are accepted; raises the newest times. Whether
  // all are accepted.
  bool JudgeAll(const SampleBatch& batch, const WriteRules& rules, std::int64_t now_ms) noexcept;
  // Likewise, but raises the newest times only when all are accepted.
  bool JudgeWhole(const SampleBatch& batch, const WriteRules& rules, std::int64_t now_ms) noexcept;
  void AppendAccepted(const SampleBatch& batch, RecordBatch& accepted) noexcept;

  const TagIndex& tags_;
  const CurrentValues& current_values_;
  const Clock clock_;
  TagArray<NewestTime> newest_;
  std::vector<std::int32_t> codes_;  // scratch
};

}  // namespace zervane
