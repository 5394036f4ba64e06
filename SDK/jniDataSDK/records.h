// Times and value records across the boundary.
#ifndef ZERVANE_BRIDGE_RECORDS_H
#define ZERVANE_BRIDGE_RECORDS_H

#include "binding.h"
#include "memory.h"
#include "zr3Struct.h"

namespace zervane::bridge {

extern const ClassTable kTime;    // ZRJniTime
extern const ClassTable kRecord;  // ZRJniRecord

// Bytes of one value by tag type; the last two size the buffers of STRING and BLOB reads.
inline constexpr int TagTypeLen[] = {1, 2, 4, 4, 8, 1, 1000, 1000};

// Whether a value of that type lies in a buffer of its own.
inline bool HasBuffer(ZR3_TAG_TYPE type) {
  return type == ZR3_TAG_TYPE_STRING || type == ZR3_TAG_TYPE_BLOB;
}

ZR3Time ReadTime(const Binding& time_fields, jobject time);

// The region from start to end, closed at both ends.
ZR3TimeRegion ReadClosedRegion(const Binding& time_fields, jobject start, jobject end);

// Reads the header and the one value that `type` selects; a type outside 0..7 selects none. The
// other slots stay as they were. A STRING or BLOB gets a new buffer, which the caller frees.
void ReadRecord(const Binding& fields, jobject object, ZR3_TAG_TYPE type, ZR3Record* record);

// Reads the time alone.
void ReadRecordTime(const Binding& fields, jobject object, ZR3Record* record);

// Writes the header and the one value that the record's type selects; the object's other fields
// stay as they were.
void WriteRecord(const Binding& fields, const ZR3Record& record, jobject object);

// WriteRecord in two steps: the time alone, and everything after it.
void WriteRecordTime(const Binding& fields, const ZR3Record& record, jobject object);
void WriteRecordValue(const Binding& fields, const ZR3Record& record, jobject object);

// Element `index` of an array of Java records that are about to be read.
jobject TakeElement(const Binding& fields, jobjectArray array, jint index);

// Stores a new Java record made from `record` at `index`, whatever stood there.
void StoreNewRecord(const Binding& fields, const ZR3Record& record, jobjectArray array, jint index);

// A value's share of a block that the values of a batch are read into.
struct ValueSlot {
  char bytes[1000];
};
static_assert(TagTypeLen[ZR3_TAG_TYPE_STRING] == sizeof(ValueSlot));
static_assert(TagTypeLen[ZR3_TAG_TYPE_BLOB] == sizeof(ValueSlot));

// Gives record `index` the slot of that index.
void UseSlot(ZR3Record* records, jint index, ValueSlot* slots);

// Gives every record its slot.
void UseSlots(ZR3Record* records, jint count, ValueSlot* slots);

}  // namespace zervane::bridge

#endif
