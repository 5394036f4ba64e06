#include "engine/storage/record_check.h"

#include <spdlog/fmt/fmt.h>

namespace zervane::storage {

Status NotStorable(const AcceptedSample& record) {
  return Status(ZR3_ERR_INVALID_ARGUMENT,
                fmt::format("record of tag {}, time {} ms, type {} cannot be stored", record.tag,
                            record.sample.time_ms, static_cast<int>(record.sample.type)));
}

Status CheckRecords(std::span<const AcceptedSample> records) {
  for (const AcceptedSample& record : records) {
    if (!IsStorable(record)) return NotStorable(record);
  }
  return {};
}

}  // namespace zervane::storage
