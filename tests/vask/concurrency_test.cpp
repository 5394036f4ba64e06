// Many threads on the exported functions, while the session comes and goes.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <cstring>
#include <functional>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "tests/vask/connected_test.h"
#include "zervane.h"

namespace zervane {
namespace {

using testing::AnyOf;

constexpr int kThreads = 4;
constexpr int kRounds = 300;

int32 ConnectVolatile() {
  ZR3Connection connection{};
  std::strcpy(connection.szAddress, "memory:");
  return nt3_connect(&connection);
}

int32 AddTag(const std::string& name, uint32* id) {
  ZR3PtTagProp tag{};
  std::strcpy(tag.szTagName, name.c_str());
  const ZR3Mask mask{.nCommMask = 1, .nExtMask = 0};
  return pt3_add_tag(&tag, &mask, nullptr, id);
}

// One of each kind of call by a thread that has tags of one name, and with every answer that there
// can be: the session may end at any time, and the identifier then belong to another thread's tag,
// or to none. True when the session was there at the end.
bool CallEverything(int thread, int round) {
  const auto done = AnyOf(ZR3_OK, ZR3_ERR_NOT_CONNECTED);
  const auto done_to_tag = AnyOf(done, ZR3_ERR_TAG_NOT_FOUND);
  uint32 id = 0;
  EXPECT_THAT(AddTag("tag " + std::to_string(thread), &id), done);
  uint32 found = 0;
  EXPECT_THAT(tag3_query_id_by_name("tag 0", &found), AnyOf(done, ZR3_ERR_NAME_NOT_FOUND));
  ZR3_TAG_TYPE type = -1;
  EXPECT_THAT(pt3_query_tag_type(id, &type), done_to_tag);
  ZR3PtTagProp tag{};
  EXPECT_THAT(pt3_query_tag_prop(id, &tag), done_to_tag);
  ZR3Record record{};
  record.nSec = round + 1;
  record.nTagType = ZR3_TAG_TYPE_FLOAT64;
  EXPECT_THAT(sn3_save_snapshot(id, &record), AnyOf(done_to_tag, ZR3_ERR_OUT_OF_ORDER));
  int32 code = ZR3_OK;
  EXPECT_THAT(sn3_save_snapshots_nowait(1, &id, &record, &code),
              AnyOf(done, ZR3_ERR_SOME_RECORDS_FAILED));
  EXPECT_THAT(code, AnyOf(ZR3_OK, ZR3_ERR_TAG_NOT_FOUND, ZR3_ERR_OUT_OF_ORDER));
  EXPECT_THAT(sn3_query_snapshot(id, &record), AnyOf(done_to_tag, ZR3_ERR_NO_RECORD));
  const ZR3TimeRegion all{{0, 0}, {-1, 999}, 1, 1};
  int32 count = 1;
  EXPECT_THAT(ar3_query_raw_records(id, &all, &count, &record), done_to_tag);
  int64 time_ms = 0;
  EXPECT_THAT(ut3_get_server_ms_time(&time_ms), done);
  const ZR3FilterItemSet every{};
  ZR3HANDLE iterator = nullptr;
  EXPECT_THAT(tag3_query_tags_cond(-1, &every, -1, &iterator), done);
  ZR3CommTagProp item{};
  EXPECT_THAT(ut3_get_item_step(iterator, &item),
              AnyOf(done, ZR3_ERR_INVALID_HANDLE, ZR3_ERR_END_OF_ITERATION));
  EXPECT_THAT(ut3_free_handle(iterator), AnyOf(done, ZR3_ERR_INVALID_HANDLE));
  EXPECT_THAT(tag3_query_tag_num_cond(ZR3_TAG_CLASS_ALL, &every, &count), done);
  int32 listed = 0;
  ZR3CommTagProp* tags = nullptr;
  EXPECT_THAT(tag3_query_all_tags_prop(-1, &listed, -1, &tags, 0), done);
  EXPECT_EQ(tag3_free_all_tags_prop(tags), ZR3_OK);
  // No other thread can have it, whose items would not fit.
  EXPECT_THAT(ut3_get_item_step(reinterpret_cast<ZR3HANDLE>(std::intptr_t{-1}), &found),
              AnyOf(ZR3_ERR_INVALID_HANDLE, ZR3_ERR_NOT_CONNECTED));
  EXPECT_THAT(sc3_delete_user("nobody"), AnyOf(ZR3_ERR_USER_NOT_FOUND, ZR3_ERR_NOT_CONNECTED));
  EXPECT_THAT(sc3_login("admin", ""), done);
  EXPECT_THAT(tag3_delete_tag(id), done_to_tag);
  char* reply = nullptr;
  const int32 status = cc3_cmd("cmdtype=read_version;", &reply);
  EXPECT_THAT(status, done);
  EXPECT_EQ(cc3_cmd_free(reply), ZR3_OK);
  return status == ZR3_OK;
}

void RunThreads(const std::function<void(int)>& body) {
  std::vector<std::thread> threads;
  for (int t = 0; t < kThreads; ++t) threads.emplace_back(body, t);
  for (std::thread& thread : threads) thread.join();
}

// Each session lasts until it has served some thread.
TEST(ManyThreads, CallWhileTheSessionComesAndGoes) {
  std::atomic<bool> done{false};
  std::atomic<int> served{0};
  std::thread connector([&] {
    for (int round = 0; round < kRounds; ++round) {
      EXPECT_EQ(ConnectVolatile(), ZR3_OK);
      EXPECT_EQ(ConnectVolatile(), ZR3_OK) << "the same servers again";
      for (const int before = served; served == before;) std::this_thread::yield();
      EXPECT_EQ(nt3_disconnect(), ZR3_OK);
    }
    done = true;
  });
  RunThreads([&](int thread) {
    for (int round = 0; !done; ++round) {
      if (CallEverything(thread, round)) ++served;
    }
  });
  connector.join();
}

TEST(ManyThreads, ConnectAtOnceAndHaveOneSession) {
  for (int round = 0; round < kRounds; ++round) {
    std::atomic<int> ended{0};
    RunThreads([](int) { EXPECT_EQ(ConnectVolatile(), ZR3_OK); });
    RunThreads([&](int) {
      if (nt3_disconnect() == ZR3_OK) ++ended;
    });
    EXPECT_EQ(ended, 1);
  }
}

TEST(ManyThreads, LoseNoneOfTheirRecords) {
  ASSERT_EQ(ConnectVolatile(), ZR3_OK);
  std::vector<uint32> ids(kThreads);
  for (int t = 0; t < kThreads; ++t) ASSERT_EQ(AddTag("tag " + std::to_string(t), &ids[t]), ZR3_OK);
  RunThreads([&](int thread) {
    for (int32 second = 1; second <= kRounds; ++second) {
      ZR3Record record{};
      record.nSec = second;
      record.nTagType = ZR3_TAG_TYPE_FLOAT64;
      record.value.fFloat64 = thread;
      EXPECT_EQ(sn3_save_snapshot(ids[thread], &record), ZR3_OK);
    }
  });
  const ZR3TimeRegion all{{0, 0}, {-1, 999}, 1, 1};
  for (const uint32 id : ids) {
    int32 count = 0;
    EXPECT_EQ(ar3_query_raw_records_number(id, &all, &count), ZR3_OK);
    EXPECT_EQ(count, kRounds);
  }
  EXPECT_EQ(nt3_disconnect(), ZR3_OK);
}

TEST(ManyThreads, LookUpATypeWhileAWriteTakesItsTime) {
  auto fake = std::make_unique<FakeDatabase>();
  FakeDatabase* database = fake.get();
  const TagId id = database->Add("A", TagType::kInt8);
  std::atomic<bool> writing{false};
  std::atomic<bool> looked_up{false};
  thread_local bool is_writer = false;
  database->on_call = [&] {
    if (is_writer) {
      writing = true;
      while (!looked_up) std::this_thread::yield();
    }
    return Status();
  };
  ConnectTo(std::move(fake));
  std::thread writer([&] {
    is_writer = true;
    ZR3Record record{};
    record.nTagType = ZR3_TAG_TYPE_INT8;
    EXPECT_EQ(sn3_save_snapshot(id, &record), ZR3_OK);
  });
  while (!writing) std::this_thread::yield();
  ZR3_TAG_TYPE type = -1;
  EXPECT_EQ(pt3_query_tag_type(id, &type), ZR3_OK);
  looked_up = true;
  writer.join();
  EXPECT_EQ(nt3_disconnect(), ZR3_OK);
}

}  // namespace
}  // namespace zervane
