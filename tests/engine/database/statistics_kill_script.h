#pragma once

#include <cstdint>
#include <random>
#include <string>
#include <vector>

#include "api/words/tag.h"
#include "api/words/value.h"

// What the writing process of the statistics tags' kill test does: one durable batch of values a
// step, known from the step's number alone. All of them lie far in the past, in windows that are
// computed already, or that are being computed.
namespace zervane::statistics_kill {

// Tags are added in this order: sources from 1 on, then the weekly sum of each.
constexpr TagId kSources = 2;
constexpr TagId SumOf(TagId source) { return kSources + source; }
constexpr TagId kLastTag = SumOf(kSources);

constexpr std::int64_t kStartMs = 1'000'000'000'000;
constexpr std::int64_t kWindowMs = 7 * 86'400'000LL;
constexpr std::int64_t kStepMs = kWindowMs / 20;
constexpr std::int64_t kRecordMs = 60'000;

inline Tag TagNumber(TagId id) {
  Tag tag;
  tag.name = "TAG" + std::to_string(id);
  if (id <= kSources) return tag;
  StatisticsProperties properties;
  properties.source_tag = "TAG" + std::to_string(id - kSources);
  properties.stats_type = ZR3_STATS_TYPE_SUM;
  properties.sample_start_date = static_cast<std::int32_t>(kStartMs / 1000);
  properties.sample_interval = static_cast<std::int32_t>(kWindowMs / 1000);
  tag.tag_class = ZR3_TAG_CLASS_STATS;
  tag.own = properties;
  return tag;
}

inline std::vector<TagSample> StepOf(unsigned seed, std::int64_t number) {
  std::mt19937_64 random(seed + static_cast<std::uint64_t>(number));
  const auto draw = [&](std::int64_t from, std::int64_t to) {
    return std::uniform_int_distribution(from, to)(random);
  };
  std::vector<TagSample> batch(static_cast<std::size_t>(draw(1, 20)));
  std::int64_t time_ms = kStartMs + number * kStepMs;
  for (TagSample& record : batch) {
    record.tag = static_cast<TagId>(draw(1, kSources));
    record.sample.time_ms = time_ms += kRecordMs;
    record.sample.value = static_cast<double>(draw(3, 8));
    if (draw(0, 9) == 0) record.sample.quality = ZR3_QUALITY_BAD;
  }
  return batch;
}

}  // namespace zervane::statistics_kill
