#include "engine/catalogue/rules.h"

#include <spdlog/fmt/fmt.h>

#include <algorithm>
#include <cmath>
#include <concepts>
#include <cstddef>
#include <limits>
#include <span>
#include <utility>

#include "api/words/tag_columns.h"
#include "api/words/utf8.h"

namespace zervane {
namespace {

bool IsControl(char c) {
  const auto byte = static_cast<unsigned char>(c);
  return byte < 0x20 || byte == 0x7F;
}

// Whether one property of a tag is outside its range.
struct IsOutOfRange {
  const PropertyColumn& column;

  bool operator()(const std::string& text) const {
    return text.size() > column.max_bytes() || text.find('\0') != std::string::npos;
  }
  bool operator()(std::int32_t number) const {
    if (column.non_negative && number < 0) return true;
    return column.min <= column.max && (number < column.min || number > column.max);
  }
  template <std::floating_point T>
  bool operator()(T number) const {
    return !std::isfinite(number) || (column.non_negative && number < 0);
  }
  template <typename T>
  bool operator()(T) const {
    return false;
  }
};

bool IsValidText(const std::string& text) { return IsUtf8(text); }
template <typename T>
bool IsValidText(T) {
  return true;
}

ZR3_STATUS FaultOf(const PropertyColumn& column) {
  switch (column.column) {
    case ZR3_TAG_COL_COMM_PROP_TAG_TYPE:
      return ZR3_ERR_INVALID_TAG_TYPE;
    case ZR3_TAG_COL_COMM_PROP_TAG_CLASS:
      return ZR3_ERR_INVALID_TAG_CLASS;
    default:
      return ZR3_ERR_INVALID_PROPERTY;
  }
}

Status CheckColumns(const Tag& tag, std::span<const PropertyColumn> columns) {
  for (const PropertyColumn& column : columns) {
    if (VisitProperty(column, tag, IsOutOfRange{column})) {
      return {FaultOf(column), fmt::format("'{}': {} is out of range", tag.name, column.name)};
    }
    if (!VisitProperty(column, tag, [](const auto& property) { return IsValidText(property); })) {
      return {ZR3_ERR_INVALID_TEXT, fmt::format("'{}': {} is not UTF-8", tag.name, column.name)};
    }
  }
  return {};
}

void CopySelected(std::span<const PropertyColumn> columns, std::int64_t mask, const Tag& from,
                  Tag& to) {
  for (std::size_t bit = 0; bit < columns.size(); ++bit) {
    if (SelectsBit(mask, bit)) CopyProperty(columns[bit], from, to);
  }
}

// REQUIRES: both have own properties of one class.
void CopySelected(const PropertyMask& mask, const Tag& from, Tag& to) {
  CopySelected(CommonColumns(), mask.common, from, to);
  CopySelected(OwnColumns(ClassOf(to.own)), mask.extension, from, to);
}

}  // namespace

Status CheckName(std::string_view name) {
  static const std::size_t max_bytes = CommonColumns()[ZR3_TAG_COL_COMM_PROP_TAG_NAME].max_bytes();
  const bool has_control = std::any_of(name.begin(), name.end(), IsControl);
  if (name.empty() || name.size() > max_bytes || has_control) {
    return {ZR3_ERR_INVALID_TAG_NAME, fmt::format("a name of {} bytes{}", name.size(),
                                                  has_control ? " with control characters" : "")};
  }
  if (!IsUtf8(name)) return {ZR3_ERR_INVALID_TEXT, "a name that is not UTF-8"};
  return {};
}

Status CheckMask(const PropertyMask& mask, std::int32_t tag_class) {
  if (IsMaskOf(mask.common, CommonColumns().size()) &&
      IsMaskOf(mask.extension, OwnColumns(tag_class).size())) {
    return {};
  }
  return {ZR3_ERR_INVALID_MASK, fmt::format("mask {:#x}, {:#x}", mask.common, mask.extension)};
}

Status CheckProperties(const Tag& tag) {
  if (Status status = CheckName(tag.name); !status.ok()) return status;
  if (Status status = CheckColumns(tag, CommonColumns()); !status.ok()) return status;
  if (tag.tag_class == ZR3_TAG_CLASS_SPC || tag.tag_class == ZR3_TAG_CLASS_SYS) {
    return {ZR3_ERR_NOT_SUPPORTED, fmt::format("'{}': class {}", tag.name, tag.tag_class)};
  }
  if (tag.tag_class != ClassOf(tag.own)) {
    return {ZR3_ERR_INVALID_TAG_CLASS, fmt::format("'{}': class {}", tag.name, tag.tag_class)};
  }
  return CheckColumns(tag, OwnColumns(tag.tag_class));
}

Stamp MakeStamp(std::int64_t now_ms, std::string user) {
  const std::int64_t latest = std::numeric_limits<std::uint32_t>::max();
  const std::int64_t seconds = std::clamp<std::int64_t>(now_ms / 1000, 0, latest);
  return {static_cast<std::uint32_t>(seconds), std::move(user)};
}

Tag NewTag(const Tag& given, const PropertyMask& mask, const Stamp& stamp) {
  Tag tag;
  tag.tag_class = ClassOf(given.own);
  tag.own = DefaultOwnProperties(tag.tag_class);
  CopySelected(mask, given, tag);
  tag.name = given.name;
  tag.id = 0;
  if (tag.creation_date == 0) tag.creation_date = stamp.date;
  if (tag.creator.empty()) tag.creator = stamp.user;
  if (tag.change_date == 0) tag.change_date = stamp.date;
  if (tag.changer.empty()) tag.changer = stamp.user;
  return tag;
}

Tag ChangedTag(const Tag& tag, const Tag& given, const PropertyMask& mask, const Stamp& stamp) {
  Tag changed = tag;
  changed.change_date = 0;
  changed.changer.clear();
  const bool has_own = given.own.index() == tag.own.index();
  CopySelected({mask.common, has_own ? mask.extension : 0}, given, changed);
  changed.id = tag.id;
  if (changed.creation_date == 0) changed.creation_date = tag.creation_date;
  if (changed.creator.empty()) changed.creator = tag.creator;
  if (changed.change_date == 0) changed.change_date = stamp.date;
  if (changed.changer.empty()) changed.changer = stamp.user;
  return changed;
}

Status NoSuchTag(TagId id) { return {ZR3_ERR_TAG_NOT_FOUND, fmt::format("tag {}", id)}; }

}  // namespace zervane
