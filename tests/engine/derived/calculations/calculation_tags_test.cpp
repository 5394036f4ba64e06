#include <gtest/gtest.h>

#include <string>
#include <variant>

#include "tests/engine/derived/calculations/calculation_database.h"

namespace zervane {
namespace {

using Database = CalculationDatabase;

constexpr std::int64_t BitOf(std::int32_t column) {
  return std::int64_t{1} << (column - ZR3_TAG_COL_CA_EXT_PROP_MIN);
}

CalculationProperties& PropertiesOf(Tag& tag) { return std::get<CalculationProperties>(tag.own); }

TEST(CalculationTagsTest, WhatCannotBeComputedIsRefusedWithItsStatus) {
  Database database;
  database.AddPoint("x");
  database.AddPoint("text", TagType::kString);
  database.AddPoint("blob", TagType::kBlob);
  Tag alarm;
  alarm.name = "alarm";
  alarm.tag_class = ZR3_TAG_CLASS_ALARM;
  AlarmProperties asks;
  asks.test1 = "HIGH > 5";
  asks.source_tag = "x";
  alarm.own = asks;
  database.Add(alarm);
  const auto code_of = [&](const std::string& expression, const std::string& source = "",
                           TagType type = TagType::kFloat64) {
    return database.CodeOfAdding(Database::Notified("c", expression, source, type));
  };
  EXPECT_EQ(code_of(""), ZR3_ERR_INVALID_EXPRESSION);
  EXPECT_EQ(code_of("'x' +"), ZR3_ERR_INVALID_EXPRESSION);
  EXPECT_EQ(code_of("value + 1"), ZR3_ERR_INVALID_EXPRESSION);
  EXPECT_EQ(code_of("'y' + 1"), ZR3_ERR_NAME_NOT_FOUND);
  EXPECT_EQ(code_of("'text' + 1"), ZR3_ERR_INVALID_TAG_TYPE);
  EXPECT_EQ(code_of("'blob' + 1"), ZR3_ERR_INVALID_TAG_TYPE);
  EXPECT_EQ(code_of("'alarm' + 1"), ZR3_ERR_INVALID_TAG_CLASS);
  EXPECT_EQ(code_of("'x'", "alarm"), ZR3_ERR_INVALID_TAG_CLASS);
  EXPECT_EQ(code_of("'x'", "y"), ZR3_ERR_NAME_NOT_FOUND);
  EXPECT_EQ(code_of("'x'", "", TagType::kString), ZR3_ERR_INVALID_TAG_TYPE);
  EXPECT_EQ(code_of("'x'", "", TagType::kBlob), ZR3_ERR_INVALID_TAG_TYPE);
  EXPECT_EQ(code_of("'c' + 1"), ZR3_ERR_CALCULATION_LOOP);
  EXPECT_EQ(code_of("'x' + 1", "C"), ZR3_ERR_CALCULATION_LOOP);
  EXPECT_EQ(code_of(std::string(510, '1') + "+1"), ZR3_ERR_INVALID_EXPRESSION);
  EXPECT_EQ(code_of("'x'", "text"), ZR3_OK);
  Tag polled = Database::Polled("p", "1", 0);
  EXPECT_EQ(database.CodeOfAdding(polled), ZR3_ERR_INVALID_PROPERTY);
  PropertiesOf(polled).calc_period = -1;
  EXPECT_EQ(database.CodeOfAdding(polled), ZR3_ERR_INVALID_PROPERTY);
  PropertiesOf(polled).calc_period = 1;
  for (const int mode : {-1, 2}) {
    PropertiesOf(polled).calc_mode = mode;
    EXPECT_EQ(database.CodeOfAdding(polled), ZR3_ERR_INVALID_PROPERTY) << mode;
  }
}

TEST(CalculationTagsTest, RenamingAnOperandRewritesEveryMentionOfIt) {
  Database database;
  const TagId x = database.AddPoint("x");
  const TagId y = database.AddPoint("y");
  const TagId c = database.Add(Database::Notified("c", "'X' + max( 'y','x' )  * 2", "Y"));
  EXPECT_EQ(database.ExpressionOf(c), "'x' + max( 'y','x' )  * 2");
  EXPECT_EQ(database.Rename(x, "pump's"), ZR3_OK);
  EXPECT_EQ(database.ExpressionOf(c), "'pump''s' + max( 'y','pump''s' )  * 2");
  EXPECT_EQ(database.Rename(y, "Z"), ZR3_OK);
  EXPECT_EQ(database.ExpressionOf(c), "'pump''s' + max( 'Z','pump''s' )  * 2");
  EXPECT_EQ(database.SourceOf(c), "Z");
  database.Write(x, 1000, 3);
  database.Write(y, 2000, 5);
  database.Work();
  EXPECT_EQ(database.Records(c), "2=13");
  database.Close();
  database.Open();
  EXPECT_EQ(database.ExpressionOf(c), "'pump''s' + max( 'Z','pump''s' )  * 2");
  database.Write(y, 3000, 1);
  database.Work();
  EXPECT_EQ(database.Records(c), "2=13 3=9");
}

TEST(CalculationTagsTest, ARenameAfterWhichAnExpressionDoesNotFitIsRefused) {
  Database database;
  const TagId x = database.AddPoint("x");
  std::string expression = "'x'";
  while (expression.size() < 500) expression += "+'x'";
  const TagId c = database.Add(Database::Notified("c", expression));
  EXPECT_EQ(database.Rename(x, "much too long"), ZR3_ERR_INVALID_PROPERTY);
  EXPECT_EQ(database.Read(x).name, "x");
  EXPECT_EQ(database.ExpressionOf(c), expression);
  EXPECT_EQ(database.Rename(x, "z"), ZR3_OK);
}

TEST(CalculationTagsTest, ADeletedOperandKeepsItsNameAndIsNoOtherTagUntilItIsSavedAgain) {
  Database database;
  const TagId x = database.AddPoint("x");
  const TagId y = database.AddPoint("y");
  const TagId c = database.Add(Database::Notified("c", "'x' + 'y'"));
  database.Write({{x, Database::At(1000, 1)}, {y, Database::At(1000, 1)}});
  database.Work();
  database.Delete(x);
  EXPECT_EQ(database.ExpressionOf(c), "'x' + 'y'");
  database.Write(y, 2000, 5);
  database.Work();
  const TagId other = database.AddPoint("x");
  database.Write(other, 3000, 10);
  database.Work();
  EXPECT_EQ(database.Records(c), "1=2 2=2!");
  Tag tag = database.Read(c);
  tag.descriptor = "seen";
  EXPECT_EQ(database.Save(c, tag, {.common = -1, .extension = 0}), ZR3_OK);
  database.Write(other, 4000, 10);
  database.Work();
  EXPECT_EQ(database.Records(c), "1=2 2=2!");
  EXPECT_EQ(database.Save(c, database.Read(c)), ZR3_OK);
  database.Write(other, 5000, 20);
  database.Work();
  EXPECT_EQ(database.Records(c), "1=2 2=2! 5=25");
}

TEST(CalculationTagsTest, AnExpressionWhoseOperandIsGoneMayBeSavedAsItWas) {
  Database database;
  const TagId x = database.AddPoint("x");
  const TagId c = database.Add(Database::Notified("c", "'x' + 1"));
  database.Delete(x);
  EXPECT_EQ(database.Save(c, database.Read(c)), ZR3_OK);
  Tag other = database.Read(c);
  PropertiesOf(other).calc_expr = "'x' + 2";
  EXPECT_EQ(database.Save(c, other), ZR3_ERR_NAME_NOT_FOUND);
}

// Else nobody could tell the deleted one from the other.
TEST(CalculationTagsTest, AnOperandCannotTakeTheNameOfADeletedOneOfTheSameExpression) {
  Database database;
  const TagId x = database.AddPoint("x");
  const TagId y = database.AddPoint("y");
  const TagId c = database.Add(Database::Notified("c", "'x' + 'y'"));
  database.Delete(x);
  EXPECT_EQ(database.Rename(y, "X"), ZR3_ERR_INVALID_PROPERTY);
  EXPECT_EQ(database.ExpressionOf(c), "'x' + 'y'");
}

TEST(CalculationTagsTest, ADeletedSourceReadsBackAsNoneAndTriggersNothing) {
  Database database;
  const TagId x = database.AddPoint("x");
  const TagId s = database.AddPoint("s", TagType::kString);
  const TagId c = database.Add(Database::Notified("c", "'x'", "s"));
  database.Write(x, 1000, 1);
  database.Write({{s, Sample{.time_ms = Database::kStart + 2000,
                             .quality = 192,
                             .type = TagType::kString,
                             .value = Value(std::string("go"))}}});
  database.Work();
  EXPECT_EQ(database.Records(c), "2=1");
  database.Delete(s);
  EXPECT_EQ(database.SourceOf(c), "");
  database.Write(x, 3000, 2);
  database.Work();
  EXPECT_EQ(database.Records(c), "2=1");
  // With the empty name saved it has no source.
  EXPECT_EQ(database.Save(c, database.Read(c)), ZR3_OK);
  database.Write(x, 4000, 3);
  database.Work();
  EXPECT_EQ(database.Records(c), "2=1 4=3");
}

TEST(CalculationTagsTest, WhatIsReadStaysANumberAndASourceStaysWhatItIs) {
  Database database;
  const TagId x = database.AddPoint("x");
  const TagId s = database.AddPoint("s", TagType::kString);
  database.Add(Database::Notified("c", "'x'", "s"));
  const auto save_as = [&](TagId id, TagType type) {
    Tag tag = database.Read(id);
    tag.type = static_cast<std::int32_t>(type);
    return database.Save(id, tag);
  };
  EXPECT_EQ(save_as(x, TagType::kString), ZR3_ERR_INVALID_TAG_TYPE);
  EXPECT_EQ(save_as(x, TagType::kInt8), ZR3_OK);
  EXPECT_EQ(save_as(s, TagType::kFloat32), ZR3_ERR_INVALID_TAG_TYPE);
  EXPECT_EQ(save_as(s, TagType::kBlob), ZR3_OK);
}

TEST(CalculationTagsTest, RecordsOfACalculationTagAreTheDatabasesOwn) {
  Database database;
  const TagId c = database.Add(Database::Notified("c", "1"));
  WriteSamples write{.batch = {}, .order = WriteOrder::kInOrder, .answer = WriteAnswer::kDurable};
  write.batch.Add(c, Database::At(1000, 1));
  const auto reply = database.Do(write);
  ASSERT_TRUE(reply.ok());
  EXPECT_EQ(reply->codes, (std::vector<std::int32_t>{ZR3_ERR_INVALID_TAG_CLASS}));
}

}  // namespace
}  // namespace zervane
