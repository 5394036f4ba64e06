#include "engine/catalogue/tag_layout.h"

#include <limits>

#include "engine/assert.h"

namespace zervane {
namespace {

// An enumeration takes no more than its bounds ask for.
std::size_t BytesOf(const PropertyColumn& column) {
  const bool is_small =
      column.min <= column.max && column.max <= std::numeric_limits<std::uint8_t>::max();
  switch (column.kind) {
    case PropertyKind::kText:
      return 0;
    case PropertyKind::kFlag:
    case PropertyKind::kByte:
      return 1;
    case PropertyKind::kInt32:
      return is_small ? 1 : sizeof(std::int32_t);
    case PropertyKind::kUint32:
    case PropertyKind::kFloat32:
      return sizeof(std::uint32_t);
    case PropertyKind::kFloat64:
      break;
  }
  return sizeof(double);
}

}  // namespace

TagLayout::TagLayout(std::int32_t tag_class) {
  for (const PropertyColumn& column : CommonColumns()) Add(column);
  for (const PropertyColumn& column : OwnColumns(tag_class)) Add(column);
  ZERVANE_ASSERT(texts_ <= 32);  // a bit each
}

void TagLayout::Add(const PropertyColumn& column) {
  const std::size_t bytes = BytesOf(column);
  const bool is_text = column.kind == PropertyKind::kText;
  const std::size_t at = is_text ? texts_++ : number_bytes_;
  number_bytes_ += bytes;
  places_.push_back({.column = &column,
                     .at = static_cast<std::uint16_t>(at),
                     .bytes = static_cast<std::uint8_t>(bytes)});
}

const TagLayout& TagLayout::OfClass(std::int32_t tag_class) {
  static const TagLayout point(ZR3_TAG_CLASS_BASIC);
  static const TagLayout alarm(ZR3_TAG_CLASS_ALARM);
  static const TagLayout statistics(ZR3_TAG_CLASS_STATS);
  static const TagLayout calculation(ZR3_TAG_CLASS_CALC);
  ZERVANE_ASSERT(!OwnColumns(tag_class).empty());
  switch (tag_class) {
    case ZR3_TAG_CLASS_ALARM:
      return alarm;
    case ZR3_TAG_CLASS_STATS:
      return statistics;
    case ZR3_TAG_CLASS_CALC:
      return calculation;
    default:
      return point;
  }
}

std::span<const PropertyPlace> TagLayout::common() const {
  return std::span(places_).first(CommonColumns().size());
}

std::span<const PropertyPlace> TagLayout::own() const {
  return std::span(places_).subspan(CommonColumns().size());
}

}  // namespace zervane
