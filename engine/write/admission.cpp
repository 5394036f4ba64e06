#include "engine/write/admission.h"

#include <algorithm>
#include <optional>
#include <utility>

#include "engine/assert.h"
#include "engine/write/acceptance.h"

namespace zervane {
namespace {

bool TakesClock(const TagSample& record) { return record.sample.time_ms == 0; }

// Room for `more` elements, growing by doubling, so that many batches cost no more than one.
void Reserve(std::vector<AcceptedSample>& records, std::size_t more) {
  const std::size_t needed = records.size() + more;
  if (needed > records.capacity()) records.reserve(std::max(needed, 2 * records.capacity()));
}

}  // namespace

TagIndex::Slot& Admission::SlotOf(TagId tag) const {
  TagIndex::Slot* slot = tags_.FindSlot(tag);
  ZERVANE_ASSERT(slot != nullptr);
  return *slot;
}

void Admission::Know(TagId tag, std::int64_t time_ms) { SlotOf(tag).newest_ms = time_ms; }

void Admission::Admit(std::span<TagSample> batch, WriteOrder order, std::span<std::int32_t> codes,
                      std::vector<AcceptedSample>& accepted) {
  ZERVANE_ASSERT(codes.size() == batch.size());
  Reserve(accepted, batch.size());
  const bool reads_clock = std::any_of(batch.begin(), batch.end(), TakesClock);
  const std::int64_t now_ms = reads_clock ? clock_() : 0;
  for (std::size_t i = 0; i < batch.size(); ++i) {
    Sample& sample = batch[i].sample;
    if (TakesClock(batch[i])) sample.time_ms = now_ms;
    TagIndex::Slot* slot = tags_.FindSlot(batch[i].tag);
    const std::optional<TagTraits> traits =
        slot == nullptr ? std::nullopt : TagIndex::TraitsOf(*slot);
    codes[i] = JudgeRecord(sample, traits, traits ? slot->newest_ms : kNoTime, order);
    if (codes[i] != ZR3_OK) continue;
    slot->newest_ms = std::max(slot->newest_ms, sample.time_ms);
    accepted.push_back({.tag = batch[i].tag, .sample = std::move(sample)});
  }
}

bool Admission::HoldsRecords(TagId tag) const {
  const TagIndex::Slot* slot = tags_.FindSlot(tag);
  return slot != nullptr && slot->newest_ms != kNoTime;
}

void Admission::FallBack(std::span<const AcceptedSample> settled,
                         std::span<const AcceptedSample> queued) noexcept {
  for (const AcceptedSample& record : settled) {
    SlotOf(record.tag).newest_ms = current_values_.TimeOf(record.tag);
  }
  for (const AcceptedSample& record : queued) {
    std::int64_t& newest_ms = SlotOf(record.tag).newest_ms;
    newest_ms = std::max(newest_ms, record.sample.time_ms);
  }
}

}  // namespace zervane
