#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "tests/engine/derived/statistics_tags/statistics_database.h"

namespace zervane {
namespace {

class StatisticsTag : public testing::Test {
 protected:
  TagId AddSums() { return db_.Add(db_.TagOf(db_.Sums())); }
  TagId Add(const std::function<void(StatisticsProperties&)>& change,
            TagType type = TagType::kFloat64) {
    StatisticsProperties properties = db_.Sums();
    change(properties);
    return db_.Add(db_.TagOf(properties, "statistic", type));
  }
  static PropertyMask Only(std::int32_t column) {
    return {.common = 0, .extension = std::int64_t{1} << (column - ZR3_TAG_COL_ST_EXT_PROP_MIN)};
  }

  StatisticsDatabase db_;
  const TagId source_ = db_.AddPoint("source");
};

// ---- when and what ----

TEST_F(StatisticsTag, HasAWindowComputedWhenItHasEnded) {
  const TagId tag = AddSums();
  db_.Write(source_, 0, 1);
  db_.Write(source_, 9, 2);
  db_.Write(source_, 10, 4);
  db_.WorkAt(9);
  EXPECT_EQ(db_.Records(tag), "");
  db_.WorkAt(10);
  EXPECT_EQ(db_.Records(tag), "10=3");
  db_.WorkAt(20);
  EXPECT_EQ(db_.Records(tag), "10=3 20=4");
}

TEST_F(StatisticsTag, WaitsForItsScanPeriod) {
  const TagId tag = Add([](StatisticsProperties& properties) { properties.scan_period = 5; });
  db_.Write(source_, 0, 1);
  db_.WorkAt(14);
  EXPECT_EQ(db_.Records(tag), "");
  db_.WorkAt(15);
  EXPECT_EQ(db_.Records(tag), "10=1");
}

TEST_F(StatisticsTag, HasThePastComputedAtOnce) {
  db_.SetClock(35);
  for (std::int64_t at_s = 0; at_s < 35; ++at_s) db_.Write(source_, at_s, 1);
  const TagId tag = AddSums();
  db_.Work();
  EXPECT_EQ(db_.Records(tag), "10=10 20=10 30=10");
}

TEST_F(StatisticsTag, IsStampedAtItsBeginWhenItIsToBe) {
  const TagId tag = Add([](StatisticsProperties& properties) {
    properties.begin_timestamp = true;
    properties.timestamp_offset = 3;
  });
  db_.Write(source_, 0, 1);
  db_.WorkAt(10);
  EXPECT_EQ(db_.Records(tag), "3=1");
}

TEST_F(StatisticsTag, IsConvertedAndRounded) {
  const TagId times =
      Add([](StatisticsProperties& properties) { properties.conversion = 2.5; }, TagType::kInt16);
  StatisticsProperties divided = db_.Sums();
  divided.conversion = 4;
  divided.conversion_type = ZR3_STATS_CONVERSION_TYPE_MINIFICATION;
  const TagId over = db_.Add(db_.TagOf(divided, "divided"));
  db_.Write(source_, 0, -1);
  db_.Write(source_, 15, 20'000);
  db_.WorkAt(20);
  EXPECT_EQ(db_.Records(times), "10=-3 20=-3!");  // halves away from zero; 50,000 is no INT16
  EXPECT_EQ(db_.Records(over), "10=-0.25 20=5000");
}

TEST_F(StatisticsTag, WithoutAResultIsBadWithThePreviousValue) {
  const TagId tag = AddSums();
  db_.Write(source_, 12, 7);
  db_.WorkAt(30);
  EXPECT_EQ(db_.Records(tag), "10=0! 20=7 30=7!");
}

TEST_F(StatisticsTag, OfTooFewGoodHasItsValueAndIsBad) {
  const TagId tag = Add([](StatisticsProperties& properties) { properties.pct_good = 60; });
  db_.Write(source_, 0, 1);
  db_.Write(source_, 5, 2, ZR3_QUALITY_BAD);
  db_.Write(source_, 10, 3);
  db_.WorkAt(20);
  EXPECT_EQ(db_.Records(tag), "10=1! 20=3");
}

TEST_F(StatisticsTag, LeavesBadRecordsOutSoThatValuesGoOn) {
  const auto mean = [](std::int32_t drop_mode) {
    return [drop_mode](StatisticsProperties& properties) {
      properties.stats_type = ZR3_STATS_TYPE_INTEGRAL;
      properties.drop_bad_mode = drop_mode;
    };
  };
  const TagId area = Add(mean(ZR3_STATS_DROP_BAD_MODE_AREA));
  StatisticsProperties left_out = db_.Sums();
  mean(ZR3_STATS_DROP_BAD_MODE_REC)(left_out);
  const TagId records = db_.Add(db_.TagOf(left_out, "left out"));
  db_.Write(source_, 0, 2);
  db_.Write(source_, 4, 100, ZR3_QUALITY_BAD);
  db_.Write(source_, 8, 2);
  db_.Write(source_, 10, 2);
  db_.WorkAt(10);
  EXPECT_EQ(db_.Records(area), "10=12");
  EXPECT_EQ(db_.Records(records), "10=20");
}

TEST_F(StatisticsTag, WithoutAStartBeginsWithTheFirstRecord) {
  const TagId tag = Add([](StatisticsProperties& properties) { properties.sample_start_date = 0; });
  db_.WorkAt(100);
  EXPECT_EQ(db_.Records(tag), "");
  db_.Write(source_, 93, 1);
  db_.Work();
  db_.Write(source_, 90, 5);  // the start is fixed by now
  db_.WorkAt(103);
  EXPECT_EQ(db_.Records(tag), "103=1");
  db_.Close();
  db_.Open();
  db_.WorkAt(113);
  EXPECT_EQ(db_.Records(tag), "103=1 113=1!");
}

TEST_F(StatisticsTag, MovesItsWindow) {
  const TagId tag = Add([](StatisticsProperties& properties) {
    properties.sample_mode = ZR3_STATS_SAMPLE_MODE_TIME_MOVING;
    properties.calc_period = 5;
  });
  for (std::int64_t at_s = 0; at_s < 20; ++at_s) {
    db_.Write(source_, at_s, 1);
    db_.WorkAt(at_s + 1);
  }
  EXPECT_EQ(db_.Records(tag), "5=5 10=10 15=10 20=10");
}

TEST_F(StatisticsTag, OfAllTimeStartsAnewWhenItIsTold) {
  const TagId tag = Add([](StatisticsProperties& properties) {
    properties.sample_mode = ZR3_STATS_SAMPLE_MODE_FOREVER;
    properties.calc_period = 10;
    properties.reset = true;  // adding asks for nothing
  });
  for (std::int64_t at_s = 0; at_s < 20; ++at_s) db_.Write(source_, at_s, 1);
  db_.WorkAt(10);
  db_.WorkAt(20);
  EXPECT_EQ(db_.Records(tag), "10=10 20=20");
  db_.SetClock(23);
  StatisticsProperties properties = db_.Sums();
  properties.reset = true;
  ASSERT_EQ(db_.Save(tag, properties, Only(ZR3_TAG_COL_ST_EXT_PROP_RESET)), ZR3_OK);
  EXPECT_TRUE(std::get<StatisticsProperties>(db_.Read(tag).own).reset);
  db_.Close();
  db_.Open();
  db_.Write(source_, 25, 1);
  db_.WorkAt(33);
  EXPECT_EQ(db_.Records(tag), "10=10 20=20 33=1");
}

// ---- late records ----

TEST_F(StatisticsTag, ComputesAWindowAgainIntoWhichALateRecordComes) {
  const TagId tag = AddSums();
  db_.Write(source_, 5, 1);
  db_.Write(source_, 25, 1);
  db_.WorkAt(30);
  ASSERT_EQ(db_.Records(tag), "10=1 20=1! 30=1");
  db_.Write(source_, 7, 10);
  EXPECT_EQ(db_.Records(tag), "10=1 20=1! 30=1");
  db_.Work();
  EXPECT_EQ(db_.Records(tag), "10=11 20=1! 30=1");
}

TEST_F(StatisticsTag, ComputesAgainWhatARecordInOrderComesInto) {
  const TagId tag = AddSums();
  db_.Write(source_, 5, 1);
  db_.WorkAt(20);
  db_.Write(source_, 7, 10);
  db_.Work();
  EXPECT_EQ(db_.Records(tag), "10=11 20=1!");
}

TEST_F(StatisticsTag, ComputesLateRecordsAfterAReopening) {
  const TagId tag = AddSums();
  db_.Write(source_, 5, 1);
  db_.WorkAt(20);
  db_.Write(source_, 6, 10);
  db_.Write(source_, 7, 100);
  db_.Close();
  db_.Open();
  db_.Work();
  EXPECT_EQ(db_.Records(tag), "10=111 20=1!");
}

TEST_F(StatisticsTag, LeavesWhatWasComputedWhenARecordIsCorrected) {
  const TagId tag = AddSums();
  db_.Write(source_, 5, 1);
  db_.WorkAt(10);
  ASSERT_EQ(db_.Do(CorrectRecord{.id = source_, .sample = db_.At(5, 7)}).code(), ZR3_OK);
  db_.Work();
  EXPECT_EQ(db_.Records(tag), "10=1");
}

// ---- shut and opened ----

TEST_F(StatisticsTag, ComputesWhatClosedWhileTheDatabaseWasShut) {
  const TagId tag = AddSums();
  db_.Write(source_, 5, 1);
  db_.Write(source_, 15, 2);
  db_.Close();
  db_.SetClock(20);
  db_.Open();
  db_.Work();
  EXPECT_EQ(db_.Records(tag), "10=1 20=2");
}

TEST_F(StatisticsTag, ComputesTheNewestTenThousandOfThem) {
  const TagId tag = AddSums();
  db_.Write(source_, 5, 1);
  db_.WorkAt(10);
  db_.Close();
  db_.SetClock(200'015);
  db_.Open();
  db_.Work();
  const std::vector<Sample> records = db_.RecordsOf(tag);
  ASSERT_EQ(records.size(), 10'001u);
  EXPECT_EQ(records[1].time_ms, db_.kStart + 100'020'000);
  EXPECT_EQ(records.back().time_ms, db_.kStart + 200'010'000);
}

TEST_F(StatisticsTag, ComputesAllOfANewTagsPast) {
  db_.SetClock(200'015);
  const TagId tag = AddSums();
  db_.Work();
  EXPECT_EQ(db_.RecordsOf(tag).size(), 20'001u);
}

TEST_F(StatisticsTag, GoesOnWithANewTagsPastAfterAReopening) {
  db_.SetClock(200'015);
  const TagId tag = AddSums();
  db_.Close();
  db_.Open();
  db_.Work();
  EXPECT_EQ(db_.RecordsOf(tag).size(), 20'001u);
}

TEST_F(StatisticsTag, OfRunningWindowsComputesTheLatestAlone) {
  db_.SetClock(1'003);
  const TagId tag = Add([](StatisticsProperties& properties) {
    properties.sample_mode = ZR3_STATS_SAMPLE_MODE_FOREVER;
    properties.calc_period = 10;
  });
  db_.Write(source_, 5, 1);
  db_.Work();
  EXPECT_EQ(db_.Records(tag), "1000=1");
  db_.Close();
  db_.SetClock(2'003);
  db_.Open();
  db_.Work();
  EXPECT_EQ(db_.Records(tag), "1000=1 2000=1");
}

// ---- changes ----

TEST_F(StatisticsTag, KeepsWhatWasComputedWhenItChanges) {
  const TagId tag = AddSums();
  db_.Write(source_, 5, 1);
  db_.Write(source_, 15, 2);
  db_.Write(source_, 16, 4);
  db_.WorkAt(10);
  StatisticsProperties properties = db_.Sums();
  properties.stats_type = ZR3_STATS_TYPE_MAX;
  ASSERT_EQ(db_.Save(tag, properties, Only(ZR3_TAG_COL_ST_EXT_PROP_STATS_TYPE)), ZR3_OK);
  db_.WorkAt(20);
  EXPECT_EQ(db_.Records(tag), "10=1 20=4");
  db_.Write(source_, 6, 100);  // into a window of the properties before
  db_.Work();
  EXPECT_EQ(db_.Records(tag), "10=1 20=4");
}

TEST_F(StatisticsTag, FollowsItsSource) {
  const TagId tag = AddSums();
  ASSERT_EQ(db_.Rename(source_, "renamed"), ZR3_OK);
  EXPECT_EQ(db_.SourceOf(tag), "renamed");
  db_.Write(source_, 5, 1);
  db_.WorkAt(10);
  EXPECT_EQ(db_.Records(tag), "10=1");
  db_.Delete(source_);
  EXPECT_EQ(db_.SourceOf(tag), "");
  db_.WorkAt(30);
  EXPECT_EQ(db_.Records(tag), "10=1");
  db_.Close();
  db_.Open();
  db_.WorkAt(40);
  EXPECT_EQ(db_.Records(tag), "10=1");
}

TEST_F(StatisticsTag, MayBeDeleted) {
  const TagId tag = AddSums();
  db_.Write(source_, 5, 1);
  db_.WorkAt(10);
  db_.Write(source_, 6, 1);
  db_.Delete(tag);
  db_.WorkAt(30);
  db_.Close();
  db_.Open();
}

TEST_F(StatisticsTag, MayHaveStatisticsOfItsOwn) {
  const TagId tag = Add([](StatisticsProperties& p) { p.begin_timestamp = true; });
  StatisticsProperties properties = db_.Sums();
  properties.source_tag = "statistic";
  properties.sample_interval = 20;
  const TagId sums = db_.Add(db_.TagOf(properties, "sums"));
  db_.Write(source_, 5, 1);
  db_.Write(source_, 15, 2);
  db_.WorkAt(20);
  EXPECT_EQ(db_.Records(tag), "0=1 10=2");
  EXPECT_EQ(db_.Records(sums), "20=3");
}

// ---- what is refused ----

struct Refusal {
  const char* name;
  std::function<void(StatisticsProperties&)> change;
  ZR3_STATUS status;
};

class RefusedStatisticsTag : public testing::TestWithParam<Refusal> {};

TEST_P(RefusedStatisticsTag, IsRefused) {
  StatisticsDatabase db;
  db.AddPoint("source");
  db.AddPoint("text", TagType::kString);
  StatisticsProperties properties = db.Sums();
  GetParam().change(properties);
  EXPECT_EQ(db.CodeOfAdding(db.TagOf(properties)), GetParam().status);
}

using P = StatisticsProperties;
INSTANTIATE_TEST_SUITE_P(
    All, RefusedStatisticsTag,
    testing::Values(
        Refusal{"Nothing", [](P&) {}, ZR3_OK},
        Refusal{"NoSource", [](P& p) { p.source_tag = ""; }, ZR3_ERR_NAME_NOT_FOUND},
        Refusal{"UnknownSource", [](P& p) { p.source_tag = "x"; }, ZR3_ERR_NAME_NOT_FOUND},
        Refusal{"Itself", [](P& p) { p.source_tag = "STATISTIC"; }, ZR3_ERR_CALCULATION_LOOP},
        Refusal{"SumOfTexts", [](P& p) { p.source_tag = "text"; }, ZR3_ERR_INVALID_TAG_TYPE},
        Refusal{"CountOfTexts",
                [](P& p) {
                  p.source_tag = "text";
                  p.stats_type = ZR3_STATS_TYPE_COUNT;
                },
                ZR3_OK},
        Refusal{"Interval0", [](P& p) { p.sample_interval = 0; }, ZR3_ERR_INVALID_PROPERTY},
        Refusal{"Interval0OfAllTime",
                [](P& p) {
                  p.sample_interval = 0;
                  p.sample_mode = ZR3_STATS_SAMPLE_MODE_FOREVER;
                },
                ZR3_OK},
        Refusal{"Period0OfAllTime",
                [](P& p) {
                  p.calc_period = 0;
                  p.sample_mode = ZR3_STATS_SAMPLE_MODE_FOREVER;
                },
                ZR3_ERR_INVALID_PROPERTY},
        Refusal{"Period0OfMoving",
                [](P& p) {
                  p.calc_period = 0;
                  p.sample_mode = ZR3_STATS_SAMPLE_MODE_TIME_MOVING;
                },
                ZR3_ERR_INVALID_PROPERTY},
        Refusal{"Day0",
                [](P& p) {
                  p.sample_month_begin_day = 0;
                  p.sample_mode = ZR3_STATS_SAMPLE_MODE_EVERY_MONTH;
                },
                ZR3_ERR_INVALID_PROPERTY},
        Refusal{"Day32",
                [](P& p) {
                  p.sample_month_end_day = 32;
                  p.sample_mode = ZR3_STATS_SAMPLE_MODE_EVERY_MONTH;
                },
                ZR3_ERR_INVALID_PROPERTY},
        Refusal{"BeginBeyondTheDay",
                [](P& p) {
                  p.sample_begin_offset = 86'400;
                  p.sample_mode = ZR3_STATS_SAMPLE_MODE_EVERY_DAY;
                },
                ZR3_ERR_INVALID_PROPERTY},
        Refusal{"EndBeyondTheDay",
                [](P& p) {
                  p.sample_end_offset = 86'401;
                  p.sample_mode = ZR3_STATS_SAMPLE_MODE_EVERY_DAY;
                },
                ZR3_ERR_INVALID_PROPERTY},
        Refusal{"NegativeScanPeriod", [](P& p) { p.scan_period = -1; }, ZR3_ERR_INVALID_PROPERTY},
        Refusal{"UnknownMode", [](P& p) { p.sample_mode = 5; }, ZR3_ERR_INVALID_PROPERTY},
        Refusal{"ShareBeyond100", [](P& p) { p.pct_good = 100.5F; }, ZR3_ERR_INVALID_PROPERTY},
        Refusal{"NegativeShare", [](P& p) { p.pct_good = -1; }, ZR3_ERR_INVALID_PROPERTY},
        Refusal{"InfiniteFactor", [](P& p) { p.conversion = HUGE_VAL; }, ZR3_ERR_INVALID_PROPERTY},
        Refusal{"Filter", [](P& p) { p.filter_expr = "value >"; }, ZR3_ERR_INVALID_EXPRESSION},
        Refusal{"RangeUpsideDown",
                [](P& p) {
                  p.stats_type = ZR3_STATS_TYPE_COUNT_IN_RANGE;
                  p.count_param1 = 2;
                  p.count_param2 = 1;
                },
                ZR3_ERR_INVALID_PROPERTY},
        Refusal{"SamplesWithoutAPeriod",
                [](P& p) { p.sample_type = ZR3_STATS_SAMPLE_TYPE_PREV_INTERP; },
                ZR3_ERR_INVALID_PROPERTY}),
    [](const auto& c) { return std::string(c.param.name); });

TEST_F(StatisticsTag, HasNumbers) {
  EXPECT_EQ(db_.CodeOfAdding(db_.TagOf(db_.Sums(), "s", TagType::kString)),
            ZR3_ERR_INVALID_TAG_TYPE);
  EXPECT_EQ(db_.CodeOfAdding(db_.TagOf(db_.Sums(), "s", TagType::kBlob)), ZR3_ERR_INVALID_TAG_TYPE);
}

}  // namespace
}  // namespace zervane
