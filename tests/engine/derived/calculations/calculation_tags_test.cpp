#include <gtest/gtest.h>

#include <string>
#include <variant>

#include "tests/engine/derived/calculations/calculation_database.h"
#include "tests/support/case_name.h"

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

// An expression, and what a tag "x" that is written 5 makes of it; kRefused: none, for it is
// refused.
struct LimitCase {
  const char* name;
  std::string expression;
  std::string record;
};

constexpr const char* kRefused = "refused";

std::string Times(int times, const std::string& text) {
  std::string all;
  for (int i = 0; i < times; ++i) all += text;
  return all;
}

class ExpressionLimits : public testing::TestWithParam<LimitCase> {};

TEST_P(ExpressionLimits, AreTheSameWhenATagIsAddedAndChanged) {
  Database database;
  const TagId x = database.AddPoint("x");
  database.AddPoint("\xe6\xb8\xa9\xe5\xba\xa6");
  const bool is_refused = GetParam().record == kRefused;
  const Tag asked = Database::Notified("c", GetParam().expression, "x");
  EXPECT_EQ(database.CodeOfAdding(asked), is_refused ? ZR3_ERR_INVALID_EXPRESSION : ZR3_OK);
  const Result<TagId> added = database.Do(FindTagId{.name = "c"});
  EXPECT_EQ(added.code(), is_refused ? ZR3_ERR_NAME_NOT_FOUND : ZR3_OK);

  const TagId changed = database.Add(Database::Notified("d", "'x' - 1", "x"));
  Tag change = asked;
  change.name = "d";
  EXPECT_EQ(database.Save(changed, change), is_refused ? ZR3_ERR_INVALID_EXPRESSION : ZR3_OK);
  EXPECT_EQ(database.ExpressionOf(changed), is_refused ? "'x' - 1" : GetParam().expression);
  database.Write(x, 1'000, 5);
  database.Work();
  EXPECT_EQ(database.Records(changed), is_refused ? "1=4" : GetParam().record);
  if (!is_refused) {
    EXPECT_EQ(database.Records(*added), GetParam().record);
  }
}

INSTANTIATE_TEST_SUITE_P(
    CalculationTags, ExpressionLimits,
    testing::Values(
        LimitCase{"MostBytes", Times(254, "1+") + "'x'", "1=259"},
        LimitCase{"OneByteTooMany", Times(254, "1+") + "'x' ", kRefused},
        LimitCase{"MostBlanks", "'x'" + std::string(508, ' '), "1=5"},
        LimitCase{"OneBlankTooMany", "'x'" + std::string(509, ' '), kRefused},
        LimitCase{"MostBrackets", Times(64, "(") + "'x'" + Times(64, ")"), "1=5"},
        LimitCase{"OneBracketTooMany", Times(65, "(") + "'x'" + Times(65, ")"), kRefused},
        LimitCase{"MostSigns", Times(64, "-") + "'x'", "1=5"},
        LimitCase{"OneSignTooMany", Times(65, "-") + "'x'", kRefused},
        LimitCase{"SignsAlone", Times(511, "-"), kRefused},
        LimitCase{"SignsOfAllBytes", Times(508, "-") + "'x'", kRefused},
        LimitCase{"MostPowers", "'x'" + Times(64, "^1"), "1=5"},
        LimitCase{"OnePowerTooMany", "'x'" + Times(65, "^1"), kRefused},
        LimitCase{"ManyPowers", Times(250, "2^") + "2", kRefused},
        LimitCase{"PowersBeyondNumbers", Times(5, "2^") + "2", "1=0!"},
        LimitCase{"MostConditionals", Times(64, "0?1:") + "'x'", "1=5"},
        LimitCase{"OneConditionalTooMany", Times(65, "0?1:") + "'x'", kRefused},
        LimitCase{"ManyConditionals", Times(120, "0?1:") + "'x'", kRefused},
        LimitCase{"ConditionalsBesideEachOther", Times(63, "(0?1:0)+") + "'x'", "1=5"},
        LimitCase{"DivisionByZero", "'x' / 0", "1=0!"},
        LimitCase{"ZeroByZero", "('x' - 5) / 0", "1=0!"},
        LimitCase{"DivisionByZeroThatIsNotChosen", "'x' == 5 ? 'x' : 1 / 0", "1=5"},
        LimitCase{"Empty", "", kRefused}, LimitCase{"OneBlank", " ", kRefused},
        LimitCase{"BlanksAlone", std::string(511, ' '), kRefused},
        LimitCase{"BlanksOfAllKinds", "\t\r\n ", kRefused},
        LimitCase{"AnOpenQuote", "'x' + 'x", kRefused},
        LimitCase{"LettersBeyondAscii", "'x' + \xc3\xa9", kRefused},
        LimitCase{"ANameBeyondAscii", "'x' > 4 ? 'x' : '\xe6\xb8\xa9\xe5\xba\xa6'", "1=0!"}),
    CaseName());

TEST(CalculationTagsTest, NamesOfNoTagsAreRefusedHoweverManyThereAre) {
  Database database;
  database.AddPoint("x");
  const TagId c = database.Add(Database::Notified("c", "'x'"));
  for (const std::string& expression :
       {std::string("'y'"), std::string("'x ' + 1"), "'" + std::string(509, 'n') + "'",
        "'x'" + Times(100, "+'y'"), std::string("'\xe6\xb8\xa9'")}) {
    EXPECT_EQ(database.CodeOfAdding(Database::Notified("d", expression)), ZR3_ERR_NAME_NOT_FOUND);
    EXPECT_EQ(database.Save(c, Database::Notified("c", expression)), ZR3_ERR_NAME_NOT_FOUND);
  }
  EXPECT_EQ(database.ExpressionOf(c), "'x'");
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
