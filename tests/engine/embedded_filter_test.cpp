// Exception reporting and compression on the way of a record through an embedded database.

#include <gtest/gtest.h>

#include <cmath>
#include <map>
#include <random>
#include <string>
#include <vector>

#include "tests/engine/embedded_fixture.h"
#include "tests/engine/filters/points.h"
#include "tests/support/case_name.h"
#include "tests/support/database_client.h"
#include "tests/support/seed.h"

namespace zervane {
namespace {

constexpr WriteAnswer kDurable = WriteAnswer::kDurable;
constexpr WriteAnswer kQueued = WriteAnswer::kQueued;

Tag FilteredTag(float exc_dev, float comp_dev) {
  Tag tag;
  tag.name = "filtered";
  tag.exc_dev = exc_dev;
  tag.comp_type = ZR3_COMP_TYPE_SDT;
  tag.comp_dev = comp_dev;
  return tag;
}

PropertyMask MaskOf(int column) { return {std::int64_t{1} << column, 0}; }

class EmbeddedFilter : public EmbeddedTest {
 protected:
  TagId Add(const Tag& tag) {
    const Result<TagId> id = database_->AddTag(tag, {});
    EXPECT_TRUE(id.ok()) << id.status().message();
    return id.ok() ? *id : 0;
  }
  TagId AddReporting() { return Add(FilteredTag(1, 0)); }
  // What is written below leaves 9 at 2 s held by compression and 9.5 at 3 s held back.
  TagId AddHolding() {
    const TagId id = Add(FilteredTag(1, 1));
    WriteEach(id, {NumberAt(1000, 0), NumberAt(2000, 9), NumberAt(3000, 9.5)});
    EXPECT_EQ(Stored(id), std::vector{NumberAt(1000, 0)});
    EXPECT_EQ(disk_->held(id), NumberAt(2000, 9));
    EXPECT_EQ(disk_->current(id), NumberAt(3000, 9.5));
    return id;
  }
  static std::vector<Sample> AllOfHolding() {
    return {NumberAt(1000, 0), NumberAt(2000, 9), NumberAt(3000, 9.5)};
  }

