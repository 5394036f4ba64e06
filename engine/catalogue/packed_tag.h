#pragma once

#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string_view>

#include "api/words/tag.h"
#include "engine/catalogue/ref.h"
#include "engine/catalogue/tag_layout.h"

namespace zervane {

// All properties of a tag in one piece of memory, for there are millions: the numbers in as few
// bytes as their columns ask for, then the lengths of the texts that are not empty, then their
// bytes. It never changes.
class PackedTag : public Counted {
 public:
  // REQUIRES: the tag breaks no rule.
  static Ref<const PackedTag> Pack(const Tag& tag);

  TagId id() const { return id_; }
  std::int32_t tag_class() const { return tag_class_; }
  std::string_view name() const { return Text(0); }

  // The property of a place of the tag's class. A number that is no float; flags are 0 and 1.
  std::int64_t Integer(const PropertyPlace& place) const;
  // A float or a double.
  template <typename Float>
  Float Real(const PropertyPlace& place) const {
    return NumberAt<Float>(place.at);
  }
  std::string_view Text(const PropertyPlace& place) const { return Text(place.at); }

  // The selected properties, identifier and name, the others being 0 or empty. Which class the tag
  // is of can always be told by its own properties.
  void Unpack(const PropertyMask& mask, Tag& tag) const;
  // All properties.
  Tag Unpack() const;

  // How much memory it takes.
  std::size_t size() const;

  // Made with more bytes than its type has, so the allocator is not told how many.
  static void operator delete(void* memory) { ::operator delete(memory); }

 private:
  explicit PackedTag(const Tag& tag);

  char* bytes() { return reinterpret_cast<char*>(this + 1); }
  const char* bytes() const { return reinterpret_cast<const char*>(this + 1); }
  template <typename T>
  T NumberAt(std::size_t offset) const {
    T number;
    std::memcpy(&number, bytes() + offset, sizeof number);
    return number;
  }
  std::size_t LengthAt(std::size_t index) const {
    return NumberAt<std::uint16_t>(number_bytes_ + sizeof(std::uint16_t) * index);
  }
  std::string_view Text(std::size_t rank) const;
  void Read(const PropertyPlace& place, Tag& tag) const;

  TagId id_;
  std::uint32_t texts_ = 0;  // bit i: the text of rank i is not empty
  std::uint8_t tag_class_;
  std::uint8_t number_bytes_;
};

inline std::string_view PackedTag::Text(std::size_t rank) const {
  if ((texts_ >> rank & 1) == 0) return {};
  const auto index =
      static_cast<std::size_t>(std::popcount(texts_ & ((std::uint32_t{1} << rank) - 1)));
  const auto count = static_cast<std::size_t>(std::popcount(texts_));
  std::size_t offset = number_bytes_ + sizeof(std::uint16_t) * count;
  for (std::size_t before = 0; before < index; ++before) offset += LengthAt(before);
  return {bytes() + offset, LengthAt(index)};
}

inline std::int64_t PackedTag::Integer(const PropertyPlace& place) const {
  if (place.bytes == 1) return NumberAt<std::uint8_t>(place.at);
  if (place.column->kind == PropertyKind::kInt32) return NumberAt<std::int32_t>(place.at);
  return NumberAt<std::uint32_t>(place.at);
}

}  // namespace zervane
