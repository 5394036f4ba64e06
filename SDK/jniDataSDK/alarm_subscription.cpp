// Collecting new alarm records and taking those that have come, batch by batch.
#include "alarm_fields.h"
#include "batch_handle.h"
#include "native.h"

using namespace zervane::bridge;

namespace {

// A batch of alarm records; the API owns the array.
struct RegTagAmHandle {
  int32 nRecNum;
  ZR3AlarmRecord* pRecs;
};

int32 Take(RegTagAmHandle* batch) { return am3_get_callback_am(&batch->nRecNum, &batch->pRecs); }

}  // namespace

ZR_NATIVE(jint, registerAmCallback)(JNIEnv*, jclass) {
  return am3_register_alarm_record_info(nullptr);
}

// Takes the records that have come; the batch's handle is stored on status 0.
ZR_NATIVE(jint, getRegisterTagAmHandle)(JNIEnv* env, jclass, jobject handle_wrapper) {
  return TakeBatch(env, Take, handle_wrapper);
}

ZR_NATIVE(jint, getRegisterTagAmNum)(JNIEnv*, jclass, jlong handle) {
  return handle == 0 ? 0 : AsBatch<RegTagAmHandle>(handle)->nRecNum;
}

// Stores a new object for each record.
ZR_NATIVE(void, getRegisterTagAm)
(JNIEnv* env, jclass, jlong handle, jobjectArray records_out) {
  if (handle == 0) return;
  const RegTagAmHandle& batch = *AsBatch<RegTagAmHandle>(handle);
  const Binding fields(env, kSubscribedAlarmRecord);
  for (jint i = 0; i < batch.nRecNum; ++i) StoreNew(fields, &batch.pRecs[i], records_out, i);
}

ZR_NATIVE(void, freeRegisterTagAmHandle)(JNIEnv*, jclass, jlong handle) {
  if (handle == 0) return;
  auto* const batch = AsBatch<RegTagAmHandle>(handle);
  if (batch->pRecs != nullptr) am3_free_callback_am(batch->nRecNum, batch->pRecs);
  free(batch);
}
