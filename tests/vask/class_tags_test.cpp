// Tags of the classes that have a record of their own each: what their functions take from it, and
// what they put into it.

#include <gtest/gtest.h>

#include <cstring>
#include <variant>

#include "tests/vask/connected_test.h"
#include "zervane.h"

namespace zervane {
namespace {

template <std::size_t kCapacity>
void Overflow(char (&text)[kCapacity]) {
  std::memset(text, 'x', kCapacity);
}

int64 Bit(int32 column) { return int64{1} << (column % 100); }

template <typename Record>
struct TagFunctions;

template <>
struct TagFunctions<ZR3StatsTagProp> {
  static constexpr auto kAdd = st3_add_tag;
  static constexpr auto kModify = st3_modify_tag_prop;
  static constexpr auto kQuery = st3_query_tag_prop;
  static constexpr int32 kClass = ZR3_TAG_CLASS_STATS;
  static constexpr int32 kColumns = ZR3_TAG_COL_ST_EXT_PROP_MAX - ZR3_TAG_COL_ST_EXT_PROP_MIN + 1;
};

template <>
struct TagFunctions<ZR3CalcTagProp> {
  static constexpr auto kAdd = ca3_add_tag;
  static constexpr auto kModify = ca3_modify_tag_prop;
  static constexpr auto kQuery = ca3_query_tag_prop;
  static constexpr int32 kClass = ZR3_TAG_CLASS_CALC;
  static constexpr int32 kColumns = ZR3_TAG_COL_CA_EXT_PROP_MAX - ZR3_TAG_COL_CA_EXT_PROP_MIN + 1;
};

template <>
struct TagFunctions<ZR3AlarmTagProp> {
  static constexpr auto kAdd = am3_add_tag;
  static constexpr auto kModify = am3_modify_tag_prop;
  static constexpr auto kQuery = am3_query_tag_prop;
  static constexpr int32 kClass = ZR3_TAG_CLASS_ALARM;
  static constexpr int32 kColumns = ZR3_TAG_COL_AM_EXT_PROP_MAX - ZR3_TAG_COL_AM_EXT_PROP_MIN + 1;
};

// The tag is number 1 once it was added.
template <typename Record>
class ClassTags : public ConnectedTest {
 protected:
  using Functions = TagFunctions<Record>;

  void SetUp() override {
    ConnectedTest::SetUp();
    std::strcpy(tag.szTagName, "tag");
    tag.nTagClass = Functions::kClass;
  }

  // The class is always selected: what stands for the database here knows it by nothing else.
  int32 Add(ZR3Mask mask) {
    mask.nCommMask |= Bit(ZR3_TAG_COL_COMM_PROP_TAG_CLASS);
    return Functions::kAdd(&tag, &mask, nullptr, &id);
  }
  int32 Modify(const ZR3Mask& mask) { return Functions::kModify(1, &tag, &mask); }

  // Neither is carried out: the database hears nothing of it.
  void ExpectRefused(int32 status, const ZR3Mask& mask) {
    const int calls = database->calls();
    EXPECT_EQ(Add(mask), status);
    EXPECT_EQ(Modify(mask), status);
    EXPECT_EQ(database->calls(), calls);
  }

