// What a thread's first calls need of memory, they fail for want of, and the process goes on.

#include <gtest/gtest.h>

#include <array>
#include <cstdint>
#include <cstring>
#include <memory>
#include <string>
#include <thread>
#include <utility>

#include "os/os_lang.h"
#include "tests/engine/short_memory.h"
#include "tests/vask/connected_test.h"
#include "zervane.h"

namespace zervane {
namespace {

// Makes the calls on a new thread each time, with the first, the second ... request for memory and
// all after it failing, until none fails.
template <typename Calls>
void WithLessAndLessMemory(Calls&& calls) {
  constexpr std::uint64_t kMostRequests = 1'000;
  std::uint64_t nth = 1;
  do {
    ASSERT_LT(nth, kMostRequests);
    SCOPED_TRACE("request " + std::to_string(nth));
    std::thread([&] {
      const ShortMemory memory(nth, ShortMemory::Lack::kRest, ShortMemory::Whose::kThisThread,
                               ShortMemory::Asker::kCLibraryToo);
      calls();
    }).join();
    ++nth;
  } while (ShortMemory::Failed() > 0);
}

void ExpectSuccessOrNoMemory(int32 status) {
  EXPECT_TRUE(status == ZR3_OK || status == ZR3_ERR_OUT_OF_MEMORY) << status;
}

class FirstCallsOfAThread : public testing::Test {
 protected:
  void SetUp() override {
    ZR3Connection connection{};
    std::strcpy(connection.szAddress, "memory:");
    ASSERT_EQ(nt3_connect(&connection), ZR3_OK);
    ZR3PtTagProp tag{};
    std::strcpy(tag.szTagName, "tag");
    const ZR3Mask mask{};
    ASSERT_EQ(pt3_add_tag(&tag, &mask, nullptr, &id_), ZR3_OK);
  }

  void TearDown() override { EXPECT_EQ(nt3_disconnect(), ZR3_OK); }

  uint32 id_ = 0;
};

TEST_F(FirstCallsOfAThread, ReadWithoutMemory) {
  WithLessAndLessMemory([this] {
    ZR3_TAG_TYPE type = 0;
    const int32 status = pt3_query_tag_type(id_, &type);
    ExpectSuccessOrNoMemory(status);
  });
}

TEST_F(FirstCallsOfAThread, WriteWithoutMemory) {
  WithLessAndLessMemory([this] {
    ZR3Record record{};
    record.nTagType = ZR3_TAG_TYPE_FLOAT64;
    const int32 status = sn3_save_snapshot(id_, &record);
    ExpectSuccessOrNoMemory(status);
  });
}

// Over a database of the test's own, whose requests fail as well.
TEST(SearchingWithoutMemory, FailsWholeOrSucceeds) {
  auto fake = std::make_unique<FakeDatabase>();
  for (int i = 0; i < 5; ++i)
    fake->Add("a tag of some length " + std::to_string(i), TagType::kInt8);
  fake->page_tags = 2;
  ConnectTo(std::move(fake));
  WithLessAndLessMemory([] {
    ZR3FilterItem item{ZR3_TAG_COL_COMM_PROP_TAG_NAME, ZR3_RELATION_LIKE, "*a tag of some length*"};
    const ZR3FilterItemSet set{.nSize = 1, .pItem = &item};
    ZR3HANDLE handle = nullptr;
    const int32 searched = tag3_query_tags_cond(-1, &set, -1, &handle);
    ExpectSuccessOrNoMemory(searched);
    EXPECT_EQ(searched == ZR3_OK, handle != nullptr);
    int seen = 0;
    ZR3CommTagProp tag{};
    int32 status = searched;
    while (status == ZR3_OK && (status = ut3_get_item_step(handle, &tag)) == ZR3_OK) ++seen;
    EXPECT_TRUE(status == ZR3_ERR_OUT_OF_MEMORY ||
                (status == ZR3_ERR_END_OF_ITERATION && seen == 5))
        << status << " after " << seen;
    if (handle != nullptr) {
      EXPECT_EQ(ut3_free_handle(handle), ZR3_OK);
    }
  });
  WithLessAndLessMemory([] {
    int32 count = 0;
    ZR3CommTagProp* tags = nullptr;
    const int32 status = tag3_query_all_tags_prop(-1, &count, -1, &tags, 0);
    ExpectSuccessOrNoMemory(status);
    EXPECT_EQ(count, status == ZR3_OK ? 5 : 0);
    EXPECT_EQ(tag3_free_all_tags_prop(tags), ZR3_OK);
  });
  EXPECT_EQ(nt3_disconnect(), ZR3_OK);
}

TEST_F(FirstCallsOfAThread, ConvertTextsWithoutMemory) {
  std::array<char, 8> text{};
  ASSERT_EQ(os_lang_conv_utf8_to_sys("text", text.data(), text.size()), 0);
  WithLessAndLessMemory([] {
    std::array<char, 8> converted{};
    const int status = os_lang_conv_utf8_to_sys("text", converted.data(), converted.size());
    EXPECT_STREQ(converted.data(), status == 0 ? "text" : "");
    (void)os_lang_take_failures();
  });
}

}  // namespace
}  // namespace zervane
