// Reading current values, of one tag and of many.
#include <cstring>

#include "native.h"
#include "records.h"

using namespace zervane::bridge;

namespace {

// Gives a STRING or BLOB record the buffer that the API fills; false when there is no memory. The
// buffer is cleared, so that a record the API did not fill holds an empty text.
bool AddReadBuffer(ZR3Record* record) {
  if (!HasBuffer(record->nTagType)) return true;
  const int size = TagTypeLen[record->nTagType];
  record->value.strBlob.pBuf = MallocCleared<char>(size).release();
  record->value.strBlob.nLenBuf = static_cast<uint16>(size);
  return record->value.strBlob.pBuf != nullptr;
}

void FreeReadBuffer(const ZR3Record& record) {
  if (HasBuffer(record.nTagType)) free(record.value.strBlob.pBuf);
}

// Learns every tag's type and prepares its record. A tag whose type is not known is sent with
// identifier 0; the server then answers for its slot. False when a buffer could not be had.
bool PrepareRecords(jint count, uint32* ids, ZR3Record* records) {
  for (jint i = 0; i < count; ++i) {
    records[i].nTagType = 0;
    if (pt3_query_tag_type(ids[i], &records[i].nTagType) != 0) ids[i] = 0;
    // kept: the buffers of the records before a failed one are not freed.
    if (!AddReadBuffer(&records[i])) return false;
  }
  return true;
}

}  // namespace

// Fills `record` on status 0. The type is the server's.
ZR_NATIVE(jint, querySnapShot)
(JNIEnv* env, jclass, jint tag_id, jbyte type_argument, jobject record_out) {
  const Binding fields(env, kRecord);
  ZR3Record record;
  memset(&record, 0, sizeof record);
  ZR3_TAG_TYPE type = type_argument;  // kept: no effect, as the server's type overwrites it.
  const int32 type_status = pt3_query_tag_type(tag_id, &type);
  if (type_status != 0) return type_status;
  record.nTagType = type;
  if (!AddReadBuffer(&record)) return type_status;  // kept: no memory reads as success.
  const int32 status = sn3_query_snapshot(tag_id, &record);
  if (status == 0) WriteRecord(fields, record, record_out);
  if (HasBuffer(type)) free(record.value.strBlob.pBuf);
  return status;
}

// Stores the error codes and a new record for every tag, whatever the status.
ZR_NATIVE(jint, querySnapShots)
(JNIEnv* env, jclass, jintArray tag_ids, jint count, jobjectArray records_out,
 jintArray error_codes) {
  const Binding fields(env, kRecord);
  const auto ids = MallocArray<jint>(count);
  if (!ids) return kFailed;
  env->GetIntArrayRegion(tag_ids, 0, count, ids.get());
  const auto records = MallocCleared<ZR3Record>(count);
  if (!records) return kFailed;
  const auto codes = MallocArray<jint>(count);
  if (!codes) return kFailed;
  auto* const api_ids = reinterpret_cast<uint32*>(ids.get());
  if (!PrepareRecords(count, api_ids, records.get())) return kFailed;
  const int32 status = sn3_query_snapshots(count, api_ids, records.get(), codes.get());
  env->SetIntArrayRegion(error_codes, 0, count, codes.get());
  for (jint i = 0; i < count; ++i) StoreNewRecord(fields, records[i], records_out, i);
  for (jint i = 0; i < count; ++i) FreeReadBuffer(records[i]);
  return status;
}
