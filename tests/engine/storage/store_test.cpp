#include "engine/storage/store.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <limits>
#include <memory>

#include "tests/engine/storage/support.h"
#include "tests/support/case_name.h"

// What every store must do, run on each of them.
namespace zervane::storage {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

struct StoreKind {
  const char* name;
  std::unique_ptr<Store> (*open)(const std::filesystem::path& folder);
};

const StoreKind kStores[] = {
    {"Memory", [](const std::filesystem::path&) { return OpenMemoryStore(); }},
    {"Sqlite", [](const std::filesystem::path& folder) { return MustOpen(folder, {}); }},
    {"SqliteWithTinyBounds", [](const std::filesystem::path& folder) { return MustOpen(folder); }},
};

class AnyStore : public testing::TestWithParam<StoreKind> {
 protected:
  AnyStore() : store_(GetParam().open(folder_.path())) {
    EXPECT_TRUE(store_->PutTag(TagNamed(1, "ONE"), 1).ok());
    EXPECT_TRUE(store_->PutTag(TagNamed(2, "TWO"), 2).ok());
  }

  void Append(std::vector<AcceptedSample> records) {
    const Status status = store_->Append(records);
    EXPECT_TRUE(status.ok()) << status.message();
  }

  // Records of tag 1 at 10, 20 ... 10 * count, each of its time as value, a few at a time.
  void AppendTens(int count) {
    std::vector<AcceptedSample> batch;
    for (int i = 1; i <= count; ++i) {
      batch.push_back(Record(1, 10 * i, 10.0 * i));
      if (batch.size() < 5 && i < count) continue;
      Append(batch);
      batch.clear();
    }
  }

  std::vector<std::int64_t> Times(TimeRange range, Direction direction, std::size_t limit) {
    const auto records = store_->Read(1, range, direction, limit);
    EXPECT_TRUE(records.ok()) << records.status().message();
    std::vector<std::int64_t> times;
    for (const Sample& sample : *records) times.push_back(sample.time_ms);
    return times;
  }

  std::int64_t CountOf(TimeRange range, TagId tag = 1) {
    const auto count = store_->Count(tag, range);
    EXPECT_TRUE(count.ok()) << count.status().message();
    return *count;
  }

