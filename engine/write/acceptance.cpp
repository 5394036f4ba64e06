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

}  // namespace zervane
