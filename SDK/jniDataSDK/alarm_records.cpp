// Reading alarm records through iterators, of tags and of groups, and the latest alarm of tags.
#include <cstring>

#include "alarm_fields.h"
#include "holders.h"
#include "iterators.h"
#include "memory.h"
#include "native.h"

using namespace zervane::bridge;

namespace {

// am3_query_tag_records and am3_query_group_records.
using QueryCall = int32 (*)(uint32, const ZR3AlarmQuery*, int64, ZR3HANDLE*);

// Copies identifiers out of a Java array, whose length is not checked; null on any failure.
MallocPtr<uint32[]> CopyIds(JNIEnv* env, jintArray tag_ids, jint count) {
  auto ids = MallocCleared<uint32>(count);
  if (!ids) return nullptr;
  // kept: the identifier array is pinned and never released.
  const jint* const elements = env->GetIntArrayElements(tag_ids, nullptr);
  if (elements == nullptr) return nullptr;
  memcpy(ids.get(), elements, static_cast<size_t>(count) * sizeof(uint32));
  return ids;
}

// Queries the records of many tags and stores the iterator's handle.
jint QueryTagsIntoHolder(JNIEnv* env, jintArray tag_ids, jint count, jobject query_object,
                         jlong prop_mask, jobject iterator_holder) {
  const Binding holder(env, kLongWrapper);
  const ZR3AlarmQuery query = ReadAlarmQuery(env, query_object);
  const auto ids = CopyIds(env, tag_ids, count);
  if (!ids) return kFailed;
  ZR3HANDLE iterator;
  const int32 status = am3_query_tags_all_records(count, ids.get(), &query, prop_mask, &iterator);
  return StoreHandleAlways(status, holder, iterator, iterator_holder);
}

// Queries the records of one tag or group and stores the iterator's handle.
jint QueryIntoHolder(JNIEnv* env, QueryCall call, jint id, jobject query_object, jlong prop_mask,
                     jobject iterator_holder) {
  const Binding holder(env, kLongWrapper);
  const ZR3AlarmQuery query = ReadAlarmQuery(env, query_object);
  ZR3HANDLE iterator;
  const int32 status = call(id, &query, prop_mask, &iterator);
  return StoreHandleAlways(status, holder, iterator, iterator_holder);
}

// The same with the handle, or -1, as the result.
jint QueryNarrow(JNIEnv* env, QueryCall call, jint id, jobject query_object, jlong prop_mask) {
  const ZR3AlarmQuery query = ReadAlarmQuery(env, query_object);
  ZR3HANDLE iterator;
  const int32 status = call(id, &query, prop_mask, &iterator);
  return NarrowHandle(status, iterator);
}

// Stores a new object for every record, whatever its error code.
void StoreSnapshots(const Binding& fields, const ZR3AlarmRecord* records, jint count,
                    jobjectArray records_out) {
  const ZR3AlarmRecord* commented = nullptr;  // a record with a comment, once there was one
  for (jint i = 0; i < count; ++i) {
    const ZR3AlarmRecord& record = records[i];
    const jobject object = fields.Allocate();
    if (record.szComment[0] != '\0') commented = &record;
    // kept: from the first record with a comment on, every record is reported as commented.
    WriteAlarmRecord(fields, record, commented != nullptr ? *commented : record, object);
    fields.env()->SetObjectArrayElement(records_out, i, object);
  }
}

}  // namespace

ZR_NATIVE(jint, queryAllAlarmRecordsHandle)
(JNIEnv* env, jclass, jintArray tag_ids, jint count, jobject query, jlong prop_mask,
 jobject iterator_holder) {
  return QueryTagsIntoHolder(env, tag_ids, count, query, prop_mask, iterator_holder);
}

ZR_NATIVE(jint, queryAllAlarmRecordsEx)
(JNIEnv* env, jclass, jintArray tag_ids, jint count, jobject query, jlong prop_mask,
 jobject iterator_holder) {
  return QueryTagsIntoHolder(env, tag_ids, count, query, prop_mask, iterator_holder);
}

