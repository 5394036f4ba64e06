// st3: statistics tags, through the exported functions of a volatile database.

#include <gtest/gtest.h>

#include <cstring>
#include <string>

#include "zervane.h"

namespace zervane {
namespace {

constexpr ZR3Mask kNothing = {.nCommMask = 0, .nExtMask = 0};
constexpr ZR3Mask kOwn = {.nCommMask = 0, .nExtMask = -1};
constexpr ZR3Mask kAll = {.nCommMask = -1, .nExtMask = -1};

constexpr int64 Own(int32 column) { return int64{1} << (column - ZR3_TAG_COL_ST_EXT_PROP_MIN); }

ZR3StatsTagProp MeanOf(const std::string& source) {
  ZR3StatsTagProp tag{};
  std::strcpy(tag.szTagName, "MEAN");
  std::strcpy(tag.szSourceTagName, source.c_str());
  tag.nStatsType = ZR3_STATS_TYPE_ARITH_MEAN;
  tag.nSampleInterval = 60;
  return tag;
}

// A database with the point tags 1 "SOURCE", of numbers, and 2 "TEXT".
class StatisticsTags : public testing::Test {
 protected:
  void SetUp() override {
    ZR3Connection connection{};
    std::strcpy(connection.szAddress, "memory:");
    ASSERT_EQ(nt3_connect(&connection), ZR3_OK);
    AddPoint("SOURCE", ZR3_TAG_TYPE_FLOAT64);
    AddPoint("TEXT", ZR3_TAG_TYPE_STRING);
  }

  void TearDown() override { EXPECT_EQ(nt3_disconnect(), ZR3_OK); }

  static void AddPoint(const std::string& name, ZR3_TAG_TYPE type) {
    ZR3PtTagProp tag{};
    std::strcpy(tag.szTagName, name.c_str());
    tag.nTagType = type;
    const ZR3Mask mask{.nCommMask = int64{1} << ZR3_TAG_COL_COMM_PROP_TAG_TYPE, .nExtMask = 0};
    uint32 id = 0;
    EXPECT_EQ(pt3_add_tag(&tag, &mask, nullptr, &id), ZR3_OK);
  }

  static uint32 Add(const ZR3StatsTagProp& tag, const ZR3Mask& mask = kOwn) {
    uint32 id = 0;
    EXPECT_EQ(st3_add_tag(&tag, &mask, nullptr, &id), ZR3_OK);
    return id;
  }
  static int32 CodeOfAdding(const ZR3StatsTagProp& tag, const ZR3Mask& mask = kOwn) {
    uint32 id = 4711;
    const int32 code = st3_add_tag(&tag, &mask, nullptr, &id);
    EXPECT_EQ(id, 4711U) << "untouched";
    return code;
  }

