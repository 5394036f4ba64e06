#include "engine/catalogue/rules.h"

#include <spdlog/fmt/fmt.h>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <limits>
#include <span>
#include <utility>
#include <variant>

namespace zervane {
namespace {

bool IsControl(char c) {
  const auto byte = static_cast<unsigned char>(c);
  return byte < 0x20 || byte == 0x7F;
}

bool Selects(std::int64_t mask, std::size_t bit) { return ((mask >> bit) & 1) != 0; }

bool HasUnknownBit(std::int64_t mask, std::size_t known_bits) {
  return mask != -1 && (static_cast<std::uint64_t>(mask) >> known_bits) != 0;
}

// Whether one property of a tag is outside its range.
struct IsOutOfRange {
  const Tag& tag;
  const PropertyColumn& column;

  bool operator()(std::string Tag::*member) const {
    const std::string& text = tag.*member;
    return text.size() > column.max_bytes || text.find('\0') != std::string::npos;
  }
  bool operator()(std::int32_t Tag::*member) const {
    const std::int32_t number = tag.*member;
    if (column.non_negative && number < 0) return true;
    return column.min <= column.max && (number < column.min || number > column.max);
  }
  bool operator()(float Tag::*member) const {
    const float number = tag.*member;
    return !std::isfinite(number) || (column.non_negative && number < 0);
  }
  template <typename T>
  bool operator()(T Tag::*) const {
    return false;
  }
};

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
    if (std::visit(IsOutOfRange{tag, column}, column.member)) {
      return {FaultOf(column), fmt::format("'{}': {} is out of range", tag.name, column.name)};
    }
  }
  return {};
}

void CopySelected(std::span<const PropertyColumn> columns, std::int64_t mask,
                  const Tag& from, Tag& to) {
  for (std::size_t bit = 0; bit < columns.size(); ++bit) {
    if (!Selects(mask, bit)) continue;
    std::visit([&](auto member) { to.*member = from.*member; }, columns[bit].member);
  }
}

void CopySelected(const PropertyMask& mask, const Tag& from, Tag& to) {
  CopySelected(CommonColumns(), mask.common, from, to);
  CopySelected(PointColumns(), mask.extension, from, to);
}

}  // namespace

std::string FoldName(std::string_view name) {
  std::string folded(name);
  for (char& c : folded) {
    if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
  }
  return folded;
}

Status CheckName(std::string_view name) {
  const bool has_control = std::any_of(name.begin(), name.end(), IsControl);
  if (!name.empty() && name.size() < ZR3_LEN_TAG_NAME && !has_control) return {};
  return {ZR3_ERR_INVALID_TAG_NAME, fmt::format("a name of {} bytes{}", name.size(),
                                                has_control ? " with control characters" : "")};
}

Status CheckMask(const PropertyMask& mask) {
  if (!HasUnknownBit(mask.common, CommonColumns().size()) &&
      !HasUnknownBit(mask.extension, PointColumns().size())) {
    return {};
  }
  return {ZR3_ERR_INVALID_MASK, fmt::format("mask {:#x}, {:#x}", mask.common, mask.extension)};
}

bool SelectsCommon(const PropertyMask& mask, std::int32_t column) {
  return Selects(mask.common, static_cast<std::size_t>(column));
}

Status CheckProperties(const Tag& tag) {
  if (Status status = CheckName(tag.name); !status.ok()) return status;
  if (Status status = CheckColumns(tag, CommonColumns()); !status.ok()) return status;
  if (tag.tag_class != ZR3_TAG_CLASS_BASIC) {
    return {ZR3_ERR_INVALID_TAG_CLASS, fmt::format("'{}': class {}", tag.name, tag.tag_class)};
  }
  return CheckColumns(tag, PointColumns());
}

Stamp MakeStamp(std::int64_t now_ms, std::string user) {
  const std::int64_t latest = std::numeric_limits<std::uint32_t>::max();
  const std::int64_t seconds = std::clamp<std::int64_t>(now_ms / 1000, 0, latest);
  return {static_cast<std::uint32_t>(seconds), std::move(user)};
}

Tag NewTag(const Tag& given, const PropertyMask& mask, const Stamp& stamp) {
  Tag tag;
  CopySelected(mask, given, tag);
  tag.name = given.name;
  tag.id = 0;
  if (tag.creation_date == 0) tag.creation_date = stamp.date;
  if (tag.creator.empty()) tag.creator = stamp.user;
  if (tag.change_date == 0) tag.change_date = stamp.date;
  if (tag.changer.empty()) tag.changer = stamp.user;
  return tag;
}

Tag ChangedTag(const Tag& tag, const Tag& given,
                         const PropertyMask& mask, const Stamp& stamp) {
  Tag changed = tag;
  changed.change_date = 0;
  changed.changer.clear();
  CopySelected(mask, given, changed);
  changed.id = tag.id;
  if (changed.creation_date == 0) changed.creation_date = tag.creation_date;
  if (changed.creator.empty()) changed.creator = tag.creator;
  if (changed.change_date == 0) changed.change_date = stamp.date;
  if (changed.changer.empty()) changed.changer = stamp.user;
  return changed;
}

Status NoSuchTag(TagId id) { return {ZR3_ERR_TAG_NOT_FOUND, fmt::format("tag {}", id)}; }

}  // namespace zervane
