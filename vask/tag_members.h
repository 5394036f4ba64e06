#pragma once

#include <cstddef>
#include <cstdint>
#include <span>

namespace zervane {

// Where the property of a column stands in the C record of its class of tags.
struct RecordMember {
  std::int32_t column;
  std::size_t offset;
  std::size_t bytes;
};

// The members that all tag records begin with, those of ZR3CommTagProp, and those that the record
// of a class has of its own: member i belongs to column i of CommonColumns() or of
// OwnColumns(class).
std::span<const RecordMember> CommonMembers();
std::span<const RecordMember> OwnMembers(std::int32_t tag_class);

// How many bytes the record of a class takes. REQUIRES: its tags have properties of their own.
std::size_t TagRecordBytes(std::int32_t tag_class);

}  // namespace zervane
