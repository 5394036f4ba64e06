// Values at given instants, computed between archived records. The instants are the times of the
// objects in the caller's array; the results replace those objects.
#include "memory.h"
#include "native.h"
#include "records.h"

using namespace zervane::bridge;

namespace {

using Records = MallocPtr<ZR3Record[]>;
using Slots = MallocPtr<ValueSlot[]>;
using Codes = MallocPtr<jint[]>;

// Whether the result is delivered: whole, or but for the instants whose codes tell why.
bool IsDelivered(int32 status) { return status == 0 || status == ZR3_ERR_SOME_INSTANTS_FAILED; }

// kept: only the mode's low 8 bits are sent; 256 is mode 0.
ZR3_REC_INTERP_QUERY_MODE AsMode(jint mode) { return static_cast<ZR3_REC_INTERP_QUERY_MODE>(mode); }

void ReadInstants(const Binding& fields, jobjectArray elements, jint count, ZR3Record* records) {
  for (jint i = 0; i < count; ++i) {
    ReadRecordTime(fields, TakeElement(fields, elements, i), &records[i]);
  }
}

// Stores the error codes, then a new record for every instant; one that failed has only its time.
void StoreResults(const Binding& fields, const ZR3Record* records, const jint* codes, jint count,
                  jobjectArray records_out, jintArray error_codes) {
  JNIEnv* const env = fields.env();
  env->SetIntArrayRegion(error_codes, 0, count, codes);
  for (jint i = 0; i < count; ++i) {
    const jobject object = fields.Allocate();
    WriteRecordTime(fields, records[i], object);
    if (codes[i] == 0) WriteRecordValue(fields, records[i], object);
    env->SetObjectArrayElement(records_out, i, object);
  }
}

// Computes values of one tag. With `presets_type` the first record is sent with the tag's type.
jint QueryOneTag(JNIEnv* env, ZR3_REC_INTERP_QUERY_MODE mode, bool presets_type, jint tag_id,
                 jint count, jobjectArray elements, jintArray error_codes) {
  const Binding fields(env, kRecord);
  Records records = MallocCleared<ZR3Record>(count);
  if (!records) return 0;  // kept: no memory reads as success without records.
  ZR3_TAG_TYPE type = 0;
  int32 status = pt3_query_tag_type(tag_id, &type);
  if (status != 0) {
    LeakOnPurpose(std::move(records));  // kept: the records are not freed here.
    return status;
  }
  // kept: only the first record is sent with the type; the others are sent as INT8.
  if (presets_type && count > 0) records[0].nTagType = type;
  Slots slots;
  if (HasBuffer(type)) {
    slots = MallocCleared<ValueSlot>(count);
    if (!slots) return 0;  // kept: no memory for the values does so too.
    UseSlots(records.get(), count, slots.get());
  }
  const Codes codes = MallocCleared<jint>(count);
  if (!codes) return 0;  // kept: no memory for the codes does so too.
  ReadInstants(fields, elements, count, records.get());
  status = ar3_query_interp_records_by_mode(mode, tag_id, count, records.get(), codes.get());
  if (!IsDelivered(status)) return status;
  StoreResults(fields, records.get(), codes.get(), count, elements, error_codes);
  return 0;  // kept: a partial success reads as success; the codes tell.
}

// Gives the record of every STRING or BLOB tag its slot, in a block of its own. False when the
// query ends here with *status: that of a type that cannot be had, or 0 for want of memory.
bool AddSlots(jint count, const uint32* ids, ZR3Record* records, Slots* slots, int32* status) {
  for (jint i = 0; i < count; ++i) {
    ZR3_TAG_TYPE type = 0;
    *status = pt3_query_tag_type(ids[i], &type);
    if (*status != 0) return false;
    if (!HasBuffer(type)) continue;
    LeakOnPurpose(std::move(*slots));  // kept: only the last tag's block is freed.
    *slots = MallocCleared<ValueSlot>(count);
    if (!*slots) return false;
    UseSlot(records, i, slots->get());
  }
  return true;
}

}  // namespace

// Values of one tag, linear between the neighbouring records.
ZR_NATIVE(jint, queryInterpRecords)
(JNIEnv* env, jclass, jint tag_id, jbyte /*kept: the type argument has no effect*/, jint count,
 jobjectArray elements, jintArray error_codes) {
  return QueryOneTag(env, ZR3_REC_INTERP_QUERY_MODE_LINEAR, true, tag_id, count, elements,
                     error_codes);
}

// The same in the caller's mode.
ZR_NATIVE(jint, queryInterpRecordsByMode)
(JNIEnv* env, jclass, jint tag_id, jbyte /*kept: the type argument has no effect*/, jint count,
 jobjectArray elements, jintArray error_codes, jint mode) {
  // kept: here no record's type is preset.
  return QueryOneTag(env, AsMode(mode), false, tag_id, count, elements, error_codes);
}

// One instant for each of many tags.
ZR_NATIVE(jint, queryTagsInterpRecordsByMode)
(JNIEnv* env, jclass, jint mode, jintArray tag_ids, jint count, jobjectArray elements,
 jintArray error_codes) {
  const Binding fields(env, kRecord);
  const Records records = MallocCleared<ZR3Record>(count);
  if (!records) return 0;  // kept: no memory reads as success without records.
  // kept: the identifier array is pinned and never released.
  const jint* const ids = env->GetIntArrayElements(tag_ids, nullptr);
  const auto* const api_ids = reinterpret_cast<const uint32*>(ids);
  int32 status = 0;
  Slots slots;
  if (!AddSlots(count, api_ids, records.get(), &slots, &status)) return status;
  const Codes codes = MallocCleared<jint>(count);
  if (!codes) return 0;  // kept: no memory for the codes does so too.
  ReadInstants(fields, elements, count, records.get());
  status = ar3_query_tags_interp_records_by_mode(AsMode(mode), count, api_ids, records.get(),
                                                 codes.get());
  if (!IsDelivered(status)) return status;
  StoreResults(fields, records.get(), codes.get(), count, elements, error_codes);
  return status;  // kept: unlike the queries of one tag, this one tells a partial success.
}
