#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

#include "api/words/tag_columns.h"

namespace zervane {

// Where a packed tag has the property of a column.
struct PropertyPlace {
  const PropertyColumn* column = nullptr;
  // A number's offset among the bytes of the numbers; a text's rank among the texts.
  std::uint16_t at = 0;
  std::uint8_t bytes = 0;  // of a number: 1, 4 or 8
};

// Where packed tags of one class have their properties, as the lists of columns say. Common
// properties stand in the same places in every class.
class TagLayout {
 public:
  // REQUIRES: tags of the class have own properties.
  static const TagLayout& OfClass(std::int32_t tag_class);

  std::span<const PropertyPlace> common() const;
  std::span<const PropertyPlace> own() const;
  // How many bytes the numbers take.
  std::size_t number_bytes() const { return number_bytes_; }

 private:
  explicit TagLayout(std::int32_t tag_class);
  void Add(const PropertyColumn& column);

  std::vector<PropertyPlace> places_;
  std::size_t number_bytes_ = 0;
  std::size_t texts_ = 0;
};

}  // namespace zervane
