// What holds of all 87 functions alike.

#include <gtest/gtest.h>

#include <fstream>
#include <functional>
#include <regex>
#include <set>
#include <string>
#include <vector>

#include "tests/support/case_name.h"
#include "tests/vask/function_test.h"

namespace zervane {
namespace {

std::vector<std::string> Declared() {
  std::ifstream header(ZERVANE_HEADER);
  const std::regex declaration("^int32 ([a-z0-9_]+)\\(");
  std::vector<std::string> names;
  for (std::string line; std::getline(header, line);) {
    std::smatch match;
    if (std::regex_search(line, match, declaration)) names.push_back(match[1]);
  }
  return names;
}

TEST(AllFunctions, AreThoseOfTheHeader) {
  std::vector<std::string> described;
  for (const ApiFunction& function : AllFunctions()) described.push_back(function.name);
  EXPECT_EQ(described, Declared());
  EXPECT_EQ(described.size(), 87U);
}

// ---- without a session ----

class WithoutSession : public FunctionTest {};

TEST_P(WithoutSession, IsNotConnectedWhateverTheArguments) {
  EXPECT_EQ(GetParam().valid(), ZR3_ERR_NOT_CONNECTED);
  for (const auto* wrong :
       {&GetParam().with_null, &GetParam().with_negative_count, &GetParam().with_long_text}) {
    for (const ApiFunction::Call& call : *wrong) EXPECT_EQ(call(), ZR3_ERR_NOT_CONNECTED);
  }
}

INSTANTIATE_TEST_SUITE_P(Api, WithoutSession,
                         testing::ValuesIn(FunctionsThat([](const ApiFunction& function) {
                           return function.name != "nt3_connect" && !Frees(function.name);
                         })),
                         CaseName());

class Freeing : public FunctionTest {};

TEST_P(Freeing, SucceedsWithAndWithoutASession) {
  EXPECT_EQ(GetParam().valid(), ZR3_OK);
  ExpectAll({GetParam().valid}, ZR3_OK);
}

INSTANTIATE_TEST_SUITE_P(Api, Freeing,
                         testing::ValuesIn(FunctionsThat([](const ApiFunction& function) {
                           return Frees(function.name);
                         })),
                         CaseName());

// ---- wrong arguments ----

class NullPointer : public FunctionTest {};

TEST_P(NullPointer, IsRefused) { ExpectAll(GetParam().with_null, ZR3_ERR_NULL_ARGUMENT); }

INSTANTIATE_TEST_SUITE_P(Api, NullPointer,
                         testing::ValuesIn(FunctionsThat([](const ApiFunction& function) {
                           return !function.with_null.empty();
                         })),
                         CaseName());

class NegativeCount : public FunctionTest {};

TEST_P(NegativeCount, IsRefused) {
  ExpectAll(GetParam().with_negative_count, ZR3_ERR_INVALID_COUNT);
}

INSTANTIATE_TEST_SUITE_P(Api, NegativeCount,
                         testing::ValuesIn(FunctionsThat([](const ApiFunction& function) {
                           return !function.with_negative_count.empty();
                         })),
                         CaseName());

class EndlessText : public FunctionTest {};

TEST_P(EndlessText, IsRefused) { ExpectAll(GetParam().with_long_text, ZR3_ERR_INVALID_TEXT); }

INSTANTIATE_TEST_SUITE_P(Api, EndlessText,
                         testing::ValuesIn(FunctionsThat([](const ApiFunction& function) {
                           return !function.with_long_text.empty();
                         })),
                         CaseName());

// ---- a database that throws ----

class ThrowingDatabase : public FunctionTest {};

TEST_P(ThrowingDatabase, LetsNoExceptionOut) {
  struct ThrowCase {
    std::function<Status()> act;
    ZR3_STATUS status;
  };
  const ThrowCase cases[] = {
      {[]() -> Status { throw std::bad_alloc(); }, ZR3_ERR_OUT_OF_MEMORY},
      {[]() -> Status { throw std::runtime_error("as the test wants"); }, ZR3_ERR_INTERNAL},
      {[]() -> Status { throw 7; }, ZR3_ERR_INTERNAL},
  };
  for (const ThrowCase& thrown : cases) {
    Connect();
    database->on_call = thrown.act;
    database->on_close = thrown.act;
    EXPECT_EQ(GetParam().valid(), thrown.status);
    (void)nt3_disconnect();
  }
}

// Whether the function asks the database anything.
bool AsksTheDatabase(const ApiFunction& function) {
  static const std::set<std::string> others = {
      "nt3_connect",        "ut3_get_item_step",
      "ut3_free_handle",    "ut3_set_request_timeout",
      "ut3_set_api_option", "ut3_set_request_cache_capacity"};
  return !Frees(function.name) && !others.contains(function.name);
}

INSTANTIATE_TEST_SUITE_P(Api, ThrowingDatabase, testing::ValuesIn(FunctionsThat(AsksTheDatabase)),
                         CaseName());

}  // namespace
}  // namespace zervane
