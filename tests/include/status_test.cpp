#include <gtest/gtest.h>

#include <set>
#include <string>

#include "zr3Enum.h"

namespace {

struct ListedStatus {
  const char* name;
  int32 number;
  const char* text;
};

constexpr ListedStatus kStatuses[] = {
#define LISTED_STATUS(name, number, text) {#name, number, text},
    ZR3_STATUS_LIST(LISTED_STATUS)
#undef LISTED_STATUS
};

TEST(StatusList, UsesEveryNumberOnce) {
  std::set<int32> numbers;
  for (const ListedStatus& status : kStatuses) {
    EXPECT_TRUE(numbers.insert(status.number).second)
        << status.name << " repeats " << status.number;
  }
}

TEST(StatusList, KeepsEveryNumberInItsFamily) {
  const std::set<int32> families = {110, 117, 119, 121, 123, 125};
  for (const ListedStatus& status : kStatuses) {
    if (status.number == ZR3_OK) continue;
    EXPECT_TRUE(families.contains(status.number / 1000)) << status.name;
  }
}

TEST(StatusList, LeavesMinusOneToTheBridge) {
  for (const ListedStatus& status : kStatuses) EXPECT_GE(status.number, 0) << status.name;
}

TEST(StatusList, HoldsTheNumbersThatCallersTestFor) {
  EXPECT_EQ(ZR3_ERR_SOME_NAMES_FAILED, 0x1CC2B);
  EXPECT_EQ(ZR3_ERR_SOME_INSTANTS_FAILED, 0x1D33B);
  EXPECT_EQ(ZR3_ERR_SOME_ALARMS_FAILED, 119624);
  EXPECT_EQ(ZR3_ERR_SOME_RECORDS_FAILED, 119610);
  EXPECT_EQ(ZR3_ERR_INVALID_HANDLE, 110191);
}

TEST(StatusText, TellsTheListedMeaning) {
  for (const ListedStatus& status : kStatuses) {
    EXPECT_STREQ(zr3_status_text(status.number), status.text) << status.name;
  }
}

TEST(StatusText, SaysSoWhenTheNumberIsUnknown) {
  EXPECT_STREQ(zr3_status_text(-1), "unknown status");
  EXPECT_STREQ(zr3_status_text(1), "unknown status");
}

}  // namespace
