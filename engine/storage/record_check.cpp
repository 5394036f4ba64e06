#include "engine/storage/record_check.h"

#include <spdlog/fmt/fmt.h>

#include <algorithm>
#include <cstddef>
#include <span>

#include "engine/assert.h"

namespace zervane::storage {
namespace {

bool IsTime(std::int64_t time_ms) { return time_ms >= 0 && time_ms <= kMaxTimeMs; }

// Whether any bits are a number of each of the types, as they are for nearly all samples.
bool HoldAnyBits(std::span<const TagType> types) {
  bool all = true;
  for (const TagType type : types) {
    all &= (type == TagType::kFloat64) | (type == TagType::kFloat32) | (type == TagType::kInt32);
  }
  return all;
}

bool IsStorable(const RecordBatch& batch, std::size_t at) {
  return batch.tags[at] != 0 && IsTime(batch.samples.times()[at]) &&
         CheckValue(batch.samples, at) == ValueFault::kNone;
}

// Column by column, which finds out soon that nearly all batches are sound.
bool AreAllStorable(const RecordBatch& batch) {
  return std::ranges::all_of(batch.tags, [](TagId tag) { return tag != 0; }) &&
         std::ranges::all_of(batch.samples.times(), IsTime) && ValuesAreValid(batch.samples);
}

}  // namespace

bool ValuesAreValid(const SampleColumns& samples) {
  if (HoldAnyBits(samples.types())) return true;
  for (std::size_t at = 0; at < samples.size(); ++at) {
    if (CheckValue(samples, at) != ValueFault::kNone) return false;
  }
  return true;
}

Status CheckRecords(const RecordBatch& batch) {
  ZERVANE_ASSERT(batch.samples.size() == batch.size() && batch.marks.size() == batch.size());
  if (AreAllStorable(batch)) return {};
  std::size_t at = 0;
  while (IsStorable(batch, at)) ++at;
  return Status(
      ZR3_ERR_INVALID_ARGUMENT,
      fmt::format("record of tag {}, time {} ms, type {} cannot be stored", batch.tags[at],
                  batch.samples.times()[at], static_cast<int>(batch.samples.types()[at])));
}

}  // namespace zervane::storage
