#include "engine/write/lost_batches.h"

#include <gtest/gtest.h>

#include <memory>

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
