// Subscribing to changes of current values, by tag or by tag and field, and taking the changes that
// have come, batch by batch.
#include "batch_handle.h"
#include "memory.h"
#include "native.h"
#include "records.h"

using namespace zervane::bridge;

namespace {

constexpr const char* kTagFieldPath = "com/talvoro/zrjni/TagInfoWithField";

constexpr FieldRow kTagFieldRows[] = {
    InRow("m_nTagID", "I", Conv::kInt, offsetof(ZRRegInfo, nTagID)),
    InRow("m_nFieldID", "I", Conv::kInt, offsetof(ZRRegInfo, nFieldID)),
};
constexpr ClassTable kTagField{kTagFieldPath, kTagFieldRows};

// kept: int fields read as bytes; only the low 8 bits, sign-extended, are unregistered.
constexpr FieldRow kTagFieldByteRows[] = {
    InRow("m_nTagID", "I", Conv::kByteOfInt, offsetof(ZRRegInfo, nTagID)),
    InRow("m_nFieldID", "I", Conv::kByteOfInt, offsetof(ZRRegInfo, nFieldID)),
};
constexpr ClassTable kTagFieldBytes{kTagFieldPath, kTagFieldByteRows};

// A batch of changes; the API owns the two arrays.
struct RegTagSnHandle {
  int32 nRecNum;
  uint32* pTagIDs;
  ZR3Record* pRecs;
};

using TagsCall = int32 (*)(int32, const uint32*);
using PairsCall = int32 (*)(int32, const ZRRegInfo*);

jint CallWithTags(JNIEnv* env, TagsCall call, jint count, jintArray tag_ids) {
  const auto ids = MallocArray<jint>(count);
  if (!ids) return kFailed;
  env->GetIntArrayRegion(tag_ids, 0, count, ids.get());
  return call(count, reinterpret_cast<const uint32*>(ids.get()));
}

jint CallWithPairs(JNIEnv* env, PairsCall call, const ClassTable& table, jint count,
                   jobjectArray pairs) {
  const Binding fields(env, table);
  const auto infos = MallocCleared<ZRRegInfo>(count);
  if (!infos) return kFailed;
  for (jint i = 0; i < count; ++i) fields.Read(TakeElement(fields, pairs, i), &infos[i]);
  return call(count, infos.get());
}

int32 Register(int32 count, const uint32* ids) {
  return sn3_register_callback(count, ids, nullptr);
}

int32 Take(RegTagSnHandle* batch) {
  return sn3_get_callback_sn(&batch->nRecNum, &batch->pTagIDs, &batch->pRecs);
}

}  // namespace

ZR_NATIVE(jint, registerSnCallback)(JNIEnv* env, jclass, jint count, jintArray tag_ids) {
  return CallWithTags(env, Register, count, tag_ids);
}

ZR_NATIVE(jint, unregisterSnCallback)(JNIEnv* env, jclass, jint count, jintArray tag_ids) {
  return CallWithTags(env, sn3_unregister_callback_of_sometag, count, tag_ids);
}

ZR_NATIVE(jint, register_1rest)(JNIEnv* env, jclass, jint count, jobjectArray pairs) {
  return CallWithPairs(env, sn3_register_rest, kTagField, count, pairs);
}

ZR_NATIVE(jint, unregister_1rest)(JNIEnv* env, jclass, jint count, jobjectArray pairs) {
  return CallWithPairs(env, sn3_unregister_callback_rest, kTagFieldBytes, count, pairs);
}

// Takes the changes that have come; the batch's handle is stored on status 0.
ZR_NATIVE(jint, getRegisterTagSnHandle)(JNIEnv* env, jclass, jobject handle_wrapper) {
  return TakeBatch(env, Take, handle_wrapper);
}

ZR_NATIVE(jint, getRegisterTagSnNum)(JNIEnv*, jclass, jlong handle) {
  return handle == 0 ? 0 : AsBatch<RegTagSnHandle>(handle)->nRecNum;
}

// Stores a new record for each change, then the tags they belong to.
ZR_NATIVE(void, getRegisterTagSn)
(JNIEnv* env, jclass, jlong handle, jintArray tag_ids, jobjectArray records_out) {
  if (handle == 0) return;
  const RegTagSnHandle& batch = *AsBatch<RegTagSnHandle>(handle);
  const Binding fields(env, kRecord);
  for (jint i = 0; i < batch.nRecNum; ++i) StoreNewRecord(fields, batch.pRecs[i], records_out, i);
  env->SetIntArrayRegion(tag_ids, 0, batch.nRecNum, reinterpret_cast<const jint*>(batch.pTagIDs));
}

ZR_NATIVE(void, freeRegisterTagSnHandle)(JNIEnv*, jclass, jlong handle) {
  if (handle == 0) return;
  auto* const batch = AsBatch<RegTagSnHandle>(handle);
  sn3_free_callback_sn(batch->nRecNum, batch->pTagIDs, batch->pRecs);
  free(batch);
}
