// Writing values: of one tag, of many, without waiting, and out of time order. Every record's type
// is the server's, never the caller's.
#include "native.h"
#include "records.h"

using namespace zervane::bridge;

namespace {

using SaveCall = int32 (*)(int32, const uint32*, const ZR3Record*, int32*);

void FreeValue(ZR3_TAG_TYPE type, const ZR3Record& record) {
  if (HasBuffer(type)) free(record.value.strBlob.pBuf);
}

// Converts every element by its tag's type. Stops at the first type that cannot be had, and returns
// that status.
int32 ReadRecords(const Binding& fields, jint count, const uint32* ids, jobjectArray elements,
                  ZR3Record* records) {
  for (jint i = 0; i < count; ++i) {
    ZR3_TAG_TYPE type = 0;
    const int32 status = pt3_query_tag_type(ids[i], &type);
    // kept: the values of the records before the failed one are not freed.
    if (status != 0) return status;
    ReadRecord(fields, TakeElement(fields, elements, i), type, &records[i]);
  }
  return 0;
}

// Frees the records' values. Which record has one is asked of the server again; when that fails,
// its status counts and the remaining values are not freed.
int32 FreeValues(jint count, const uint32* ids, const ZR3Record* records) {
  for (jint i = 0; i < count; ++i) {
    ZR3_TAG_TYPE type = 0;
    const int32 status = pt3_query_tag_type(ids[i], &type);
    // kept: a type that cannot be had again hides the save's status, and values leak.
    if (status != 0) return status;
    FreeValue(type, records[i]);
  }
  return 0;
}

// saveSnapshots and saveSnapshotsNowait. The error codes are stored whatever the save's status.
jint SaveInOrder(JNIEnv* env, SaveCall save, jintArray tag_ids, jint count, jobjectArray elements,
                 jintArray error_codes) {
  const Binding fields(env, kRecord);
  const auto ids = MallocArray<jint>(count);
  if (!ids) return kFailed;
  env->GetIntArrayRegion(tag_ids, 0, count, ids.get());
  const auto* const api_ids = reinterpret_cast<const uint32*>(ids.get());
  auto records = MallocCleared<ZR3Record>(count);
  if (!records) return kFailed;
  const auto codes = MallocCleared<jint>(count);
  if (!codes) {
    LeakOnPurpose(std::move(records));  // kept: the records are not freed here.
    return kFailed;
  }
  const int32 read_status = ReadRecords(fields, count, api_ids, elements, records.get());
  if (read_status != 0) return read_status;
  const int32 status = save(count, api_ids, records.get(), codes.get());
  env->SetIntArrayRegion(error_codes, 0, count, codes.get());
  const int32 free_status = FreeValues(count, api_ids, records.get());
  return free_status != 0 ? free_status : status;
}

}  // namespace

ZR_NATIVE(jint, saveSnapShot)
(JNIEnv* env, jclass, jint tag_id, jbyte /*kept: the type argument is not used*/, jobject element) {
  const Binding fields(env, kRecord);
  ZR3_TAG_TYPE type = 0;
  const int32 type_status = pt3_query_tag_type(tag_id, &type);
  if (type_status != 0) return type_status;
  // kept: the record is not cleared; the slots of other types hold no defined value.
  ZR3Record record;
  ReadRecord(fields, element, type, &record);
  const int32 status = sn3_save_snapshot(tag_id, &record);
  FreeValue(type, record);
  return status;
}

ZR_NATIVE(jint, saveSnapshots)
(JNIEnv* env, jclass, jintArray tag_ids, jint count, jobjectArray elements, jintArray error_codes) {
  return SaveInOrder(env, sn3_save_snapshots, tag_ids, count, elements, error_codes);
}

ZR_NATIVE(jint, saveSnapshotsNowait)
(JNIEnv* env, jclass, jintArray tag_ids, jint count, jobjectArray elements, jintArray error_codes) {
  return SaveInOrder(env, sn3_save_snapshots_nowait, tag_ids, count, elements, error_codes);
}

// Records of one tag.
// kept: the per-record codes do not reach Java; the status alone tells.
ZR_NATIVE(jint, saveDisorderSnapshots)
(JNIEnv* env, jclass, jint count, jint tag_id, jobjectArray elements) {
  const Binding fields(env, kRecord);
  const auto records = MallocCleared<ZR3Record>(count);
  if (!records) return kFailed;
  ZR3_TAG_TYPE type = 0;
  const int32 type_status = pt3_query_tag_type(tag_id, &type);
  if (type_status != 0) return type_status;
  for (jint i = 0; i < count; ++i) {
    ReadRecord(fields, TakeElement(fields, elements, i), type, &records[i]);
  }
  // kept: the error codes are neither checked for memory nor cleared.
  const auto codes = MallocArray<jint>(count);
  const int32 status = sn3_save_disorder_snapshots(count, tag_id, records.get(), codes.get());
  for (jint i = 0; i < count; ++i) FreeValue(type, records[i]);
  return status;
}

// Records of many tags. The error codes are stored whatever the save's status.
ZR_NATIVE(jint, saveTagsDisorderSnapshots)
(JNIEnv* env, jclass, jint count, jintArray tag_ids, jobjectArray elements, jintArray error_codes) {
  const Binding fields(env, kRecord);
  const auto ids = MallocArray<jint>(count);
  if (!ids) return kFailed;
  env->GetIntArrayRegion(tag_ids, 0, count, ids.get());
  const auto* const api_ids = reinterpret_cast<const uint32*>(ids.get());
  const auto records = MallocCleared<ZR3Record>(count);
  if (!records) return kFailed;
  const int32 read_status = ReadRecords(fields, count, api_ids, elements, records.get());
  if (read_status != 0) return read_status;
  // kept: the error codes are neither checked for memory nor cleared.
  const auto codes = MallocArray<jint>(count);
  const int32 status = sn3_save_tags_disorder_snapshots(count, api_ids, records.get(), codes.get());
  env->SetIntArrayRegion(error_codes, 0, count, codes.get());
  const int32 free_status = FreeValues(count, api_ids, records.get());
  return free_status != 0 ? free_status : status;
}
