// Batches of subscribed changes between two native calls. Each lies in a holder from malloc, whose
// address travels to Java as the batch's handle; 0 is no batch. A handle is trusted.
#ifndef ZERVANE_BRIDGE_BATCH_HANDLE_H
#define ZERVANE_BRIDGE_BATCH_HANDLE_H

#include <cstdlib>

#include "holders.h"
#include "native.h"

namespace zervane::bridge {

template <typename Batch>
Batch* AsBatch(jlong handle) {
  return reinterpret_cast<Batch*>(handle);
}

// Lets `take` fill a new holder, which is not cleared, and stores its handle on status 0.
template <typename Batch>
jint TakeBatch(JNIEnv* env, int32 (*take)(Batch*), jobject handle_wrapper) {
  const Binding wrapper(env, kLongWrapper);
  auto* const batch = static_cast<Batch*>(malloc(sizeof(Batch)));
  if (batch == nullptr) return kFailed;
  const int32 status = take(batch);
  // kept: when nothing was taken, the holder is not freed.
  return StoreOnSuccess(status, wrapper, &batch, handle_wrapper);
}

}  // namespace zervane::bridge

#endif
