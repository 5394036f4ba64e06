#pragma once

#include <span>

#include "api/words/status.h"
#include "engine/storage/store.h"

namespace zervane::storage {

// Whether the record has a tag, a time and a value that can be stored.
inline bool IsStorable(const AcceptedSample& record) {
  const Sample& sample = record.sample;
  return record.tag != 0 && sample.time_ms >= 0 && sample.time_ms <= kMaxTimeMs &&
         CheckValue(sample.type, sample.value) == ValueFault::kNone;
}

// The refusal of a record that has not: ZR3_ERR_INVALID_ARGUMENT.
Status NotStorable(const AcceptedSample& record);

// Whether every record can be stored: else the refusal of the first that cannot.
Status CheckRecords(std::span<const AcceptedSample> records);

}  // namespace zervane::storage
