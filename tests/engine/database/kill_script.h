#pragma once

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <optional>
#include <random>
#include <string>
#include <vector>

#include "api/operations/values.h"
#include "api/words/tag.h"

// What the writing process of the kill test does: one write or correction a step, known from the
// step's number alone, so that the testing process knows what each answer vouches for.
namespace zervane {

constexpr TagId kPlainTags = 5;
constexpr TagId kLastTag = kPlainTags + 3;  // the last three have filters
constexpr double kDeviation = 0.5;          // of each filter

constexpr bool ReportsExceptions(TagId tag) { return tag == kPlainTags + 1 || tag == kLastTag; }
constexpr bool Compresses(TagId tag) { return tag == kPlainTags + 2 || tag == kLastTag; }

// By how much a dropped value may differ from the line between its archived neighbours; 0 without
// filters. What exception reporting drops lies within its deviation of the last value passed on, as
// does the one that ends the line. The last part is for rounding.
constexpr double ToleranceOf(TagId tag) {
  if (tag <= kPlainTags) return 0;
  return (ReportsExceptions(tag) ? 2 * kDeviation : 0) + (Compresses(tag) ? kDeviation : 0) + 1e-9;
}

inline Tag KillTag(TagId tag) {
  Tag properties;
  properties.name = "TAG" + std::to_string(tag);
  if (ReportsExceptions(tag)) properties.exc_dev = kDeviation;
  if (Compresses(tag)) {
    properties.comp_type = ZR3_COMP_TYPE_SDT;
    properties.comp_dev = kDeviation;
  }
  return properties;
}

struct KillStep {
  std::vector<TagSample> batch;
  WriteOrder order = WriteOrder::kInOrder;
  WriteAnswer answer = WriteAnswer::kDurable;
  std::optional<TagSample> correction;  // in place of the write
};

constexpr std::int64_t kFirstStepMs = 1'000'000'000'000;
constexpr std::int64_t kStepMs = 1000;

inline KillStep StepOf(unsigned seed, std::int64_t number);

// The newest record of the tag that a step before this one writes in order.
inline std::optional<TagSample> NewestBefore(unsigned seed, std::int64_t number, TagId tag) {
  while (number-- > 0) {
    const KillStep step = StepOf(seed, number);
    if (step.order != WriteOrder::kInOrder) continue;
    const auto newest = std::find_if(step.batch.rbegin(), step.batch.rend(),
                                     [&](const TagSample& record) { return record.tag == tag; });
    if (newest != step.batch.rend()) return *newest;
  }
  return std::nullopt;
}

// A correction of a record that was written, if there is one. Of a tag with filters it is the
// current value and keeps its value, so that the lines between archived values still err by no more
// than the tolerance; of others it is anything.
inline std::optional<TagSample> CorrectionOf(unsigned seed, std::int64_t number, TagId tag,
                                             std::int64_t before) {
  std::optional<TagSample> record = NewestBefore(seed, tag <= kPlainTags ? before : number, tag);
  if (!record) return record;
  record->sample.quality = ZR3_QUALITY_UNCERTAIN;
  if (tag <= kPlainTags) record->sample.value = static_cast<double>(-number);
  return record;
}

inline KillStep StepOf(unsigned seed, std::int64_t number) {
  std::mt19937_64 random(seed + static_cast<std::uint64_t>(number));
  // (One draw a statement: both processes must draw in one order.)
  const auto draw = [&](std::int64_t from, std::int64_t to) {
    return std::uniform_int_distribution(from, to)(random);
  };
  KillStep step;
  if (draw(0, 7) == 0) {
    const auto tag = static_cast<TagId>(draw(1, kLastTag));
    step.correction = CorrectionOf(seed, number, tag, draw(0, number));
    if (step.correction) return step;
  }
  if (draw(0, 1) == 0) step.answer = WriteAnswer::kQueued;
  if (draw(0, 2) == 0) step.order = WriteOrder::kAnyOrder;
  step.batch.resize(static_cast<std::size_t>(draw(1, 30)));
  std::int64_t time_ms = kFirstStepMs + number * kStepMs;
  for (TagSample& record : step.batch) {
    Sample& sample = record.sample;
    const double noise = static_cast<double>(draw(-40, 40)) / 100;
    if (step.order == WriteOrder::kInOrder) {
      record.tag = static_cast<TagId>(draw(1, kLastTag));
      sample.time_ms = ++time_ms;
      // Slow waves, with steps up and down, so that a line without one of its ends errs by much.
      sample.value =
          20 * std::sin(static_cast<double>(number) / 30) + noise + (number % 4 < 2 ? 10 : 0);
      if (draw(0, 200) == 0) sample.quality = ZR3_QUALITY_BAD;
      continue;
    }
    // Years late, or at the time of a record of an earlier step.
    record.tag = static_cast<TagId>(draw(1, kPlainTags));
    const std::int64_t years_late_ms = draw(1, kFirstStepMs);
    const std::int64_t earlier_step = draw(0, number);
    const std::int64_t place = draw(1, 10);
    sample.time_ms =
        draw(0, 1) == 0 ? years_late_ms : kFirstStepMs + earlier_step * kStepMs + place;
    sample.value = static_cast<double>(number) + noise;
  }
  return step;
}

}  // namespace zervane
