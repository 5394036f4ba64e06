// What a thread's first calls need of memory, they fail for want of, and the process goes on.

#include <gtest/gtest.h>

#include <array>
#include <cstdint>
#include <cstring>
#include <thread>

#include "os/os_lang.h"
#include "tests/engine/short_memory.h"
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
