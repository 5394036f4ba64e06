#include "engine/write/acceptance.h"

namespace zervane {

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

ZR3_STATUS JudgeSample(const Sample& sample, const std::optional<TagTraits>& tag) {
  if (!tag) return ZR3_ERR_TAG_NOT_FOUND;
  // Columns do not keep the kind of a value.
  if (CheckValue(sample.type, sample.value) == ValueFault::kWrongType) return ZR3_ERR_TYPE_MISMATCH;
  SampleColumns columns;
  columns.Add(sample);
  return JudgeStored(columns, 0, tag);
}

}  // namespace zervane