  static ZR3StatsTagProp Get(uint32 id) {
    ZR3StatsTagProp tag;
    std::memset(static_cast<void*>(&tag), 0xA5, sizeof tag);
    EXPECT_EQ(st3_query_tag_prop(id, &tag), ZR3_OK);
    return tag;
  }
};

TEST_F(StatisticsTags, ComeBackAsTheyWereAdded) {
  ZR3StatsTagProp tag = MeanOf("SOURCE");
  tag.nTagClass = ZR3_TAG_CLASS_STATS;
  tag.nTagType = ZR3_TAG_TYPE_INT16;
  std::strcpy(tag.szDescriptor, "by the month");
  tag.nSampleStartDate = -2;  // in 2106, unsigned
  tag.nSampleMode = ZR3_STATS_SAMPLE_MODE_EVERY_MONTH;
  tag.nSampleBeginOffset = 21'600;
  tag.nSampleEndOffset = 86'400;
  tag.nSampleMonthBeginDay = 31;
  tag.nSampleMonthEndDay = 30;
  tag.bBeginTimeStamp = true;
  tag.nTimeStampOffset = -5;
  tag.nScanPeriod = 7;
  tag.fPctGood = 12.5F;
  std::strcpy(tag.szFilterExpr, "value > 3");
  tag.nDropBadMode = ZR3_STATS_DROP_BAD_MODE_AREA;
  tag.dCountParam1 = 1.5;
  tag.dCountParam2 = 2.5;
  tag.nSampleType = ZR3_STATS_SAMPLE_TYPE_PREV_INTERP;
  tag.nInterpOffset = 8;
  tag.nInterpPeriod = 9;
  tag.nConversionType = ZR3_STATS_CONVERSION_TYPE_MINIFICATION;
  tag.dConversion = 3.5;
  tag.nFilterFailMode = ZR3_STATS_FILTER_FAIL_MODE_NO_FIL;
  tag.nCalcPeriod = 10;
  tag.bReset = true;
  tag.bUseBadValue = true;
  tag.nTagID = Add(tag, kAll);

  const ZR3StatsTagProp stored = Get(tag.nTagID);
  tag.nChangeDate = stored.nChangeDate;  // stamped, as are the others
  tag.nCreationDate = stored.nCreationDate;
  std::strcpy(tag.szChanger, stored.szChanger);
  std::strcpy(tag.szCreator, stored.szCreator);
  EXPECT_EQ(std::memcmp(&stored, &tag, sizeof tag), 0);
}

TEST_F(StatisticsTags, HaveDefaultsOfWhatIsNotSelected) {
  ZR3StatsTagProp tag;
  std::memset(static_cast<void*>(&tag), 0xFF, sizeof tag);  // what is not selected is garbage
  std::strcpy(tag.szTagName, "MEAN");
  std::strcpy(tag.szSourceTagName, "source");
  const ZR3Mask mask{.nCommMask = 0, .nExtMask = Own(ZR3_TAG_COL_ST_EXT_PROP_SOURCE_TAG_NAME)};
  const ZR3StatsTagProp stored = Get(Add(tag, mask));
  EXPECT_EQ(stored.nTagClass, ZR3_TAG_CLASS_STATS);
  EXPECT_STREQ(stored.szSourceTagName, "SOURCE");
  EXPECT_EQ(stored.nSampleMode, ZR3_STATS_SAMPLE_MODE_INTERVAL);
  EXPECT_EQ(stored.nSampleInterval, 3600);
  EXPECT_EQ(stored.nSampleMonthBeginDay, 1);
  EXPECT_EQ(stored.nSampleMonthEndDay, 31);
  EXPECT_EQ(stored.nDropBadMode, ZR3_STATS_DROP_BAD_MODE_AREA);
  EXPECT_EQ(stored.nCalcPeriod, 60);
  EXPECT_EQ(stored.nSampleStartDate, 0);
  EXPECT_EQ(stored.nScanPeriod, 0);
  EXPECT_EQ(stored.fPctGood, 0);
  EXPECT_STREQ(stored.szFilterExpr, "");
  EXPECT_EQ(stored.dConversion, 0);
  EXPECT_FALSE(stored.bReset);
}

TEST_F(StatisticsTags, ChangeWhatIsSelectedAlone) {
  const uint32 id = Add(MeanOf("SOURCE"));
  ZR3StatsTagProp changes;
  std::memset(static_cast<void*>(&changes), 0xFF, sizeof changes);
  changes.nSampleInterval = 5;
  const ZR3Mask mask{.nCommMask = 0, .nExtMask = Own(ZR3_TAG_COL_ST_EXT_PROP_SAMPLE_INTERVAL)};
  ASSERT_EQ(st3_modify_tag_prop(id, &changes, &mask), ZR3_OK);
  EXPECT_EQ(Get(id).nSampleInterval, 5);
  EXPECT_EQ(Get(id).nStatsType, ZR3_STATS_TYPE_ARITH_MEAN);
  EXPECT_STREQ(Get(id).szSourceTagName, "SOURCE");
}

TEST_F(StatisticsTags, AreOfTheirClass) {
  const uint32 id = Add(MeanOf("SOURCE"));
  ZR3StatsTagProp tag = MeanOf("SOURCE");
  ZR3PtTagProp point{};
  EXPECT_EQ(st3_query_tag_prop(1, &tag), ZR3_ERR_INVALID_TAG_CLASS);
  EXPECT_EQ(st3_modify_tag_prop(1, &tag, &kOwn), ZR3_ERR_INVALID_TAG_CLASS);
  EXPECT_EQ(pt3_query_tag_prop(id, &point), ZR3_ERR_INVALID_TAG_CLASS);
  EXPECT_EQ(pt3_modify_tag_prop(id, &point, &kNothing), ZR3_ERR_INVALID_TAG_CLASS);
  EXPECT_STREQ(tag.szTagName, "MEAN") << "untouched";
  EXPECT_EQ(st3_query_tag_prop(4711, &tag), ZR3_ERR_TAG_NOT_FOUND);
  EXPECT_EQ(st3_modify_tag_prop(4711, &tag, &kOwn), ZR3_ERR_TAG_NOT_FOUND);
}

TEST_F(StatisticsTags, AreRefusedWithTheStatusOfWhatIsWrong) {
  EXPECT_EQ(CodeOfAdding(MeanOf("NOBODY")), ZR3_ERR_NAME_NOT_FOUND);
  EXPECT_EQ(CodeOfAdding(MeanOf("MEAN")), ZR3_ERR_CALCULATION_LOOP);
  EXPECT_EQ(CodeOfAdding(MeanOf("TEXT")), ZR3_ERR_INVALID_TAG_TYPE);
  ZR3StatsTagProp tag = MeanOf("SOURCE");
  tag.nSampleInterval = 0;
  EXPECT_EQ(CodeOfAdding(tag), ZR3_ERR_INVALID_PROPERTY);
  tag = MeanOf("SOURCE");
  std::strcpy(tag.szFilterExpr, "value >");
  EXPECT_EQ(CodeOfAdding(tag), ZR3_ERR_INVALID_EXPRESSION);
  tag = MeanOf("SOURCE");
  tag.nStatsType = static_cast<ZR3_STATS_TYPE>(26);
  EXPECT_EQ(CodeOfAdding(tag), ZR3_ERR_INVALID_PROPERTY);
  EXPECT_EQ(CodeOfAdding(MeanOf("SOURCE"), {.nCommMask = 0, .nExtMask = int64{1} << 26}),
            ZR3_ERR_INVALID_MASK);
}

TEST_F(StatisticsTags, AreNoTagsOfTextsAndTakeNoValuesFromOutside) {
  ZR3StatsTagProp tag = MeanOf("SOURCE");
  tag.nTagType = ZR3_TAG_TYPE_STRING;
  const ZR3Mask with_type{.nCommMask = int64{1} << ZR3_TAG_COL_COMM_PROP_TAG_TYPE, .nExtMask = -1};
  EXPECT_EQ(CodeOfAdding(tag, with_type), ZR3_ERR_INVALID_TAG_TYPE);
  const uint32 id = Add(MeanOf("SOURCE"));
  ZR3Record record{};
  record.nTagType = ZR3_TAG_TYPE_FLOAT64;
  record.nSec = 1'000;
  EXPECT_EQ(ar3_modify_record(id, &record), ZR3_ERR_INVALID_TAG_CLASS);
}

}  // namespace
}  // namespace zervane
