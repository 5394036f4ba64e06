// What holds of all 87 functions alike.

#include <gtest/gtest.h>

#include <fstream>
#include <regex>
#include <set>

#include "tests/support/case_name.h"
#include "tests/vask/api_function.h"
#include "tests/vask/connected_test.h"

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

class EveryFunction : public testing::TestWithParam<ApiFunction> {
 protected:
  void TearDown() override { (void)ProcessSession().Disconnect(); }

  // Connects to a database with tag 1, which has a value.
  void Connect() {
    auto fake = std::make_unique<FakeDatabase>();
    database = fake.get();
    ASSERT_EQ(fake->Add("tag", TagType::kFloat64), 1U);
    std::vector<int32> codes(1);
    ASSERT_EQ(fake->Write({{.tag = 1, .sample = {.time_ms = 1, .quality = 0, .value = 1.0}}},
                          WriteOrder::kInOrder, WriteAnswer::kDurable, codes)
                  .code(),
              ZR3_OK);
    ConnectTo(std::move(fake));
    calls_before = database->calls();
  }

  // Every wrong call gets the status, and the database hears nothing of it.
  void ExpectRefused(const std::vector<ApiFunction::Call>& calls, ZR3_STATUS status) {
    Connect();
    for (std::size_t i = 0; i < calls.size(); ++i) {
      EXPECT_EQ(calls[i](), status) << "variant " << i;
    }
    EXPECT_EQ(database->calls(), calls_before);
  }

  FakeDatabase* database = nullptr;
  int calls_before = 0;
};

TEST_P(EveryFunction, NeedsASessionBeforeAllElse) {
  if (GetParam().name == "nt3_connect") return;
  const int32 expected = Frees(GetParam().name) ? ZR3_OK : ZR3_ERR_NOT_CONNECTED;
  EXPECT_EQ(GetParam().valid(), expected);
  for (const auto* wrong :
       {&GetParam().with_null, &GetParam().with_negative_count, &GetParam().with_long_text}) {
    for (const ApiFunction::Call& call : *wrong) EXPECT_EQ(call(), expected);
  }
}

TEST_P(EveryFunction, RefusesANullPointer) {
  ExpectRefused(GetParam().with_null, ZR3_ERR_NULL_ARGUMENT);
}

TEST_P(EveryFunction, RefusesANegativeCount) {
  ExpectRefused(GetParam().with_negative_count, ZR3_ERR_INVALID_COUNT);
}

TEST_P(EveryFunction, RefusesATextThatDoesNotEnd) {
  ExpectRefused(GetParam().with_long_text, ZR3_ERR_INVALID_TEXT);
}

TEST_P(EveryFunction, SaysSoWhenItIsNotOffered) {
  Connect();
  if (IsOffered(GetParam().name)) {
    EXPECT_NE(GetParam().valid(), ZR3_ERR_NOT_SUPPORTED);
  } else {
    EXPECT_EQ(GetParam().valid(), ZR3_ERR_NOT_SUPPORTED);
    EXPECT_EQ(database->calls(), calls_before);
  }
}

// Of a database that throws: the process goes on, and so does the session.
TEST_P(EveryFunction, LetsNoExceptionOut) {
  struct ThrowCase {
    std::function<Status()> act;
    ZR3_STATUS status;
  };
  const ThrowCase cases[] = {
      {[]() -> Status { throw std::bad_alloc(); }, ZR3_ERR_OUT_OF_MEMORY},
      {[]() -> Status { throw std::runtime_error("as the test wants"); }, ZR3_ERR_INTERNAL},
      {[]() -> Status { throw 7; }, ZR3_ERR_INTERNAL},
  };
  const bool disconnects = GetParam().name == "nt3_disconnect";
  for (const ThrowCase& thrown : cases) {
    Connect();
    (disconnects ? database->on_close : database->on_call) = thrown.act;
    const int32 status = GetParam().valid();
    if (disconnects || database->calls() > calls_before) {
      EXPECT_EQ(status, thrown.status);
    }
    (void)nt3_disconnect();
  }
}

INSTANTIATE_TEST_SUITE_P(Api, EveryFunction, testing::ValuesIn(AllFunctions()), CaseName());

}  // namespace
}  // namespace zervane
