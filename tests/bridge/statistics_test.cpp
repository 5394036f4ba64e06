#include "harness/method.h"
#include "harness/samples.h"

namespace zervane::bridge_test {
namespace {

Ref Start() { return JavaTime("start", 10, 250); }

Ref End() { return JavaTime("end", 20, 500); }

Ref Holder() { return Java().New(kDoubleWrapperClass, "holder").Set("Value", 41.0); }

const Lines kTimeGets =
    Gets("start", {"Int nSec", "Short nMsec"}) + Gets("end", {"Int nSec", "Short nMsec"});

Lines Lookups() {
  return LookUpClass(kTimeClass) + LookUp(kDoubleWrapperClass) + LookUpFields(kTimeClass);
}

jint Stats(const std::string& filter, jint use_bad_value, const Ref& holder = Holder()) {
  return Call(ZR(getTagStats), -1, 22, Start(), End(), 2, 60, -30, 1.5, -2.5, Java().String(filter),
              1, use_bad_value, holder);
}

// The six methods.
struct StatisticsMethod {
  const char* name;
  int32 type;
  float percent_good;
  std::string region;  // as it is sent
  jint (*call)(const Ref& holder);
};

const std::string kClosed = "[10.250, 20.500]";

const StatisticsMethod kMean = {"getTagMean", 5, 80.5F, kClosed, [](const Ref& holder) {
                                  return Call(ZR(getTagMean), -1, Start(), End(), 1, 2, 80.5F,
                                              holder);
                                }};
const StatisticsMethod kMax = {"getTagMax", 0, 80.5F, kClosed, [](const Ref& holder) {
                                 return Call(ZR(getTagMax), -1, Start(), End(), 80.5F, holder);
                               }};
const StatisticsMethod kMin = {"getTagMin", 1, 80.5F, kClosed, [](const Ref& holder) {
                                 return Call(ZR(getTagMin), -1, Start(), End(), 80.5F, holder);
                               }};
const StatisticsMethod kSum = {"getTagSum", 2, 80.5F, kClosed, [](const Ref& holder) {
                                 return Call(ZR(getTagSum), -1, Start(), End(), 80.5F, holder);
                               }};
const StatisticsMethod kPercentGood = {
    "getTagPercentGood", 4, 0, kClosed,
    [](const Ref& holder) { return Call(ZR(getTagPercentGood), -1, Start(), End(), holder); }};

std::string ApiLine(const std::string& region) {
  return "st3_tag_stats_calc(4294967295, ZR3StRelatedParam, " + region + ", out)";
}

void AnswerValue(float64 value, int32 status) {
  Api().On<st3_tag_stats_calc>([=](uint32, const ZR3StRelatedParam* param, float64* answer) {
    EXPECT_EQ(Probe().SizeAt(param->pTimeRegions), 20U);
    *answer = value;
    return status;
  });
}

// The parameters as sent, but for the region's address.
ZR3StRelatedParam Sent() {
  ZR3StRelatedParam param = Api().Sent<ZR3StRelatedParam>().at(0);
  param.pTimeRegions = nullptr;
  return param;
}

ZR3StRelatedParam Cleared() {
  ZR3StRelatedParam param;
  memset(&param, 0, sizeof param);
  param.nTimeRegionNum = 1;
  return param;
}

class Statistics : public BridgeTest {};

class PlainStatistics : public Statistics, public testing::WithParamInterface<StatisticsMethod> {};

TEST_P(PlainStatistics, ReadTheTimesThenCalculateThenStoreTheValue) {
  AnswerValue(-2.75, 0);
  EXPECT_EQ(GetParam().call(Holder()), 0);
  EXPECT_TRUE(SameLines(
      kTimeGets + Lines{ApiLine(GetParam().region), "SetDoubleField holder.Value = -2.75"},
      Log().Steps()));
  EXPECT_EQ(Left(), Blocks{});
}

TEST_P(PlainStatistics, SendClearedParametersOfRawSamples) {
  GetParam().call(Holder());
  ZR3StRelatedParam expected = Cleared();
  expected.nStatsType = GetParam().type;
  expected.fPercentGood = GetParam().percent_good;
  EXPECT_TRUE(SameRecord(expected, Sent()));
}

TEST_P(PlainStatistics, AFailureLeavesTheHolderAsItWasAndFreesTheRegion) {
  AnswerValue(5, 119602);
  const Ref holder = Holder();
  EXPECT_EQ(GetParam().call(holder), 119602);
  EXPECT_EQ(holder.Real("Value"), 41.0);
  EXPECT_EQ(Left(), Blocks{});
}

INSTANTIATE_TEST_SUITE_P(Method, PlainStatistics,
                         testing::Values(kMean, kMax, kMin, kSum, kPercentGood),
                         [](const auto& row) { return std::string(row.param.name); });

TEST_F(Statistics, AMeanIsArithmeticWhateverTheModes) {
  for (const jint mode : {-1, 0, 6}) {
    Call(ZR(getTagMean), 7, Start(), End(), mode, mode + 1, 0, Holder());
    EXPECT_EQ(Sent().nStatsType, ZR3_STATS_TYPE_ARITH_MEAN);
    EXPECT_EQ(Sent().nSampleType, ZR3_STATS_SAMPLE_TYPE_RAW);
  }
}

// ---- any statistic ----

TEST_F(Statistics, AnyStatisticIsSentWithAllItsParameters) {
  EXPECT_EQ(Stats("value > 0", 5), 0);
  ZR3StRelatedParam expected = Cleared();
  expected.nStatsType = 22;
  expected.nSampleType = 2;
  strcpy(expected.szFilterExpr, "VALUE > 0");
  expected.nFilterFailMode = 1;
  expected.dExtParam1 = 1.5;
  expected.dExtParam2 = -2.5;
  expected.nOffset = -30;
  expected.nPeriod = 60;
  expected.bUseBadValue = 1;
  EXPECT_TRUE(SameRecord(expected, Sent()));
}

TEST_F(Statistics, AnyStatisticConvertsItsFilterFirstAndLeavesItAllocated) {
  AnswerValue(1.5, 0);
  Stats("abc", 0);
  EXPECT_TRUE(SameLines(Lines{"GetStringLength \"abc\"", "GetStringUTFChars \"abc\"",
                              "to system \"abc\" 13", "ReleaseStringUTFChars \"abc\""} +
                            Lookups() + kTimeGets +
                            Lines{ApiLine("[10.250, 20.500)"), "SetDoubleField holder.Value = 1.5"},
                        Log().All()));
  EXPECT_EQ(Left(), Blocks{TextBlock(3)});
}

TEST_F(Statistics, AnEmptyOrNullFilterIsAnEmptyText) {
  Stats("", 0);
  EXPECT_STREQ(Sent().szFilterExpr, "");
  Call(ZR(getTagStats), 7, 0, Start(), End(), 0, 0, 0, 0, 0, nullptr, 0, 0, Holder());
  EXPECT_STREQ(Sent().szFilterExpr, "");
}

TEST_F(Statistics, AFilterIsCopiedWithoutABoundOrATerminator) {
  Stats(std::string(256, 'x'), 0);
  EXPECT_EQ(std::string(Sent().szFilterExpr, 256), std::string(256, 'X'));
  EXPECT_EQ(Sent().nFilterFailMode, 1);  // set after the copy
  EXPECT_EQ(Sent().dExtParam1, 1.5);
}

TEST_F(Statistics, ALongerFilterRunsOverTheParametersThatWereSetBefore) {
  Stats(std::string(256 + 4 + 4 + 16 + 8 + 1, 'x'), 0);
  const ZR3StRelatedParam sent = Sent();
  EXPECT_EQ(sent.nFilterFailMode, 1);
  EXPECT_TRUE(SameBytes("XXXXXXXXXXXXXXXXXXXXXXXX", &sent.dExtParam1, 24));
  EXPECT_EQ(sent.bUseBadValue, 0);
}

TEST_F(Statistics, BadValuesAreUsedForEveryNumberButZero) {
  for (const jint use : {0, 1, 5, -1, 256}) {
    Stats("", use);
    EXPECT_EQ(Sent().bUseBadValue, use == 0 ? 0 : 1);
  }
}

TEST_F(Statistics, AnyStatisticThatFailsLeavesTheHolderAsItWas) {
  AnswerValue(5, 119602);
  const Ref holder = Holder();
  EXPECT_EQ(Stats("abc", 0, holder), 119602);
  EXPECT_EQ(holder.Real("Value"), 41.0);
  EXPECT_EQ(Left(), Blocks{TextBlock(3)});
}

}  // namespace

Methods StatisticsMethods() {
  Methods methods;
  for (const StatisticsMethod* method : {&kMean, &kMax, &kMin, &kSum, &kPercentGood}) {
    methods.push_back({.name = method->name,
                       .lookups = Lookups(),
                       .api = {ApiLine(method->region)},
                       .call = [method] {
                         AnswerValue(2.5, 0);
                         return method->call(Holder());
                       }});
  }
  methods.push_back({.name = "getTagStats",
                     .lookups = Lookups(),
                     .api = {ApiLine("[10.250, 20.500)")},
                     .left = {TextBlock(3)},
                     .failures = {{.left = {TextBlock(3)}}},
                     .call = [] {
                       AnswerValue(2.5, 0);
                       return Stats("abc", 1);
                     }});
  return methods;
}

}  // namespace zervane::bridge_test
