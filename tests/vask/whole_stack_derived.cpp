// Statistics, and the tags that the database computes itself.

#include <gtest/gtest.h>

#include "tests/vask/whole_stack.h"

namespace zervane {
namespace {

using Stack = WholeStack;

constexpr ZR3Mask kOwnSelected = {0, -1};

ZR3StatsTagProp MeanNamed(const char* name, const char* source = "source") {
  ZR3StatsTagProp mean{};
  Put(name, mean.szTagName);
  Put(source, mean.szSourceTagName);
  mean.nStatsType = ZR3_STATS_TYPE_ARITH_MEAN;
  mean.nSampleMode = ZR3_STATS_SAMPLE_MODE_INTERVAL;
  mean.nSampleInterval = 5;
  mean.nSampleMonthBeginDay = 1;
  mean.nSampleMonthEndDay = 31;
  mean.nCalcPeriod = 60;
  return mean;
}

uint32 AddMean() {
  uint32 id = 0;
  const ZR3StatsTagProp mean = MeanNamed("mean");
  EXPECT_EQ(st3_add_tag(&mean, &kOwnSelected, nullptr, &id), ZR3_OK);
  return id;
}

ZR3CalcTagProp DoubleNamed(const char* name, const char* expression = "2 * 'source'") {
  ZR3CalcTagProp twice{};
  Put(name, twice.szTagName);
  Put(expression, twice.szCalcExpr);
  twice.nCalcMode = ZR3_CALC_MODE_NOTIFY;
  twice.nCalcPeriod = 60;
  return twice;
}

uint32 AddDouble() {
  uint32 id = 0;
  const ZR3CalcTagProp twice = DoubleNamed("twice");
  EXPECT_EQ(ca3_add_tag(&twice, &kOwnSelected, nullptr, &id), ZR3_OK);
  return id;
}

ZR3StRelatedParam MeanOver(ZR3TimeRegion* region) {
  ZR3StRelatedParam param{};
  param.nStatsType = ZR3_STATS_TYPE_ARITH_MEAN;
  param.nTimeRegionNum = 1;
  param.pTimeRegions = region;
  return param;
}

std::vector<Deed> Statistics() {
  return {
      {"st3_tag_stats_calc",
       [](const Stack&) {
         ZR3TimeRegion region = {{1, 0}, {2, 0}, 1, 1};
         const ZR3StRelatedParam param = MeanOver(&region);
         float64 value = 0;
         const int32 status = st3_tag_stats_calc(Stack::kSource, &param, &value);
         EXPECT_EQ(value, 1.5);
         return status;
       },
       [](const Stack&) {
         ZR3TimeRegion region = {{1, 0}, {2, 0}, 1, 1};
         ZR3StRelatedParam param = MeanOver(&region);
         Put("value >", param.szFilterExpr);
         float64 value = 0;
         return st3_tag_stats_calc(Stack::kSource, &param, &value);
       },
       ZR3_ERR_INVALID_EXPRESSION},
      {"st3_add_tag",
       [](const Stack&) -> int32 {
         const uint32 id = AddMean();
         EXPECT_GT(id, Stack::kAlarm);
         return ZR3_OK;
       },
       [](const Stack&) {
         uint32 id = 0;
         const ZR3StatsTagProp mean = MeanNamed("lost", "nobody");
         return st3_add_tag(&mean, &kOwnSelected, nullptr, &id);
       },
       ZR3_ERR_NAME_NOT_FOUND},
      {"st3_modify_tag_prop",
       [](const Stack&) {
         const uint32 id = AddMean();
         ZR3StatsTagProp mean = MeanNamed("mean");
         mean.nSampleInterval = 7;
         const int32 status = st3_modify_tag_prop(id, &mean, &kOwnSelected);
         EXPECT_EQ(st3_query_tag_prop(id, &mean), ZR3_OK);
         EXPECT_EQ(mean.nSampleInterval, 7);
         return status;
       },
       [](const Stack&) {
         const uint32 id = AddMean();
         ZR3StatsTagProp mean = MeanNamed("mean");
         mean.nSampleInterval = 0;
         const int32 status = st3_modify_tag_prop(id, &mean, &kOwnSelected);
         EXPECT_EQ(tag3_delete_tag(id), ZR3_OK);
         return status;
       },
       ZR3_ERR_INVALID_PROPERTY},
      {"st3_query_tag_prop",
       [](const Stack&) {
         const uint32 id = AddMean();
         ZR3StatsTagProp mean{};
         const int32 status = st3_query_tag_prop(id, &mean);
         EXPECT_STREQ(mean.szSourceTagName, "source");
         return status;
       },
       [](const Stack&) {
         ZR3StatsTagProp mean{};
         return st3_query_tag_prop(Stack::kSource, &mean);
       },
       ZR3_ERR_INVALID_TAG_CLASS},
  };
}

std::vector<Deed> Calculations() {
  return {
      {"ca3_add_tag",
       [](const Stack&) -> int32 {
         const uint32 id = AddDouble();
         EXPECT_GT(id, Stack::kAlarm);
         return ZR3_OK;
       },
       [](const Stack&) {
         uint32 id = 0;
         const ZR3CalcTagProp broken = DoubleNamed("broken", "2 *");
         return ca3_add_tag(&broken, &kOwnSelected, nullptr, &id);
       },
       ZR3_ERR_INVALID_EXPRESSION},
      {"ca3_modify_tag_prop",
       [](const Stack&) {
         const uint32 id = AddDouble();
         ZR3CalcTagProp thrice = DoubleNamed("twice", "3 * 'source'");
         const int32 status = ca3_modify_tag_prop(id, &thrice, &kOwnSelected);
         EXPECT_EQ(ca3_query_tag_prop(id, &thrice), ZR3_OK);
         EXPECT_STREQ(thrice.szCalcExpr, "3 * 'source'");
         return status;
       },
       [](const Stack&) {
         const uint32 id = AddDouble();
         const ZR3CalcTagProp loop = DoubleNamed("twice", "3 * 'twice'");
         const int32 status = ca3_modify_tag_prop(id, &loop, &kOwnSelected);
         EXPECT_EQ(tag3_delete_tag(id), ZR3_OK);
         return status;
       },
       ZR3_ERR_CALCULATION_LOOP},
      {"ca3_query_tag_prop",
       [](const Stack&) {
         const uint32 id = AddDouble();
         ZR3CalcTagProp twice{};
         const int32 status = ca3_query_tag_prop(id, &twice);
         EXPECT_STREQ(twice.szCalcExpr, "2 * 'source'");
         return status;
       },
       [](const Stack&) {
         ZR3CalcTagProp twice{};
         return ca3_query_tag_prop(Stack::kNoTag, &twice);
       },
       ZR3_ERR_TAG_NOT_FOUND},
  };
}

}  // namespace

std::vector<Deed> DeedsOfDerivedTags() {
  std::vector<Deed> all = Statistics();
  for (const Deed& deed : Calculations()) all.push_back(deed);
  return all;
}

}  // namespace zervane
