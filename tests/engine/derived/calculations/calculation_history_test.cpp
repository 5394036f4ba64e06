#include "engine/derived/calculations/calculation_history.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <new>
#include <numeric>
#include <string>
#include <utility>
#include <vector>

#include "engine/derived/expression/parser.h"
#include "tests/engine/derived/calculations/past_database.h"
#include "tests/engine/short_memory.h"
#include "tests/support/case_name.h"

namespace zervane {
namespace {

constexpr TagId kA = 1;
constexpr TagId kB = 2;
constexpr TagId kD = 4;  // may be a calculation tag, too
constexpr TagId kE = 5;  // the first calculation tag
constexpr TagId kF = 6;

using Past = PastDatabase::Past;

class CalculatedHistory : public testing::Test {
 protected:
  PastDatabase database_;
};

// ---- what is computed ----

TEST_F(CalculatedHistory, HasEveryMultipleOfThePeriodFromStartToEndBothCounting) {
  database_.Write(kA, 5'000, 1);
  database_.Write(kA, 20'000, 2);
  database_.Write(kA, 20'001, 3);
  database_.Save(PastDatabase::Polled(kE, "'a' * 10", 10, Past{10, 40}));
  database_.Work();
  EXPECT_EQ(database_.TextOf(kE), "10=10 20=20 30=30 40=30");
}

TEST_F(CalculatedHistory, BeginsWithTheFirstMultipleBehindTheStart) {
  database_.Write(kA, 1, 1);
  database_.Save(PastDatabase::Polled(kE, "'a'", 10, Past{11, 39}));
  database_.Work();
  EXPECT_EQ(database_.TextOf(kE), "20=1 30=1");
}

TEST_F(CalculatedHistory, ReachesWithoutAnEndUpToTheSaving) {
  database_.Write(kA, 70'000, 1);
  database_.Save(PastDatabase::Polled(kE, "'a'", 10, Past{}));
  database_.now_ms = 200'000;  // live computing does the rest
  database_.Work();
  EXPECT_EQ(database_.TextOf(kE), "70=1 80=1 90=1 100=1");
}

TEST_F(CalculatedHistory, LeavesWhatLiesBehindTheSavingToLiveComputing) {
  database_.Write(kA, 70'000, 1);
  database_.now_ms = 95'000;
  database_.Save(PastDatabase::Polled(kE, "'a'", 10, Past{80, 200}));
  database_.Work();
  EXPECT_EQ(database_.TextOf(kE), "80=1 90=1");
}

TEST_F(CalculatedHistory, HasNoneBeforeEveryOperandHasARecord) {
  database_.Write(kA, 15'000, 1);
  database_.Write(kB, 30'000, 2);
  database_.Save(PastDatabase::Polled(kE, "'a' + 'b'", 10, Past{0, 40}));
  database_.Work();
  EXPECT_EQ(database_.TextOf(kE), "30=3 40=3");
}

TEST_F(CalculatedHistory, HasNoneWhenAnOperandNeverHadARecordOrIsGone) {
  database_.Write(kA, 15'000, 1);
  database_.Save(PastDatabase::Polled(kE, "'a' + 'b'", 10, Past{0, 40}));
  database_.Work();
  EXPECT_EQ(database_.TextOf(kE), "");
  database_.Write(kB, 15'000, 1);
  database_.Remove(kB);
  database_.Save(PastDatabase::Polled(kE, "'a' - 'b'", 10, Past{0, 40}));
  database_.Work();
  EXPECT_EQ(database_.TextOf(kE), "");
  EXPECT_TRUE(database_.Rows().empty());
}

TEST_F(CalculatedHistory, IsBadWhereAnOperandIsAndRepeatsTheValueBefore) {
  database_.Write(kA, 10'000, 7, 0);
  database_.Write(kA, 25'000, 5);
  database_.Write(kA, 35'000, 8, 64);  // uncertain
  database_.Write(kA, 55'000, 9);
  database_.Save(PastDatabase::Polled(kE, "'a'", 10, Past{0, 60}));
  database_.Work();
  EXPECT_EQ(database_.TextOf(kE), "10=0! 20=0! 30=5 40=5! 50=5! 60=9");
}

TEST_F(CalculatedHistory, IsBadWhereTheTypeHasNoSuchValue) {
  database_.Write(kA, 10'000, 2.5);
  database_.Write(kA, 20'000, 127.5);
  database_.Write(kA, 30'000, -2.5);
  database_.Write(kA, 40'000, 0);
  database_.Save(PastDatabase::Polled(kE, "'a'", 10, Past{0, 30}, TagType::kInt8));
  database_.Save(PastDatabase::Polled(kF, "1 / 'a'", 10, Past{30, 40}));
  database_.Work();
  EXPECT_EQ(database_.TextOf(kE), "10=3 20=3! 30=-3");
  EXPECT_EQ(database_.TextOf(kF), "30=-0.4 40=-0.4!");
}

TEST_F(CalculatedHistory, RepeatsTheValueOfTheRecordThatStandsBeforeItsFirst) {
  database_.Write(kA, 5'000, 4);
  database_.Save(PastDatabase::Polled(kE, "'a'", 10, Past{0, 20}));
  database_.Work();
  database_.Write(kA, 21'000, 4, 0);
  database_.Save(PastDatabase::Polled(kE, "'a' + 0", 10, Past{30, 40}));
  database_.Work();
  EXPECT_EQ(database_.TextOf(kE), "10=4 20=4 30=4! 40=4!");
}

TEST_F(CalculatedHistory, HasAConstantAtEveryMultipleButNotAtTheTimeThatNoRecordHas) {
  database_.Save(PastDatabase::Polled(kE, "6 * 7", 10, Past{0, 30}));
  database_.Work();
  EXPECT_EQ(database_.TextOf(kE), "10=42 20=42 30=42");
}

TEST_F(CalculatedHistory, HasEveryRecordOfTheSource) {
  for (const std::int64_t time_ms : {10'000, 12'345, 20'000}) database_.Write(kB, time_ms, 0);
  database_.Write(kA, 12'000, 1);
  database_.Write(kA, 15'000, 2);
  database_.Save(PastDatabase::Notified(kE, "'a'", kB, Past{}));
  database_.Work();
  EXPECT_EQ(database_.TextOf(kE), "12.345=1 20=2");
}

TEST_F(CalculatedHistory, HasWithoutASourceEveryRecordOfAnyOperandOnce) {
  database_.Write(kA, 10'000, 1);
  database_.Write(kB, 12'000, 2);
  database_.Write(kA, 14'000, 3);
  database_.Write(kB, 14'000, 4);
  database_.Write(kB, 16'000, 5, 0);
  database_.Save(PastDatabase::Notified(kE, "'a' * 'b'", 0, Past{0, 16}));
  database_.Work();
  EXPECT_EQ(database_.TextOf(kE), "12=2 14=12 16=12!");
}

TEST_F(CalculatedHistory, CountsStartAndEndOfRecordsToo) {
  for (const std::int64_t time_ms : {9'999, 10'000, 20'000, 20'001})
    database_.Write(kA, time_ms, 1);
  database_.Save(PastDatabase::Notified(kE, "'a'", 0, Past{10, 20}));
  database_.Work();
  EXPECT_EQ(database_.TextOf(kE), "10=1 20=1");
}

TEST_F(CalculatedHistory, HasRecordsThatAreStampedLaterThanTheClock) {
  database_.Write(kA, 90'000, 1);
  database_.Write(kA, 150'000, 2);
  database_.Save(PastDatabase::Notified(kE, "'a'", 0, Past{}));
  database_.Save(PastDatabase::Polled(kF, "'a'", 50, Past{}));
  database_.Work();
  EXPECT_EQ(database_.TextOf(kE), "90=1 150=2");
  EXPECT_EQ(database_.TextOf(kF), "100=1");
}

TEST_F(CalculatedHistory, HasNoneWithoutATriggerOrWithOneThatIsGone) {
  database_.Write(kA, 10'000, 1);
  database_.Write(kB, 10'000, 1);
  database_.Save(PastDatabase::Notified(kE, "1 + 1", 0, Past{}));
  database_.Save(PastDatabase::Notified(kF, "'a'", kB, Past{}));
  database_.Remove(kB);
  database_.Work();
  EXPECT_EQ(database_.TextOf(kE), "");
  EXPECT_EQ(database_.TextOf(kF), "");
}

TEST_F(CalculatedHistory, BecomesTheCurrentValueWhenItIsTheNewest) {
  database_.Write(kA, 10'000, 1);
  database_.Save(PastDatabase::Polled(kE, "'a'", 10, Past{0, 50}));
  database_.Work();
  EXPECT_EQ(database_.path().current_values().TimeOf(kE), 50'000);
  database_.Save(PastDatabase::Polled(kE, "'a' + 1", 10, Past{0, 30}));
  database_.Work();
  EXPECT_EQ(database_.path().current_values().TimeOf(kE), 50'000);
  EXPECT_EQ(database_.TextOf(kE), "10=2 20=2 30=2 40=1 50=1");
}

// ---- long stretches ----

TEST_F(CalculatedHistory, IsWrittenInBoundedSteps) {
  database_.Write(kA, 1'000, 1);
  database_.now_ms = 20'000'000;
  database_.Save(PastDatabase::Polled(kE, "'a'", 1, Past{}));
  database_.Work();
  EXPECT_EQ(database_.RecordsOf(kE).size(), 20'000U);
  const std::vector<std::size_t> sizes = database_.faults().commit_sizes();
  EXPECT_EQ(std::accumulate(sizes.begin(), sizes.end(), std::size_t{0}), 20'001U);
  EXPECT_LE(*std::ranges::max_element(sizes), 4'096U);
  EXPECT_TRUE(database_.Rows().empty());
}

TEST_F(CalculatedHistory, MergesManyRecordsOfManyOperandsInOrder) {
  std::vector<TagSample> records;
  for (std::int64_t at = 1; at <= 12'000; ++at) {
    records.push_back(
        {static_cast<TagId>(1 + at % 3), NumberAt(at * 100, static_cast<double>(at))});
  }
  ASSERT_TRUE(database_.path().WriteAsSystem(BatchOf(records), {}).ok());
  database_.now_ms = 2'000'000;
  database_.Save(PastDatabase::Notified(kE, "max('a', 'b', 'c')", 0, Past{}));
  database_.Work();
  const std::vector<Sample> computed = database_.RecordsOf(kE);
  ASSERT_EQ(computed.size(), 11'998U);
  for (std::size_t at = 0; at < computed.size(); ++at) {
    ASSERT_EQ(computed[at],
              NumberAt(static_cast<std::int64_t>(at + 3) * 100, static_cast<double>(at + 3)));
  }
}

TEST_F(CalculatedHistory, HasTheLatestHundredMillionInstants) {
  constexpr std::int64_t kNowS = 1'700'000'000;
  database_.now_ms = kNowS * 1000;
  database_.Save(PastDatabase::Polled(kE, "1", 1, Past{}));
  ASSERT_TRUE(database_.history().Step().ok());
  ASSERT_EQ(database_.Rows().size(), 1U);
  EXPECT_EQ(database_.Rows().front().from_ms, (kNowS - 100'000'000 + 1) * 1000);
  EXPECT_EQ(database_.RecordsOf(kE).front().time_ms, (kNowS - 100'000'000 + 1) * 1000);
}

TEST_F(CalculatedHistory, HasAStartAfter2038AndThePeriodsThatThereAre) {
  constexpr std::int64_t kLastS = 0xFFFFFFFF;
  database_.now_ms = kMaxTimeMs;
  database_.Save(PastDatabase::Polled(kE, "1", 1, Past{kLastS - 1, kLastS}));
  database_.Save(PastDatabase::Polled(kF, "1", 0x7FFFFFFF, Past{}));
  database_.Work();
  EXPECT_EQ(database_.TextOf(kE), "4294967294=1 4294967295=1");
  EXPECT_EQ(database_.TextOf(kF), "2147483647=1 4294967294=1");
}

TEST_F(CalculatedHistory, TakesTurnsSoThatAShortOneNeedNotWait) {
  database_.Write(kA, 1'000, 1);
  database_.now_ms = 100'000'000;
  database_.Save(PastDatabase::Polled(kE, "'a'", 1, Past{}));
  database_.Save(PastDatabase::Polled(kF, "'a'", 1, Past{10, 12}));
  for (int steps = 0; steps < 3; ++steps) ASSERT_TRUE(database_.history().Step().ok());
  EXPECT_EQ(database_.TextOf(kF), "10=1 11=1 12=1");
  EXPECT_EQ(database_.Rows().size(), 1U);
}

TEST_F(CalculatedHistory, WaitsForThatOfItsOperands) {
  database_.Write(kA, 1'000, 1);
  database_.now_ms = 20'000'000;
  database_.Save(PastDatabase::Polled(kF, "'a'", 1, Past{}));
  database_.Save(PastDatabase::Notified(kE, "'f' * 2", 0, Past{}));
  database_.Write(kA, 19'000'000, 1);
  database_.Save(PastDatabase::Notified(kD, "'f' * 3", kA, Past{3, {}}));
  database_.Work();
  EXPECT_EQ(database_.RecordsOf(kE).size(), 20'000U);
  EXPECT_EQ(database_.TextOf(kD), "19000=3");
}

// ---- saving ----

TEST_F(CalculatedHistory, GoesOnWhereItIsWhenTheSameIsSavedAgain) {
  database_.Write(kA, 1'000, 1);
  database_.now_ms = 10'000'000;
  database_.Save(PastDatabase::Polled(kE, "'a' + 'b' * 0", 1, Past{}));
  database_.Write(kB, 1'000, 1);
  ASSERT_TRUE(database_.history().Step().ok());
  const std::vector<HistoryProgress> rows = database_.Rows();
  ASSERT_EQ(rows.size(), 1U);
  database_.now_ms = 11'000'000;
  Calculation same = PastDatabase::Polled(kE, "'a'+'b'*0", 1, Past{});
  same.source = kB;  // a POLL tag does not look at it
  database_.Save(same);
  EXPECT_EQ(database_.Rows(), rows);
  database_.Work();
  EXPECT_EQ(database_.RecordsOf(kE).back().time_ms, 10'000'000);
}

struct ChangeCase {
  const char* name;
  void (*change)(Calculation&);
  bool begins_anew;
};

class ChangedHistory : public testing::TestWithParam<ChangeCase> {};

TEST_P(ChangedHistory, BeginsAnewWhenWhatIsComputedChanges) {
  PastDatabase database;
  database.Write(kA, 1'000, 1);
  database.Write(kB, 1'000, 2);
  Calculation calculation = PastDatabase::Notified(kE, "'a' + 'b'", kA, Past{0, 50});
  database.Save(calculation);
  database.Work();
  ASSERT_TRUE(database.Rows().empty());
  GetParam().change(calculation);
  database.Save(calculation);
  EXPECT_EQ(database.Rows().size(), GetParam().begins_anew ? 1U : 0U);
}

INSTANTIATE_TEST_SUITE_P(
    CalculatedHistory, ChangedHistory,
    testing::Values(
        ChangeCase{"Nothing", [](Calculation&) {}, false},
        ChangeCase{"ANameAlone",
                   [](Calculation& c) {
                     c.program =
                         ParseExpression("'renamed' + 'b'", {.variables = {}, .allows_tags = true})
                             ->program;
                   },
                   false},
        ChangeCase{"ThePeriodOfANotifyTag", [](Calculation& c) { c.period_s = 7; }, false},
        ChangeCase{"TheProgram",
                   [](Calculation& c) {
                     c.program = PastDatabase::Polled(kE, "'a' - 'b'", 1, Past{}).program;
                   },
                   true},
        ChangeCase{"AConstant",
                   [](Calculation& c) {
                     c.program = PastDatabase::Polled(kE, "'a' + 'b' + 1", 1, Past{}).program;
                   },
                   true},
        ChangeCase{"AnOperand", [](Calculation& c) { c.operands[1] = 3; }, true},
        ChangeCase{"TheSource", [](Calculation& c) { c.source = kB; }, true},
        ChangeCase{"TheMode",
                   [](Calculation& c) {
                     c.mode = Calculation::Mode::kPoll;
                     c.period_s = 10;
                   },
                   true},
        ChangeCase{"TheStart", [](Calculation& c) { c.history->start_s = 10; }, true},
        ChangeCase{"TheEnd", [](Calculation& c) { c.history->end_s = 60; }, true},
        ChangeCase{"NoEnd", [](Calculation& c) { c.history->end_s.reset(); }, true},
        ChangeCase{"NoHistory", [](Calculation& c) { c.history.reset(); }, false}),
    CaseName());

TEST_F(CalculatedHistory, EndsWhenItIsTurnedOff) {
  database_.Write(kA, 1'000, 1);
  database_.now_ms = 10'000'000;
  database_.Save(PastDatabase::Polled(kE, "'a'", 1, Past{}));
  ASSERT_TRUE(database_.history().Step().ok());
  const std::string computed = database_.TextOf(kE);
  database_.Save(PastDatabase::Polled(kE, "'a'", 1, {}));
  EXPECT_FALSE(database_.history().HasWork());
  EXPECT_TRUE(database_.Rows().empty());
  EXPECT_EQ(database_.TextOf(kE), computed);
  database_.Save(PastDatabase::Polled(kE, "'a'", 1, Past{}));
  EXPECT_EQ(database_.Rows().size(), 1U);
}

TEST_F(CalculatedHistory, GoesWithItsTag) {
  database_.Write(kA, 1'000, 1);
  database_.Save(PastDatabase::Polled(kE, "'a'", 1, Past{}));
  database_.Remove(kE);
  EXPECT_FALSE(database_.history().HasWork());
  EXPECT_TRUE(database_.Rows().empty());
}

TEST_F(CalculatedHistory, StoresNothingOfWhatATagIsNotAnyMore) {
  database_.Write(kA, 1'000, 1);
  database_.Save(PastDatabase::Polled(kE, "'a'", 10, Past{}));
  const Calculation other = PastDatabase::Polled(kE, "'a' + 1", 20, Past{});
  // While the results are on their way to the store.
  database_.on_clock = [&] {
    database_.on_clock = nullptr;
    database_.Save(other);
  };
  const Result<TagId> step = database_.history().Step();
  ASSERT_TRUE(step.ok()) << step.status().message();
  EXPECT_EQ(*step, 0U);
  EXPECT_EQ(database_.TextOf(kE), "");
  database_.Work();
  EXPECT_EQ(database_.TextOf(kE), "20=2 40=2 60=2 80=2 100=2");
  database_.Reopen();
  EXPECT_FALSE(database_.history().HasWork());
}

TEST_F(CalculatedHistory, StoresNothingOfATagThatIsGone) {
  database_.Write(kA, 1'000, 1);
  database_.Save(PastDatabase::Polled(kE, "'a'", 10, Past{}));
  database_.on_clock = [&] {
    database_.on_clock = nullptr;
    database_.Remove(kE);
  };
  EXPECT_TRUE(database_.history().Step().ok());
  EXPECT_TRUE(database_.Rows().empty());
  EXPECT_FALSE(database_.history().HasWork());
}

// ---- opening ----

TEST_F(CalculatedHistory, GoesOnExactlyWhereItWasWhenTheDatabaseIsOpenedAgain) {
  database_.Write(kA, 1'000, 1);
  database_.Write(kA, 5'000'000, 1, 0);
  database_.now_ms = 10'000'000;
  database_.Save(PastDatabase::Polled(kE, "'a'", 1, Past{0, 9'999}));
  while (database_.history().HasWork()) {
    ASSERT_TRUE(database_.history().Step().ok());
    database_.Reopen();
  }
  const std::vector<std::size_t> sizes = database_.faults().commit_sizes();
  EXPECT_EQ(std::accumulate(sizes.begin(), sizes.end(), std::size_t{0}), 2U + 9'999U);
  const std::vector<Sample> computed = database_.RecordsOf(kE);
  ASSERT_EQ(computed.size(), 9'999U);
  for (std::size_t at = 0; at < computed.size(); ++at) {
    ASSERT_EQ(computed[at].time_ms, static_cast<std::int64_t>(at + 1) * 1000);
    ASSERT_EQ(computed[at].quality, at + 1 < 5'000 ? 192 : 0);
    ASSERT_EQ(computed[at].value, Value(1.0));
  }
}

TEST_F(CalculatedHistory, MakesUpWhatWasDueWhileTheDatabaseWasClosed) {
  database_.Write(kA, 50'000, 1);
  database_.Save(PastDatabase::Polled(kE, "'a'", 10, Past{}));
  database_.Work();
  database_.Write(kA, 105'000, 2);
  database_.Close();
  database_.now_ms = 135'000;
  database_.Reopen();
  database_.Work();
  EXPECT_EQ(database_.TextOf(kE), "50=1 60=1 70=1 80=1 90=1 100=1 110=2 120=2 130=2");
}

struct GapCase {
  const char* name;
  Past past;
  std::int64_t opened_ms;
  const char* computed;
};

class ClosedDatabase : public testing::TestWithParam<GapCase> {};

TEST_P(ClosedDatabase, HasTheGapOfItsTagsWithAHistoryAlone) {
  PastDatabase database;
  database.Write(kA, 80'000, 1);
  database.Save(PastDatabase::Polled(kE, "'a'", 10, GetParam().past));
  database.Save(PastDatabase::Polled(kF, "'a'", 10, {}));
  database.Work();
  database.Close();
  database.now_ms = GetParam().opened_ms;
  database.Reopen();
  database.Work();
  EXPECT_EQ(database.TextOf(kE), GetParam().computed);
  EXPECT_EQ(database.TextOf(kF), "");
}

INSTANTIATE_TEST_SUITE_P(
    CalculatedHistory, ClosedDatabase,
    testing::Values(GapCase{"NoEnd", {90, {}}, 120'000, "90=1 100=1 110=1 120=1"},
                    GapCase{"NothingWasDue", {90, {}}, 109'999, "90=1 100=1"},
                    GapCase{"EndsWithin", {90, 110}, 130'000, "90=1 100=1 110=1"},
                    GapCase{"HasEnded", {90, 95}, 130'000, "90=1"},
                    GapCase{"StartsWithin", {115, {}}, 130'000, "120=1 130=1"},
                    GapCase{"TheClockWasSetBack", {90, {}}, 50'000, "90=1 100=1"}),
    CaseName());

TEST_F(CalculatedHistory, BeginsTheGapBehindWhatWasComputedLive) {
  database_.Write(kA, 80'000, 1);
  database_.Save(PastDatabase::Polled(kE, "'a'", 10, Past{90, {}}));
  database_.Work();
  const std::vector<TagSample> live = {{kE, NumberAt(110'000, 7)}, {kE, NumberAt(120'000, 8)}};
  ASSERT_TRUE(database_.path().WriteAsSystem(BatchOf(live), {}).ok());
  database_.Close();
  database_.now_ms = 145'000;
  database_.Reopen();
  database_.Work();
  EXPECT_EQ(database_.TextOf(kE), "90=1 100=1 110=7 120=8 130=1 140=1");
}

TEST_F(CalculatedHistory, HasTheGapBesideAStretchThatIsNotDone) {
  database_.Write(kA, 80'000, 1);
  database_.Save(PastDatabase::Polled(kE, "'a'", 10, Past{70, {}}));
  const std::vector<TagSample> live = {{kE, NumberAt(110'000, 7)}};
  ASSERT_TRUE(database_.path().WriteAsSystem(BatchOf(live), {}).ok());
  for (const std::int64_t opened_ms : {130'000, 150'000}) {
    database_.Close();
    database_.now_ms = opened_ms;
    database_.Reopen();
  }
  EXPECT_EQ(database_.Rows().size(), 3U);
  database_.Work();
  EXPECT_EQ(database_.TextOf(kE), "80=1 90=1 100=1 110=7 120=1 130=1 140=1 150=1");
}

TEST_F(CalculatedHistory, HasEveryRecordOfATriggerThatWasNotFollowedWhenItClosed) {
  database_.Write(kA, 80'000, 1);
  database_.Save(PastDatabase::Notified(kE, "'a'", 0, Past{}));
  database_.Work();
  database_.Write(kA, 101'000, 2);
  database_.Write(kA, 102'000, 3);
  database_.Reopen();
  database_.Work();
  EXPECT_EQ(database_.TextOf(kE), "80=1 101=2 102=3");
  database_.Reopen();
  EXPECT_FALSE(database_.history().HasWork());
}

TEST_F(CalculatedHistory, MakesUpAChainOverTheTimeThatTheDatabaseWasClosed) {
  database_.Write(kA, 80'000, 1);
  database_.Save(PastDatabase::Polled(kF, "'a'", 10, Past{}));
  database_.Save(PastDatabase::Notified(kE, "'f' + 1", 0, Past{}));
  database_.Work();
  database_.Close();
  database_.now_ms = 125'000;
  database_.Reopen();
  database_.Work();
  EXPECT_EQ(database_.TextOf(kE), "80=2 90=2 100=2 110=2 120=2");
}

TEST_F(CalculatedHistory, LosesNoGapWhenTheStoreRefusesItAtFirst) {
  database_.Write(kA, 80'000, 1);
  database_.Save(PastDatabase::Polled(kE, "'a'", 10, Past{}));
  database_.Work();
  database_.Close();
  database_.now_ms = 115'000;
  database_.Open();
  database_.faults().Fail(storage::Faults::Call::kCommit, ZR3_ERR_STORAGE_FULL, 1);
  EXPECT_EQ(database_.Begin().code(), ZR3_ERR_STORAGE_FULL);
  EXPECT_FALSE(database_.history().HasWork());
  EXPECT_TRUE(database_.Begin().ok());
  database_.Work();
  EXPECT_EQ(database_.TextOf(kE), "80=1 90=1 100=1 110=1");
}

TEST_F(CalculatedHistory, IsDamageWhenItsRowsAreNone) {
  database_.Write(kA, 1'000, 1);
  database_.Save(PastDatabase::Polled(kE, "'a'", 1, Past{}));
  database_.Save(PastDatabase::Polled(kF, "'a'", 1, {}));
  const std::vector<HistoryProgress> rows = database_.Rows();
  ASSERT_EQ(rows.size(), 1U);
  for (const TagId tag : {kA, kF, TagId{99}}) {
    database_.Close();
    HistoryProgress stray = rows.front();
    stray.key.tag = tag;
    StoreBatch batch;
    Table<HistoryProgress>::Put(stray, batch);
    storage::StoreDriver(database_.store()).MustCommit(std::move(batch));
    database_.Open();
    EXPECT_EQ(database_.opening().code(), ZR3_ERR_STORAGE_DAMAGED) << tag;
    database_.Close();
    StoreBatch removal;
    Table<HistoryProgress>::Remove(stray.key, removal);
    storage::StoreDriver(database_.store()).MustCommit(std::move(removal));
  }
  database_.Open();
  EXPECT_TRUE(database_.opening().ok());
}

// ---- a store that refuses ----

TEST_F(CalculatedHistory, TriesTheSameAgainWhenTheStoreRefuses) {
  database_.Write(kA, 1'000, 1);
  database_.now_ms = 10'000'000;
  database_.Save(PastDatabase::Polled(kE, "'a'", 1, Past{}));
  using Call = storage::Faults::Call;
  int refused = 0;
  for (int steps = 0; database_.history().HasWork(); ++steps) {
    ASSERT_LT(steps, 100);
    if (steps % 2 == 0) database_.faults().Fail(Call::kCommit, ZR3_ERR_STORAGE_FULL, 1);
    if (steps % 3 == 0) database_.faults().Fail(Call::kScan, ZR3_ERR_STORAGE_FAILED, 1);
    const Result<TagId> step = database_.history().Step();
    if (!step.ok()) ++refused;
  }
  EXPECT_GE(refused, 2);
  EXPECT_EQ(database_.RecordsOf(kE).size(), 10'000U);
  EXPECT_TRUE(database_.Rows().empty());
}

TEST_F(CalculatedHistory, ChangesNothingWhenASaveIsRefused) {
  database_.Write(kA, 1'000, 1);
  database_.now_ms = 10'000'000;
  database_.Save(PastDatabase::Polled(kE, "'a'", 1, Past{}));
  ASSERT_TRUE(database_.history().Step().ok());
  const std::vector<HistoryProgress> rows = database_.Rows();
  database_.faults().Fail(storage::Faults::Call::kCommit, ZR3_ERR_STORAGE_FULL, 1);
  EXPECT_EQ(database_.TrySave(PastDatabase::Polled(kE, "'a' * 2", 1, Past{})).code(),
            ZR3_ERR_STORAGE_FULL);
  EXPECT_EQ(database_.Rows(), rows);
  database_.Work();
  EXPECT_EQ(database_.RecordsOf(kE).size(), 10'000U);
  EXPECT_EQ(database_.RecordsOf(kE).back(), NumberAt(10'000'000, 1));
}

// ---- want of memory ----

// Runs what asks for memory with one request after the other failing, until none is left to fail.
template <typename Try, typename Check>
void WithEveryRequestFailing(const Try& attempt, const Check& check) {
  bool failed = true;
  for (std::uint64_t nth = 1; failed; ++nth) {
    ASSERT_LT(nth, 10'000U);
    try {
      const ShortMemory memory(nth, ShortMemory::Lack::kOne);
      attempt();
    } catch (const std::bad_alloc&) {
    }
    failed = ShortMemory::Failed() > 0;
    if (failed) check(nth);
  }
}

TEST_F(CalculatedHistory, StoresAllOrNothingOfAStepWhicheverRequestForMemoryFails) {
  for (TagId tag = 1; tag <= 2; ++tag) {
    for (std::int64_t at = 1; at <= 40; ++at) {
      database_.Write(tag, at * 1000 + tag, static_cast<double>(at));
    }
  }
  database_.now_ms = 50'000;
  database_.Save(PastDatabase::Polled(kE, "'a' + 'b'", 5, Past{0, 30}));
  database_.Save(PastDatabase::Notified(kF, "'a' - 'b'", 0, Past{}));
  WithEveryRequestFailing(
      [&] {
        while (database_.history().HasWork()) {
          if (!database_.history().Step().ok()) break;
        }
      },
      [&](std::uint64_t) {
        // A stretch is stored up to where its row says, and no further.
        for (const HistoryProgress& row : database_.Rows()) {
          const std::vector<Sample> stored = database_.RecordsOf(row.key.tag);
          ASSERT_TRUE(stored.empty() || stored.back().time_ms < row.next_ms);
        }
      });
  database_.Work();
  EXPECT_EQ(database_.TextOf(kE), "5=8 10=18 15=28 20=38 25=48 30=58");
  EXPECT_EQ(database_.RecordsOf(kF).size(), 79U);
  EXPECT_TRUE(database_.Rows().empty());
}

TEST_F(CalculatedHistory, IsAsItWasWhichRequestForMemoryEverASavingLacks) {
  database_.Write(kA, 1'000, 1);
  database_.Save(PastDatabase::Polled(kE, "'a'", 10, Past{}));
  const std::vector<HistoryProgress> before = database_.Rows();
  const Calculation other = PastDatabase::Polled(kE, "'a' * 2", 20, Past{0, 60});
  bool is_saved = false;
  WithEveryRequestFailing(
      [&] { is_saved = database_.TrySave(other).ok(); },
      [&](std::uint64_t) { ASSERT_TRUE(is_saved || database_.Rows() == before); });
  EXPECT_TRUE(is_saved);
  database_.Work();
  EXPECT_EQ(database_.TextOf(kE), "20=2 40=2 60=2");
}

TEST_F(CalculatedHistory, LosesNoGapWhicheverRequestForMemoryFailsAtTheOpening) {
  database_.Write(kA, 80'000, 1);
  database_.Save(PastDatabase::Polled(kE, "'a'", 10, Past{}));
  database_.Save(PastDatabase::Polled(kF, "'a'", 20, Past{}));
  database_.Work();
  database_.Close();
  database_.now_ms = 121'000;
  database_.Open();
  bool has_begun = false;
  WithEveryRequestFailing([&] { has_begun = database_.Begin().ok() || has_begun; },
                          [&](std::uint64_t) {
                            ASSERT_EQ(database_.Rows().size(), has_begun ? 2U : 0U);
                            ASSERT_EQ(database_.history().HasWork(), has_begun);
                          });
  database_.Work();
  EXPECT_EQ(database_.TextOf(kE), "80=1 90=1 100=1 110=1 120=1");
  EXPECT_EQ(database_.TextOf(kF), "80=1 100=1 120=1");
}

}  // namespace
}  // namespace zervane
