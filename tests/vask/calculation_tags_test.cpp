// ca3: calculation tags, through the exported functions of a volatile database.

#include <gtest/gtest.h>

#include <cstring>
#include <functional>
#include <string>
#include <thread>

#include "tests/support/case_name.h"
#include "zervane.h"

namespace zervane {
namespace {

constexpr ZR3Mask kOwn = {.nCommMask = 0, .nExtMask = -1};

constexpr int64 Common(int32 column) { return int64{1} << column; }
constexpr int64 Own(int32 column) { return int64{1} << (column - ZR3_TAG_COL_CA_EXT_PROP_MIN); }

ZR3CalcTagProp CalculationOf(const std::string& expression) {
  ZR3CalcTagProp tag{};
  std::strcpy(tag.szTagName, "CALCULATED");
  std::strcpy(tag.szCalcExpr, expression.c_str());
  tag.nCalcMode = ZR3_CALC_MODE_NOTIFY;
  return tag;
}

// A database with the point tags 1 "X" and 2 "Y", both of numbers, and 3 "TEXT".
class CalculationTags : public testing::Test {
 protected:
  void SetUp() override {
    ZR3Connection connection{};
    std::strcpy(connection.szAddress, "memory:");
    ASSERT_EQ(nt3_connect(&connection), ZR3_OK);
    AddPoint("X", ZR3_TAG_TYPE_FLOAT64);
    AddPoint("Y", ZR3_TAG_TYPE_FLOAT64);
    AddPoint("TEXT", ZR3_TAG_TYPE_STRING);
  }

  void TearDown() override { EXPECT_EQ(nt3_disconnect(), ZR3_OK); }

  static void AddPoint(const std::string& name, ZR3_TAG_TYPE type) {
    ZR3PtTagProp tag{};
    std::strcpy(tag.szTagName, name.c_str());
    tag.nTagType = type;
    const ZR3Mask mask{.nCommMask = Common(ZR3_TAG_COL_COMM_PROP_TAG_TYPE), .nExtMask = 0};
    uint32 id = 0;
    EXPECT_EQ(pt3_add_tag(&tag, &mask, nullptr, &id), ZR3_OK);
  }

  static uint32 Add(const ZR3CalcTagProp& tag, const ZR3Mask& mask = kOwn) {
    ZR3CalcTagProp record = tag;
    uint32 id = 0;
    EXPECT_EQ(ca3_add_tag(&record, &mask, nullptr, &id), ZR3_OK);
    return id;
  }

  static ZR3CalcTagProp Get(uint32 id) {
    ZR3CalcTagProp tag;
    std::memset(static_cast<void*>(&tag), 0xA5, sizeof tag);
    EXPECT_EQ(ca3_query_tag_prop(id, &tag), ZR3_OK);
    return tag;
  }

  static void Write(uint32 id, int32 second, double number) {
    ZR3Record record{};
    record.nTagType = ZR3_TAG_TYPE_FLOAT64;
    record.nSec = second;
    record.nQuality = 192;
    record.value.fFloat64 = number;
    EXPECT_EQ(sn3_save_snapshot(id, &record), ZR3_OK);
  }

