#pragma once

#include <vector>

#include "api/words/samples.h"
#include "tests/engine/storage/store_driver.h"

// Samples one by one, as tests like to write them down, and as columns.
namespace zervane::storage {

inline SampleColumns ColumnsOf(const std::vector<Sample>& samples) {
  SampleColumns columns;
  for (const Sample& sample : samples) columns.Add(sample);
  return columns;
}

inline std::vector<Sample> SamplesIn(const SampleColumns& columns, std::size_t begin,
                                     std::size_t end) {
  std::vector<Sample> samples;
  for (std::size_t at = begin; at < end; ++at) samples.push_back(columns.At(at));
  return samples;
}

inline std::vector<Sample> SamplesIn(const SampleColumns& columns) {
  return SamplesIn(columns, 0, columns.size());
}

inline std::vector<std::int64_t> TimesIn(const SampleColumns& columns) {
  return {columns.times().begin(), columns.times().end()};
}

inline RecordBatch BatchOf(const std::vector<MarkedSample>& records) {
  RecordBatch batch;
  for (const MarkedSample& record : records) AddTo(batch, record);
  return batch;
}

// Equal to the last bit: NaNs and zeros of either sign are told apart.
inline bool IsSameToTheBit(const Sample& a, const Sample& b) {
  const bool are_alike = a.time_ms == b.time_ms && a.quality == b.quality && a.type == b.type &&
                         a.value.kind() == b.value.kind();
  if (!are_alike) return false;
  return IsText(a.type) ? a.value == b.value : BitsOf(a.value) == BitsOf(b.value);
}

}  // namespace zervane::storage
