#include "records.h"

namespace zervane::bridge {
namespace {

constexpr FieldRow kTimeRows[] = {
    InRow("nSec", "I", Conv::kInt, offsetof(ZR3Time, nSec)),
    InRow("nMsec", "S", Conv::kShort, offsetof(ZR3Time, nMsec)),
};

// The header, then one row for each tag type in the order of the types.
constexpr FieldRow kRecordRows[] = {
    Row("nSec", "I", Conv::kInt, offsetof(ZR3Record, nSec)),
    Row("nMsec", "S", Conv::kShort, offsetof(ZR3Record, nMsec)),
    Row("nQuality", "I", Conv::kQuality, offsetof(ZR3Record, nQuality)),
    // kept: never read; the type comes from the server or from the method's argument.
    OutRow("nTagType", "B", Conv::kEnum, offsetof(ZR3Record, nTagType)),
    Row("nInt8", "B", Conv::kByte, offsetof(ZR3Record, value.nInt8)),
    Row("nInt16", "S", Conv::kShort, offsetof(ZR3Record, value.nInt16)),
    Row("nInt32", "I", Conv::kInt, offsetof(ZR3Record, value.nInt32)),
    Row("fFloat32", "F", Conv::kFloat, offsetof(ZR3Record, value.fFloat32)),
    Row("fFloat64", "D", Conv::kDouble, offsetof(ZR3Record, value.fFloat64)),
    Row("nDigital", "B", Conv::kByte, offsetof(ZR3Record, value.nDigital)),
    Row("strValue", kString, Conv::kTextBuffer, offsetof(ZR3Record, value.strBlob)),
    Row("byteValue", "[B", Conv::kBytesBuffer, offsetof(ZR3Record, value.strBlob)),
};

constexpr size_t kTimeRowCount = 2;    // nSec, nMsec
constexpr size_t kHeaderRowCount = 4;  // and nQuality, nTagType
static_assert(std::size(kRecordRows) == kHeaderRowCount + ZR3_TAG_TYPE_MAX + 1);

bool IsTagType(ZR3_TAG_TYPE type) { return type >= ZR3_TAG_TYPE_MIN && type <= ZR3_TAG_TYPE_MAX; }

size_t ValueRow(ZR3_TAG_TYPE type) { return kHeaderRowCount + static_cast<size_t>(type); }

}  // namespace

const ClassTable kTime{"com/talvoro/zrjni/ZRJniTime", kTimeRows};
const ClassTable kRecord{"com/talvoro/zrjni/ZRJniRecord", kRecordRows};

ZR3Time ReadTime(const Binding& time_fields, jobject time) {
  ZR3Time result;
  time_fields.Read(time, &result);
  return result;
}

ZR3TimeRegion ReadClosedRegion(const Binding& time_fields, jobject start, jobject end) {
  ZR3TimeRegion region;
  region.left = ReadTime(time_fields, start);
  region.right = ReadTime(time_fields, end);
  region.bLeftClosed = 1;
  region.bRightClosed = 1;
  return region;
}

void ReadRecord(const Binding& fields, jobject object, ZR3_TAG_TYPE type, ZR3Record* record) {
  fields.ReadRows(0, kHeaderRowCount, object, record);
  record->nTagType = type;
  if (IsTagType(type)) fields.ReadRows(ValueRow(type), 1, object, record);
}

void ReadRecordTime(const Binding& fields, jobject object, ZR3Record* record) {
  fields.ReadRows(0, kTimeRowCount, object, record);
}

void WriteRecord(const Binding& fields, const ZR3Record& record, jobject object) {
  WriteRecordTime(fields, record, object);
  WriteRecordValue(fields, record, object);
}

void WriteRecordTime(const Binding& fields, const ZR3Record& record, jobject object) {
  fields.WriteRows(0, kTimeRowCount, &record, object);
}

void WriteRecordValue(const Binding& fields, const ZR3Record& record, jobject object) {
  fields.WriteRows(kTimeRowCount, kHeaderRowCount - kTimeRowCount, &record, object);
  if (IsTagType(record.nTagType)) fields.WriteRows(ValueRow(record.nTagType), 1, &record, object);
}

jobject TakeElement(const Binding& fields, jobjectArray array, jint index) {
  fields.Allocate();  // kept: an object is made for every element and dropped unused.
  return fields.env()->GetObjectArrayElement(array, index);
}

void StoreNewRecord(const Binding& fields, const ZR3Record& record, jobjectArray array,
                    jint index) {
  const jobject object = fields.Allocate();
  WriteRecord(fields, record, object);
  fields.env()->SetObjectArrayElement(array, index, object);
}

void UseSlot(ZR3Record* records, jint index, ValueSlot* slots) {
  ZR3StrBlob& blob = records[index].value.strBlob;
  blob.pBuf = slots[index].bytes;
  blob.nLenBuf = sizeof(ValueSlot);
}

void UseSlots(ZR3Record* records, jint count, ValueSlot* slots) {
  for (jint i = 0; i < count; ++i) UseSlot(records, i, slots);
}

}  // namespace zervane::bridge
