#pragma once

#include <cstdint>
#include <random>
#include <string>
#include <vector>

#include "api/words/tag.h"
#include "api/words/value.h"

// What the writing process of the alarms' kill test does: one durable batch of values a step, known
// from the step's number alone.
namespace zervane::alarm_kill {

// Tags are added in this order: sources from 1 on, targets of actions, alarm tags.
constexpr TagId kSources = 3;
constexpr TagId TargetOf(TagId source) { return kSources + source; }
constexpr TagId AlarmOf(TagId source) { return 2 * kSources + source; }
constexpr TagId kLastTag = AlarmOf(kSources);
constexpr double kLimit = 5;
constexpr double kSet = 7;  // what the actions write

inline Tag TagNumber(TagId id) {
  Tag tag;
  tag.name = "TAG" + std::to_string(id);
  if (id <= TargetOf(kSources)) return tag;
  const TagId source = id - 2 * kSources;
  AlarmProperties alarm;
  alarm.source_tag = "TAG" + std::to_string(source);
  alarm.test1 = "HIGH > 5";
  alarm.action1 = "SET 'TAG" + std::to_string(TargetOf(source)) + "' 7";
  alarm.test2 = "CHANGE";
  tag.tag_class = ZR3_TAG_CLASS_ALARM;
  tag.own = alarm;
  return tag;
}

// Far enough from each other that no two alarms want one start.
constexpr std::int64_t kFirstStepMs = 1'000'000'000'000;
constexpr std::int64_t kStepMs = 1'000;
constexpr std::int64_t kRecordMs = 10;

inline std::vector<TagSample> StepOf(unsigned seed, std::int64_t number) {
  std::mt19937_64 random(seed + static_cast<std::uint64_t>(number));
  const auto draw = [&](std::int64_t from, std::int64_t to) {
    return std::uniform_int_distribution(from, to)(random);
  };
  std::vector<TagSample> batch(static_cast<std::size_t>(draw(1, 20)));
  std::int64_t time_ms = kFirstStepMs + number * kStepMs;
  for (TagSample& record : batch) {
    record.tag = static_cast<TagId>(draw(1, kSources));
    record.sample.time_ms = time_ms += kRecordMs;
    record.sample.value = static_cast<double>(draw(3, 8));
    if (draw(0, 9) == 0) record.sample.quality = ZR3_QUALITY_BAD;
  }
  return batch;
}

}  // namespace zervane::alarm_kill