  Record tag{};
  uint32 id = 0;
};

using Records = testing::Types<ZR3StatsTagProp, ZR3CalcTagProp, ZR3AlarmTagProp>;
TYPED_TEST_SUITE(ClassTags, Records);

TYPED_TEST(ClassTags, AreAddedAndChangedAsTheMasksSay) {
  const ZR3Mask last = {.nCommMask = Bit(ZR3_TAG_COL_COMM_PROP_DESCRIPTOR),
                        .nExtMask = Bit(TagFunctions<TypeParam>::kColumns - 1)};
  EXPECT_EQ(this->Add(last), ZR3_OK);
  EXPECT_EQ(this->id, 1U);
  EXPECT_EQ(this->database->last_properties().tag_class, TagFunctions<TypeParam>::kClass);
  EXPECT_EQ(this->database->last_mask().common, last.nCommMask |
                                                    Bit(ZR3_TAG_COL_COMM_PROP_TAG_NAME) |
                                                    Bit(ZR3_TAG_COL_COMM_PROP_TAG_CLASS));
  EXPECT_EQ(this->database->last_mask().extension, last.nExtMask);
  EXPECT_EQ(this->Modify(last), ZR3_OK);
  EXPECT_EQ(this->database->last_mask().common, last.nCommMask);
  EXPECT_EQ(this->database->last_mask().extension, last.nExtMask);
}

TYPED_TEST(ClassTags, RefuseSelectedTextsThatDoNotEnd) {
  EXPECT_EQ(this->Add({0, 0}), ZR3_OK);
  Overflow(this->tag.szSourceTagName);
  this->ExpectRefused(ZR3_ERR_INVALID_TEXT, {0, -1});
  EXPECT_EQ(this->Modify({0, 0}), ZR3_OK);
  Overflow(this->tag.szDescriptor);
  this->ExpectRefused(ZR3_ERR_INVALID_TEXT, {Bit(ZR3_TAG_COL_COMM_PROP_DESCRIPTOR), 0});
  EXPECT_EQ(this->Modify({0, 0}), ZR3_OK);
}

TYPED_TEST(ClassTags, AlwaysCountTheNameOnAdding) {
  EXPECT_EQ(this->Add({0, 0}), ZR3_OK);
  Overflow(this->tag.szTagName);
  EXPECT_EQ(this->Add({0, 0}), ZR3_ERR_INVALID_TEXT);
  EXPECT_EQ(this->Modify({0, 0}), ZR3_OK);
}

TYPED_TEST(ClassTags, AreReadByTheFunctionsOfTheirClassAlone) {
  this->database->Add("point", TagType::kFloat64);
  EXPECT_EQ(TagFunctions<TypeParam>::kQuery(1, &this->tag), ZR3_ERR_INVALID_TAG_CLASS);
  EXPECT_EQ(this->Modify({0, 0}), ZR3_ERR_INVALID_TAG_CLASS);
  EXPECT_EQ(TagFunctions<TypeParam>::kQuery(7, &this->tag), ZR3_ERR_TAG_NOT_FOUND);
}

// What there is no column for is known to the database.
TYPED_TEST(ClassTags, RefuseMasksBeyondTheirColumns) {
  ASSERT_EQ(nt3_disconnect(), ZR3_OK);
  ZR3Connection connection{};
  std::strcpy(connection.szAddress, "memory:");
  ASSERT_EQ(nt3_connect(&connection), ZR3_OK);
  const ZR3Mask beyond[] = {
      {int64{1} << 36, 0}, {INT64_MIN, 0}, {0, Bit(TagFunctions<TypeParam>::kColumns)}};
  for (const ZR3Mask& mask : beyond) {
    EXPECT_EQ(this->Add(mask), ZR3_ERR_INVALID_MASK);
    uint32 found = 0;
    EXPECT_EQ(tag3_query_id_by_name("tag", &found), ZR3_ERR_NAME_NOT_FOUND);
  }
}

TEST(ClassTagTexts, AreCheckedEveryOne) {
  ConnectTo(std::make_unique<FakeDatabase>());
  const auto refuses = [&](auto tag, auto member, int32 column) {
    Overflow(tag.*member);
    const ZR3Mask mask{.nCommMask = 0, .nExtMask = Bit(column)};
    EXPECT_EQ(TagFunctions<decltype(tag)>::kModify(1, &tag, &mask), ZR3_ERR_INVALID_TEXT) << column;
  };
  refuses(ZR3StatsTagProp{}, &ZR3StatsTagProp::szSourceTagName, 400);
  refuses(ZR3StatsTagProp{}, &ZR3StatsTagProp::szFilterExpr, 413);
  refuses(ZR3CalcTagProp{}, &ZR3CalcTagProp::szCalcExpr, 502);
  refuses(ZR3CalcTagProp{}, &ZR3CalcTagProp::szSourceTagName, 507);
  refuses(ZR3AlarmTagProp{}, &ZR3AlarmTagProp::szTest1, 200);
  refuses(ZR3AlarmTagProp{}, &ZR3AlarmTagProp::szTest2, 201);
  refuses(ZR3AlarmTagProp{}, &ZR3AlarmTagProp::szTest3, 202);
  refuses(ZR3AlarmTagProp{}, &ZR3AlarmTagProp::szTest4, 203);
  refuses(ZR3AlarmTagProp{}, &ZR3AlarmTagProp::szAction1, 204);
  refuses(ZR3AlarmTagProp{}, &ZR3AlarmTagProp::szAction2, 205);
  refuses(ZR3AlarmTagProp{}, &ZR3AlarmTagProp::szAction3, 206);
  refuses(ZR3AlarmTagProp{}, &ZR3AlarmTagProp::szAction4, 207);
  refuses(ZR3AlarmTagProp{}, &ZR3AlarmTagProp::szSourceTagName, 208);
  (void)ProcessSession().Disconnect();
}

// ---- member by member ----

using DerivedTags = ConnectedTest;

TEST_F(DerivedTags, OfStatisticsAreReadAndFilledMemberByMember) {
  ZR3StatsTagProp record;
  std::memset(static_cast<void*>(&record), 0, sizeof record);  // the padding, too
  std::strcpy(record.szTagName, "statistic");
  record.nTagClass = ZR3_TAG_CLASS_STATS;
  record.nTagID = 1;
  std::strcpy(record.szSourceTagName, "source");
  record.nStatsType = ZR3_STATS_TYPE_RANGE;
  record.nSampleStartDate = 101;
  record.nSampleMode = ZR3_STATS_SAMPLE_MODE_EVERY_MONTH;
  record.nSampleInterval = 102;
  record.nSampleBeginOffset = 103;
  record.nSampleEndOffset = 104;
  record.nSampleMonthBeginDay = 2;
  record.nSampleMonthEndDay = 28;
  record.bBeginTimeStamp = 1;
  record.nTimeStampOffset = 105;
  record.nScanPeriod = 106;
  record.fPctGood = 50.5F;
  std::strcpy(record.szFilterExpr, "value > 1");
  record.nDropBadMode = 1;
  record.dCountParam1 = 1.25;
  record.dCountParam2 = 2.25;
  record.nSampleType = 2;
  record.nInterpOffset = 107;
  record.nInterpPeriod = 108;
  record.nConversionType = 1;
  record.dConversion = 3.25;
  record.nFilterFailMode = 1;
  record.nCalcPeriod = 109;
  record.bReset = 1;
  record.bUseBadValue = 0;
  const ZR3Mask all = {-1, -1};
  uint32 id = 0;
  ASSERT_EQ(st3_add_tag(&record, &all, nullptr, &id), ZR3_OK);
  const StatisticsProperties expected{.source_tag = "source",
                                      .stats_type = ZR3_STATS_TYPE_RANGE,
                                      .sample_start_date = 101,
                                      .sample_mode = ZR3_STATS_SAMPLE_MODE_EVERY_MONTH,
                                      .sample_interval = 102,
                                      .sample_begin_offset = 103,
                                      .sample_end_offset = 104,
                                      .sample_month_begin_day = 2,
                                      .sample_month_end_day = 28,
                                      .begin_timestamp = true,
                                      .timestamp_offset = 105,
                                      .scan_period = 106,
                                      .pct_good = 50.5F,
                                      .filter_expr = "value > 1",
                                      .drop_bad_mode = 1,
                                      .count_param1 = 1.25,
                                      .count_param2 = 2.25,
                                      .sample_type = 2,
                                      .interp_offset = 107,
                                      .interp_period = 108,
                                      .conversion_type = 1,
                                      .conversion = 3.25,
                                      .filter_fail_mode = 1,
                                      .calc_period = 109,
                                      .reset = true,
                                      .use_bad_value = false};
  EXPECT_EQ(std::get<StatisticsProperties>(database->last_properties().own), expected);
  ZR3StatsTagProp again;
  std::memset(static_cast<void*>(&again), 0xA5, sizeof again);
  ASSERT_EQ(st3_query_tag_prop(id, &again), ZR3_OK);
  EXPECT_EQ(std::memcmp(&again, &record, sizeof record), 0);
}

TEST_F(DerivedTags, OfCalculationsAreReadAndFilledMemberByMember) {
  ZR3CalcTagProp record;
  std::memset(static_cast<void*>(&record), 0, sizeof record);
  std::strcpy(record.szTagName, "calculation");
  record.nTagClass = ZR3_TAG_CLASS_CALC;
  record.nTagID = 1;
  record.nCalcMode = ZR3_CALC_MODE_NOTIFY;
  record.nCalcPeriod = 101;
  std::strcpy(record.szCalcExpr, "2 * 'source'");
  record.bCalcHistory = 1;
  record.nCalcStartDate = 102;
  record.nCalcEndDate = 103;
  record.bHaveEndTime = 0;
  std::strcpy(record.szSourceTagName, "trigger");
  const ZR3Mask all = {-1, -1};
  uint32 id = 0;
  ASSERT_EQ(ca3_add_tag(&record, &all, nullptr, &id), ZR3_OK);
  const CalculationProperties expected{.calc_mode = ZR3_CALC_MODE_NOTIFY,
                                       .calc_period = 101,
                                       .calc_expr = "2 * 'source'",
                                       .calc_history = true,
                                       .calc_start_date = 102,
                                       .calc_end_date = 103,
                                       .have_end_time = false,
                                       .source_tag = "trigger"};
  EXPECT_EQ(std::get<CalculationProperties>(database->last_properties().own), expected);
  ZR3CalcTagProp again;
  std::memset(static_cast<void*>(&again), 0xA5, sizeof again);
  ASSERT_EQ(ca3_query_tag_prop(id, &again), ZR3_OK);
  EXPECT_EQ(std::memcmp(&again, &record, sizeof record), 0);
}

}  // namespace
}  // namespace zervane
