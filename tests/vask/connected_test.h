#pragma once

#include <gtest/gtest.h>

#include <memory>
#include <utility>

#include "tests/vask/fake_database.h"
#include "vask/session.h"

namespace zervane {

// Connects the process's session to a database of the test's own.
inline void ConnectTo(std::unique_ptr<Database> database) {
  const Servers servers{.primary = {.kind = Target::Kind::kMemory}, .standby = {}};
  const Status status = ProcessSession().Connect(
      servers,
      [&](const Target&) -> Result<std::unique_ptr<Database>> { return std::move(database); });
  ASSERT_EQ(status.code(), ZR3_OK);
}

// A test of exported functions, connected to `database` from its start to its end.
class ConnectedTest : public testing::Test {
 protected:
  void SetUp() override {
    auto fake = std::make_unique<FakeDatabase>();
    database = fake.get();
    ConnectTo(std::move(fake));
  }

  void TearDown() override { (void)ProcessSession().Disconnect(); }

  FakeDatabase* database = nullptr;
};

}  // namespace zervane
