#include "engine/write/admission.h"

#include <algorithm>
#include <optional>

#include "engine/assert.h"

namespace zervane {
namespace {

// How many bytes the texts of the samples have in all; they may share some. Without any the texts
// are all empty, since they lie among these.
std::size_t TextBytes(const SampleColumns& samples) {
  if (samples.texts().empty()) return 0;
  std::size_t bytes = 0;
  for (std::size_t at = 0; at < samples.size(); ++at) {
    if (IsText(samples.types()[at])) bytes += samples.TextAt(at).size();
  }
  return bytes;
}

}  // namespace

bool HasAllTexts(const SampleColumns& samples) noexcept {
  const std::span<const std::uint64_t> values = samples.values();
  const std::uint64_t bytes = samples.texts().size();
  for (std::size_t at = 0; at < samples.size(); ++at) {
    if (!IsText(samples.types()[at])) continue;
    const std::uint64_t offset = SampleColumns::OffsetOf(values[at]);
    if (offset > bytes || SampleColumns::LengthOf(values[at]) > bytes - offset) return false;
  }
  return true;
}

void Admission::Admit(const SampleBatch& batch, const WriteRules& rules, RecordBatch& accepted,
                      std::vector<std::int32_t>& codes) {
  ZERVANE_ASSERT(batch.tags.size() == batch.samples.size() && codes.empty());
  ZERVANE_ASSERT(accepted.tags.size() == accepted.samples.size());
  ZERVANE_ASSERT(HasAllTexts(batch.samples));
  const std::size_t count = batch.size();
  const std::size_t begin = accepted.size();
  const auto times = batch.samples.times();
  // All that can fail comes before the first record is judged.
  accepted.samples.ReserveMore(count, TextBytes(batch.samples));
  MakePlaces(batch.tags);
  codes_.clear();
  codes_.reserve(count);
  const bool reads_clock = std::find(times.begin(), times.end(), 0) != times.end();
  const std::int64_t now_ms = reads_clock ? clock_() : 0;
  accepted.tags.insert(accepted.tags.end(), batch.tags.begin(), batch.tags.end());

  const bool are_all_accepted =
      rules.is_whole ? JudgeWhole(batch, rules, now_ms) : JudgeAll(batch, rules, now_ms);
  if (are_all_accepted) {
    accepted.samples.AddRange(batch.samples, 0, count);
  } else {
    accepted.tags.resize(begin);
    if (!rules.is_whole) AppendAccepted(batch, accepted);
    codes = std::move(codes_);
  }
  if (!reads_clock) return;
  const auto entered = accepted.samples.times().subspan(begin);
  std::replace(entered.begin(), entered.end(), std::int64_t{0}, now_ms);
}

// A place for every tag that is there; others must not cost memory. Looking tag by tag is the
// exception, for soon there are places for all.
void Admission::MakePlaces(std::span<const TagId> tags) {
  TagId greatest = 0;
  for (const TagId tag : tags) greatest = std::max(greatest, tag);
  if (newest_.HasAllUpTo(greatest)) return;
  for (const TagId tag : tags) {
    if (tags_.Find(tag)) newest_.At(tag);
  }
}

bool Admission::JudgeAll(const SampleBatch& batch, const WriteRules& rules,
                         std::int64_t now_ms) noexcept {
  ZERVANE_ASSERT(codes_.empty() && codes_.capacity() >= batch.size());
  const TagId* const tags = batch.tags.data();
  const std::span<const std::int64_t> times = batch.samples.times();
  for (std::size_t at = 0; at < batch.size(); ++at) {
    const std::int64_t time_ms = times[at] == 0 ? now_ms : times[at];
    // Without a place the tag was not there when the batch came, though it may be by now.
    NewestTime* const newest = newest_.Find(tags[at]);
    const std::int64_t newest_ms = newest == nullptr ? kNoTime : newest->time_ms;
    const auto traits = newest == nullptr ? std::nullopt : tags_.Find(tags[at]);
    const ZR3_STATUS code = JudgeRecord({batch.samples, at, time_ms}, traits, newest_ms, rules);
    if (code == ZR3_OK) {
      newest->time_ms = std::max(newest_ms, time_ms);
    } else {
      if (codes_.empty()) codes_.resize(batch.size(), ZR3_OK);
      codes_[at] = code;
    }
  }
  return codes_.empty();
}

// Order is free, so that no record is judged by those before it.
bool Admission::JudgeWhole(const SampleBatch& batch, const WriteRules& rules,
                           std::int64_t now_ms) noexcept {
  ZERVANE_ASSERT(rules.order == WriteOrder::kAnyOrder);
  ZERVANE_ASSERT(codes_.empty() && codes_.capacity() >= batch.size());
  const std::span<const std::int64_t> times = batch.samples.times();
  const auto time_of = [&](std::size_t at) { return times[at] == 0 ? now_ms : times[at]; };
  for (std::size_t at = 0; at < batch.size(); ++at) {
    const bool has_place = newest_.Find(batch.tags[at]) != nullptr;
    const auto traits = has_place ? tags_.Find(batch.tags[at]) : std::nullopt;
    codes_.push_back(JudgeRecord({batch.samples, at, time_of(at)}, traits, kNoTime, rules));
  }
  if (std::any_of(codes_.begin(), codes_.end(), [](auto code) { return code != ZR3_OK; })) {
    return false;
  }
  for (std::size_t at = 0; at < batch.size(); ++at) {
    std::int64_t& newest_ms = newest_.Find(batch.tags[at])->time_ms;
    newest_ms = std::max(newest_ms, time_of(at));
  }
  codes_.clear();
  return true;
}

// Run by run. There is room for all.
void Admission::AppendAccepted(const SampleBatch& batch, RecordBatch& accepted) noexcept {
  std::size_t at = 0;
  while (at < batch.size()) {
    const auto refused = std::find_if(codes_.begin() + static_cast<std::ptrdiff_t>(at),
                                      codes_.end(), [](auto code) { return code != ZR3_OK; });
    const auto end = static_cast<std::size_t>(refused - codes_.begin());
    accepted.tags.insert(accepted.tags.end(), batch.tags.begin() + static_cast<std::ptrdiff_t>(at),
                         batch.tags.begin() + static_cast<std::ptrdiff_t>(end));
    accepted.samples.AddRange(batch.samples, at, end);
    at = end + 1;
  }
}

bool Admission::HoldsRecords(TagId tag) const {
  const NewestTime* newest = newest_.Find(tag);
  return newest != nullptr && newest->time_ms != kNoTime;
}

void Admission::FallBackToStored(const RecordBatch& settled) noexcept {
  for (const TagId tag : settled.tags) newest_.Find(tag)->time_ms = current_values_.TimeOf(tag);
}

void Admission::CountQueued(const RecordBatch& queued) noexcept {
  const std::span<const std::int64_t> times = queued.samples.times();
  for (std::size_t at = 0; at < queued.size(); ++at) {
    std::int64_t& newest_ms = newest_.Find(queued.tags[at])->time_ms;
    newest_ms = std::max(newest_ms, times[at]);
  }
}

}  // namespace zervane
