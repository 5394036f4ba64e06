// Replacing an archived record.
#include <cstdlib>

#include "native.h"
#include "records.h"

using namespace zervane::bridge;

// Gives the record at the object's time the object's quality and value. The type argument, not the
// tag's type nor the object's, selects the value; one outside 0..7 selects none.
ZR_NATIVE(jint, modifyRecord)
(JNIEnv* env, jclass, jint tag_id, jbyte type, jobject object) {
  const Binding fields(env, kRecord);
  // kept: the record is not cleared; the slots of other types hold no defined value.
  ZR3Record record;
  ReadRecord(fields, object, type, &record);
  const int32 status = ar3_modify_record(tag_id, &record);
  if (HasBuffer(type)) free(record.value.strBlob.pBuf);
  return status;
}
