#include "tag_fields.h"

#include <cstring>

namespace zervane::bridge {
namespace {

constexpr std::array<FieldRow, 8> kPointRows{{
    TextRow("m_instrumentPoint", offsetof(ZR3PtTagProp, szInstrumentAddress)),
    // kept: a byte field read as an int; only its low byte is sent.
    {"m_instrumentPointType",
     "B",
     {Conv::kIntOfByte},
     Conv::kByte,
     offsetof(ZR3PtTagProp, nInstrumentAddressType)},
    TextRow("m_CollectorName", offsetof(ZR3PtTagProp, szCollectorName)),
    Row("m_CollectorID", "I", Conv::kInt, offsetof(ZR3PtTagProp, nCollectorID)),
    TextRow("m_DeviceName", offsetof(ZR3PtTagProp, szDeviceName)),
    // kept: never read; a new tag is sent with device identifier 0.
    OutRow("m_DeviceID", "I", Conv::kInt, offsetof(ZR3PtTagProp, nDeviceID)),
    TextRow("m_ScanGroupName", offsetof(ZR3PtTagProp, szScanGroupName)),
    Row("m_ScanGroupID", "I", Conv::kInt, offsetof(ZR3PtTagProp, nScanGroupID)),
}};

constexpr std::array<FieldRow, 5> kParameterRows{{
    Row("m_param1", "B", Conv::kByte, offsetof(CommonProp, nParam1)),
    Row("m_param2", "B", Conv::kByte, offsetof(CommonProp, nParam2)),
    Row("m_param3", "B", Conv::kByte, offsetof(CommonProp, nParam3)),
    Row("m_param4", "B", Conv::kByte, offsetof(CommonProp, nParam4)),
    Row("m_param5", "B", Conv::kByte, offsetof(CommonProp, nParam5)),
}};

constexpr auto kPointTagRows = JoinRows(kCommonTagRows, kPointRows, kParameterRows);
static_assert(kPointTagRows.size() == 39);

constexpr auto kCommonTagClassRows = JoinRows(kTagNameRows, kTagClassRow, kTagRows, kParameterRows);
static_assert(kCommonTagClassRows.size() == 31);

}  // namespace

const ClassTable kPointTag{"com/talvoro/zrjni/ZRJniTagProp", kPointTagRows};
const ClassTable kCommonTag{"com/talvoro/zrjni/ZRJniCommTagProp", kCommonTagClassRows};

void ReadTag(JNIEnv* env, const ClassTable& table, jobject tag, size_t cleared, void* record) {
  const Binding fields(env, table);
  memset(record, 0, cleared);
  fields.Read(tag, record);
}

}  // namespace zervane::bridge
