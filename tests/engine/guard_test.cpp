#include "engine/guard.h"

#include <gtest/gtest.h>

#include <new>
#include <stdexcept>
#include <string>
#include <system_error>

#include "tests/engine/short_memory.h"

namespace zervane {
namespace {

// The status of a body that throws, while no memory can be had from the throw on.
template <typename Exception>
Status GuardedWithoutMemory(const Exception& exception) {
  const ShortMemory memory(1);
  return Guarded([&]() -> Status { throw exception; });
}

TEST(Guarded, AnswersWhatItsBodyAnswers) {
  EXPECT_TRUE(Guarded([] { return Status(); }).ok());
  EXPECT_EQ(*Guarded([] { return Result<int>(7); }), 7);
  EXPECT_EQ(Guarded([] { return Result<int>(Status(ZR3_ERR_TAG_EXISTS, "a")); }).code(),
            ZR3_ERR_TAG_EXISTS);
}

TEST(Guarded, AnswersWantOfMemoryWithoutMemory) {
  EXPECT_EQ(GuardedWithoutMemory(std::bad_alloc()).code(), ZR3_ERR_OUT_OF_MEMORY);
}

TEST(Guarded, TakesAThreadThatCannotBeHadForWantOfMemory) {
  const auto code = std::make_error_code(std::errc::resource_unavailable_try_again);
  EXPECT_EQ(GuardedWithoutMemory(std::system_error(code)).code(), ZR3_ERR_OUT_OF_MEMORY);
}

TEST(Guarded, TellsTheCauseOfAnyOtherException) {
  const Status status = Guarded([]() -> Status { throw std::runtime_error("the cause"); });
  EXPECT_EQ(status.code(), ZR3_ERR_INTERNAL);
  EXPECT_EQ(status.message(), "the cause");
}

TEST(Guarded, LeavesTheCauseOutWhenThereIsNoMemoryForIt) {
  const std::runtime_error fault(std::string(1000, 'x'));
  const Status status = GuardedWithoutMemory(fault);
  EXPECT_EQ(status.code(), ZR3_ERR_INTERNAL);
  EXPECT_EQ(status.message(), "");
}

TEST(Guarded, LetsNoExceptionOfAnyKindPass) {
  EXPECT_EQ(Guarded([]() -> Status { throw 7; }).code(), ZR3_ERR_INTERNAL);
}

TEST(Guarded, NeedsNoMemoryToCallItsBody) {
  const std::string bytes(1000, 'x');
  const auto body = [bytes] { return Status(bytes.empty() ? ZR3_ERR_INTERNAL : ZR3_OK, {}); };
  const ShortMemory memory(1);
  EXPECT_TRUE(Guarded(body).ok());
}

}  // namespace
}  // namespace zervane