  // Waits until the tag has a value of that second.
  static ZR3Record Await(uint32 id, int32 second) {
    ZR3Record record{};
    record.nTagType = ZR3_TAG_TYPE_FLOAT64;
    while (sn3_query_snapshot(id, &record) != ZR3_OK || record.nSec < second) {
      std::this_thread::yield();
    }
    return record;
  }
};

TEST_F(CalculationTags, ComeBackAsTheyWereAdded) {
  ZR3CalcTagProp tag = CalculationOf("'X' + max('Y', 1)");
  tag.nTagClass = ZR3_TAG_CLASS_CALC;
  tag.nTagType = ZR3_TAG_TYPE_INT32;
  std::strcpy(tag.szDescriptor, "a sum");
  tag.nCalcMode = ZR3_CALC_MODE_POLL;
  tag.nCalcPeriod = 3'600;
  tag.bCalcHistory = 1;
  tag.nCalcStartDate = 1'000'000;
  tag.nCalcEndDate = 2'000'000;
  tag.bHaveEndTime = 1;
  std::strcpy(tag.szSourceTagName, "TEXT");
  tag.nTagID = Add(tag, {.nCommMask = -1, .nExtMask = -1});

  const ZR3CalcTagProp stored = Get(tag.nTagID);
  tag.nChangeDate = stored.nChangeDate;  // stamped, as are the others
  tag.nCreationDate = stored.nCreationDate;
  std::strcpy(tag.szChanger, stored.szChanger);
  std::strcpy(tag.szCreator, stored.szCreator);
  EXPECT_EQ(std::memcmp(&stored, &tag, sizeof tag), 0);
}

TEST_F(CalculationTags, HaveDefaultsOfWhatIsNotSelected) {
  const ZR3Mask mask{.nCommMask = 0, .nExtMask = Own(ZR3_TAG_COL_CA_EXT_PROP_CALC_EXPR)};
  ZR3CalcTagProp tag;
  std::memset(static_cast<void*>(&tag), 0xFF, sizeof tag);  // what is not selected is garbage
  std::strcpy(tag.szTagName, "CALCULATED");
  std::strcpy(tag.szCalcExpr, "1");
  const ZR3CalcTagProp stored = Get(Add(tag, mask));
  EXPECT_EQ(stored.nTagClass, ZR3_TAG_CLASS_CALC);
  EXPECT_EQ(stored.nCalcMode, ZR3_CALC_MODE_POLL);
  EXPECT_EQ(stored.nCalcPeriod, 60);
  EXPECT_EQ(stored.bCalcHistory, 0);
  EXPECT_EQ(stored.nCalcStartDate, 0);
  EXPECT_EQ(stored.nCalcEndDate, 0);
  EXPECT_EQ(stored.bHaveEndTime, 0);
  EXPECT_STREQ(stored.szSourceTagName, "");
}

TEST_F(CalculationTags, ChangeWhatIsSelectedAlone) {
  const uint32 id = Add(CalculationOf("'X'"));
  ZR3CalcTagProp changes;
  std::memset(static_cast<void*>(&changes), 0xFF, sizeof changes);
  changes.nCalcPeriod = 5;
  const ZR3Mask mask{.nCommMask = 0, .nExtMask = Own(ZR3_TAG_COL_CA_EXT_PROP_CALC_PERIOD)};
  ASSERT_EQ(ca3_modify_tag_prop(id, &changes, &mask), ZR3_OK);
  const ZR3CalcTagProp stored = Get(id);
  EXPECT_EQ(stored.nCalcPeriod, 5);
  EXPECT_EQ(stored.nCalcMode, ZR3_CALC_MODE_NOTIFY);
  EXPECT_STREQ(stored.szCalcExpr, "'X'");
}

TEST_F(CalculationTags, AreOfTheirClass) {
  const uint32 id = Add(CalculationOf("'X'"));
  ZR3CalcTagProp tag = CalculationOf("'X'");
  ZR3PtTagProp point{};
  EXPECT_EQ(ca3_query_tag_prop(1, &tag), ZR3_ERR_INVALID_TAG_CLASS);
  EXPECT_EQ(ca3_modify_tag_prop(1, &tag, &kOwn), ZR3_ERR_INVALID_TAG_CLASS);
  EXPECT_EQ(pt3_query_tag_prop(id, &point), ZR3_ERR_INVALID_TAG_CLASS);
  EXPECT_STREQ(tag.szTagName, "CALCULATED") << "untouched";
  for (const uint32 unknown : {0U, id + 1, UINT32_MAX}) {
    EXPECT_EQ(ca3_query_tag_prop(unknown, &tag), ZR3_ERR_TAG_NOT_FOUND);
    EXPECT_EQ(ca3_modify_tag_prop(unknown, &tag, &kOwn), ZR3_ERR_TAG_NOT_FOUND);
  }
}

TEST_F(CalculationTags, AreComputedWhenWhatTheyReadIsWritten) {
  const uint32 sum = Add(CalculationOf("'X' + 'Y'"));
  ZR3CalcTagProp tag = CalculationOf("'CALCULATED' * 10");
  std::strcpy(tag.szTagName, "TEN");
  const uint32 ten = Add(tag);
  Write(1, 1'000, 2);
  EXPECT_EQ(Await(ten, 1'000).nQuality, 0);
  Write(2, 1'001, 3);
  const ZR3Record record = Await(ten, 1'001);
  EXPECT_EQ(record.nQuality, 192);
  EXPECT_EQ(record.value.fFloat64, 50);
  EXPECT_EQ(Await(sum, 1'001).value.fFloat64, 5);
}

TEST_F(CalculationTags, TellTheNamesOfTheirTagsAsTheyAreNow) {
  ZR3CalcTagProp tag = CalculationOf("'x' + 'X'");
  std::strcpy(tag.szSourceTagName, "y");
  const uint32 id = Add(tag);
  EXPECT_STREQ(Get(id).szCalcExpr, "'X' + 'X'");
  EXPECT_STREQ(Get(id).szSourceTagName, "Y");
  ZR3PtTagProp renamed{};
  std::strcpy(renamed.szTagName, "NEW'S");
  const ZR3Mask name{.nCommMask = 1, .nExtMask = 0};
  ASSERT_EQ(pt3_modify_tag_prop(1, &renamed, &name), ZR3_OK);
  EXPECT_STREQ(Get(id).szCalcExpr, "'NEW''S' + 'NEW''S'");
  ASSERT_EQ(tag3_delete_tag(1), ZR3_OK);
  ASSERT_EQ(tag3_delete_tag(2), ZR3_OK);
  EXPECT_STREQ(Get(id).szCalcExpr, "'NEW''S' + 'NEW''S'");
  EXPECT_STREQ(Get(id).szSourceTagName, "");
}

TEST_F(CalculationTags, HaveRecordsOfTheDatabasesOwn) {
  const uint32 id = Add(CalculationOf("'X'"));
  ZR3Record record{};
  record.nTagType = ZR3_TAG_TYPE_FLOAT64;
  record.nSec = 10;
  EXPECT_EQ(sn3_save_snapshot(id, &record), ZR3_ERR_INVALID_TAG_CLASS);
  EXPECT_EQ(ar3_modify_record(id, &record), ZR3_ERR_INVALID_TAG_CLASS);
}

struct RefusalCase {
  const char* name;
  std::function<void(ZR3CalcTagProp&)> change;
  ZR3_STATUS status;
};

class RefusedCalculationTag : public CalculationTags,
                              public testing::WithParamInterface<RefusalCase> {};

TEST_P(RefusedCalculationTag, LeavesEverythingAsItWas) {
  ZR3CalcTagProp tag = CalculationOf("'X'");
  GetParam().change(tag);
  uint32 id = 77;
  EXPECT_EQ(ca3_add_tag(&tag, &kOwn, nullptr, &id), GetParam().status);
  EXPECT_EQ(id, 77U);
  EXPECT_EQ(tag3_query_id_by_name("CALCULATED", &id), ZR3_ERR_NAME_NOT_FOUND);

  const uint32 sound = Add(CalculationOf("'X'"));
  const ZR3CalcTagProp before = Get(sound);
  EXPECT_EQ(ca3_modify_tag_prop(sound, &tag, &kOwn), GetParam().status);
  const ZR3CalcTagProp after = Get(sound);
  EXPECT_EQ(std::memcmp(&before, &after, sizeof before), 0);
}

std::string Times(int times, const std::string& text) {
  std::string all;
  for (int i = 0; i < times; ++i) all += text;
  return all;
}

std::function<void(ZR3CalcTagProp&)> WithExpression(const std::string& expression) {
  return [=](ZR3CalcTagProp& tag) { std::strcpy(tag.szCalcExpr, expression.c_str()); };
}

std::function<void(ZR3CalcTagProp&)> WithSource(const std::string& name) {
  return [=](ZR3CalcTagProp& tag) { std::strcpy(tag.szSourceTagName, name.c_str()); };
}

std::function<void(ZR3CalcTagProp&)> WithMode(int mode) {
  return [=](ZR3CalcTagProp& tag) { tag.nCalcMode = static_cast<ZR3_CALC_MODE>(mode); };
}

INSTANTIATE_TEST_SUITE_P(
    CalculationTags, RefusedCalculationTag,
    testing::Values(
        RefusalCase{"NoExpression", WithExpression(""), ZR3_ERR_INVALID_EXPRESSION},
        RefusalCase{"ExpressionThatDoesNotParse", WithExpression("'X' +"),
                    ZR3_ERR_INVALID_EXPRESSION},
        RefusalCase{"VariableOfFilters", WithExpression("value"), ZR3_ERR_INVALID_EXPRESSION},
        RefusalCase{"NestingOf65",
                    WithExpression(std::string(65, '(') + "1" + std::string(65, ')')),
                    ZR3_ERR_INVALID_EXPRESSION},
        RefusalCase{"SignsOfAllBytes", WithExpression(std::string(511, '-')),
                    ZR3_ERR_INVALID_EXPRESSION},
        RefusalCase{"ManyPowers", WithExpression(Times(250, "2^") + "2"),
                    ZR3_ERR_INVALID_EXPRESSION},
        RefusalCase{"ManyConditionals", WithExpression(Times(120, "0?1:") + "2"),
                    ZR3_ERR_INVALID_EXPRESSION},
        RefusalCase{"BlanksAlone", WithExpression(std::string(511, ' ')),
                    ZR3_ERR_INVALID_EXPRESSION},
        RefusalCase{"AnOpenQuote", WithExpression("'X' + 'X"), ZR3_ERR_INVALID_EXPRESSION},
        RefusalCase{"ATextThatIsNone", WithExpression("'X' + \xFF"), ZR3_ERR_INVALID_TEXT},
        RefusalCase{"LettersBeyondAscii", WithExpression("'X' + \xC3\xA9"),
                    ZR3_ERR_INVALID_EXPRESSION},
        RefusalCase{"UnknownOperand", WithExpression("'NOBODY'"), ZR3_ERR_NAME_NOT_FOUND},
        RefusalCase{"TextForAnOperand", WithExpression("'TEXT'"), ZR3_ERR_INVALID_TAG_TYPE},
        RefusalCase{"ItselfForAnOperand", WithExpression("'calculated'"), ZR3_ERR_CALCULATION_LOOP},
        RefusalCase{"UnknownSource", WithSource("NOBODY"), ZR3_ERR_NAME_NOT_FOUND},
        RefusalCase{"ItselfForASource", WithSource("CALCULATED"), ZR3_ERR_CALCULATION_LOOP},
        RefusalCase{"NegativeMode", WithMode(-1), ZR3_ERR_INVALID_PROPERTY},
        RefusalCase{"UnknownMode", WithMode(2), ZR3_ERR_INVALID_PROPERTY},
        RefusalCase{"NoPeriod", WithMode(ZR3_CALC_MODE_POLL), ZR3_ERR_INVALID_PROPERTY},
        RefusalCase{"HistoryThatEndsBeforeItStarts",
                    [](ZR3CalcTagProp& tag) {
                      tag.bCalcHistory = 1;
                      tag.bHaveEndTime = 1;
                      tag.nCalcStartDate = 11;
                      tag.nCalcEndDate = 10;
                    },
                    ZR3_ERR_INVALID_PROPERTY},
        RefusalCase{
            "TextThatDoesNotEnd",
            [](ZR3CalcTagProp& tag) { std::memset(tag.szCalcExpr, '1', sizeof tag.szCalcExpr); },
            ZR3_ERR_INVALID_TEXT}),
    CaseName());

TEST_F(CalculationTags, TakeExpressionsAtTheirLimits) {
  struct LimitCase {
    std::string expression;
    int16 quality;
    double number;
  };
  const LimitCase limits[] = {
      {Times(64, "(") + "'X'" + Times(64, ")"), 192, 5},
      {Times(64, "+") + "'X'", 192, 5},
      {Times(64, "-") + "'X'", 192, 5},
      {"'X'" + Times(64, "^1"), 192, 5},
      {Times(64, "0?1:") + "'X'", 192, 5},
      {"'X'" + std::string(508, ' '), 192, 5},
      {Times(254, "1+") + "'X'", 192, 259},
      {"'X' / 0", 0, 0},
      {"('X' - 5) / 0", 0, 0},
      {Times(5, "2^") + "'X'", 0, 0},
  };
  int32 second = 1'000;
  for (const LimitCase& limit : limits) {
    const uint32 id = Add(CalculationOf(limit.expression));
    EXPECT_EQ(Get(id).szCalcExpr, limit.expression);
    Write(1, ++second, 5);
    const ZR3Record record = Await(id, second);
    EXPECT_EQ(record.nQuality, limit.quality) << limit.expression;
    EXPECT_EQ(record.value.fFloat64, limit.number) << limit.expression;
    EXPECT_EQ(tag3_delete_tag(id), ZR3_OK);
  }
}

TEST_F(CalculationTags, RefuseMasksBeyondTheirColumns) {
  const uint32 id = Add(CalculationOf("'X'"));
  ZR3CalcTagProp tag = CalculationOf("'X'");
  const ZR3Mask masks[] = {{int64{1} << 36, 0}, {INT64_MIN, 0}, {0, int64{1} << 8}};
  for (const ZR3Mask& mask : masks) {
    EXPECT_EQ(ca3_modify_tag_prop(id, &tag, &mask), ZR3_ERR_INVALID_MASK);
  }
}

}  // namespace
}  // namespace zervane
