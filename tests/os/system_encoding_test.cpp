#include "os/system_encoding.h"

#include <gtest/gtest.h>

#include <string>

#include "case_name.h"

namespace zervane::os {
namespace {

// Knows two locales that carry no codeset in their names.
std::string Codeset(const std::string& locale) {
  if (locale == "zh_CN") return "GB2312";
  if (locale == "de_DE@euro") return "ISO-8859-15";
  return "";
}

struct SelectionCase {
  const char* name;
  EncodingEnvironment environment;
  const char* encoding;
};

void PrintTo(const SelectionCase& row, std::ostream* out) { *out << row.name; }

class Selection : public testing::TestWithParam<SelectionCase> {};

TEST_P(Selection, FollowsTheEnvironment) {
  EXPECT_EQ(SelectEncoding(GetParam().environment, Codeset), GetParam().encoding);
}

INSTANTIATE_TEST_SUITE_P(
    Order, Selection,
    testing::Values(SelectionCase{"NothingIsSet", {"", "", "", ""}, "UTF-8"},
                    SelectionCase{
                        "OverrideComesFirst", {"GB18030", "a.A", "b.B", "c.C"}, "GB18030"},
                    SelectionCase{"OverrideOfTheCLocale", {"GBK", "C", "", ""}, "GBK"},
                    SelectionCase{"OverrideStandsAlone", {"GBK", "", "", ""}, "GBK"},
                    SelectionCase{"LcAllBeforeLcCtype", {"", "a.A", "b.B", "c.C"}, "A"},
                    SelectionCase{"LcCtypeBeforeLang", {"", "", "b.B", "c.C"}, "B"},
                    SelectionCase{"LangComesLast", {"", "", "", "c.C"}, "C"},
                    SelectionCase{"LcAllOfCHidesTheOthers", {"", "C", "b.B", "c.C"}, "UTF-8"}),
    kCaseName);

INSTANTIATE_TEST_SUITE_P(
    LocaleNames, Selection,
    testing::Values(
        SelectionCase{"C", {"", "C", "", ""}, "UTF-8"},
        SelectionCase{"Posix", {"", "POSIX", "", ""}, "UTF-8"},
        SelectionCase{"CWithACodeset", {"", "C.UTF-8", "", ""}, "UTF-8"},
        SelectionCase{"CWithAnotherCodeset", {"", "C.GBK", "", ""}, "GBK"},
        SelectionCase{"Codeset", {"", "zh_CN.GB18030", "", ""}, "GB18030"},
        SelectionCase{"CodesetIsKeptAsSpelt", {"", "zh_CN.gb18030", "", ""}, "gb18030"},
        SelectionCase{"Modifier", {"", "de_DE.ISO-8859-15@euro", "", ""}, "ISO-8859-15"},
        SelectionCase{"CodesetThatDoesNotExist", {"", "de_DE.none", "", ""}, "none"},
        SelectionCase{"EmptyCodeset", {"", "xx_XX.", "", ""}, "UTF-8"},
        SelectionCase{"DotInTheModifier", {"", "xx_XX@a.b", "", ""}, "UTF-8"},
        SelectionCase{"InstalledWithoutCodeset", {"", "zh_CN", "", ""}, "GB2312"},
        SelectionCase{"InstalledWithModifier", {"", "de_DE@euro", "", ""}, "ISO-8859-15"},
        SelectionCase{"NotInstalled", {"", "xx_XX", "", ""}, "UTF-8"}),
    kCaseName);

TEST(InstalledCodeset, IsWhatTheSystemSaysOfALocale) {
  EXPECT_EQ(InstalledCodeset("C.UTF-8"), "UTF-8");
}

TEST(InstalledCodeset, IsEmptyForALocaleThatIsNotInstalled) {
  EXPECT_EQ(InstalledCodeset("xx_XX"), "");
}

}  // namespace
}  // namespace zervane::os
