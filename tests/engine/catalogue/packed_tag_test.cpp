#include "engine/catalogue/packed_tag.h"

#include <gtest/gtest.h>

#include <limits>
#include <random>
#include <string>

#include "tests/engine/catalogue/random_tags.h"
#include "tests/support/case_name.h"
#include "tests/support/seed.h"

namespace zervane {
namespace {

struct ClassCase {
  const char* name;
  std::int32_t tag_class;
};

class PackedTags : public testing::TestWithParam<ClassCase> {};

TEST_P(PackedTags, HoldEveryProperty) {
  const Seed seed;
  std::mt19937 random(seed.value());
  for (TagId id = 1; id <= 1'000; ++id) {
    const Tag tag = RandomTag(GetParam().tag_class, id, random);
    const Ref<const PackedTag> packed = PackedTag::Pack(tag);
    ASSERT_EQ(packed->Unpack(), tag) << id;
    ASSERT_EQ(packed->id(), id);
    ASSERT_EQ(packed->name(), tag.name);
    ASSERT_EQ(packed->tag_class(), GetParam().tag_class);
  }
}

TEST_P(PackedTags, HoldPropertiesAtTheirBounds) {
  Tag tag;
  tag.own = DefaultOwnProperties(GetParam().tag_class);
  const auto fill = [&](const PropertyColumn& column) {
    VisitProperty(column, tag, [&]<typename T>(T& property) {
      if constexpr (std::is_same_v<T, std::string>) {
        property.assign(column.max_bytes(), 'x');
      } else if (column.min <= column.max) {
        property = static_cast<T>(column.max);
      } else {
        property =
            column.non_negative ? std::numeric_limits<T>::max() : std::numeric_limits<T>::lowest();
      }
    });
  };
  ForEachColumn(tag, fill);
  tag.tag_class = GetParam().tag_class;
  EXPECT_EQ(PackedTag::Pack(tag)->Unpack(), tag);
}

// What is not selected is 0 or empty, not at its default.
TEST_P(PackedTags, GiveTheSelectedPropertiesAlone) {
  const Seed seed;
  std::mt19937 random(seed.value());
  const Tag tag = RandomTag(GetParam().tag_class, 7, random);
  const Ref<const PackedTag> packed = PackedTag::Pack(tag);
  Tag nothing;
  ClearProperties(nothing, tag.tag_class);
  nothing.id = tag.id;
  nothing.name = tag.name;

  Tag found;
  packed->Unpack({0, 0}, found);
  EXPECT_EQ(found, nothing);
  ForEachColumn(tag, [&](const PropertyColumn& column) {
    Tag expected = nothing;
    CopyProperty(column, tag, expected);
    const std::int64_t bit = std::int64_t{1} << column.column % 100;
    const bool is_common = column.column <= ZR3_TAG_COL_COMM_PROP_MAX;
    packed->Unpack(is_common ? PropertyMask{bit, 0} : PropertyMask{0, bit}, found);
    EXPECT_EQ(found, expected) << column.name;
  });
}

INSTANTIATE_TEST_SUITE_P(Classes, PackedTags,
                         testing::Values(ClassCase{"Point", ZR3_TAG_CLASS_BASIC},
                                         ClassCase{"Alarm", ZR3_TAG_CLASS_ALARM},
                                         ClassCase{"Statistics", ZR3_TAG_CLASS_STATS},
                                         ClassCase{"Calculation", ZR3_TAG_CLASS_CALC}),
                         CaseName());

TEST(PackedTag, TakesLittleMoreThanItsTexts) {
  Tag tag;
  tag.name = "UNIT07.FIC1234567.PV";
  tag.descriptor = "Flow of the feed, second train";
  tag.eng_units = "m3/h";
  tag.creator = tag.changer = "admin";
  const std::size_t texts = 20 + 30 + 4 + 2 * 5;
  EXPECT_LE(PackedTag::Pack(tag)->size(), texts + 100);
}

}  // namespace
}  // namespace zervane
