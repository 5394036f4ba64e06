#include <gtest/gtest.h>

#include <cstring>
#include <memory>

#include "tests/vask/memory_deeds.h"

namespace zervane {

// It is turned on, with all its threads, and afterwards off again.
Attempt SetRelay(World&) {
  auto cfg = std::make_shared<ZRRestCfg>();
  std::strcpy(cfg->szHostIP, "127.0.0.1");
  std::strcpy(cfg->szPort, "1");
  std::strcpy(cfg->szPassword, "a password that is no short text");
  std::strcpy(cfg->szRoutingrtrec, "values of every tag of this plant");
  std::strcpy(cfg->szRoutingrtalms, "raised alarms of this plant");
  return {.call = [=] { return ut3_send_rest_info(*cfg); },
          .done = [] { EXPECT_EQ(ut3_send_rest_info(ZRRestCfg{}), ZR3_OK); }};
}

}  // namespace zervane
