#include <gtest/gtest.h>

#include <cstring>

#include "tests/vask/connected_test.h"
#include "zervane.h"

namespace zervane {
namespace {

using Settings = ConnectedTest;
using Clock = ConnectedTest;

TEST_F(Settings, TakeTimeoutsFromOneSecondToADay) {
  for (const int32 seconds : {1, 3, 86400}) EXPECT_EQ(ut3_set_request_timeout(seconds), ZR3_OK);
  for (const int32 seconds : {0, -1, 86401, INT32_MIN, INT32_MAX}) {
    EXPECT_EQ(ut3_set_request_timeout(seconds), ZR3_ERR_INVALID_ARGUMENT) << seconds;
  }
}

TEST_F(Settings, KnowNoOption) {
  EXPECT_EQ(ut3_set_api_option(0), ZR3_OK);
  for (const int64 option : {int64{-1}, int64{1}, INT64_MIN, int64{1} << 32}) {
    EXPECT_EQ(ut3_set_api_option(option), ZR3_ERR_INVALID_ARGUMENT) << option;
  }
}

TEST_F(Settings, BoundTheRequestCacheForTheProcess) {
  database->Add("A", TagType::kInt8);
  uint32 id = 0;
  ASSERT_EQ(ut3_set_request_cache_capacity(0), ZR3_OK);
  ASSERT_EQ(tag3_query_id_by_name("A", &id), ZR3_OK);
  EXPECT_EQ(ProcessSession()
                .Hold([](Session& session) {
                  EXPECT_EQ(session.cache().name_count(), 0U);
                  return Status();
                })
                .code(),
            ZR3_OK);

  (void)nt3_disconnect();
  SetUp();
  database->Add("A", TagType::kInt8);
  ASSERT_EQ(tag3_query_id_by_name("A", &id), ZR3_OK);
  EXPECT_EQ(ProcessSession()
                .Hold([](Session& session) {
                  EXPECT_EQ(session.cache().name_count(), 0U)
                      << "the setting ended with the session";
                  return Status();
                })
                .code(),
            ZR3_OK);

  EXPECT_EQ(ut3_set_request_cache_capacity(INT32_MAX), ZR3_OK);
  EXPECT_EQ(ut3_set_request_cache_capacity(100'000), ZR3_OK);
}

TEST_F(Clock, IsTheDatabases) {
  int64 time_ms = 0;
  ASSERT_EQ(ut3_get_server_ms_time(&time_ms), ZR3_OK);
  EXPECT_EQ(time_ms, *database->ServerTimeMs());
}

TEST_F(Clock, PassesTheDatabasesFailureOn) {
  database->on_call = [] { return Status(ZR3_ERR_STORAGE_FAILED, {}); };
  int64 time_ms = 5;
  EXPECT_EQ(ut3_get_server_ms_time(&time_ms), ZR3_ERR_STORAGE_FAILED);
  EXPECT_EQ(time_ms, 5);
}

// No function of the API makes iterators yet: this one stands in for a search's.
class Ids : public ItemIterator {
 public:
  explicit Ids(uint32 count) : count_(count) {}

  Status Next(void* item) override {
    if (next_ > count_) return {ZR3_ERR_END_OF_ITERATION, {}};
    *static_cast<uint32*>(item) = next_++;
    return {};
  }
  void Forget() noexcept override {}

 private:
  const uint32 count_;
  uint32 next_ = 1;
};

class Iteration : public ConnectedTest {
 protected:
  static ZR3HANDLE MakeIterator(uint32 count) {
    ZR3HANDLE handle = nullptr;
    const Status status = ProcessSession().Hold([&](Session& session) {
      const Result<ZR3HANDLE> iterator = session.handles().Add(std::make_unique<Ids>(count));
      if (iterator.ok()) handle = *iterator;
      return iterator.status();
    });
    EXPECT_TRUE(status.ok());
    return handle;
  }
};

TEST_F(Iteration, GivesEveryItemAndThenEnds) {
  const ZR3HANDLE handle = MakeIterator(2);
  uint32 id = 0;
  EXPECT_EQ(ut3_get_item_step(handle, &id), ZR3_OK);
  EXPECT_EQ(id, 1U);
  EXPECT_EQ(ut3_get_item_step(handle, &id), ZR3_OK);
  EXPECT_EQ(id, 2U);
  EXPECT_EQ(ut3_get_item_step(handle, &id), ZR3_ERR_END_OF_ITERATION);
  EXPECT_EQ(ut3_get_item_step(handle, &id), ZR3_ERR_END_OF_ITERATION);
  EXPECT_EQ(id, 2U);
  EXPECT_EQ(ut3_free_handle(handle), ZR3_OK);
}

TEST_F(Iteration, SurvivesTheCutToAJavaInt) {
  const ZR3HANDLE handle = MakeIterator(1);
  const auto cut = static_cast<int32>(reinterpret_cast<std::intptr_t>(handle));
  uint32 id = 0;
  EXPECT_EQ(ut3_get_item_step(reinterpret_cast<ZR3HANDLE>(std::intptr_t{cut}), &id), ZR3_OK);
}

TEST_F(Iteration, RefusesHandlesThatAreNone) {
  const ZR3HANDLE freed = MakeIterator(1);
  ASSERT_EQ(ut3_free_handle(freed), ZR3_OK);
  uint32 id = 9;
  for (const ZR3HANDLE handle : {ZR3HANDLE{}, freed, static_cast<ZR3HANDLE>(&id),
                                 reinterpret_cast<ZR3HANDLE>(std::intptr_t{-1})}) {
    EXPECT_EQ(ut3_get_item_step(handle, &id), ZR3_ERR_INVALID_HANDLE);
    EXPECT_EQ(ut3_free_handle(handle), ZR3_ERR_INVALID_HANDLE);
  }
  EXPECT_EQ(id, 9U);
}

TEST_F(Iteration, EndsWithItsSession) {
  const ZR3HANDLE stale = MakeIterator(1);
  (void)nt3_disconnect();
  uint32 id = 9;
  EXPECT_EQ(ut3_get_item_step(stale, &id), ZR3_ERR_NOT_CONNECTED);
  SetUp();
  EXPECT_EQ(ut3_get_item_step(stale, &id), ZR3_ERR_INVALID_HANDLE);
  EXPECT_EQ(ut3_free_handle(stale), ZR3_ERR_INVALID_HANDLE);
}

TEST_F(Iteration, NeedsAnItemToFill) {
  const ZR3HANDLE handle = MakeIterator(1);
  EXPECT_EQ(ut3_get_item_step(handle, nullptr), ZR3_ERR_NULL_ARGUMENT);
  uint32 id = 0;
  EXPECT_EQ(ut3_get_item_step(handle, &id), ZR3_OK) << "the refused call took an item";
}

// ---- the relay ----

using RelaySettings = ConnectedTest;

TEST_F(RelaySettings, AreRefusedForAnyTextThatDoesNotEnd) {
  constexpr std::size_t kTexts = sizeof(ZRRestCfg) / ZR3_LEN_RELAY_TEXT;
  static_assert(kTexts == 18);
  for (std::size_t i = 0; i < kTexts; ++i) {
    ZRRestCfg cfg{};
    std::memset(reinterpret_cast<char*>(&cfg) + i * ZR3_LEN_RELAY_TEXT, 'x', ZR3_LEN_RELAY_TEXT);
    EXPECT_EQ(ut3_send_rest_info(cfg), ZR3_ERR_INVALID_TEXT) << i;
  }
}

}  // namespace
}  // namespace zervane