// The iterator's handle, or -1.
ZR_NATIVE(jint, queryAllAlarmRecords)
(JNIEnv* env, jclass, jintArray tag_ids, jint count, jobject query_object, jlong prop_mask) {
  const ZR3AlarmQuery query = ReadAlarmQuery(env, query_object);
  const auto ids = CopyIds(env, tag_ids, count);
  if (!ids) return kFailed;
  ZR3HANDLE iterator;
  const int32 status = am3_query_tags_all_records(count, ids.get(), &query, prop_mask, &iterator);
  return NarrowHandle(status, iterator);
}

ZR_NATIVE(jint, queryAlarmRecordsEx)
(JNIEnv* env, jclass, jint tag_id, jobject query, jlong prop_mask, jobject iterator_holder) {
  return QueryIntoHolder(env, am3_query_tag_records, tag_id, query, prop_mask, iterator_holder);
}

ZR_NATIVE(jint, queryAlarmRecords)
(JNIEnv* env, jclass, jint tag_id, jobject query, jlong prop_mask) {
  return QueryNarrow(env, am3_query_tag_records, tag_id, query, prop_mask);
}

ZR_NATIVE(jint, queryAlarmGroupRecordsEx)
(JNIEnv* env, jclass, jint group_id, jobject query, jlong prop_mask, jobject iterator_holder) {
  return QueryIntoHolder(env, am3_query_group_records, group_id, query, prop_mask, iterator_holder);
}

ZR_NATIVE(jint, queryAlarmGroupRecords)
(JNIEnv* env, jclass, jint group_id, jobject query, jlong prop_mask) {
  return QueryNarrow(env, am3_query_group_records, group_id, query, prop_mask);
}

// The next record of a query for tags; a zero handle does not reach the API.
ZR_NATIVE(jint, getAmTagRecordsItemStep)
(JNIEnv* env, jclass, jlong iterator, jobject record_out) {
  const Binding fields(env, kAlarmRecord);
  if (iterator == 0) return ZR3_ERR_INVALID_HANDLE;
  ZR3AlarmRecord record;
  const int32 status = ut3_get_item_step(AsHandle(iterator), &record);
  return StoreOnSuccess(status, fields, &record, record_out);
}

// The next record of a query for a group.
// kept: a zero handle goes to the API like any other, unlike that of a query for tags.
ZR_NATIVE(jint, getAmGroupRecordsItemStep)
(JNIEnv* env, jclass, jlong iterator, jobject record_out) {
  ZR3AlarmRecord record;
  return StepItem(env, iterator, kGroupAlarmRecord, &record, record_out);
}

// The latest alarm of one tag. The result is the status, or on status 0 the tag's error code; the
// record is written when both are 0.
ZR_NATIVE(jint, queryAlarmSnapshot)
(JNIEnv* env, jclass, jint tag_id, jlong prop_mask, jobject record_out) {
  const Binding fields(env, kAlarmRecord);
  const auto id = static_cast<uint32>(tag_id);
  ZR3AlarmRecord record;
  int32 code = 0;
  const int32 status = am3_query_snapshots(1, &id, prop_mask, &record, &code);
  return StoreOnSuccess(status != 0 ? status : code, fields, &record, record_out);
}

// The latest alarm of many tags. Error codes and a new record for every tag are stored on status 0
// and when some tags failed; the result is then 0.
ZR_NATIVE(jint, queryAlarmSnapshots)
(JNIEnv* env, jclass, jintArray tag_ids, jint count, jlong prop_mask, jobjectArray records_out,
 jintArray error_codes) {
  const Binding fields(env, kAlarmRecord);
  const auto ids = MallocArray<jint>(count);
  if (!ids) return kFailed;
  env->GetIntArrayRegion(tag_ids, 0, count, ids.get());
  const auto records = MallocCleared<ZR3AlarmRecord>(count);
  if (!records) return kFailed;
  const auto codes = MallocCleared<jint>(count);
  if (!codes) return kFailed;
  const int32 status = am3_query_snapshots(count, reinterpret_cast<const uint32*>(ids.get()),
                                           prop_mask, records.get(), codes.get());
  if (status != 0 && status != ZR3_ERR_SOME_ALARMS_FAILED) return status;
  env->SetIntArrayRegion(error_codes, 0, count, codes.get());
  StoreSnapshots(fields, records.get(), count, records_out);
  return 0;
}