  void WriteEach(TagId id, const std::vector<Sample>& samples) {
    for (const Sample& sample : samples) EXPECT_EQ(Write({{id, sample}}).status, ZR3_OK);
  }
  std::vector<Sample> Stored(TagId id) const {
    std::vector<Sample> samples;
    for (const auto& [time_ms, sample] : disk_->archive(id)) samples.push_back(sample);
    return samples;
  }
  Status Modify(TagId id, int column, const Tag& tag) {
    return database_->ModifyTag(id, ZR3_TAG_CLASS_BASIC, tag, MaskOf(column));
  }
};

const std::vector<Sample> kStep = {NumberAt(100'000, 10), NumberAt(101'000, 10.5),
                                   NumberAt(102'000, 9.5), NumberAt(103'000, 10.9),
                                   NumberAt(104'000, 20)};
const std::vector<Sample> kReportedStep = {NumberAt(100'000, 10), NumberAt(103'000, 10.9),
                                           NumberAt(104'000, 20)};

// ---- what becomes of records ----

TEST_F(EmbeddedFilter, ArchivesExceptionsWithTheLastValueHeldBack) {
  const TagId id = AddReporting();
  WriteEach(id, kStep);
  EXPECT_EQ(Stored(id), kReportedStep);
}

TEST_F(EmbeddedFilter, FiltersTheRecordsOfABatchAsIfEachCameAlone) {
  const TagId id = AddReporting();
  std::vector<TagSample> batch;
  for (const Sample& sample : kStep) batch.push_back({id, sample});
  EXPECT_EQ(Write(std::move(batch)).status, ZR3_OK);
  EXPECT_EQ(Stored(id), kReportedStep);
  EXPECT_EQ(disk_->current(id), kStep.back());
}

TEST_F(EmbeddedFilter, ShowsWhatIsHeldAsTheCurrentValue) {
  const TagId id = Add(FilteredTag(1, 1));
  for (const Sample& sample : AllOfHolding()) {
    WriteEach(id, {sample});
    EXPECT_EQ(*database_->ReadCurrent(id), sample);
    EXPECT_EQ(disk_->current(id), sample);
  }
  EXPECT_EQ(*database_->CountRecords(id, {}), 1);
}

TEST_F(EmbeddedFilter, GivesTheStoreNoMoreThanWhatABatchComesTo) {
  const TagId id = Add(FilteredTag(0, 1));
  std::vector<TagSample> ramp;
  for (int i = 0; i < 1000; ++i) ramp.push_back({id, NumberAt(1000 + i, i)});
  EXPECT_EQ(Write(std::move(ramp)).status, ZR3_OK);
  EXPECT_EQ(disk_->commit_sizes().back(), 2U) << "the first, and the last as held and current";
  EXPECT_EQ(StoredTimes(id), std::vector<std::int64_t>{1000});
  EXPECT_EQ(disk_->held(id), NumberAt(1999, 999));
  EXPECT_EQ(disk_->current(id), NumberAt(1999, 999));
}

TEST_F(EmbeddedFilter, HoldsWhatABatchHoldsBehindWhatItHoldsBack) {
  const TagId id = Add(FilteredTag(1, 1));
  EXPECT_EQ(
      Write({{id, NumberAt(1000, 0)}, {id, NumberAt(2000, 9)}, {id, NumberAt(3000, 9.5)}}).status,
      ZR3_OK);
  EXPECT_EQ(disk_->held(id), NumberAt(2000, 9));
  EXPECT_EQ(disk_->current(id), NumberAt(3000, 9.5));
}

TEST_F(EmbeddedFilter, LeavesOtherTagsOfABatchAlone) {
  const TagId plain = AddTag("plain");
  const TagId unarchived = AddTag("unarchived", TagType::kFloat64, false);
  const TagId id = AddReporting();
  EXPECT_EQ(Write({{plain, NumberAt(1)},
                   {id, NumberAt(1)},
                   {unarchived, NumberAt(1)},
                   {plain, NumberAt(2)},
                   {id, NumberAt(2)},
                   {unarchived, NumberAt(2)}})
                .status,
            ZR3_OK);
  EXPECT_EQ(StoredTimes(plain), (std::vector<std::int64_t>{1, 2}));
  EXPECT_EQ(StoredTimes(id), std::vector<std::int64_t>{1});
  EXPECT_TRUE(StoredTimes(unarchived).empty());
  for (const TagId tag : {plain, id, unarchived}) {
    EXPECT_EQ(*database_->ReadCurrent(tag), NumberAt(2));
  }
}

TEST_F(EmbeddedFilter, ArchivesEveryTextWhateverItsDeviations) {
  Tag tag = FilteredTag(1, 1);
  tag.type = ZR3_TAG_TYPE_STRING;
  const TagId id = Add(tag);
  WriteEach(id, {TextAt(1, "a"), TextAt(2, "a"), TextAt(3, "a")});
  EXPECT_EQ(StoredTimes(id), (std::vector<std::int64_t>{1, 2, 3}));
}

TEST_F(EmbeddedFilter, ArchivesALateRecordWithAllThatIsHeld) {
  const TagId id = AddHolding();
  EXPECT_EQ(Write({{id, NumberAt(2500, 70)}}, kDurable, WriteOrder::kAnyOrder).status, ZR3_OK);
  EXPECT_EQ(Stored(id), (std::vector{NumberAt(1000, 0), NumberAt(2000, 9), NumberAt(2500, 70),
                                     NumberAt(3000, 9.5)}));
  EXPECT_EQ(*database_->ReadCurrent(id), NumberAt(3000, 9.5));
  EXPECT_EQ(disk_->held(id), std::nullopt);
}

// ---- nothing held is lost ----

TEST_F(EmbeddedFilter, ArchivesAllThatWasHeldBeforeTheFirstRecordOfTheNextRun) {
  const TagId id = AddHolding();
  Reopen();
  EXPECT_EQ(*database_->ReadCurrent(id), NumberAt(3000, 9.5));
  EXPECT_EQ(*database_->CountRecords(id, {}), 1) << "opening reads no filters";
  WriteEach(id, {NumberAt(4000, 9.5)});
  EXPECT_EQ(Stored(id), AllOfHolding());
  WriteEach(id, {NumberAt(5000, 70)});
  EXPECT_EQ(StoredTimes(id), (std::vector<std::int64_t>{1000, 2000, 3000, 4000}));
}

TEST_F(EmbeddedFilter, ArchivesNothingAgainWhenNothingWasHeld) {
  const TagId id = AddReporting();
  WriteEach(id, {NumberAt(1000, 5)});
  Reopen();
  WriteEach(id, {NumberAt(2000, 5)});
  EXPECT_EQ(disk_->commit_sizes().back(), 1U);
  EXPECT_EQ(StoredTimes(id), std::vector<std::int64_t>{1000});
}

TEST_F(EmbeddedFilter, ArchivesWhatIsHeldEvenWhereTheCurrentValueIsLost) {
  const TagId id = AddHolding();
  database_.reset();
  disk_->LoseCurrent(id);
  Open();
  WriteEach(id, {NumberAt(4000, 1)});
  EXPECT_EQ(Stored(id), (std::vector{NumberAt(1000, 0), NumberAt(2000, 9), NumberAt(4000, 1)}));
}

TEST_F(EmbeddedFilter, ArchivesAllThatIsHeldBeforeATagLosesItsFilters) {
  const TagId id = AddHolding();
  EXPECT_TRUE(Modify(id, ZR3_TAG_COL_COMM_PROP_EXC_DEV, {}).ok());
  EXPECT_EQ(Stored(id), AllOfHolding());
  EXPECT_TRUE(Modify(id, ZR3_TAG_COL_COMM_PROP_COMP_TYPE, {}).ok());
  WriteEach(id, {NumberAt(4000, 9.5), NumberAt(5000, 9.5)});
  EXPECT_EQ(StoredTimes(id), (std::vector<std::int64_t>{1000, 2000, 3000, 4000, 5000}));
}

TEST_F(EmbeddedFilter, ArchivesAllThatIsHeldBeforeATagCeasesToArchive) {
  const TagId id = AddHolding();
  Reopen();
  Tag tag;
  tag.archiving = false;
  EXPECT_TRUE(Modify(id, ZR3_TAG_COL_COMM_PROP_ARCHIVING, tag).ok());
  WriteEach(id, {NumberAt(4000, 70)});
  EXPECT_EQ(Stored(id), AllOfHolding());
}

struct RefusedChange {
  const char* name;
  ZR3_STATUS code;
  std::int32_t tag_class = ZR3_TAG_CLASS_BASIC;
  std::int64_t common_mask = 0;
  std::int64_t extension_mask = 0;
};

class RefusedFilterChange : public EmbeddedFilter,
                            public testing::WithParamInterface<RefusedChange> {};

constexpr std::int64_t BitOf(int column) { return std::int64_t{1} << column; }

TEST_P(RefusedFilterChange, LeavesTheArchiveAndWhatIsHeldAsTheyWere) {
  AddTag("taken");
  const TagId id = AddHolding();
  const RefusedChange& change = GetParam();
  const TagId changed = change.code == ZR3_ERR_TAG_NOT_FOUND ? id + 1 : id;
  Tag given;
  given.name = "TAKEN";
  given.type = ZR3_TAG_TYPE_INT32;
  given.comp_dev = -1;
  EXPECT_EQ(
      database_
          ->ModifyTag(changed, change.tag_class, given, {change.common_mask, change.extension_mask})
          .code(),
      change.code);
  EXPECT_EQ(Stored(id), std::vector{NumberAt(1000, 0)});
  EXPECT_EQ(disk_->held(id), NumberAt(2000, 9));
  EXPECT_EQ(disk_->current(id), NumberAt(3000, 9.5));
  WriteEach(id, {NumberAt(4000, 9.75)});
  EXPECT_EQ(disk_->held(id), NumberAt(2000, 9)) << "the filters go on as if nobody had asked";
}

INSTANTIATE_TEST_SUITE_P(
    Embedded, RefusedFilterChange,
    testing::Values(RefusedChange{"UnknownProperty", ZR3_ERR_INVALID_MASK, ZR3_TAG_CLASS_BASIC, 0,
                                  1 << 9},
                    RefusedChange{"AnotherClass", ZR3_ERR_INVALID_TAG_CLASS, ZR3_TAG_CLASS_ALARM},
                    RefusedChange{"TakenName", ZR3_ERR_TAG_EXISTS, ZR3_TAG_CLASS_BASIC,
                                  BitOf(ZR3_TAG_COL_COMM_PROP_TAG_NAME)},
                    RefusedChange{"ValueOutOfRange", ZR3_ERR_INVALID_PROPERTY, ZR3_TAG_CLASS_BASIC,
                                  BitOf(ZR3_TAG_COL_COMM_PROP_COMP_DEV)},
                    RefusedChange{"TypeOfATagWithRecords", ZR3_ERR_TAG_HAS_RECORDS,
                                  ZR3_TAG_CLASS_BASIC, BitOf(ZR3_TAG_COL_COMM_PROP_TAG_TYPE)},
                    RefusedChange{"NoSuchTag", ZR3_ERR_TAG_NOT_FOUND}),
    CaseName());

TEST_F(EmbeddedFilter, KeepsTheTypeOfATagOfWhichOnlyAHeldRecordIsLeft) {
  const TagId id = AddHolding();
  disk_->LoseCurrent(id);
  disk_->LoseArchive(id);
  Reopen();
  Tag given;
  given.type = ZR3_TAG_TYPE_INT32;
  EXPECT_EQ(Modify(id, ZR3_TAG_COL_COMM_PROP_TAG_TYPE, given).code(), ZR3_ERR_TAG_HAS_RECORDS);
  EXPECT_EQ(disk_->held(id), NumberAt(2000, 9));
}

TEST_F(EmbeddedFilter, StartsFromACurrentValueThatTheArchiveHolds) {
  Tag tag = FilteredTag(1, 0);
  tag.archiving = false;
  const TagId id = Add(tag);
  WriteEach(id, {NumberAt(1000, 5)});
  tag.archiving = true;
  EXPECT_TRUE(Modify(id, ZR3_TAG_COL_COMM_PROP_ARCHIVING, tag).ok());
  WriteEach(id, {NumberAt(2000, 5.5)});
  EXPECT_EQ(Stored(id), std::vector{NumberAt(1000, 5)});
}

TEST_F(EmbeddedFilter, TakesNewDeviationsWithTheNextRecord) {
  const TagId id = AddReporting();
  WriteEach(id, {NumberAt(1000, 5), NumberAt(2000, 5.5)});
  Tag tag;
  tag.exc_dev = 100;
  EXPECT_TRUE(Modify(id, ZR3_TAG_COL_COMM_PROP_EXC_DEV, tag).ok());
  WriteEach(id, {NumberAt(3000, 90), NumberAt(4000, 190)});
  EXPECT_EQ(Stored(id), (std::vector{NumberAt(1000, 5), NumberAt(2000, 5.5), NumberAt(3000, 90),
                                     NumberAt(4000, 190)}));
}

TEST_F(EmbeddedFilter, ForgetsADeletedTagWithItsQueuedRecords) {
  const TagId id = AddHolding();
  disk_->Hold();
  EXPECT_EQ(WriteAt(id, 4000, kQueued), ZR3_OK);
  ASSERT_TRUE(disk_->AwaitHeld());
  EXPECT_EQ(WriteAt(id, 5000, kQueued), ZR3_OK);
  std::thread deleting([&] { EXPECT_TRUE(database_->DeleteTag(id).ok()); });
  disk_->Release();
  deleting.join();
  const TagId other = AddReporting();
  WriteEach(other, {NumberAt(1000, 5)});
  EXPECT_EQ(disk_->orphans(), 0);
  EXPECT_EQ(disk_->held(id), std::nullopt);
  EXPECT_EQ(Stored(other), std::vector{NumberAt(1000, 5)});
}

// ---- failures of the store ----

TEST_F(EmbeddedFilter, GoesOnFromWhatIsStoredWhenTheStoreRefuses) {
  const TagId id = AddHolding();
  disk_->FailCommits(1);
  EXPECT_EQ(WriteAt(id, 4000), ZR3_ERR_STORAGE_FAILED);
  disk_->ThrowOnCommit();
  EXPECT_EQ(WriteAt(id, 4000), ZR3_ERR_OUT_OF_MEMORY);
  EXPECT_EQ(Stored(id), std::vector{NumberAt(1000, 0)});
  WriteEach(id, {NumberAt(4000, 9.75)});
  EXPECT_EQ(disk_->held(id), NumberAt(2000, 9)) << "in the band as if nothing had been refused";
  WriteEach(id, {NumberAt(5000, 70)});
  EXPECT_EQ(Stored(id), (std::vector{NumberAt(1000, 0), NumberAt(2000, 9), NumberAt(4000, 9.75)}));
}

TEST_F(EmbeddedFilter, RecoversAgainWhenTheFirstRecordOfARunIsRefused) {
  const TagId id = AddHolding();
  Reopen();
  disk_->FailCommits(1);
  EXPECT_EQ(WriteAt(id, 4000), ZR3_ERR_STORAGE_FAILED);
  EXPECT_EQ(Stored(id), std::vector{NumberAt(1000, 0)});
  WriteEach(id, {NumberAt(4000, 9.5)});
  EXPECT_EQ(Stored(id), AllOfHolding());
}

TEST_F(EmbeddedFilter, FiltersTheOtherBatchesOfARefusedGroup) {
  const TagId bad = AddTag("bad");
  const TagId id = AddHolding();
  disk_->FailCommitsOfTag(bad);
  disk_->Hold();
  EXPECT_EQ(Write({{id, NumberAt(4000, 9.25)}}, kQueued).status, ZR3_OK);
  ASSERT_TRUE(disk_->AwaitHeld());
  EXPECT_EQ(Write({{id, NumberAt(5000, 70)}, {bad, NumberAt(1)}}, kQueued).status, ZR3_OK);
  EXPECT_EQ(Write({{id, NumberAt(6000, 9.75)}}, kQueued).status, ZR3_OK);
  disk_->Release();
  EXPECT_EQ(database_->Close().code(), ZR3_ERR_STORAGE_FAILED);
  EXPECT_EQ(Stored(id), std::vector{NumberAt(1000, 0)}) << "the value that left the band is lost";
  EXPECT_EQ(disk_->held(id), NumberAt(2000, 9));
  EXPECT_EQ(disk_->current(id), NumberAt(6000, 9.75));
}

TEST_F(EmbeddedFilter, ChangesNoTagWhoseHeldRecordsTheStoreRefuses) {
  const TagId id = AddHolding();
  disk_->FailCommits(1);
  Tag tag;
  tag.exc_dev = 100;
  EXPECT_EQ(Modify(id, ZR3_TAG_COL_COMM_PROP_EXC_DEV, tag).code(), ZR3_ERR_STORAGE_FAILED);
  EXPECT_EQ(database_->GetTag(id)->exc_dev, 1);
  EXPECT_TRUE(Modify(id, ZR3_TAG_COL_COMM_PROP_EXC_DEV, tag).ok());
  EXPECT_EQ(Stored(id), AllOfHolding());
}

TEST_F(EmbeddedFilter, LosesNothingWhenAChangeOfTheTagIsRefused) {
  const TagId id = AddHolding();
  disk_->FailCatalogue(true);
  EXPECT_EQ(Modify(id, ZR3_TAG_COL_COMM_PROP_EXC_DEV, {}).code(), ZR3_ERR_STORAGE_FULL);
  EXPECT_EQ(Stored(id), std::vector{NumberAt(1000, 0)});
  EXPECT_EQ(disk_->held(id), NumberAt(2000, 9)) << "nothing was let go for it";
  WriteEach(id, {NumberAt(4000, 9.75), NumberAt(5000, 10.25)});
  EXPECT_EQ(Stored(id), (std::vector{NumberAt(1000, 0), NumberAt(2000, 9)}))
      << "the old filters go on";
}

TEST_F(EmbeddedFilter, AnswersThatAHeldRecordOfAnotherTypeIsDamage) {
  const TagId id = AddReporting();
  database_.reset();
  disk_->Put({id, TextAt(1000, "not a number"), kHeld});
  Open();
  EXPECT_EQ(WriteAt(id, 2000), ZR3_ERR_STORAGE_DAMAGED);
}

// ---- on a store in memory ----

class FilteredMemory : public testing::Test {
 protected:
  FilteredMemory() { Open(); }

  void Open() {
    database_.reset();
    auto opened = OpenEmbeddedWith(disk_->Open(disk_), [] { return std::int64_t{1}; });
    ASSERT_TRUE(opened.ok()) << opened.status().message();
    database_ = *std::move(opened);
  }
  ZR3_STATUS Write(TagId id, const std::vector<Sample>& samples) {
    std::vector<TagSample> batch;
    for (const Sample& sample : samples) batch.push_back({id, sample});
    Codes codes(batch.size());
    return database_->Write(std::move(batch), WriteOrder::kInOrder, kDurable, codes).code();
  }
  Status ChangeDescriptor(TagId id) {
    return database_->ModifyTag(id, ZR3_TAG_CLASS_BASIC, {},
                                MaskOf(ZR3_TAG_COL_COMM_PROP_DESCRIPTOR));
  }

  std::shared_ptr<TestDisk> disk_ = std::make_shared<TestDisk>();
  DatabaseClient database_;
};

TEST_F(FilteredMemory, AnswersTheStatusOfAFailedRecovery) {
  const TagId id = *database_->AddTag(FilteredTag(1, 1), {});
  ASSERT_EQ(Write(id, {NumberAt(1000, 0), NumberAt(2000, 9), NumberAt(3000, 9.5)}), ZR3_OK);
  Open();
  disk_->Fail(TestDisk::Call::kScan, ZR3_ERR_STORAGE_FAILED);
  EXPECT_EQ(Write(id, {NumberAt(4000, 9.5)}), ZR3_ERR_STORAGE_FAILED);
  disk_->Fail(TestDisk::Call::kReadHeld, ZR3_ERR_STORAGE_FAILED);
  EXPECT_EQ(Write(id, {NumberAt(4000, 9.5)}), ZR3_ERR_STORAGE_FAILED);
  disk_->Fail(TestDisk::Call::kReadHeld, ZR3_ERR_STORAGE_FAILED);
  EXPECT_EQ(ChangeDescriptor(id).code(), ZR3_ERR_STORAGE_FAILED);
  EXPECT_EQ(*database_->CountRecords(id, {}), 1);
  EXPECT_EQ(Write(id, {NumberAt(4000, 9.5)}), ZR3_OK);
  EXPECT_EQ(*database_->ReadRecords(id, {}, Direction::kForward, 9),
            (std::vector{NumberAt(1000, 0), NumberAt(2000, 9), NumberAt(3000, 9.5)}));
}

// The archive's value for a time: that of the record then, or of the line across; NaN if none.
double RebuiltAt(const std::map<std::int64_t, double>& archive, std::int64_t time_ms) {
  const auto next = archive.lower_bound(time_ms);
  if (next == archive.end()) return NAN;
  if (next->first == time_ms) return next->second;
  if (next == archive.begin()) return NAN;
  const auto& [from_ms, from] = *std::prev(next);
  return LineAt({from_ms, from}, {next->first, next->second}, time_ms);
}

class FilteredStream : public FilteredMemory {
 protected:
  // Writes batches of a random walk, and in between opens the database again, changes the tag and
  // has the store refuse. After such a start anew no record takes the place of the one from which
  // the filter started: that it ended a line is no longer known then.
  void Run(TagId id, std::mt19937_64& random) {
    const auto below = [&](int end) { return std::uniform_int_distribution(0, end - 1)(random); };
    Sample sample = NumberAt(1000, 0);
    for (int i = 0; i < 400; ++i) {
      std::vector<Sample> batch(static_cast<std::size_t>(1 + below(5)));
      for (Sample& record : batch) {
        sample.value = sample.value.float64() + std::uniform_real_distribution(-0.7, 0.7)(random);
        sample.time_ms += std::int64_t{below(4)} * 500;
        record = sample;
      }
      if (below(10) == 0) disk_->FailCommits(1);
      if (Write(id, batch) == ZR3_OK) {
        for (const Sample& record : batch) {
          written_[record.time_ms] = record.value.float64();
        }
      }
      if (below(15) == 0) {
        StartAnew(id, below(3) == 0);
        sample.time_ms += 500;
      }
    }
  }
  void StartAnew(TagId id, bool by_change) {
    if (!by_change) return Open();
    EXPECT_TRUE(ChangeDescriptor(id).ok());
  }
  std::map<std::int64_t, double> Archive(TagId id) {
    std::map<std::int64_t, double> archive;
    for (const Sample& sample :
         *database_->ReadRecords(id, {}, Direction::kForward, written_.size())) {
      archive[sample.time_ms] = sample.value.float64();
    }
    return archive;
  }

  std::map<std::int64_t, double> written_;  // what was answered as stored
};

TEST_F(FilteredStream, IsRebuiltWithinTheDeviationWhateverHappensInBetween) {
  constexpr double kRounding = 1e-12;  // of values below 1,000
  const Seed seed;
  std::mt19937_64 random(seed.value());
  for (int stream = 0; stream < 20; ++stream) {
    SCOPED_TRACE(testing::Message() << "stream " << stream);
    Tag tag = FilteredTag(0, 1);
    tag.name += std::to_string(stream);
    const TagId id = *database_->AddTag(tag, {});
    written_.clear();
    Run(id, random);
    const auto [last_ms, last] = *written_.rbegin();
    EXPECT_EQ(*database_->ReadCurrent(id), NumberAt(last_ms, last));
    ASSERT_TRUE(ChangeDescriptor(id).ok());  // archives all that is held

    const std::map<std::int64_t, double> archive = Archive(id);
    EXPECT_LT(archive.size(), written_.size() * 2 / 3);
    for (const auto& [time_ms, value] : written_) {
      ASSERT_LE(std::abs(RebuiltAt(archive, time_ms) - value), 1 + kRounding) << "at " << time_ms;
    }
  }
}

}  // namespace
}  // namespace zervane
