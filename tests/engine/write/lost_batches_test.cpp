#include "engine/write/lost_batches.h"

#include <gtest/gtest.h>
#include <spdlog/sinks/ostream_sink.h>

#include <memory>
#include <sstream>
#include <string>
#include <vector>

#include "engine/log.h"
#include "tests/engine/short_memory.h"

namespace zervane {
namespace {

Status Full() { return {ZR3_ERR_STORAGE_FULL, "full"}; }
Status Failed() { return {ZR3_ERR_STORAGE_FAILED, "failed"}; }

TEST(LostBatches, AreToldOnceToTheirSession) {
  LostBatches lost;
  lost.Note(1, 10, Full());
  lost.Note(2, 10, Failed());
  EXPECT_TRUE(lost.Tell(3).ok());
  EXPECT_EQ(lost.Tell(2).code(), ZR3_ERR_STORAGE_FAILED);
  EXPECT_EQ(lost.Tell(1).code(), ZR3_ERR_STORAGE_FULL);
  EXPECT_TRUE(lost.Tell(1).ok());
  EXPECT_TRUE(lost.Tell(2).ok());
}

TEST(LostBatches, AreToldByTheFirstOfASession) {
  LostBatches lost;
  lost.Note(1, 10, Full());
  lost.Note(1, 10, Failed());
  EXPECT_EQ(lost.Tell(1).code(), ZR3_ERR_STORAGE_FULL);
  EXPECT_TRUE(lost.Tell(1).ok());
  lost.Note(1, 10, Failed());
  EXPECT_EQ(lost.Tell(1).code(), ZR3_ERR_STORAGE_FAILED);
}

TEST(LostBatches, AreToldToAnyoneInTheOrderOfTheirLoss) {
  LostBatches lost;
  EXPECT_TRUE(lost.TellAnyone().ok());
  lost.Note(2, 10, Failed());
  lost.Note(1, 10, Full());
  EXPECT_EQ(lost.TellAnyone().code(), ZR3_ERR_STORAGE_FAILED);
  EXPECT_EQ(lost.TellAnyone().code(), ZR3_ERR_STORAGE_FULL);
  EXPECT_TRUE(lost.TellAnyone().ok());
}

// The library's log goes to a text, and afterwards to where it went before.
class LoggedLoss : public testing::Test {
 protected:
  LoggedLoss() : sinks_(Log().sinks()), level_(Log().level()) {
    Log().sinks() = {std::make_shared<spdlog::sinks::ostream_sink_st>(text_)};
    Log().sinks().front()->set_pattern("%v");
    Log().set_level(spdlog::level::warn);
  }
  ~LoggedLoss() override {
    Log().sinks() = sinks_;
    Log().set_level(level_);
  }

  // The lines since it was last asked.
  std::vector<std::string> Lines() {
    std::istringstream text(text_.str());
    text_.str("");
    std::vector<std::string> lines;
    for (std::string line; std::getline(text, line);) lines.push_back(line);
    return lines;
  }

 private:
  std::ostringstream text_;
  const std::vector<spdlog::sink_ptr> sinks_;
  const spdlog::level::level_enum level_;
};

TEST_F(LoggedLoss, IsThatOfEverySessionsFirstBatchAndTheSumOfThoseAfterIt) {
  LostBatches lost;
  lost.Note(1, 10, Full());
  lost.Note(2, 20, Full());
  ASSERT_EQ(Lines().size(), 2U);
  lost.Note(1, 30, Failed());
  lost.Note(1, 40, Full());
  EXPECT_EQ(Lines().size(), 0U) << "a full disk would fill the log";
  (void)lost.Tell(1);
  const std::vector<std::string> sum = Lines();
  ASSERT_EQ(sum.size(), 1U);
  EXPECT_EQ(sum[0].find("2 more batches of 70 records"), 0U) << sum[0];
  (void)lost.Tell(2);
  EXPECT_EQ(Lines().size(), 0U) << "its only batch was logged";
  lost.Note(1, 50, Full());
  EXPECT_EQ(Lines().size(), 1U) << "the next first one";
}

TEST_F(LoggedLoss, IsLoggedAlsoWhenNobodyIsTold) {
  {
    LostBatches lost;
    lost.Note(1, 10, Full());
    lost.Note(1, 30, Failed());
    (void)Lines();
  }
  const std::vector<std::string> sum = Lines();
  ASSERT_EQ(sum.size(), 1U);
  EXPECT_EQ(sum[0].find("1 more batches of 30 records"), 0U) << sum[0];
}

TEST(LostBatches, AreForgottenOfTheSessionThatWaitedLongestWhenThereAreTooMany) {
  LostBatches lost;
  const ShortMemory memory(1);  // none is asked for
  const Status full(ZR3_ERR_STORAGE_FULL, {});
  for (SessionId session = 0; session <= LostBatches::kMaxSessions; ++session) {
    lost.Note(session, 1, full);
  }
  EXPECT_TRUE(lost.Tell(0).ok());
  for (SessionId session = 1; session <= LostBatches::kMaxSessions; ++session) {
    EXPECT_EQ(lost.Tell(session).code(), ZR3_ERR_STORAGE_FULL);
  }
}

}  // namespace
}  // namespace zervane
