// Settings of the client side, and the server's clock.
#include "holders.h"
#include "native.h"

using namespace zervane::bridge;

ZR_NATIVE(void, setRequestTimeout)(JNIEnv*, jclass, jint timeout) {
  ut3_set_request_timeout(timeout);  // kept: the result is dropped.
}

ZR_NATIVE(void, setAPIOption)(JNIEnv*, jclass, jint option) {
  ut3_set_api_option(option);  // kept: the result is dropped.
}

ZR_NATIVE(void, setRequestCacheCapacity)(JNIEnv*, jclass, jint capacity) {
  ut3_set_request_cache_capacity(capacity);  // kept: the result is dropped.
}

// The server's time in milliseconds, stored on status 0.
ZR_NATIVE(jint, getServerMsTime)(JNIEnv* env, jclass, jobject ms_time) {
  const Binding holder(env, kLongWrapper);
  int64 now = 0;
  const int32 status = ut3_get_server_ms_time(&now);
  return StoreOnSuccess(status, holder, &now, ms_time);
}
