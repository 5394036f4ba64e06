#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <vector>

#include "tests/vask/connected_test.h"
#include "zervane.h"

namespace zervane {
namespace {

class StatisticTest : public ConnectedTest {
 protected:
  void SetUp() override {
    ConnectedTest::SetUp();
    tag = database->Add("tag", TagType::kFloat64);
    database->AnswerStatistics(2.5);
    param.nTimeRegionNum = static_cast<int32>(regions.size());
    param.pTimeRegions = regions.data();
  }

  int32 Calculate() { return st3_tag_stats_calc(tag, &param, &value); }

  // The status of the parameters after the change, which must not reach the database.
  template <typename Change>
  int32 Refusal(Change&& change) {
    const ZR3StRelatedParam before = param;
    const int calls = database->calls();
    change(param);
    const int32 status = Calculate();
    param = before;
    EXPECT_EQ(database->calls(), calls);
    EXPECT_EQ(value, -1);
    return status;
  }

  TagId tag = 0;
  std::vector<ZR3TimeRegion> regions = {{{1, 5}, {2, 0}, 1, 0}, {{3, 0}, {-1, 999}, 0, -128}};
  ZR3StRelatedParam param{};
  float64 value = -1;
};

using Param = ZR3StRelatedParam;

TEST_F(StatisticTest, AsksForWhatTheParametersSay) {
  param.nStatsType = ZR3_STATS_TYPE_TIME_IN_RANGE;
  param.fPercentGood = 87.5F;
  param.nSampleType = ZR3_STATS_SAMPLE_TYPE_PREV_INTERP;
  std::strcpy(param.szFilterExpr, "value > 0");
  param.nFilterFailMode = ZR3_STATS_FILTER_FAIL_MODE_NO_FIL;
  param.dExtParam1 = -1.5;
  param.dExtParam2 = 1.5;
  param.nOffset = -30;
  param.nPeriod = 60;
  param.bUseBadValue = 5;
  ASSERT_EQ(Calculate(), ZR3_OK);
  EXPECT_EQ(value, 2.5);
  const StatisticRequest& asked = database->last_statistic();
  EXPECT_EQ(asked.type, StatisticType::kTimeInRange);
  EXPECT_EQ(asked.regions, (std::vector<TimeRegion>{{1005, 2000, true, false},
                                                    {3000, 4'294'967'295'999, false, true}}));
  EXPECT_EQ(asked.least_percent_good, 87.5F);
  EXPECT_EQ(asked.source, SampleSource::kPrevious);
  EXPECT_EQ(asked.filter, "value > 0");
  EXPECT_EQ(asked.filter_failure, FilterFailure::kKeep);
  EXPECT_EQ(asked.parameter_1, -1.5);
  EXPECT_EQ(asked.parameter_2, 1.5);
  EXPECT_EQ(asked.offset_s, -30);
  EXPECT_EQ(asked.period_s, 60);
  EXPECT_TRUE(asked.uses_bad_values);
}

TEST_F(StatisticTest, AsksForAllThatIsNotSaidAsZero) {
  ASSERT_EQ(Calculate(), ZR3_OK);
  const StatisticRequest& asked = database->last_statistic();
  EXPECT_EQ(asked.type, StatisticType::kMax);
  EXPECT_EQ(asked.source, SampleSource::kRecords);
  EXPECT_EQ(asked.filter, "");
  EXPECT_EQ(asked.filter_failure, FilterFailure::kDrop);
  EXPECT_FALSE(asked.uses_bad_values);
}

TEST_F(StatisticTest, TakesAFilterOfAsManyBytesAsThereIsRoomFor) {
  const std::string filter(ZR3_LEN_EXPRESSION - 1, '1');
  std::strcpy(param.szFilterExpr, filter.c_str());
  ASSERT_EQ(Calculate(), ZR3_OK);
  EXPECT_EQ(database->last_statistic().filter, filter);
}

TEST_F(StatisticTest, RefusesAFilterThatIsNoText) {
  EXPECT_EQ(Refusal([](Param& p) { std::memset(p.szFilterExpr, '1', sizeof p.szFilterExpr); }),
            ZR3_ERR_INVALID_TEXT)
      << "without an end";
  EXPECT_EQ(Refusal([](Param& p) { std::strcpy(p.szFilterExpr, "value > \xFF"); }),
            ZR3_ERR_INVALID_TEXT);
}

TEST_F(StatisticTest, RefusesEnumerationsOutsideTheirRange) {
  for (const int32 type : {-1, 26, INT32_MAX}) {
    EXPECT_EQ(Refusal([=](Param& p) { p.nStatsType = type; }), ZR3_ERR_INVALID_ARGUMENT);
  }
  for (const int32 type : {-1, 3, 256}) {
    EXPECT_EQ(Refusal([=](Param& p) { p.nSampleType = type; }), ZR3_ERR_INVALID_ARGUMENT);
  }
  for (const int32 mode : {-1, 2, 256}) {
    EXPECT_EQ(Refusal([=](Param& p) { p.nFilterFailMode = mode; }), ZR3_ERR_INVALID_ARGUMENT);
  }
}

TEST_F(StatisticTest, RefusesRegionsThatAreNone) {
  EXPECT_EQ(Refusal([](Param& p) { p.pTimeRegions = nullptr; }), ZR3_ERR_NULL_ARGUMENT);
  for (const int32 count : {-1, 0, 100'001, INT32_MAX}) {
    EXPECT_EQ(Refusal([=](Param& p) { p.nTimeRegionNum = count; }), ZR3_ERR_INVALID_COUNT);
  }
  regions[1].right.nMsec = 1000;
  EXPECT_EQ(Refusal([](Param&) {}), ZR3_ERR_INVALID_TIME);
  regions[1].right.nMsec = 0;
  regions[0].left.nMsec = -1;
  EXPECT_EQ(Refusal([](Param&) {}), ZR3_ERR_INVALID_TIME);
}

TEST_F(StatisticTest, WritesNoValueWhenThereIsNone) {
  for (const ZR3_STATUS status :
       {ZR3_ERR_NO_RECORD, ZR3_ERR_TOO_FEW_GOOD, ZR3_ERR_INVALID_REGION}) {
    database->AnswerStatistics(Status(static_cast<ZR3_STATUS>(status), {}));
    EXPECT_EQ(Calculate(), status);
  }
  EXPECT_EQ(st3_tag_stats_calc(99, &param, &value), ZR3_ERR_TAG_NOT_FOUND);
  EXPECT_EQ(value, -1);
}

TEST_F(StatisticTest, ChecksNothingWithoutPointers) {
  EXPECT_EQ(st3_tag_stats_calc(tag, nullptr, &value), ZR3_ERR_NULL_ARGUMENT);
  EXPECT_EQ(st3_tag_stats_calc(tag, &param, nullptr), ZR3_ERR_NULL_ARGUMENT);
}

}  // namespace
}  // namespace zervane
