#include "engine/catalogue/packed_tag.h"

#include <limits>
#include <new>
#include <span>
#include <string>
#include <type_traits>

#include "engine/assert.h"

namespace zervane {
namespace {

// Calls visit(text) for every text of the tag, in order of rank.
template <typename Visit>
void ForEachText(const Tag& tag, Visit visit) {
  ForEachColumn(tag, [&](const PropertyColumn& column) {
    if (column.kind != PropertyKind::kText) return;
    VisitProperty(column, tag, [&]<typename T>(const T& property) {
      if constexpr (std::is_same_v<T, std::string>) visit(property);
    });
  });
}

std::size_t TextBytesOf(const Tag& tag) {
  std::size_t bytes = 0;
  ForEachText(tag, [&](const std::string& text) {
    if (!text.empty()) bytes += sizeof(std::uint16_t) + text.size();
  });
  return bytes;
}

// Writes a number in as many bytes as its place has.
struct WriteNumber {
  const PropertyPlace& place;
  char* to;

  void operator()(const std::string&) const {}
  template <typename T>
  void operator()(T number) const {
    std::memcpy(to + place.at, &number, sizeof number);
  }
  void operator()(std::int32_t number) const {
    if (place.bytes == sizeof number) {
      std::memcpy(to + place.at, &number, sizeof number);
    } else {
      ZERVANE_ASSERT(number >= 0 && number <= std::numeric_limits<std::uint8_t>::max());
      to[place.at] = static_cast<char>(number);
    }
  }
};

}  // namespace

Ref<const PackedTag> PackedTag::Pack(const Tag& tag) {
  const TagLayout& layout = TagLayout::OfClass(ClassOf(tag.own));
  const std::size_t bytes = sizeof(PackedTag) + layout.number_bytes() + TextBytesOf(tag);
  return Ref<const PackedTag>(new (::operator new(bytes)) PackedTag(tag));
}

PackedTag::PackedTag(const Tag& tag)
    : id_(tag.id), tag_class_(static_cast<std::uint8_t>(ClassOf(tag.own))) {
  const TagLayout& layout = TagLayout::OfClass(tag_class_);
  number_bytes_ = static_cast<std::uint8_t>(layout.number_bytes());
  ZERVANE_ASSERT(number_bytes_ == layout.number_bytes());
  for (const std::span<const PropertyPlace> places : {layout.common(), layout.own()}) {
    for (const PropertyPlace& place : places) {
      VisitProperty(*place.column, tag, WriteNumber{place, bytes()});
    }
  }
  char* length_to = bytes() + number_bytes_;
  std::uint32_t rank = 0;
  ForEachText(tag, [&](const std::string& text) {
    if (!text.empty()) texts_ |= std::uint32_t{1} << rank;
    ++rank;
  });
  char* text_to =
      length_to + sizeof(std::uint16_t) * static_cast<std::size_t>(std::popcount(texts_));
  ForEachText(tag, [&](const std::string& text) {
    if (text.empty()) return;
    ZERVANE_ASSERT(text.size() <= std::numeric_limits<std::uint16_t>::max());
    const auto length = static_cast<std::uint16_t>(text.size());
    std::memcpy(length_to, &length, sizeof length);
    std::memcpy(text_to, text.data(), text.size());
    length_to += sizeof length;
    text_to += text.size();
  });
}

void PackedTag::Read(const PropertyPlace& place, Tag& tag) const {
  VisitProperty(*place.column, tag, [&]<typename T>(T& property) {
    if constexpr (std::is_same_v<T, std::string>) {
      property = Text(place);
    } else if constexpr (std::is_floating_point_v<T>) {
      property = Real<T>(place);
    } else {
      property = static_cast<T>(Integer(place));
    }
  });
}

void PackedTag::Unpack(const PropertyMask& mask, Tag& tag) const {
  constexpr std::int64_t kAlways = std::int64_t{1} << ZR3_TAG_COL_COMM_PROP_TAG_NAME |
                                   std::int64_t{1} << ZR3_TAG_COL_COMM_PROP_TAGID;
  const TagLayout& layout = TagLayout::OfClass(tag_class_);
  ClearProperties(tag, tag_class_);
  for (std::size_t bit = 0; bit < layout.common().size(); ++bit) {
    if (SelectsBit(mask.common | kAlways, bit)) Read(layout.common()[bit], tag);
  }
  for (std::size_t bit = 0; bit < layout.own().size(); ++bit) {
    if (SelectsBit(mask.extension, bit)) Read(layout.own()[bit], tag);
  }
}

Tag PackedTag::Unpack() const {
  Tag tag;
  Unpack({.common = -1, .extension = -1}, tag);
  return tag;
}

std::size_t PackedTag::size() const {
  const auto count = static_cast<std::size_t>(std::popcount(texts_));
  std::size_t bytes = sizeof *this + number_bytes_ + sizeof(std::uint16_t) * count;
  for (std::size_t index = 0; index < count; ++index) bytes += LengthAt(index);
  return bytes;
}

}  // namespace zervane
