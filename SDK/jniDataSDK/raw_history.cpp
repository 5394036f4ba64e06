// Archived records: their number in an interval, the records of an interval, and a number of
// records from a start time on.
#include "holders.h"
#include "native.h"
#include "records.h"

using namespace zervane::bridge;

namespace {

// Looks the record's fields up and stores a new record for each of the first `count`.
void StoreRecords(JNIEnv* env, const FoundClass& record_class, const ZR3Record* records, jint count,
                  jobjectArray records_out) {
  const Binding fields(env, record_class);
  for (jint i = 0; i < count; ++i) StoreNewRecord(fields, records[i], records_out, i);
}

// Gives the records of a STRING or BLOB tag one block of slots to be read into; false when there is
// no memory for it.
bool AddSlots(ZR3_TAG_TYPE type, jint count, ZR3Record* records, MallocPtr<ValueSlot[]>* slots) {
  if (!HasBuffer(type)) return true;
  *slots = MallocArray<ValueSlot>(count);
  if (!*slots) return false;
  UseSlots(records, count, slots->get());
  return true;
}

}  // namespace

// The number of records from start to end, both included; stored on status 0.
ZR_NATIVE(jint, queryRawRecordsCount)
(JNIEnv* env, jclass, jint tag_id, jobject start, jobject end, jobject count_holder) {
  const FoundClass time_class = Find(env, kTime);
  const Binding holder(env, kIntWrapper);
  const Binding time_fields(env, time_class);
  const ZR3TimeRegion region = ReadClosedRegion(time_fields, start, end);
  int32 count = 0;
  const int32 status = ar3_query_raw_records_number(tag_id, &region, &count);
  return StoreOnSuccess(status, holder, &count, count_holder);
}

// The records from start to end, both included. A new record is stored for each that was found.
ZR_NATIVE(jint, queryRawRecords)
(JNIEnv* env, jclass, jint tag_id, jbyte /*kept: the type argument has no effect*/, jobject start,
 jobject end, jint capacity, jobjectArray records_out) {
  const FoundClass time_class = Find(env, kTime);
  const FoundClass record_class = Find(env, kRecord);
  const Binding time_fields(env, time_class);
  const ZR3TimeRegion region = ReadClosedRegion(time_fields, start, end);
  int32 count = capacity;
  const auto records = MallocCleared<ZR3Record>(capacity);
  if (!records) return 0;  // kept: no memory reads as success without records.
  ZR3_TAG_TYPE type = 0;
  int32 status = pt3_query_tag_type(tag_id, &type);
  if (status != 0) return status;
  MallocPtr<ValueSlot[]> slots;
  // kept: no memory for the values does so too.
  if (!AddSlots(type, capacity, records.get(), &slots)) return 0;
  status = ar3_query_raw_records(tag_id, &region, &count, records.get());
  if (status == 0) StoreRecords(env, record_class, records.get(), count, records_out);
  return status;
}

// Up to `capacity` records from a time on, forward or backward.
ZR_NATIVE(jint, querySpecifyNumRawRecords)
(JNIEnv* env, jclass, jint tag_id, jbyte preset_type, jobject start, jint backward, jint capacity,
 jobjectArray records_out) {
  const FoundClass time_class = Find(env, kTime);
  const FoundClass record_class = Find(env, kRecord);
  const Binding time_fields(env, time_class);
  const ZR3Time start_time = ReadTime(time_fields, start);
  int32 count = capacity;
  auto records = MallocCleared<ZR3Record>(capacity);
  if (!records) return 0;  // kept: no memory reads as success without records.
  ZR3_TAG_TYPE type = 0;
  int32 status = pt3_query_tag_type(tag_id, &type);
  if (status != 0) {
    LeakOnPurpose(std::move(records));  // kept: the records are not freed here.
    return status;
  }
  MallocPtr<ValueSlot[]> slots;
  // kept: no memory for the values does so too.
  if (!AddSlots(type, capacity, records.get(), &slots)) return 0;
  // kept: the caller's type is what the records are preset to, whatever the tag's.
  for (jint i = 0; i < capacity; ++i) records[i].nTagType = preset_type;
  status = ar3_query_specify_num_raw_recs(tag_id, &start_time, backward != 0 ? 1 : 0, &count,
                                          records.get());
  if (status == 0) StoreRecords(env, record_class, records.get(), count, records_out);
  return status;
}
