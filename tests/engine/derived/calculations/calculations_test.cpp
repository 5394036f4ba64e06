#include "engine/derived/calculations/calculations.h"

#include <gtest/gtest.h>

#include <string>
#include <variant>
#include <vector>

#include "tests/engine/derived/calculations/calculation_database.h"

namespace zervane {
namespace {

using Database = CalculationDatabase;

// ---- polled ----

TEST(CalculationsTest, APolledTagIsComputedAtEveryMultipleOfItsPeriodBehindItsSaving) {
  Database database;
  const TagId x = database.AddPoint("x");
  database.Write(x, 100, 1);
  database.SetClock(2500);
  const TagId c = database.Add(Database::Polled("c", "'x' * 2", 2));
  database.Work();
  EXPECT_EQ(database.Records(c), "");
  database.SetClock(3999);
  database.Work();
  EXPECT_EQ(database.Records(c), "");
  database.SetClock(4000);
  database.Work();
  database.Work();
  EXPECT_EQ(database.Records(c), "4=2");
  database.Write(x, 4500, 7);
  database.SetClock(6001);
  database.Work();
  EXPECT_EQ(database.Records(c), "4=2 6=14");
}

TEST(CalculationsTest, MultiplesThatWerePassedOverAreComputedLateWithTheValuesThenCurrent) {
  Database database;
  const TagId x = database.AddPoint("x");
  database.Write(x, 100, 1);
  const TagId a = database.Add(Database::Polled("a", "'x'"));
  const TagId b = database.Add(Database::Polled("b", "'a' * 10", 2));
  database.SetClock(1000);
  database.Work();
  database.Write(x, 1500, 2);
  database.SetClock(4900);
  database.Work();
  EXPECT_EQ(database.Records(a), "1=1 2=2 3=2 4=2");
  EXPECT_EQ(database.Records(b), "2=20 4=20");
}

TEST(CalculationsTest, NothingIsMadeUpFromWhileTheDatabaseWasClosed) {
  Database database;
  const TagId x = database.AddPoint("x");
  database.Write(x, 100, 1);
  const TagId c = database.Add(Database::Polled("c", "'x'"));
  database.SetClock(1500);
  database.Work();
  database.Close();
  database.SetClock(9500);
  database.Open();
  database.Work();
  database.SetClock(10'200);
  database.Work();
  EXPECT_EQ(database.Records(c), "1=1 10=1");
}

TEST(CalculationsTest, MultiplesThatAreAnHourOfSecondsLateArePassedOver) {
  Database database;
  const TagId c = database.Add(Database::Polled("c", "1"));
  database.SetClock(std::int64_t{5000} * 1000);
  database.Work();
  const auto count = database.Do(CountRecords{.id = c, .range = {}});
  ASSERT_TRUE(count.ok());
  EXPECT_EQ(*count, 3600);
  EXPECT_EQ(database.Records(c).substr(0, 7), "1401=1 ");
}

TEST(CalculationsTest, AClockThatIsSetBackComputesNothingTwice) {
  Database database;
  const TagId x = database.AddPoint("x");
  database.Write(x, 1, 1);
  const TagId c = database.Add(Database::Polled("c", "'x'"));
  database.SetClock(3000);
  database.Work();
  database.Write(x, 2, 5);
  database.SetClock(1000);
  database.Work();
  EXPECT_EQ(database.Records(c), "1=1 2=1 3=1");
  database.SetClock(4000);
  database.Work();
  EXPECT_EQ(database.Records(c), "1=1 2=1 3=1 4=5");
}

// A day ahead by mistake, in which an hour of multiples came late.
TEST(CalculationsTest, AClockThatIsSetFarBackComputesTheMultiplesBehindItAnew) {
  constexpr std::int64_t kDay = std::int64_t{24} * 3'600'000;
  Database database;
  const TagId x = database.AddPoint("x");
  database.Write(x, 1, 5);
  const TagId c = database.Add(Database::Polled("c", "'x'", 3600));
  const TagId follower = database.Add(Database::Notified("follower", "'c'"));
  database.SetClock(kDay);
  database.Work();
  const TagId during = database.Add(Database::Polled("during", "'x' * 2", 3600));
  database.Work();
  const std::string ahead = database.Records(c);
  EXPECT_EQ(ahead.substr(0, 14), "3600=5 7200=5 ");
  EXPECT_EQ(ahead.substr(ahead.size() - 8), " 86400=5");

  database.SetClock(10'000);
  database.Write(x, 10'000, 6);
  database.Work();
  const TagId after = database.Add(Database::Polled("after", "'x' * 3", 3600));
  EXPECT_EQ(database.Records(c), ahead);
  database.SetClock(std::int64_t{2} * 3'600'000);
  database.Work();
  EXPECT_EQ(database.Records(c).substr(0, 21), "3600=6 7200=6 10800=5");
  EXPECT_EQ(database.Records(during), "3600=12 7200=12");
  EXPECT_EQ(database.Records(after), "3600=18 7200=18");
  // What is stamped ahead stays the current value until the clock is there, and no late record is a
  // reason to compute.
  EXPECT_EQ(database.Records(follower), ahead);
  database.Write({{x, Database::At(std::int64_t{2} * 3'600'000 + 1, 0, 0)}});
  database.SetClock(std::int64_t{3} * 3'600'000);
  database.Work();
  EXPECT_EQ(database.Records(c).substr(0, 31), "3600=6 7200=6 10800=6! 14400=5 ");

  database.Write(x, std::int64_t{3} * 3'600'000 + 1, 7);
  database.SetClock(kDay);
  database.Work();
  const std::string there = database.Records(follower);
  EXPECT_EQ(there.substr(there.size() - 8), " 86400=7");
}

TEST(CalculationsTest, ATagOfASecondIsNotSilentForTheDayThatTheClockIsSetBack) {
  Database database;
  const TagId x = database.AddPoint("x");
  database.Write(x, 1, 5);
  const TagId c = database.Add(Database::Polled("c", "'x'"));
  database.SetClock(std::int64_t{24} * 3'600'000);
  database.Work();
  database.SetClock(10'000);
  database.Work();
  database.SetClock(12'000);
  database.Work();
  EXPECT_EQ(database.Records(c).substr(0, 16), "11=5 12=5 82801=");
}

TEST(CalculationsTest, PolledTagsOfOneInstantSettleInOrderOfDependence) {
  Database database;
  const TagId x = database.AddPoint("x");
  database.Write(x, 1, 1);
  const TagId a = database.Add(Database::Polled("a", "'x' + 1", 2));
  const TagId b = database.Add(Database::Polled("b", "'a' * 10"));
  const TagId c = database.Add(Database::Polled("c", "'a' + 'b'"));
  database.SetClock(2000);
  database.Work();
  EXPECT_EQ(database.Records(a), "2=2");
  EXPECT_EQ(database.Records(b), "1=0! 2=20");
  EXPECT_EQ(database.Records(c), "1=0! 2=22");
}

// The order in which they are saved has no say.
TEST(CalculationsTest, WhatIsReadIsComputedFirstAlsoWhenItWasSavedLater) {
  Database database;
  const TagId x = database.AddPoint("x");
  const TagId a = database.Add(Database::Polled("a", "1"));
  const TagId b = database.Add(Database::Polled("b", "'x'"));
  Tag tag = database.Read(a);
  std::get<CalculationProperties>(tag.own).calc_expr = "'b' + 1";
  EXPECT_EQ(database.Save(a, tag), ZR3_OK);
  database.Write(x, 1, 5);
  database.SetClock(1000);
  database.Work();
  EXPECT_EQ(database.Records(b), "1=5");
  EXPECT_EQ(database.Records(a), "1=6");
}

TEST(CalculationsTest, AChangedPeriodCountsFromItsSavingAndAnyOtherChangeDisturbsNothing) {
  Database database;
  const TagId c = database.Add(Database::Polled("c", "1", 2));
  database.SetClock(1500);
  Tag tag = database.Read(c);
  tag.descriptor = "other";
  EXPECT_EQ(database.Save(c, tag), ZR3_OK);
  database.SetClock(2500);
  database.Work();
  EXPECT_EQ(database.Records(c), "2=1");
  std::get<CalculationProperties>(tag.own).calc_period = 1;
  EXPECT_EQ(database.Save(c, tag), ZR3_OK);
  database.SetClock(4000);
  database.Work();
  EXPECT_EQ(database.Records(c), "2=1 3=1 4=1");
}

// ---- on notification ----

TEST(CalculationsTest, ANotifiedTagIsComputedWhenAnOperandHasANewValueAndStampedWithTheNewest) {
  Database database;
  const TagId x = database.AddPoint("x");
  const TagId y = database.AddPoint("y");
  const TagId c = database.Add(Database::Notified("c", "'x' - 'y'"));
  database.Write(x, 3000, 10);
  database.Work();
  EXPECT_EQ(database.Records(c), "3=0!");
  database.Write(y, 2000, 4);
  database.Work();
  EXPECT_EQ(database.Records(c), "3=6");  // of one time: the later one replaces
  database.Write(y, 4000, 5);
  database.Write(x, 5000, 20);
  database.Work();
  EXPECT_EQ(database.Records(c), "3=6 4=5 5=15");  // every commit counts
  database.Write(x, 4500, 99);                     // late
  database.Work();
  EXPECT_EQ(database.Records(c), "3=6 4=5 5=15");
}

TEST(CalculationsTest, SeveralChangesInOneCommitComputeOnce) {
  Database database;
  const TagId x = database.AddPoint("x");
  const TagId y = database.AddPoint("y");
  const TagId c = database.Add(Database::Notified("c", "'x' + 'y'"));
  database.Write({{x, Database::At(1000, 1)},
                  {x, Database::At(2000, 2)},
                  {y, Database::At(1500, 10)},
                  {x, Database::At(3000, 3)}});
  database.Work();
  EXPECT_EQ(database.Records(c), "3=13");
}

TEST(CalculationsTest, WithASourceNothingElseIsAReasonToCompute) {
  Database database;
  const TagId x = database.AddPoint("x");
  const TagId s = database.AddPoint("s");
  const TagId c = database.Add(Database::Notified("c", "'x'", "s"));
  database.Write(x, 1000, 1);
  database.Work();
  EXPECT_EQ(database.Records(c), "");
  database.Write(s, 500, 0);
  database.Work();
  EXPECT_EQ(database.Records(c), "1=1");
  database.Write(x, 3000, 2);
  database.Write(s, 4000, 0);
  database.Work();
  EXPECT_EQ(database.Records(c), "1=1 4=2");
}

TEST(CalculationsTest, ABadValueTriggersAndMakesTheResultBad) {
  Database database;
  const TagId x = database.AddPoint("x");
  const TagId c = database.Add(Database::Notified("c", "'x' * 2"));
  database.Write(x, 1000, 3);
  database.Write({{x, Database::At(2000, 5, 0)}});
  database.Write({{x, Database::At(3000, 5, 88)}});
  database.Write(x, 4000, 4);
  database.Work();
  EXPECT_EQ(database.Records(c), "1=6 2=6! 3=6! 4=8");
}

TEST(CalculationsTest, AChainAndADiamondSettleInOnePassEachOnce) {
  Database database;
  const TagId x = database.AddPoint("x");
  const TagId left = database.Add(Database::Notified("left", "'x' + 1"));
  const TagId right = database.Add(Database::Notified("right", "'left' * 2"));
  const TagId join = database.Add(Database::Notified("join", "'left' + 'right' + 'x'"));
  const TagId behind = database.Add(Database::Notified("behind", "'join'", "join"));
  database.Write(x, 1000, 1);
  database.Work();
  EXPECT_EQ(database.Records(left), "1=2");
  EXPECT_EQ(database.Records(right), "1=4");
  EXPECT_EQ(database.Records(join), "1=7");
  EXPECT_EQ(database.Records(behind), "1=7");
  const std::int64_t before = database.LastCommit();
  database.Write(x, 2000, 2);
  database.Work();
  EXPECT_EQ(database.LastCommit() - before, 2);  // the value, and all that follows from it
  EXPECT_EQ(database.Records(behind), "1=7 2=11");
}

TEST(CalculationsTest, ANotifiedTagFollowsAPolledOneAndThatOneReadsANotifiedOne) {
  Database database;
  const TagId x = database.AddPoint("x");
  const TagId first = database.Add(Database::Notified("first", "'x' + 1"));
  const TagId polled = database.Add(Database::Polled("polled", "'first' * 2"));
  const TagId last = database.Add(Database::Notified("last", "'polled' + 1"));
  database.Write(x, 200, 1);
  database.SetClock(1000);
  database.Work();
  EXPECT_EQ(database.Records(first), "0.2=2");
  EXPECT_EQ(database.Records(polled), "1=4");
  EXPECT_EQ(database.Records(last), "1=5");
}

// What was computed from a record before stays.
TEST(CalculationsTest, ACorrectionIsNoReasonToComputeButCountsFromThenOn) {
  Database database;
  const TagId x = database.AddPoint("x");
  const TagId c = database.Add(Database::Notified("c", "'x' * 2"));
  database.Write(x, 1000, 1);
  database.Write(x, 2000, 2);
  database.Work();
  const auto correct = [&](std::int64_t at_ms, double number) {
    const CorrectRecord correction{.id = x, .sample = Database::At(at_ms, number)};
    EXPECT_EQ(database.Do(correction).code(), ZR3_OK);
    database.Work();
  };
  correct(1000, 50);
  EXPECT_EQ(database.Records(c), "1=2 2=4");
  correct(2000, 50);
  EXPECT_EQ(database.Records(c), "1=2 2=4");
  const TagId d = database.Add(Database::Polled("d", "'x' + 0 * 'c'", 10));
  database.SetClock(10'000);
  database.Work();
  EXPECT_EQ(database.Records(d), "10=50");
}

TEST(CalculationsTest, ACorrectionCountsForWhatIsWrittenBehindIt) {
  Database database;
  const TagId x = database.AddPoint("x");
  const TagId y = database.AddPoint("y");
  const TagId c = database.Add(Database::Notified("c", "'x' + 'y'"));
  database.Write({{x, Database::At(1000, 1)}, {y, Database::At(1000, 1)}});
  database.Work();
  const auto correct = [&](TagId tag, std::int64_t at_ms, double number) {
    const CorrectRecord correction{.id = tag, .sample = Database::At(at_ms, number)};
    EXPECT_EQ(database.Do(correction).code(), ZR3_OK);
  };
  correct(x, 1000, 50);
  database.Write(y, 2000, 10);
  correct(y, 2000, 20);
  correct(x, 1000, 60);
  database.Write(x, 3000, 7);
  database.Work();
  EXPECT_EQ(database.Records(c), "1=2 2=60 3=27");
  EXPECT_TRUE(database.Unfollowed().empty());
}

TEST(CalculationsTest, AtOpeningWhatIsOlderThanItsOperandsIsComputedOnce) {
  Database database;
  const TagId x = database.AddPoint("x");
  const TagId a = database.Add(Database::Notified("a", "'x'"));
  const TagId b = database.Add(Database::Notified("b", "'a' + 'x'"));
  database.Write(x, 1000, 1);
  database.Work();
  database.Write(x, 2000, 2);
  database.Write(x, 3000, 3);  // and it is shut before these are followed
  database.Close();
  database.Open();
  database.Work();
  EXPECT_EQ(database.Records(a), "1=1 3=3");
  EXPECT_EQ(database.Records(b), "1=2 3=6");
  database.Close();
  database.Open();
  database.Work();
  EXPECT_EQ(database.Records(b), "1=2 3=6");
  // What is saved is known again.
  database.Write(x, 4000, 4);
  database.Work();
  EXPECT_EQ(database.Records(b), "1=2 3=6 4=8");
}

// None of these values is newer than the tag's own newest record.
TEST(CalculationsTest, AtOpeningWhatWasNotFollowedIsComputedHoweverOldItIs) {
  struct Case {
    const char* what;
    void (*change)(Database&, TagId x, TagId y);
    const char* expected;
  };
  const Case cases[] = {
      {"an operand behind the other",
       [](Database& database, TagId, TagId y) { database.Write(y, 2000, 4); }, "3=6"},
      {"an operand of the other's time",
       [](Database& database, TagId, TagId y) { database.Write(y, 3000, 4); }, "3=6"},
      {"another value of the same time",
       [](Database& database, TagId x, TagId) { database.Write(x, 3000, 20); }, "3=19"},
      {"a correction, which is no reason",
       [](Database& database, TagId x, TagId) {
         const CorrectRecord correction{.id = x, .sample = Database::At(3000, 30)};
         EXPECT_EQ(database.Do(correction).code(), ZR3_OK);
       },
       "3=9"},
      {"several of one tag",
       [](Database& database, TagId x, TagId y) {
         database.Write(y, 2000, 4);
         database.Write(x, 3000, 20);
         database.Write(y, 2500, 5);
       },
       "3=15"},
  };
  for (const Case& one : cases) {
    SCOPED_TRACE(one.what);
    Database database;
    const TagId x = database.AddPoint("x");
    const TagId y = database.AddPoint("y");
    const TagId c = database.Add(Database::Notified("c", "'x' - 'y'"));
    const TagId behind = database.Add(Database::Notified("behind", "'c' * 1"));
    database.Write({{x, Database::At(3000, 10)}, {y, Database::At(1000, 1)}});
    database.Work();
    EXPECT_EQ(database.Records(c), "3=9");
    one.change(database, x, y);
    database.Close();
    database.Open();
    database.Work();
    EXPECT_EQ(database.Records(c), one.expected);
    EXPECT_EQ(database.Records(behind), one.expected);
    EXPECT_TRUE(database.Unfollowed().empty());
  }
}

TEST(CalculationsTest, OneRowWaitsForEveryTagThatIsAReasonUntilWhatFollowsIsStored) {
  Database database;
  const TagId x = database.AddPoint("x");
  const TagId y = database.AddPoint("y");
  const TagId polled = database.AddPoint("polled");
  const TagId c = database.Add(Database::Notified("c", "'x'"));
  database.Add(Database::Notified("d", "'x' + 'y'", "y"));
  database.Add(Database::Polled("p", "'polled'"));
  for (std::int64_t at = 1; at <= 5; ++at) {
    database.Write({{x, Database::At(at, 1)}, {y, Database::At(at, 1)}});
    database.Write(polled, at, 1);
  }
  EXPECT_EQ(database.Unfollowed(), (std::vector<TagId>{x, y}));
  database.disk().FailCommitsOfTag(c);
  EXPECT_EQ(database.engine().Work().code(), ZR3_ERR_STORAGE_FAILED);
  EXPECT_EQ(database.Unfollowed(), (std::vector<TagId>{x, y}));
  database.disk().EndFailingCommits();
  database.Work();
  EXPECT_TRUE(database.Unfollowed().empty());
  database.Write(x, 6, 1);
  EXPECT_EQ(database.Unfollowed(), (std::vector<TagId>{x}));
  database.Delete(x);
  EXPECT_TRUE(database.Unfollowed().empty());
}

TEST(CalculationsTest, WhatComesToNothingLeavesNoRow) {
  Database database;
  const TagId x = database.AddPoint("x");
  const TagId s = database.AddPoint("s");
  const TagId c = database.Add(Database::Notified("c", "'x'", "s"));
  database.Write(x, 1000, 1);
  database.Write(s, 3000, 1);
  database.Work();
  Tag tag = database.Read(c);
  std::get<CalculationProperties>(tag.own).source_tag = "";
  EXPECT_EQ(database.Save(c, tag), ZR3_OK);
  database.Write(x, 2000, 2);  // its result were older than the newest one
  EXPECT_EQ(database.Unfollowed(), (std::vector<TagId>{x}));
  database.Work();
  EXPECT_EQ(database.Records(c), "3=1");
  EXPECT_TRUE(database.Unfollowed().empty());
  const std::int64_t before = database.LastCommit();
  database.Work();
  EXPECT_EQ(database.LastCommit(), before);
}

TEST(CalculationsTest, AtOpeningATagWithASourceIsComputedForItsSourceAlone) {
  Database database;
  const TagId x = database.AddPoint("x");
  const TagId s = database.AddPoint("s");
  const TagId c = database.Add(Database::Notified("c", "'x'", "s"));
  database.Write(x, 1000, 1);
  database.Write(s, 1000, 0);
  database.Work();
  database.Write(x, 3000, 2);
  for (int opening = 0; opening < 2; ++opening) {
    database.Close();
    database.Open();
    database.Work();
    EXPECT_EQ(database.Records(c), "1=1");
  }
  database.Write(s, 2000, 0);
  database.Close();
  database.Open();
  database.Work();
  EXPECT_EQ(database.Records(c), "1=1 3=2");
}

TEST(CalculationsTest, AReaderThatIsSavedLaterSeesWhatWasComputedAndNotWhatWasStored) {
  Database database;
  const TagId x = database.AddPoint("x");
  const TagId y = database.AddPoint("y");
  const TagId c = database.Add(Database::Notified("c", "'x'"));
  database.Write(x, 1000, 1);
  database.Work();
  database.Write(x, 1000, 2);
  const TagId d = database.Add(Database::Notified("d", "'c'", "y"));
  database.Write(y, 2000, 0);
  database.Work();
  EXPECT_EQ(database.Records(c), "1=2");
  EXPECT_EQ(database.Records(d), "2=2");
}

TEST(CalculationsTest, ASavedExpressionCountsFromTheNextValueOn) {
  Database database;
  const TagId x = database.AddPoint("x");
  const TagId y = database.AddPoint("y");
  database.Write(y, 100, 1000);
  const TagId c = database.Add(Database::Notified("c", "'x'"));
  database.Write(x, 1000, 1);
  Tag tag = database.Read(c);
  std::get<CalculationProperties>(tag.own).calc_expr = "'x' + 'y'";
  EXPECT_EQ(database.Save(c, tag), ZR3_OK);
  database.Write(x, 2000, 2);
  database.Work();
  EXPECT_EQ(database.Records(c), "1=1 2=1002");
}

TEST(CalculationsTest, WhatTheStoreRefusesIsWrittenLaterAndNothingIsLost) {
  Database database;
  const TagId x = database.AddPoint("x");
  const TagId c = database.Add(Database::Notified("c", "'x'"));
  const TagId p = database.Add(Database::Polled("p", "'x'"));
  database.Write(x, 100, 1);
  database.disk().FailCommitsOfTag(c);
  database.SetClock(1000);
  EXPECT_EQ(database.engine().Work().code(), ZR3_ERR_STORAGE_FAILED);
  database.SetClock(2000);
  EXPECT_EQ(database.engine().Work().code(), ZR3_ERR_STORAGE_FAILED);
  EXPECT_EQ(database.Records(p), "");
  database.disk().EndFailingCommits();
  database.Write(x, 1200, 2);
  database.Work();
  EXPECT_EQ(database.Records(c), "0.1=1 1.2=2");
  EXPECT_EQ(database.Records(p), "1=1 2=2");
}

TEST(CalculationsTest, ATagThatGoesWithAResultOnItsWayTakesNoOtherWithIt) {
  Database database;
  const TagId x = database.AddPoint("x");
  const TagId a = database.Add(Database::Notified("a", "'x'"));
  const TagId b = database.Add(Database::Notified("b", "'x'"));
  database.Write(x, 1000, 1);
  database.disk().FailCommitsOfTag(a);
  EXPECT_EQ(database.engine().Work().code(), ZR3_ERR_STORAGE_FAILED);
  database.disk().EndFailingCommits();
  database.Delete(a);
  database.Work();
  EXPECT_EQ(database.Records(b), "1=1");
}

}  // namespace
}  // namespace zervane
