#pragma once

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "api/words/samples.h"
#include "api/words/value.h"
#include "engine/storage/store.h"

namespace zervane {

inline Sample NumberAt(std::int64_t time_ms, double value = 1) {
  return {.time_ms = time_ms, .type = TagType::kFloat64, .value = value};
}

inline Sample TextAt(std::int64_t time_ms, std::string text) {
  return {.time_ms = time_ms, .type = TagType::kString, .value = std::move(text)};
}

// Records of one tag at these times.
inline std::vector<TagSample> NumbersAt(TagId tag, const std::vector<std::int64_t>& times) {
  std::vector<TagSample> records;
  for (const std::int64_t time_ms : times) records.push_back({tag, NumberAt(time_ms)});
  return records;
}

inline SampleBatch BatchOf(const std::vector<TagSample>& records) {
  SampleBatch batch;
  for (const TagSample& record : records) batch.Add(record.tag, record.sample);
  return batch;
}

// Without marks, as records wait in the queue.
inline RecordBatch UnmarkedOf(const std::vector<TagSample>& records) {
  RecordBatch batch;
  for (const TagSample& record : records) {
    batch.tags.push_back(record.tag);
    batch.samples.Add(record.sample);
  }
  return batch;
}

}  // namespace zervane
