#include "vask/tag_properties.h"

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <iterator>
#include <span>
#include <string>

#include "api/words/tag_columns.h"
#include "engine/assert.h"

namespace zervane {
namespace {

// Where the property of a column stands in the C record.
struct RecordMember {
  std::int32_t column;
  std::size_t offset;
};

constexpr RecordMember kCommonMembers[] = {
    {ZR3_TAG_COL_COMM_PROP_TAG_NAME, offsetof(ZR3CommTagProp, szTagName)},
    {ZR3_TAG_COL_COMM_PROP_ARCHIVING, offsetof(ZR3CommTagProp, bArchiving)},
    {ZR3_TAG_COL_COMM_PROP_CHANGE_DATE, offsetof(ZR3CommTagProp, nChangeDate)},
    {ZR3_TAG_COL_COMM_PROP_CHANGER, offsetof(ZR3CommTagProp, szChanger)},
    {ZR3_TAG_COL_COMM_PROP_COMP_DEV, offsetof(ZR3CommTagProp, fCompDev)},
    {ZR3_TAG_COL_COMM_PROP_COMP_MAX_TIME, offsetof(ZR3CommTagProp, nCompMaxTime)},
    {ZR3_TAG_COL_COMM_PROP_COMP_TYPE, offsetof(ZR3CommTagProp, nCompType)},
    {ZR3_TAG_COL_COMM_PROP_CREATION_DATE, offsetof(ZR3CommTagProp, nCreationDate)},
    {ZR3_TAG_COL_COMM_PROP_CREATOR, offsetof(ZR3CommTagProp, szCreator)},
    {ZR3_TAG_COL_COMM_PROP_REC_ACCESS, offsetof(ZR3CommTagProp, nRecAccess)},
    {ZR3_TAG_COL_COMM_PROP_REC_NORMAL_GROUP, offsetof(ZR3CommTagProp, szRecNormalGroup)},
    {ZR3_TAG_COL_COMM_PROP_REC_OWNER_GROUP, offsetof(ZR3CommTagProp, szRecOwnerGroup)},
    {ZR3_TAG_COL_COMM_PROP_DESCRIPTOR, offsetof(ZR3CommTagProp, szDescriptor)},
    {ZR3_TAG_COL_COMM_PROP_DIGITAL_SET, offsetof(ZR3CommTagProp, szDigitalSet)},
    {ZR3_TAG_COL_COMM_PROP_ENG_UNITS, offsetof(ZR3CommTagProp, szEngUnits)},
    {ZR3_TAG_COL_COMM_PROP_EXC_MAX_TIME, offsetof(ZR3CommTagProp, nExcMaxTime)},
    {ZR3_TAG_COL_COMM_PROP_EXC_DEV, offsetof(ZR3CommTagProp, fExcDev)},
    {ZR3_TAG_COL_COMM_PROP_TAGID, offsetof(ZR3CommTagProp, nTagID)},
    {ZR3_TAG_COL_COMM_PROP_TAG_TYPE, offsetof(ZR3CommTagProp, nTagType)},
    {ZR3_TAG_COL_COMM_PROP_TAG_ACCESS, offsetof(ZR3CommTagProp, nTagAccess)},
    {ZR3_TAG_COL_COMM_PROP_TAG_NORMAL_GROUP, offsetof(ZR3CommTagProp, szTagNormalGroup)},
    {ZR3_TAG_COL_COMM_PROP_TAG_OWNER_GROUP, offsetof(ZR3CommTagProp, szTagOwnerGroup)},
    {ZR3_TAG_COL_COMM_PROP_SCAN, offsetof(ZR3CommTagProp, bScan)},
    {ZR3_TAG_COL_COMM_PROP_SPAN, offsetof(ZR3CommTagProp, fSpan)},
    {ZR3_TAG_COL_COMM_PROP_MIN_VALUE, offsetof(ZR3CommTagProp, fMinValue)},
    {ZR3_TAG_COL_COMM_PROP_TAG_CLASS, offsetof(ZR3CommTagProp, nTagClass)},
    {ZR3_TAG_COL_COMM_PROP_TAG_AVALIABLE, offsetof(ZR3CommTagProp, nTagAvaliable)},
    {ZR3_TAG_COL_COMM_PROP_PARAM1, offsetof(ZR3CommTagProp, nParam1)},
    {ZR3_TAG_COL_COMM_PROP_PARAM2, offsetof(ZR3CommTagProp, nParam2)},
    {ZR3_TAG_COL_COMM_PROP_PARAM3, offsetof(ZR3CommTagProp, nParam3)},
    {ZR3_TAG_COL_COMM_PROP_PARAM4, offsetof(ZR3CommTagProp, nParam4)},
    {ZR3_TAG_COL_COMM_PROP_PARAM5, offsetof(ZR3CommTagProp, nParam5)},
    {ZR3_TAG_COL_COMM_PROP_OPCREALSE, offsetof(ZR3CommTagProp, nOpcState)},
    {ZR3_TAG_COL_COMM_PROP_IMV_STRING, offsetof(ZR3CommTagProp, szIMVString)},
    {ZR3_TAG_COL_COMM_PROP_EXT_STRING1, offsetof(ZR3CommTagProp, szExtString1)},
    {ZR3_TAG_COL_COMM_PROP_EXT_STRING2, offsetof(ZR3CommTagProp, szExtString2)},
};

constexpr RecordMember kPointMembers[] = {
    {ZR3_TAG_COL_PT_EXT_PROP_INSTRUMENT_ADDRESS, offsetof(ZR3PtTagProp, szInstrumentAddress)},
    {ZR3_TAG_COL_PT_EXT_PROP_INSTRUMENT_ADDRESS_TYPE,
     offsetof(ZR3PtTagProp, nInstrumentAddressType)},
    {ZR3_TAG_COL_PT_EXT_PROP_COLLECTOR_NAME, offsetof(ZR3PtTagProp, szCollectorName)},
    {ZR3_TAG_COL_PT_EXT_PROP_COLLECTOR_ID, offsetof(ZR3PtTagProp, nCollectorID)},
    {ZR3_TAG_COL_PT_EXT_PROP_DEVICE_NAME, offsetof(ZR3PtTagProp, szDeviceName)},
    {ZR3_TAG_COL_PT_EXT_PROP_DEVICE_ID, offsetof(ZR3PtTagProp, nDeviceID)},
    {ZR3_TAG_COL_PT_EXT_PROP_SCAN_GROUP_NAME, offsetof(ZR3PtTagProp, szScanGroupName)},
    {ZR3_TAG_COL_PT_EXT_PROP_SCAN_GROUP_ID, offsetof(ZR3PtTagProp, nScanGroupID)},
    {ZR3_TAG_COL_PT_EXT_PROP_DATA_ORDER, offsetof(ZR3PtTagProp, nDataOrder)},
};

// Member i belongs to column (first + i), as the domain's column i does.
constexpr bool StandInOrder(std::span<const RecordMember> members, std::int32_t first) {
  for (const RecordMember& member : members) {
    if (member.column != first++) return false;
  }
  return true;
}
static_assert(StandInOrder(kCommonMembers, ZR3_TAG_COL_COMM_PROP_MIN));
static_assert(std::size(kCommonMembers) == ZR3_TAG_COL_COMM_PROP_MAX + 1);
static_assert(StandInOrder(kPointMembers, ZR3_TAG_COL_PT_EXT_PROP_MIN));
static_assert(std::size(kPointMembers) ==
              ZR3_TAG_COL_PT_EXT_PROP_MAX - ZR3_TAG_COL_PT_EXT_PROP_MIN + 1);

// What the C records keep of a property: texts in arrays, flags in a byte, the others as they are.

template <typename T>
bool Load(const char* from, const PropertyColumn&, T* to) {
  std::memcpy(to, from, sizeof *to);
  return true;
}

bool Load(const char* from, const PropertyColumn&, bool* to) {
  *to = *from != 0;
  return true;
}

// False when the text does not end within its array.
bool Load(const char* from, const PropertyColumn& column, std::string* to) {
  const std::size_t size = strnlen(from, column.array_bytes);
  if (size == column.array_bytes) return false;
  to->assign(from, size);
  return true;
}

template <typename T>
void Save(const T& from, const PropertyColumn&, char* to) {
  std::memcpy(to, &from, sizeof from);
}

void Save(bool from, const PropertyColumn&, char* to) { *to = from ? 1 : 0; }

// The record was cleared, so the text ends with what follows it.
void Save(const std::string& from, const PropertyColumn& column, char* to) {
  // NOLINTNEXTLINE(bugprone-not-null-terminated-result)
  std::memcpy(to, from.data(), std::min(from.size(), column.array_bytes - 1));
}

Status ReadMembers(const void* record, std::span<const RecordMember> members,
                   std::span<const PropertyColumn> columns, std::int64_t mask, Tag* properties) {
  ZERVANE_ASSERT(members.size() == columns.size());
  for (std::size_t i = 0; i < members.size(); ++i) {
    if ((mask >> i & 1) == 0) continue;
    const char* from = static_cast<const char*>(record) + members[i].offset;
    const bool fits = VisitProperty(
        columns[i], *properties, [&](auto& property) { return Load(from, columns[i], &property); });
    if (!fits) {
      return {ZR3_ERR_INVALID_TEXT, std::string(columns[i].name) + " is not terminated"};
    }
  }
  return {};
}

void FillMembers(const Tag& properties, std::span<const RecordMember> members,
                 std::span<const PropertyColumn> columns, void* record) {
  ZERVANE_ASSERT(members.size() == columns.size());
  for (std::size_t i = 0; i < members.size(); ++i) {
    char* to = static_cast<char*>(record) + members[i].offset;
    VisitProperty(columns[i], properties,
                  [&](const auto& property) { Save(property, columns[i], to); });
  }
}

}  // namespace

PropertyMask ReadMask(const ZR3Mask& mask) {
  return {.common = mask.nCommMask, .extension = mask.nExtMask};
}

PropertyMask ReadMaskToAdd(const ZR3Mask& mask) {
  PropertyMask selected = ReadMask(mask);
  selected.common |= std::int64_t{1} << ZR3_TAG_COL_COMM_PROP_TAG_NAME;
  return selected;
}

Result<Tag> ReadCommonProperties(const void* record, PropertyMask mask) {
  Tag properties;
  Status status = ReadMembers(record, kCommonMembers, CommonColumns(), mask.common, &properties);
  if (!status.ok()) return status;
  return properties;
}

Result<Tag> ReadPointTag(const ZR3PtTagProp& record, PropertyMask mask) {
  Result<Tag> properties = ReadCommonProperties(&record, mask);
  if (!properties.ok()) return properties;
  Status status = ReadMembers(&record, kPointMembers, PointColumns(), mask.extension, &*properties);
  if (!status.ok()) return status;
  return properties;
}

void FillPointTag(const Tag& properties, ZR3PtTagProp* record) {
  std::memset(record, 0, sizeof *record);
  FillMembers(properties, kCommonMembers, CommonColumns(), record);
  FillMembers(properties, kPointMembers, PointColumns(), record);
}

}  // namespace zervane
