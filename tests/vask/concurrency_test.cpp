// Many threads on the exported functions, while the session comes and goes.

#include <gtest/gtest.h>

#include <atomic>
#include <cstring>
#include <functional>
#include <thread>
#include <vector>

#include "tests/vask/connected_test.h"
#include "zervane.h"

namespace zervane {
namespace {

constexpr int kThreads = 4;
constexpr int kRounds = 300;

int32 ConnectVolatile() {
  ZR3Connection connection{};
  std::strcpy(connection.szAddress, "memory:");
  return nt3_connect(&connection);
}

uint32 AddTag(const std::string& name) {
  ZR3PtTagProp tag{};
  std::strcpy(tag.szTagName, name.c_str());
  const ZR3Mask mask{.nCommMask = 1, .nExtMask = 0};
  uint32 id = 0;
  (void)pt3_add_tag(&tag, &mask, nullptr, &id);
  return id;
}

// One of each kind of call; whatever the session is at the time, each has its answer.
void CallEverything(int thread, int round) {
  const uint32 id = AddTag("tag " + std::to_string(thread));
  uint32 found = 0;
  ZR3_TAG_TYPE type = -1;
  ZR3Record record{};
  record.nSec = round + 1;
  record.nTagType = ZR3_TAG_TYPE_FLOAT64;
  const ZR3TimeRegion all{{0, 0}, {-1, 999}, 1, 1};
  int32 count = 1;
  int64 time_ms = 0;
  char* reply = nullptr;
  ZR3PtTagProp tag{};
  const int32 statuses[] = {
      tag3_query_id_by_name("tag 0", &found),
      pt3_query_tag_type(id, &type),
      pt3_query_tag_prop(id, &tag),
      sn3_save_snapshots(1, &id, &record, nullptr),
      sn3_save_snapshots_nowait(1, &id, &record, nullptr),
      sn3_query_snapshot(id, &record),
      ar3_query_raw_records(id, &all, &count, &record),
      ut3_get_server_ms_time(&time_ms),
      ut3_get_item_step(reinterpret_cast<ZR3HANDLE>(std::intptr_t{1}), &found),
      cc3_cmd("cmdtype=read_version;", &reply),
      sc3_delete_user("nobody"),
      tag3_delete_tag(id),
  };
  (void)cc3_cmd_free(reply);
  for (const int32 status : statuses) {
    EXPECT_NE(status, ZR3_ERR_INTERNAL);
    EXPECT_NE(status, ZR3_ERR_NULL_ARGUMENT);
  }
}

void RunThreads(const std::function<void(int)>& body) {
  std::vector<std::thread> threads;
  for (int t = 0; t < kThreads; ++t) threads.emplace_back(body, t);
  for (std::thread& thread : threads) thread.join();
}

TEST(ManyThreads, CallWhileTheSessionComesAndGoes) {
  std::atomic<bool> done{false};
  std::thread connector([&] {
    for (int round = 0; round < kRounds; ++round) {
      EXPECT_EQ(ConnectVolatile(), ZR3_OK);
      EXPECT_EQ(ConnectVolatile(), ZR3_OK) << "the same servers again";
      EXPECT_EQ(nt3_disconnect(), ZR3_OK);
    }
    done = true;
  });
  RunThreads([&](int thread) {
    for (int round = 0; !done; ++round) CallEverything(thread, round);
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
  std::vector<uint32> ids;
  for (int t = 0; t < kThreads; ++t) ids.push_back(AddTag("tag " + std::to_string(t)));
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
