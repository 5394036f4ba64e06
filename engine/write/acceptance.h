#pragma once

#include <cstdint>
#include <optional>

#include "api/operations/values.h"
#include "api/words/value.h"
#include "engine/catalogue/tag_index.h"

namespace zervane {

// Whether a record of that time becomes the current value of a tag whose current value has the
// other time (kNoTime: none): it only moves forward, an equal time replaces.
constexpr bool MovesForward(std::int64_t time_ms, std::int64_t current_ms) {
  return time_ms >= current_ms;
}

ZR3_STATUS StatusOf(ValueFault fault);

// Whether a record enters the database, given its tag (none: there is no such tag) and the newest
// time accepted for the tag (kNoTime: none yet). In this order: ZR3_ERR_TAG_NOT_FOUND,
// ZR3_ERR_TYPE_MISMATCH (also an integer outside its type), ZR3_ERR_VALUE_TOO_LONG,
// ZR3_ERR_INVALID_TEXT (a STRING with a NUL inside), ZR3_ERR_INVALID_TIME, ZR3_ERR_OUT_OF_ORDER
// (older than the newest, where order counts; an equal time replaces), else ZR3_OK.
inline ZR3_STATUS JudgeRecord(const Sample& sample, const std::optional<TagTraits>& tag,
                              std::int64_t newest_ms, WriteOrder order) {
  if (!tag) return ZR3_ERR_TAG_NOT_FOUND;
  if (sample.type != tag->type) return ZR3_ERR_TYPE_MISMATCH;
  const ValueFault fault = CheckValue(sample.type, sample.value);
  if (fault != ValueFault::kNone) return StatusOf(fault);
  if (sample.time_ms < 0 || sample.time_ms > kMaxTimeMs) return ZR3_ERR_INVALID_TIME;
  if (order == WriteOrder::kInOrder && !MovesForward(sample.time_ms, newest_ms)) {
    return ZR3_ERR_OUT_OF_ORDER;
  }
  return ZR3_OK;
}

}  // namespace zervane
