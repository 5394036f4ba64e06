#include "engine/current/current_values.h"

#include <string>
#include <utility>

#include "engine/assert.h"

namespace zervane {

std::optional<Sample> CurrentValues::Find(TagId tag) const {
  std::optional<Sample> found(std::in_place);
  if (!FindInto(tag, &*found)) found.reset();
  return found;
}

bool CurrentValues::FindInto(TagId tag, Sample* sample) const {
  const Place* const place = places_.Find(tag);
  if (place == nullptr) return false;
  const Number number = Read(*place);
  if (number.time_ms == kNoTime) return false;
  if (IsText(number.type)) {
    std::optional<Sample> text = FindText(tag, *place);
    if (text) *sample = *std::move(text);
    return text.has_value();
  }
  sample->time_ms = number.time_ms;
  sample->quality = number.quality;
  sample->type = number.type;
  sample->value = NumberOf(number.type, number.bits);
  return true;
}

bool CurrentValues::AddTo(SampleColumns& columns, TagId tag) const {
  const Place* const place = places_.Find(tag);
  if (place == nullptr) return false;
  const Number number = Read(*place);
  if (number.time_ms == kNoTime) return false;
  if (!IsText(number.type)) {
    columns.AddNumber(number.time_ms, number.quality, number.type, number.bits);
    return true;
  }
  const std::optional<Sample> text = FindText(tag, *place);
  if (text) columns.Add(*text);
  return text.has_value();
}

std::int64_t CurrentValues::TimeOf(TagId tag) const noexcept {
  const Place* const place = places_.Find(tag);
  return place == nullptr ? kNoTime : place->time_ms.load(std::memory_order_acquire);
}

std::optional<Sample> CurrentValues::FindText(TagId tag, const Place& place) const {
  const TextPart& part = text_parts_[tag % kTextParts];
  const MutexLock lock(part.mutex);
  const Number number = Read(place);
  if (number.time_ms == kNoTime) return std::nullopt;
  Sample sample = {
      .time_ms = number.time_ms, .quality = number.quality, .type = number.type, .value = Value()};
  if (IsText(number.type)) {
    const auto found = part.texts.find(tag);
    ZERVANE_ASSERT(found != part.texts.end());
    sample.value = found->second;
  } else {
    sample.value = NumberOf(number.type, number.bits);  // the tag has changed its type meanwhile
  }
  return sample;
}

CurrentValues::Next CurrentValues::Prepare(Turn& turn, TagId tag, const SampleColumns& samples,
                                           std::size_t at) {
  turn.AssertHeld();
  places_.At(tag);
  Next next = {.tag = tag,
               .type = samples.types()[at],
               .quality = samples.qualities()[at],
               .time_ms = samples.times()[at],
               .bits = samples.values()[at],
               .text = {}};
  if (!IsText(next.type)) return next;
  next.text = TextValue(std::string(samples.TextAt(at)));
  TextPart& part = text_parts_[tag % kTextParts];
  const MutexLock lock(part.mutex);
  part.texts.try_emplace(tag);
  return next;
}

void CurrentValues::Put(Turn& turn, const Next& next) noexcept {
  turn.AssertHeld();
  Place* const place = places_.Find(next.tag);
  ZERVANE_ASSERT(place != nullptr);  // it was prepared
  if (!IsText(next.type)) return Write(*place, next);
  TextPart& part = text_parts_[next.tag % kTextParts];
  TextValue former = next.text;  // whose end, if it is one, needs no lock
  const MutexLock lock(part.mutex);
  const auto found = part.texts.find(next.tag);
  ZERVANE_ASSERT(found != part.texts.end());
  std::swap(found->second, former);
  Write(*place, next);
}

// The count is odd before the first load can see a part of the change, and even again after all of
// it can be seen.
void CurrentValues::Write(Place& place, const Next& next) noexcept {
  const std::uint32_t changes = place.changes.load(std::memory_order_relaxed);
  ZERVANE_ASSERT(changes % 2 == 0);
  place.changes.store(changes + 1, std::memory_order_relaxed);
  place.quality.store(next.quality, std::memory_order_release);
  place.type.store(next.type, std::memory_order_release);
  place.time_ms.store(next.time_ms, std::memory_order_release);
  place.bits.store(next.bits, std::memory_order_release);
  place.changes.store(changes + 2, std::memory_order_release);
}

void CurrentValues::Remove(Turn& turn, TagId tag) noexcept {
  turn.AssertHeld();
  Place* const place = places_.Find(tag);
  if (place == nullptr) return;
  TextPart& part = text_parts_[tag % kTextParts];
  const MutexLock lock(part.mutex);
  Write(*place, {.time_ms = kNoTime, .text = {}});
  part.texts.erase(tag);
}

}  // namespace zervane
