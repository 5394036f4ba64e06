// Every exported function does its work, and says when it cannot, through all layers down to the
// file.

#include "tests/vask/whole_stack.h"

#include <gtest/gtest.h>

#include <fstream>
#include <iterator>
#include <regex>
#include <string>
#include <vector>

#include "tests/support/case_name.h"

namespace zervane {
namespace {

std::vector<Deed> AllDeeds() {
  std::vector<Deed> all;
  for (const auto deeds :
       {DeedsOfSessionAndTags, DeedsOfValues, DeedsOfDerivedTags, DeedsOfAlarms, DeedsOfSecurity}) {
    for (const Deed& deed : deeds()) all.push_back(deed);
  }
  return all;
}

std::vector<std::string> DeclaredFunctions() {
  std::ifstream header(ZERVANE_HEADER);
  const std::regex declaration("^int32 ([a-z0-9_]+)\\(");
  std::vector<std::string> names;
  for (std::string line; std::getline(header, line);) {
    std::smatch match;
    if (std::regex_search(line, match, declaration)) names.push_back(match[1]);
  }
  return names;
}

TEST(EveryFunction, HasItsDeed) {
  std::vector<std::string> names;
  for (const Deed& deed : AllDeeds()) names.emplace_back(deed.name);
  EXPECT_EQ(names, DeclaredFunctions());
  EXPECT_EQ(names.size(), 87U);
}

TEST(EveryFunction, CanFailOrSaysWhyNot) {
  for (const Deed& deed : AllDeeds()) {
    EXPECT_EQ(deed.fails == nullptr, *deed.why_never != '\0') << deed.name;
    EXPECT_EQ(deed.fails == nullptr, deed.failure == ZR3_OK) << deed.name;
    EXPECT_NE(deed.failure, ZR3_ERR_NOT_SUPPORTED) << deed.name;
  }
}

class EveryDeed : public testing::TestWithParam<Deed> {};

INSTANTIATE_TEST_SUITE_P(Of, EveryDeed, testing::ValuesIn(AllDeeds()), CaseName());

TEST_P(EveryDeed, Succeeds) {
  const WholeStack stack;
  EXPECT_EQ(GetParam().succeeds(stack), ZR3_OK);
}

std::vector<Deed> DeedsThatCanFail() {
  std::vector<Deed> deeds = AllDeeds();
  std::erase_if(deeds, [](const Deed& deed) { return deed.fails == nullptr; });
  return deeds;
}

class EveryFailure : public testing::TestWithParam<Deed> {};

INSTANTIATE_TEST_SUITE_P(Of, EveryFailure, testing::ValuesIn(DeedsThatCanFail()), CaseName());

TEST_P(EveryFailure, IsToldAndTheNextCallSucceeds) {
  const WholeStack stack;
  EXPECT_EQ(GetParam().fails(stack), GetParam().failure);
  EXPECT_EQ(GetParam().succeeds(stack), ZR3_OK);
}

}  // namespace
}  // namespace zervane
