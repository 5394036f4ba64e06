#pragma once

#include "api/words/status.h"
#include "engine/assert.h"
#include "zr3Struct.h"

namespace zervane {

// Carries out Status each(int32 i) for every element of a batch, whose count has been looked at,
// with one code per element (codes may be null). An element that failed stops none after it; the
// result is then `some_failed`.
template <typename Each>
Status ForEach(int32 count, int32* codes, ZR3_STATUS some_failed, Each&& each) {
  ZERVANE_ASSERT(count >= 0);
  bool all_ok = true;
  for (int32 i = 0; i < count; ++i) {
    const Status status = each(i);
    if (codes != nullptr) codes[i] = status.code();
    all_ok = all_ok && status.ok();
  }
  return all_ok ? Status() : Status(some_failed, {});
}

}  // namespace zervane
