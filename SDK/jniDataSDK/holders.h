// The three holder classes through which results leave, each with one field `Value` that is only
// ever written. A holder's record is the bare value.
#ifndef ZERVANE_BRIDGE_HOLDERS_H
#define ZERVANE_BRIDGE_HOLDERS_H

#include "binding.h"

namespace zervane::bridge {

inline constexpr FieldRow kIntValue[] = {OutRow("Value", "I", Conv::kInt, 0)};
inline constexpr FieldRow kLongValue[] = {OutRow("Value", "J", Conv::kLong, 0)};
inline constexpr FieldRow kDoubleValue[] = {OutRow("Value", "D", Conv::kDouble, 0)};

inline constexpr ClassTable kIntWrapper{"com/talvoro/zrjni/IntWrapper", kIntValue};
inline constexpr ClassTable kLongWrapper{"com/talvoro/zrjni/LongWrapper", kLongValue};
inline constexpr ClassTable kDoubleWrapper{"com/talvoro/zrjni/DoubleWrapper", kDoubleValue};

// Writes an iterator handle into its holder whatever the status, and returns the status. The handle
// was not preset, so after a failure the caller sees whatever the API left there.
inline jint StoreHandleAlways(int32 status, const Binding& holder, const ZR3HANDLE& handle,
                              jobject wrapper) {
  holder.Write(&handle, wrapper);  // kept: the handle is written on failure too.
  return status;
}

}  // namespace zervane::bridge

#endif
