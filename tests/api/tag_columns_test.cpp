#include "api/words/tag_columns.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <set>
#include <string>
#include <string_view>

#include "tests/support/case_name.h"
#include "zr3Struct.h"

namespace zervane {
namespace {

struct ClassCase {
  const char* name;
  std::int32_t tag_class;
  std::int32_t first_column;
  std::size_t own_columns;
};

class TagClass : public testing::TestWithParam<ClassCase> {};

Tag NewTagOf(std::int32_t tag_class) {
  Tag tag;
  tag.tag_class = tag_class;
  tag.own = DefaultOwnProperties(tag_class);
  return tag;
}

TEST_P(TagClass, HasItsColumnsInOrderOfNumber) {
  const ClassCase& row = GetParam();
  const auto columns = OwnColumns(row.tag_class);
  ASSERT_EQ(columns.size(), row.own_columns);
  for (std::size_t i = 0; i < columns.size(); ++i) {
    EXPECT_EQ(columns[i].column, row.first_column + static_cast<std::int32_t>(i));
  }
}

TEST_P(TagClass, HasItsOwnPropertiesInNewTags) {
  EXPECT_EQ(ClassOf(DefaultOwnProperties(GetParam().tag_class)), GetParam().tag_class);
}

TEST_P(TagClass, NamesEveryPropertyOnce) {
  std::set<std::string_view> names;
  ForEachColumn(NewTagOf(GetParam().tag_class), [&](const PropertyColumn& column) {
    EXPECT_TRUE(names.insert(column.name).second) << column.name;
  });
}

TEST_P(TagClass, HasAColumnForEachProperty) {
  const auto set = []<typename T>(T& property) {
    if constexpr (std::is_same_v<T, std::string>) {
      property = "x";
    } else {
      property = 1;
    }
  };
  ForEachColumn(NewTagOf(GetParam().tag_class), [&](const PropertyColumn& column) {
    Tag tag;
    ClearProperties(tag, GetParam().tag_class);
    VisitProperty(column, tag, set);
    const Tag& read = tag;
    ForEachColumn(tag, [&](const PropertyColumn& other) {
      const bool is_set =
          VisitProperty(other, read, []<typename T>(const T& property) { return property != T(); });
      EXPECT_EQ(is_set, other.column == column.column) << column.name << ", " << other.name;
    });
  });
}

TEST_P(TagClass, CanBeCleared) {
  Tag tag;
  tag.name = "a";
  ClearProperties(tag, GetParam().tag_class);
  EXPECT_EQ(ClassOf(tag.own), GetParam().tag_class);
  const Tag& cleared = tag;
  ForEachColumn(tag, [&](const PropertyColumn& column) {
    VisitProperty(column, cleared,
                  [&]<typename T>(const T& property) { EXPECT_EQ(property, T()) << column.name; });
  });
}

TEST_P(TagClass, BoundsItsTextsAlone) {
  ForEachColumn(NewTagOf(GetParam().tag_class), [&](const PropertyColumn& column) {
    EXPECT_EQ(column.max_bytes() > 0, column.kind == PropertyKind::kText) << column.name;
  });
}

INSTANTIATE_TEST_SUITE_P(Classes, TagClass,
                         testing::Values(ClassCase{"Point", ZR3_TAG_CLASS_BASIC, 100, 9},
                                         ClassCase{"Alarm", ZR3_TAG_CLASS_ALARM, 200, 13},
                                         ClassCase{"Statistics", ZR3_TAG_CLASS_STATS, 400, 26},
                                         ClassCase{"Calculation", ZR3_TAG_CLASS_CALC, 500, 8}),
                         CaseName());

TEST(TagColumns, AreNoneOfOtherClasses) {
  for (const std::int32_t tag_class : {ZR3_TAG_CLASS_SPC, ZR3_TAG_CLASS_SYS, ZR3_TAG_CLASS_ALL}) {
    EXPECT_TRUE(OwnColumns(tag_class).empty());
  }
  EXPECT_TRUE(OwnColumns(-1).empty());
}

TEST(TagColumns, LetTextsHaveThreeTimesTheBytesOfTheClientsArray) {
  const ZR3PtTagProp record{};
  EXPECT_EQ(CommonColumns()[ZR3_TAG_COL_COMM_PROP_TAG_NAME].max_bytes(),
            3 * (sizeof record.szTagName - 1));
  EXPECT_EQ(CommonColumns()[ZR3_TAG_COL_COMM_PROP_DESCRIPTOR].max_bytes(),
            3 * (sizeof record.szDescriptor - 1));
  EXPECT_EQ(PointColumns()[0].max_bytes(), 3 * (sizeof record.szInstrumentAddress - 1));
}

TEST(PropertyMasks, HaveBitsForColumnsAlone) {
  EXPECT_TRUE(IsMaskOf(0, 9));
  EXPECT_TRUE(IsMaskOf(-1, 9));
  EXPECT_TRUE(IsMaskOf(0x1FF, 9));
  EXPECT_FALSE(IsMaskOf(0x200, 9));
  EXPECT_FALSE(IsMaskOf(-2, 9));
  EXPECT_TRUE(SelectsBit(-1, 63));
  EXPECT_TRUE(SelectsBit(4, 2));
  EXPECT_FALSE(SelectsBit(4, 1));
  EXPECT_FALSE(SelectsBit(-1, 64));
}

}  // namespace
}  // namespace zervane
