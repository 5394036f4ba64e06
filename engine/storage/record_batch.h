#pragma once

#include <cstddef>
#include <cstdint>
#include <utility>

#include "engine/storage/store.h"

// What is done with batches of records on their way.
namespace zervane {

inline void AddRecord(RecordBatch& records, TagId tag, const Sample& sample, std::uint8_t marks) {
  records.tags.push_back(tag);
  records.samples.Add(sample);
  records.marks.push_back(marks);
}

// Appends records begin to end of another batch. All or nothing of their marks comes along: a batch
// is marked or it is not.
inline void AddRange(RecordBatch& records, const RecordBatch& from, std::size_t begin,
                     std::size_t end) {
  const auto first = static_cast<std::ptrdiff_t>(begin);
  const auto last = static_cast<std::ptrdiff_t>(end);
  records.tags.insert(records.tags.end(), from.tags.begin() + first, from.tags.begin() + last);
  records.samples.AddRange(from.samples, begin, end);
  if (from.marks.empty()) return;
  records.marks.insert(records.marks.end(), from.marks.begin() + first, from.marks.begin() + last);
}

// In a few instructions, whatever they hold.
inline void Exchange(RecordBatch& a, RecordBatch& b) noexcept {
  a.tags.swap(b.tags);
  swap(a.samples, b.samples);
  a.marks.swap(b.marks);
}

// Keeps the memory for what comes next, unless the texts were more than those of most batches: one
// batch of long texts would cost the process that much for as long as it runs.
constexpr std::size_t kMostKeptTextBytes = std::size_t{1} << 20;
inline void Clear(RecordBatch& records) noexcept {
  if (records.samples.texts().size() > kMostKeptTextBytes) {
    records = RecordBatch();
    return;
  }
  records.tags.clear();
  records.samples.Clear();
  records.marks.clear();
}

}  // namespace zervane
