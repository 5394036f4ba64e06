#include "engine/storage/record_check.h"

#include <spdlog/fmt/fmt.h>

namespace zervane::storage {
namespace {

bool IsStorable(const AcceptedSample& record) {
  const Sample& sample = record.sample;
  return record.tag != 0 && sample.time_ms >= 0 && sample.time_ms <= kMaxTimeMs &&
         CheckValue(sample.type, sample.value) == ValueFault::kNone;
}

}  // namespace

Status CheckRecords(std::span<const AcceptedSample> records) {
  for (const AcceptedSample& record : records) {
    if (IsStorable(record)) continue;
    return Status(ZR3_ERR_INVALID_ARGUMENT,
                  fmt::format("record of tag {}, time {} ms, type {} cannot be stored", record.tag,
                              record.sample.time_ms, static_cast<int>(record.sample.type)));
  }
  return {};
}

}  // namespace zervane::storage
