#include "recorder.h"

using zervane::recorder::Call;

namespace {

int64_t Token(ZR3HANDLE handle) { return reinterpret_cast<intptr_t>(handle); }

}  // namespace

int32 ut3_get_item_step(ZR3HANDLE hIterator, void* pItem) {
  return Call("ut3_get_item_step")
      .In("hIterator", Token(hIterator))
      .OutSized("pItem", pItem)
      .Status();
}

int32 ut3_free_handle(ZR3HANDLE hIterator) {
  return Call("ut3_free_handle").In("hIterator", Token(hIterator)).Status();
}

int32 ut3_set_request_timeout(int32 nTimeout) {
  return Call("ut3_set_request_timeout").In("nTimeout", nTimeout).Status();
}

int32 ut3_set_api_option(int64 nOption) {
  return Call("ut3_set_api_option").In("nOption", nOption).Status();
}

int32 ut3_set_request_cache_capacity(int32 nCapacity) {
  return Call("ut3_set_request_cache_capacity").In("nCapacity", nCapacity).Status();
}

int32 ut3_get_server_ms_time(int64* pMsTime) {
  return Call("ut3_get_server_ms_time").InOut("pMsTime", pMsTime).Status();
}

int32 ut3_send_rest_info(ZRRestCfg cfg) {
  return Call("ut3_send_rest_info").InRecord("cfg", &cfg).Status();
}
