#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>
#include <type_traits>
#include <utility>

#include "api/words/tag.h"

// The properties of tags as columns, listed once for each class: masks, rules, search conditions,
// the table of tags, messages and the records of the client API are made from the lists.
namespace zervane {

enum class PropertyKind : std::uint8_t {
  kText,     // std::string
  kFlag,     // bool
  kByte,     // std::uint8_t
  kInt32,    // std::int32_t, enumerations too
  kUint32,   // std::uint32_t
  kFloat32,  // float
  kFloat64,  // double
};

// One property.
struct PropertyColumn {
  std::int32_t column;  // ZR3_TAG_COL_...
  const char* name;     // as in the table of tags
  PropertyKind kind;
  void* (*address)(Tag&);  // of the property in a tag that has it; for VisitProperty
  std::int32_t min = 0;    // bounds of an enumeration; none when min > max
  std::int32_t max = -1;
  std::size_t array_bytes = 0;  // of a text's array in the client API's record, with the terminator
  bool non_negative = false;    // of a number

  // A text may take that many bytes: a character that is one byte for a caller is at most three in
  // UTF-8.
  constexpr std::size_t max_bytes() const { return array_bytes == 0 ? 0 : 3 * (array_bytes - 1); }
};

// The columns of every class (numbers 0 to 35), and those that each class has of its own, in order
// of number without a gap.
std::span<const PropertyColumn> CommonColumns();
std::span<const PropertyColumn> PointColumns();        // from 100 on
std::span<const PropertyColumn> AlarmColumns();        // from 200 on
std::span<const PropertyColumn> StatisticsColumns();   // from 400 on
std::span<const PropertyColumn> CalculationColumns();  // from 500 on

// The own columns of a class (ZR3_TAG_CLASS_...); none for one whose tags have no properties of
// their own.
std::span<const PropertyColumn> OwnColumns(std::int32_t tag_class);

// The class that tags with such own properties are of.
std::int32_t ClassOf(const OwnProperties& own);

// The own properties of a new tag of the class, at their defaults; those of a point tag for a class
// without own columns.
OwnProperties DefaultOwnProperties(std::int32_t tag_class);

// Sets every property to 0 or empty, which are not the defaults of all. The own ones become those
// of the class.
void ClearProperties(Tag& tag, std::int32_t tag_class);

// visit(value) with the property of the column: a std::string&, bool&, std::uint8_t&, ... , or the
// same const. REQUIRES: it is a common column, or one of the tag's own (std::bad_variant_access).
template <typename Visit>
decltype(auto) VisitProperty(const PropertyColumn& column, Tag& tag, Visit&& visit);
template <typename Visit>
decltype(auto) VisitProperty(const PropertyColumn& column, const Tag& tag, Visit&& visit);

// Whether the mask has no bit but those of the first `columns` columns, or is -1.
constexpr bool IsMaskOf(std::int64_t mask, std::size_t columns) {
  return mask == -1 || static_cast<std::uint64_t>(mask) >> columns == 0;
}

// REQUIRES: both tags have the column.
void CopyProperty(const PropertyColumn& column, const Tag& from, Tag& to);

// visit(column) for the common columns, then for the own ones of the tag.
template <typename Visit>
void ForEachColumn(const Tag& tag, Visit&& visit) {
  for (const PropertyColumn& column : CommonColumns()) visit(column);
  for (const PropertyColumn& column : OwnColumns(ClassOf(tag.own))) visit(column);
}

// ---- implementation ----

template <typename Visit>
decltype(auto) VisitProperty(const PropertyColumn& column, Tag& tag, Visit&& visit) {
  void* const property = column.address(tag);
  switch (column.kind) {
    case PropertyKind::kText:
      return visit(*static_cast<std::string*>(property));
    case PropertyKind::kFlag:
      return visit(*static_cast<bool*>(property));
    case PropertyKind::kByte:
      return visit(*static_cast<std::uint8_t*>(property));
    case PropertyKind::kInt32:
      return visit(*static_cast<std::int32_t*>(property));
    case PropertyKind::kUint32:
      return visit(*static_cast<std::uint32_t*>(property));
    case PropertyKind::kFloat32:
      return visit(*static_cast<float*>(property));
    case PropertyKind::kFloat64:
      break;
  }
  return visit(*static_cast<double*>(property));
}

template <typename Visit>
decltype(auto) VisitProperty(const PropertyColumn& column, const Tag& tag, Visit&& visit) {
  // The address is made for tags that may change; through it this one is only read.
  return VisitProperty(column, const_cast<Tag&>(tag), [&](auto& property) -> decltype(auto) {
    return visit(std::as_const(property));
  });
}

}  // namespace zervane
