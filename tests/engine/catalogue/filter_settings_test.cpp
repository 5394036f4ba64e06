#include "engine/catalogue/filter_settings.h"

#include <gtest/gtest.h>

#include "tests/support/case_name.h"

namespace zervane {
namespace {

struct SettingsCase {
  const char* name;
  Tag tag;
  FilterSettings settings;
  bool any;
};

class Filters : public testing::TestWithParam<SettingsCase> {};

TEST_P(Filters, AreSetByTheTagsProperties) {
  const SettingsCase& row = GetParam();
  EXPECT_EQ(FilterSettingsOf(row.tag), row.settings);
  EXPECT_EQ(FilterSettingsOf(row.tag).any(), row.any);
}

Tag FilteredTag(TagType type, bool archiving, std::int32_t comp_type) {
  Tag tag;
  tag.type = static_cast<std::int32_t>(type);
  tag.archiving = archiving;
  tag.exc_dev = 0.5;
  tag.exc_max_time = 60;
  tag.comp_type = comp_type;
  tag.comp_dev = 0.25;
  tag.comp_max_time = 2'147'483'647;
  return tag;
}

Tag WithoutDeviations(Tag tag) {
  tag.exc_dev = tag.comp_dev = 0;
  return tag;
}

constexpr auto kSwingingDoor = ZR3_COMP_TYPE_SDT;
constexpr FilterSettings kAll = {0.5, 60'000, 0.25, 2'147'483'647'000};
constexpr FilterSettings kExceptionsAlone = {0.5, 60'000, 0, 0};

INSTANTIATE_TEST_SUITE_P(
    Of, Filters,
    testing::Values(
        SettingsCase{"ADefaultTag", {}, {}, false},
        SettingsCase{"Int8", FilteredTag(TagType::kInt8, true, kSwingingDoor), kAll, true},
        SettingsCase{"Int16", FilteredTag(TagType::kInt16, true, kSwingingDoor), kAll, true},
        SettingsCase{"Int32", FilteredTag(TagType::kInt32, true, kSwingingDoor), kAll, true},
        SettingsCase{"Float32", FilteredTag(TagType::kFloat32, true, kSwingingDoor), kAll, true},
        SettingsCase{"Float64", FilteredTag(TagType::kFloat64, true, kSwingingDoor), kAll, true},
        SettingsCase{"Digital", FilteredTag(TagType::kDigital, true, kSwingingDoor), {}, false},
        SettingsCase{"String", FilteredTag(TagType::kString, true, kSwingingDoor), {}, false},
        SettingsCase{"Blob", FilteredTag(TagType::kBlob, true, kSwingingDoor), {}, false},
        SettingsCase{"NoCompression", FilteredTag(TagType::kFloat64, true, ZR3_COMP_TYPE_NO),
                     kExceptionsAlone, true},
        SettingsCase{
            "NoArchiving", FilteredTag(TagType::kFloat64, false, kSwingingDoor), {}, false},
        SettingsCase{"NoDeviations",
                     WithoutDeviations(FilteredTag(TagType::kFloat64, true, kSwingingDoor)),
                     {0, 60'000, 0, 2'147'483'647'000},
                     false}),
    CaseName());

}  // namespace
}  // namespace zervane
