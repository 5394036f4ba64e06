#include "engine/alarms/source_history.h"

#include <cmath>
#include <utility>

#include "api/words/samples.h"
#include "engine/history/last_good.h"
#include "engine/history/points.h"

namespace zervane {
namespace {

// The value of a number of the type that is known as a double.
Value FromDouble(TagType type, double number) {
  if (type == TagType::kFloat64) return number;
  if (type == TagType::kFloat32) return static_cast<float>(number);
  return static_cast<std::int32_t>(number);
}

Sample SampleOfGood(TagType type, const LastGood& good) {
  Sample sample;
  sample.time_ms = good.point().time_ms;
  sample.type = type;
  sample.value = IsText(type) ? Value(good.text()) : FromDouble(type, good.point().value);
  return sample;
}

}  // namespace

bool IsGood(const Sample& sample) {
  if (!IsGoodQuality(sample.quality)) return false;
  switch (sample.value.kind()) {
    case Value::Kind::kFloat32:
      return std::isfinite(sample.value.float32());
    case Value::Kind::kFloat64:
      return std::isfinite(sample.value.float64());
    default:
      return true;
  }
}

Result<std::optional<Sample>> SourceHistory::NewestGoodOf(TagId source) const {
  const std::optional<TagTraits> traits = tags_.Find(source);
  if (!traits) return std::optional<Sample>();
  std::optional<Sample> current = current_values_.Find(source);
  if (current && IsGood(*current)) return current;
  const Result<TagPoints> points = TagPoints::Read(store_, current_values_, source, *traits, 0);
  if (!points.ok()) return points.status();
  LastGoodFinder finder;
  const TimeRange until_now = {.from_ms = 0, .to_ms = points->now_ms()};
  Status status = points->Visit(until_now, Direction::kBackward, finder);
  if (!status.ok()) return status;
  if (finder.found().state() != LastGood::State::kKnown) return std::optional<Sample>();
  return std::optional(SampleOfGood(traits->type, finder.found()));
}

std::optional<TagType> SourceHistory::TypeOf(TagId source) const {
  const std::optional<TagTraits> traits = tags_.Find(source);
  return traits ? std::optional(traits->type) : std::nullopt;
}

}  // namespace zervane
