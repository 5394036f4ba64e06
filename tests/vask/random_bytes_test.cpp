// Garbage at every function: each call has an answer, and what was stored stays.

#include <gtest/gtest.h>
#include <stdlib.h>

#include <cstring>
#include <set>

#include "tests/support/case_name.h"
#include "tests/support/seed.h"
#include "tests/vask/api_function.h"

namespace zervane {
namespace {

constexpr int kCalls = 400;

bool IsStatus(int32 status) {
  static const std::set<int32> statuses = {
#define ZR3_STATUS_NUMBER(name, number, text) number,
      ZR3_STATUS_LIST(ZR3_STATUS_NUMBER)
#undef ZR3_STATUS_NUMBER
  };
  return statuses.contains(status);
}

// On a volatile database with one tag, identifier 1, that no garbage names.
class RandomBytes : public testing::TestWithParam<ApiFunction> {
 protected:
  void SetUp() override {
    ZR3Connection connection{};
    std::strcpy(connection.szAddress, "memory:");
    ASSERT_EQ(nt3_connect(&connection), ZR3_OK);
    uint32 id = 0;
    for (int i = 0; i < 5; ++i) {
      ZR3PtTagProp tag{};
      std::strcpy(tag.szTagName, i == 0 ? "keeper" : std::to_string(i).c_str());
      tag.nTagType = i == 0 ? ZR3_TAG_TYPE_INT32 : ZR3_TAG_TYPE_STRING + i % 2;
      const ZR3Mask mask{.nCommMask = int64{1} << ZR3_TAG_COL_COMM_PROP_TAG_TYPE, .nExtMask = 0};
      ASSERT_EQ(pt3_add_tag(&tag, &mask, nullptr, &id), ZR3_OK);
    }
    ZR3Record record{};
    record.nSec = 1000;
    record.nTagType = ZR3_TAG_TYPE_INT32;
    record.value.nInt32 = 42;
    ASSERT_EQ(sn3_save_snapshot(1, &record), ZR3_OK);
  }

  void TearDown() override { EXPECT_EQ(nt3_disconnect(), ZR3_OK); }

  static void ExpectTheKeeper() {
    uint32 id = 0;
    EXPECT_EQ(tag3_query_id_by_name("keeper", &id), ZR3_OK);
    EXPECT_EQ(id, 1U);
    ZR3Record record{};
    EXPECT_EQ(sn3_query_snapshot(1, &record), ZR3_OK);
    EXPECT_EQ(record.nSec, 1000);
    EXPECT_EQ(record.value.nInt32, 42);
  }
};

TEST_P(RandomBytes, GetAStatusAndDoNoHarm) {
  const Seed seed;
  Chaos chaos(seed.value());
  for (int i = 0; i < kCalls; ++i) {
    const int32 status = GetParam().random(chaos);
    EXPECT_TRUE(IsStatus(status)) << status << " in call " << i;
    EXPECT_NE(status, ZR3_ERR_INTERNAL) << "in call " << i;
    chaos.Forget();
  }
  ExpectTheKeeper();
}

// All but those that open and close the session, those that free the library's own memory, and the
// one that hands it out for any masks.
std::vector<ApiFunction> FunctionsForRandomBytes() {
  const std::set<std::string> others = {"nt3_connect", "nt3_disconnect", "cc3_cmd_free",
                                        "tag3_query_all_tags_prop", "tag3_free_all_tags_prop"};
  std::vector<ApiFunction> functions = AllFunctions();
  std::erase_if(functions, [&](const ApiFunction& f) { return others.contains(f.name); });
  return functions;
}

INSTANTIATE_TEST_SUITE_P(Api, RandomBytes, testing::ValuesIn(FunctionsForRandomBytes()),
                         CaseName());

TEST(RandomMasks, GetAStatusAndAnArrayThatCanBeFreed) {
  ZR3Connection connection{};
  std::strcpy(connection.szAddress, "memory:");
  ASSERT_EQ(nt3_connect(&connection), ZR3_OK);
  const Seed seed;
  Chaos chaos(seed.value());
  for (int i = 0; i < kCalls; ++i) {
    int32 number = -1;
    ZR3CommTagProp* tags = nullptr;
    const int32 status = tag3_query_all_tags_prop(chaos.Make<int64>(),
                                                  chaos.Make<int32>() % 2 == 0 ? &number : nullptr,
                                                  chaos.Make<int64>(), &tags, chaos.Make<int32>());
    EXPECT_TRUE(IsStatus(status)) << status;
    EXPECT_EQ(status == ZR3_OK, tags != nullptr);
    EXPECT_EQ(tag3_free_all_tags_prop(tags), ZR3_OK);
    chaos.Forget();
  }
  EXPECT_EQ(nt3_disconnect(), ZR3_OK);
}

TEST(RandomAddresses, AreRefused) {
  for (const char* variable : {"ZERVANE_HOME", "XDG_DATA_HOME", "HOME"}) unsetenv(variable);
  const Seed seed;
  Chaos chaos(seed.value());
  for (int i = 0; i < kCalls; ++i) {
    const int32 status = nt3_connect(chaos.Make<const ZR3Connection*>());
    const std::set<int32> expected = {ZR3_ERR_NULL_ARGUMENT, ZR3_ERR_INVALID_TEXT,
                                      ZR3_ERR_INVALID_ADDRESS, ZR3_ERR_CONNECT_FAILED};
    EXPECT_TRUE(expected.contains(status)) << status;
    chaos.Forget();
  }
}

}  // namespace
}  // namespace zervane
