#include "engine/snapshots/acceptance.h"

namespace zervane {
namespace {

ZR3_STATUS StatusOf(ValueFault fault) {
  switch (fault) {
    case ValueFault::kNone:
      return ZR3_OK;
    case ValueFault::kWrongType:
      return ZR3_ERR_TYPE_MISMATCH;
    case ValueFault::kTooLong:
      return ZR3_ERR_VALUE_TOO_LONG;
    case ValueFault::kEmbeddedNul:
      return ZR3_ERR_INVALID_TEXT;
  }
  return ZR3_ERR_INTERNAL;
}

}  // namespace

ZR3_STATUS JudgeRecord(const Sample& sample, const std::optional<TagTraits>& tag,
                       std::int64_t newest_ms, WriteOrder order) {
  if (!tag) return ZR3_ERR_TAG_NOT_FOUND;
  if (sample.type != tag->type) return ZR3_ERR_TYPE_MISMATCH;
  const ZR3_STATUS value_status = StatusOf(CheckValue(sample.type, sample.value));
  if (value_status != ZR3_OK) return value_status;
  if (sample.time_ms < 0 || sample.time_ms > kMaxTimeMs) return ZR3_ERR_INVALID_TIME;
  if (order == WriteOrder::kInOrder && !MovesForward(sample.time_ms, newest_ms)) {
    return ZR3_ERR_OUT_OF_ORDER;
  }
  return ZR3_OK;
}

}  // namespace zervane
