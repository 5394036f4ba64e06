#include "vask/tag_properties.h"

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <optional>
#include <span>
#include <string>
#include <string_view>

#include "api/words/tag_columns.h"
#include "engine/assert.h"
#include "vask/tag_members.h"

namespace zervane {
namespace {

// What the C records keep of a property: texts in arrays, flags in a byte, the others as they are.
// Load answers false for a text that does not end within its array, or does not convert.
template <typename T>
bool Load(const char* from, const PropertyColumn&, StandardText&, T* to) {
  std::memcpy(to, from, sizeof *to);
  return true;
}

bool Load(const char* from, const PropertyColumn&, StandardText&, bool* to) {
  *to = *from != 0;
  return true;
}

bool Load(const char* from, const PropertyColumn& column, StandardText& texts, std::string* to) {
  const std::optional<std::string_view> text = ReadText(texts, from, column.array_bytes);
  if (text) to->assign(*text);
  return text.has_value();
}

template <typename T>
void Save(const T& from, const PropertyColumn&, StandardText&, char* to) {
  std::memcpy(to, &from, sizeof from);
}

void Save(bool from, const PropertyColumn&, StandardText&, char* to) { *to = from ? 1 : 0; }

void Save(const std::string& from, const PropertyColumn& column, StandardText& texts, char* to) {
  WriteText(texts, from, to, column.array_bytes);
}

std::size_t BytesInRecord(const PropertyColumn& column) {
  switch (column.kind) {
    case PropertyKind::kText:
      return column.array_bytes;
    case PropertyKind::kFlag:
    case PropertyKind::kByte:
      return 1;
    case PropertyKind::kInt32:
    case PropertyKind::kUint32:
    case PropertyKind::kFloat32:
      return 4;
    case PropertyKind::kFloat64:
      break;
  }
  return 8;
}

Status ReadMembers(const void* record, std::span<const RecordMember> members,
                   std::span<const PropertyColumn> columns, std::int64_t mask, StandardText& texts,
                   Tag* properties) {
  ZERVANE_ASSERT(members.size() == columns.size());
  for (std::size_t i = 0; i < members.size(); ++i) {
    if (!SelectsBit(mask, i)) continue;
    const char* from = static_cast<const char*>(record) + members[i].offset;
    ZERVANE_ASSERT(members[i].bytes == BytesInRecord(columns[i]));
    const bool is_read = VisitProperty(columns[i], *properties, [&](auto& property) {
      return Load(from, columns[i], texts, &property);
    });
    if (!is_read) {
      return {ZR3_ERR_INVALID_TEXT,
              std::string(columns[i].name) + " is not terminated, or does not convert"};
    }
  }
  return {};
}

void FillMembers(const Tag& properties, std::span<const RecordMember> members,
                 std::span<const PropertyColumn> columns, StandardText& texts, void* record) {
  ZERVANE_ASSERT(members.size() == columns.size());
  for (std::size_t i = 0; i < members.size(); ++i) {
    ZERVANE_ASSERT(members[i].bytes == BytesInRecord(columns[i]));
    char* to = static_cast<char*>(record) + members[i].offset;
    VisitProperty(columns[i], properties,
                  [&](const auto& property) { Save(property, columns[i], texts, to); });
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

Result<Tag> ReadTag(const void* record, std::int32_t tag_class, PropertyMask mask,
                    StandardText& texts) {
  Tag tag;
  tag.own = DefaultOwnProperties(tag_class);
  Status status = ReadMembers(record, CommonMembers(), CommonColumns(), mask.common, texts, &tag);
  if (!status.ok()) return status;
  status = ReadMembers(record, OwnMembers(tag_class), OwnColumns(tag_class), mask.extension, texts,
                       &tag);
  if (!status.ok()) return status;
  return tag;
}

void FillTag(const Tag& tag, StandardText& texts, void* record) {
  const std::int32_t tag_class = ClassOf(tag.own);
  std::memset(record, 0, TagRecordBytes(tag_class));
  FillMembers(tag, CommonMembers(), CommonColumns(), texts, record);
  FillMembers(tag, OwnMembers(tag_class), OwnColumns(tag_class), texts, record);
}

void FillCommonProperties(const Tag& tag, StandardText& texts, ZR3CommTagProp* record) {
  std::memset(record, 0, sizeof *record);
  FillMembers(tag, CommonMembers(), CommonColumns(), texts, record);
}

}  // namespace zervane
