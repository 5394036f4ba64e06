#pragma once

#include <cstdint>
#include <random>
#include <string>
#include <type_traits>

#include "api/words/tag_columns.h"

// Tags for random tests.
namespace zervane {

// Few letters, so that texts and patterns meet.
inline std::string RandomLetters(std::mt19937& random, std::size_t max_letters) {
  static const std::string letters[] = {"a", "A", "b",        "B",           "c",
                                        "1", ".", "\xC3\xA4", "\xE6\xB5\x8B"};
  std::string text;
  for (std::size_t left = random() % (max_letters + 1); left > 0; --left) {
    text += letters[random() % std::size(letters)];
  }
  return text;
}

// A number that is likely to be met again.
template <typename T>
T RandomNumber(const PropertyColumn& column, std::mt19937& random) {
  if constexpr (std::is_same_v<T, bool>) return random() % 2 == 0;
  if constexpr (std::is_floating_point_v<T>) return static_cast<T>(random() % 40) / T{10};
  if (column.min <= column.max) {
    return static_cast<T>(random() % static_cast<std::uint32_t>(column.max + 1));
  }
  return static_cast<T>(random() % 2 == 0 ? random() % 8 : random());
}

// All properties of a tag of the class at random, as the rules want them but for bounds between
// properties.
inline Tag RandomTag(std::int32_t tag_class, TagId id, std::mt19937& random) {
  Tag tag;
  tag.own = DefaultOwnProperties(tag_class);
  ForEachColumn(tag, [&](const PropertyColumn& column) {
    VisitProperty(column, tag, [&]<typename T>(T& property) {
      if constexpr (std::is_same_v<T, std::string>) {
        property = random() % 3 == 0 ? "" : RandomLetters(random, 12);
      } else {
        property = RandomNumber<T>(column, random);
        if (column.non_negative && property < T{}) property = T{};
      }
    });
  });
  tag.name = RandomLetters(random, 8) + "#" + std::to_string(id);
  tag.id = id;
  tag.tag_class = tag_class;
  return tag;
}

}  // namespace zervane
