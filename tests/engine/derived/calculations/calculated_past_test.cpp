#include <gtest/gtest.h>

#include <cstdint>
#include <optional>
#include <string>

#include "tests/engine/derived/calculations/calculation_database.h"

namespace zervane {
namespace {

// With a history from so many seconds behind the start of the tests' time.
Tag WithPast(Tag tag, std::int64_t from_s, std::optional<std::int64_t> to_s = std::nullopt) {
  auto& own = std::get<CalculationProperties>(tag.own);
  const auto date_of = [](std::int64_t seconds) {
    return static_cast<std::int32_t>(CalculationDatabase::kStart / 1000 + seconds);
  };
  own.calc_history = true;
  own.calc_start_date = date_of(from_s);
  own.have_end_time = to_s.has_value();
  own.calc_end_date = to_s ? date_of(*to_s) : 0;
  return tag;
}

class CalculatedPastTest : public testing::Test {
 protected:
  CalculationDatabase database_;
};

TEST_F(CalculatedPastTest, HistoryAndLiveComputingShareTheTimeAtTheSaving) {
  const TagId a = database_.AddPoint("a");
  database_.Write(a, 1'000, 1);
  database_.Write(a, 3'000, 2);
  database_.SetClock(4'000);
  const TagId tag = database_.Add(WithPast(database_.Polled("tag", "'a'"), 0));
  database_.Write(a, 4'500, 3);
  database_.SetClock(6'000);
  database_.Work();
  // At 4 s the value before counts, at 5 s the one that is current when it is computed.
  EXPECT_EQ(database_.Records(tag), "1=1 2=1 3=2 4=2 5=3 6=3");
}

TEST_F(CalculatedPastTest, LiveComputingBeginsBehindTheEndThatLiesInTheFuture) {
  const TagId a = database_.AddPoint("a");
  database_.Write(a, 1'000, 1);
  database_.SetClock(2'000);
  const TagId tag = database_.Add(WithPast(database_.Polled("tag", "'a'"), 1, 3));
  database_.SetClock(5'000);
  database_.Work();
  EXPECT_EQ(database_.Records(tag), "1=1 2=1 3=1 4=1 5=1");
  // What is due while it is closed is made up as far as the history reaches, which it no longer
  // does.
  database_.Close();
  database_.SetClock(8'000);
  database_.Open();
  database_.Work();
  database_.SetClock(9'000);
  database_.Work();
  EXPECT_EQ(database_.Records(tag), "1=1 2=1 3=1 4=1 5=1 9=1");
}

TEST_F(CalculatedPastTest, WhatWasDueWhileTheDatabaseWasClosedIsMadeUpWithAHistoryAlone) {
  const TagId a = database_.AddPoint("a");
  database_.Write(a, 1'000, 1);
  database_.SetClock(1'000);
  const TagId with = database_.Add(WithPast(database_.Polled("with", "'a'"), 0));
  const TagId without = database_.Add(database_.Polled("without", "'a'"));
  database_.SetClock(2'000);
  database_.Work();
  database_.Close();
  database_.SetClock(4'500);
  database_.Open();
  database_.SetClock(6'000);  // time goes on before anybody works
  database_.Work();
  EXPECT_EQ(database_.Records(with), "1=1 2=1 3=1 4=1 5=1 6=1");
  EXPECT_EQ(database_.Records(without), "2=1 5=1 6=1");
}

TEST_F(CalculatedPastTest, ANotifiedTagWithAHistoryFollowsEveryRecordOfTheTimeBeforeTheOpening) {
  const TagId a = database_.AddPoint("a");
  const TagId b = database_.AddPoint("b");
  const TagId with = database_.Add(WithPast(database_.Notified("with", "'a' + 'b'"), 0));
  const TagId without = database_.Add(database_.Notified("without", "'a' + 'b'"));
  database_.Write(b, 1'000, 10);
  database_.Write(a, 2'000, 1);
  database_.Write(a, 3'000, 2);
  database_.SetClock(4'000);
  database_.Close();  // before anybody has worked
  database_.Open();
  database_.Work();
  EXPECT_EQ(database_.Records(with), "2=11 3=12");
  EXPECT_EQ(database_.Records(without), "3=12");
}

TEST_F(CalculatedPastTest, ResultsThatAreNewestAreAReasonToCompute) {
  const TagId a = database_.AddPoint("a");
  database_.Write(a, 1'000, 1);
  database_.SetClock(3'000);
  const TagId polled = database_.Add(WithPast(database_.Polled("polled", "'a'"), 0));
  const TagId reader = database_.Add(database_.Notified("reader", "'polled' * 2"));
  database_.Work();
  EXPECT_EQ(database_.Records(polled), "1=1 2=1 3=1");
  EXPECT_EQ(database_.Records(reader), "3=2");  // once for the commit
}

TEST_F(CalculatedPastTest, RenamingAnOperandLeavesWhatIsComputedAsItIs) {
  const TagId a = database_.AddPoint("a");
  database_.Write(a, 1'000, 1);
  database_.SetClock(3'000);
  const TagId tag = database_.Add(WithPast(database_.Polled("tag", "'a'"), 0));
  database_.Work();
  database_.Write(a, 2'000, 5);  // late: what was computed stays
  ASSERT_EQ(database_.Rename(a, "renamed"), ZR3_OK);
  ASSERT_EQ(database_.Save(tag, database_.Read(tag), {.common = 0, .extension = -1}), ZR3_OK);
  database_.Work();
  EXPECT_EQ(database_.Records(tag), "1=1 2=1 3=1");
  Tag other = database_.Read(tag);
  std::get<CalculationProperties>(other.own).calc_expr = "'renamed' + 0";
  ASSERT_EQ(database_.Save(tag, other, {.common = 0, .extension = -1}), ZR3_OK);
  database_.Work();
  EXPECT_EQ(database_.Records(tag), "1=1 2=5 3=5");
}

TEST_F(CalculatedPastTest, GoesOnAfterAStoreThatRefusedWithoutHoldingUpLiveComputing) {
  const TagId a = database_.AddPoint("a");
  database_.Write(a, 1'000, 1);
  database_.SetClock(3'000);
  const TagId tag = database_.Add(WithPast(database_.Polled("tag", "'a'"), 0));
  database_.disk().FailCommits(1);
  EXPECT_FALSE(database_.engine().Work().ok());
  EXPECT_EQ(database_.Records(tag), "");
  database_.SetClock(4'000);
  database_.Work();
  EXPECT_EQ(database_.Records(tag), "1=1 2=1 3=1 4=1");
}

}  // namespace
}  // namespace zervane