  TempFolder folder_;
  std::unique_ptr<Store> store_;
};

INSTANTIATE_TEST_SUITE_P(Store, AnyStore, testing::ValuesIn(kStores), CaseName());

// ---- catalogue ----

TEST_P(AnyStore, KeepsTagsInOrderOfIdentifier) {
  EXPECT_TRUE(store_->PutTag(TagNamed(9, "NINE"), 3).ok());
  EXPECT_TRUE(store_->PutTag(TagNamed(5, "FIVE"), 4).ok());
  const auto image = store_->LoadCatalogue();
  ASSERT_TRUE(image.ok()) << image.status().message();
  EXPECT_THAT(image->tags, ElementsAre(TagNamed(1, "ONE"), TagNamed(2, "TWO"), TagNamed(5, "FIVE"),
                                       TagNamed(9, "NINE")));
  EXPECT_EQ(image->last_id, 9U);
  EXPECT_EQ(image->version, 4);
}

TEST_P(AnyStore, ReplacesATagAndKeepsItsRecords) {
  AppendTens(3);
  EXPECT_TRUE(store_->PutTag(TagNamed(1, "RENAMED"), 7).ok());
  const auto image = store_->LoadCatalogue();
  EXPECT_EQ(image->tags.front(), TagNamed(1, "RENAMED"));
  EXPECT_EQ(image->version, 7);
  EXPECT_EQ(CountOf({}), 3);
}

TEST_P(AnyStore, RemembersTheHighestIdentifierOfRemovedTags) {
  EXPECT_TRUE(store_->PutTag(TagNamed(50, "FIFTY"), 3).ok());
  EXPECT_TRUE(store_->RemoveTag(50, 4).ok());
  const auto image = store_->LoadCatalogue();
  EXPECT_EQ(image->tags.size(), 2U);
  EXPECT_EQ(image->last_id, 50U);
  EXPECT_EQ(image->version, 4);
}

TEST_P(AnyStore, RemovesATagWithItsCurrentValueAndArchive) {
  AppendTens(100);
  Append({Record(2, 10, 1)});
  EXPECT_TRUE(store_->RemoveTag(1, 3).ok());
  EXPECT_THAT(Times({}, Direction::kForward, 10), IsEmpty());
  EXPECT_EQ(CountOf({}), 0);
  const auto values = store_->LoadCurrent();
  ASSERT_EQ(values->size(), 1U);
  EXPECT_EQ(values->front().tag, 2U);
}

TEST_P(AnyStore, TakesTheRemovalOfATagThatIsNotThere) {
  EXPECT_TRUE(store_->RemoveTag(77, 8).ok());
  EXPECT_EQ(store_->LoadCatalogue()->version, 8);
}

TEST_P(AnyStore, LeavesOutRecordsOfTagsThatAreNotThere) {
  Append({Record(77, 10, 1), Record(1, 10, 1)});
  EXPECT_EQ(CountOf({}, 77), 0);
  EXPECT_EQ(CountOf({}, 1), 1);
  EXPECT_EQ(store_->LoadCurrent()->size(), 1U);
}

// ---- current values ----

TEST_P(AnyStore, KeepsTheLastCurrentValueOfEveryTag) {
  EXPECT_THAT(*store_->LoadCurrent(), IsEmpty());
  Append({Record(1, 10, 1), Record(2, 10, 2), Record(1, 20, 3)});
  Append({Record(2, 5, 4)});
  EXPECT_THAT(*store_->LoadCurrent(), ElementsAre(TagSample{1, Record(1, 20, 3).sample},
                                                  TagSample{2, Record(2, 5, 4).sample}));
}

TEST_P(AnyStore, KeepsArchiveAndCurrentValueApart) {
  AcceptedSample archived = Record(1, 10, 1);
  archived.current = false;
  AcceptedSample current = Record(1, 20, 2);
  current.archive = false;
  Append({archived, current});
  EXPECT_THAT(Times({}, Direction::kForward, 10), ElementsAre(10));
  EXPECT_THAT(*store_->LoadCurrent(), ElementsAre(TagSample{1, current.sample}));
}

// ---- archive ----

TEST_P(AnyStore, ReadsUpToTheLimitFromEitherEnd) {
  AppendTens(100);
  EXPECT_THAT(Times({}, Direction::kForward, 3), ElementsAre(10, 20, 30));
  EXPECT_THAT(Times({}, Direction::kBackward, 3), ElementsAre(1000, 990, 980));
  EXPECT_EQ(Times({}, Direction::kForward, SIZE_MAX).size(), 100U);
  EXPECT_EQ(Times({}, Direction::kBackward, SIZE_MAX).size(), 100U);
  EXPECT_THAT(Times({}, Direction::kForward, 0), IsEmpty());
}

TEST_P(AnyStore, CountsBothEndsOfARange) {
  AppendTens(100);
  EXPECT_THAT(Times({20, 40}, Direction::kForward, 10), ElementsAre(20, 30, 40));
  EXPECT_THAT(Times({21, 39}, Direction::kBackward, 10), ElementsAre(30));
  EXPECT_EQ(CountOf({20, 40}), 3);
  EXPECT_EQ(CountOf({21, 39}), 1);
  EXPECT_EQ(CountOf({31, 39}), 0);
  EXPECT_EQ(CountOf({15, 985}), 97);
  EXPECT_EQ(CountOf({}), 100);
}

TEST_P(AnyStore, HasNothingInARangeThatEndsBeforeItStarts) {
  AppendTens(100);
  EXPECT_THAT(Times({40, 20}, Direction::kForward, 10), IsEmpty());
  EXPECT_EQ(CountOf({40, 20}), 0);
}

TEST_P(AnyStore, TakesRangesBeyondAllTimes) {
  AppendTens(3);
  constexpr TimeRange kAll{std::numeric_limits<std::int64_t>::min(),
                           std::numeric_limits<std::int64_t>::max()};
  EXPECT_THAT(Times(kAll, Direction::kForward, 10), ElementsAre(10, 20, 30));
  EXPECT_EQ(CountOf(kAll), 3);
}

TEST_P(AnyStore, ReplacesARecordOfEqualTime) {
  AppendTens(100);
  Append({Record(1, 500, -1), Record(1, 500, -2)});
  Append({Record(1, 1000, -3)});
  EXPECT_EQ(CountOf({}), 100);
  EXPECT_EQ(store_->Read(1, {500, 500}, Direction::kForward, 1)->front().value, Value(-2.0));
  EXPECT_EQ(store_->Read(1, {}, Direction::kBackward, 1)->front().value, Value(-3.0));
}

TEST_P(AnyStore, PutsLateRecordsInTheirPlace) {
  AppendTens(100);
  for (int time = 995; time > 0; time -= 10) Append({Record(1, time, time)});
  EXPECT_EQ(CountOf({}), 200);
  std::vector<std::int64_t> expected;
  for (int time = 5; time <= 1000; time += 5) expected.push_back(time);
  EXPECT_EQ(Times({}, Direction::kForward, SIZE_MAX), expected);
  std::ranges::reverse(expected);
  EXPECT_EQ(Times({}, Direction::kBackward, SIZE_MAX), expected);
}

TEST_P(AnyStore, KeepsTheFirstAndTheLastTimeThereIs) {
  Append({Record(1, kMaxTimeMs, 1), Record(1, 0, 2)});
  EXPECT_THAT(Times({}, Direction::kForward, 10), ElementsAre(0, kMaxTimeMs));
}

TEST_P(AnyStore, TakesAnAppendOfNothing) {
  Append({});
  EXPECT_EQ(CountOf({}), 0);
}

// ---- what cannot be stored ----

TEST_P(AnyStore, RefusesABatchWholeForOneRecordThatCannotBeStored) {
  AcceptedSample wrong_type = Record(1, 10, 0);
  wrong_type.sample.value = 7;
  AcceptedSample too_long = Record(1, 10, 0);
  too_long.sample.type = TagType::kBlob;
  too_long.sample.value = std::string(kMaxBlobBytes + 1, 'x');
  AcceptedSample no_type = Record(1, 10, 0);
  no_type.sample.type = static_cast<TagType>(99);
  for (const AcceptedSample& bad : {Record(0, 10, 0), Record(1, -1, 0),
                                    Record(1, kMaxTimeMs + 1, 0), wrong_type, too_long, no_type}) {
    std::vector<AcceptedSample> batch = {Record(1, 5, 1), bad};
    EXPECT_EQ(store_->Append(batch).code(), ZR3_ERR_INVALID_ARGUMENT);
    EXPECT_EQ(store_->AppendTaking(batch).code(), ZR3_ERR_INVALID_ARGUMENT);
    EXPECT_EQ(batch.size(), 2U);
  }
  EXPECT_EQ(CountOf({}), 0);
  EXPECT_THAT(*store_->LoadCurrent(), IsEmpty());
}

}  // namespace
}  // namespace zervane::storage
