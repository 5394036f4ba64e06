#pragma once

#include <gtest/gtest.h>

#include <algorithm>
#include <iterator>
#include <memory>
#include <utility>
#include <vector>

#include "tests/vask/api_function.h"
#include "tests/vask/connected_test.h"

namespace zervane {

// The functions for which something holds.
inline std::vector<ApiFunction> FunctionsThat(bool (*holds)(const ApiFunction&)) {
  std::vector<ApiFunction> functions;
  std::copy_if(AllFunctions().begin(), AllFunctions().end(), std::back_inserter(functions), holds);
  return functions;
}

// A test of one function.
class FunctionTest : public testing::TestWithParam<ApiFunction> {
 protected:
  void TearDown() override {
    (void)ProcessSession().Disconnect();
    ReleaseHandedOut();
  }

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

  // Every call gets the status, and the database hears nothing of it.
  void ExpectAll(const std::vector<ApiFunction::Call>& calls, ZR3_STATUS status) {
    Connect();
    for (std::size_t i = 0; i < calls.size(); ++i) {
      EXPECT_EQ(calls[i](), status) << "variant " << i;
    }
    EXPECT_EQ(database->calls(), calls_before);
  }

  FakeDatabase* database = nullptr;
  int calls_before = 0;
};

}  // namespace zervane
