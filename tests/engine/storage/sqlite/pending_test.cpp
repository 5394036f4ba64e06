#include "engine/storage/sqlite/pending.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <malloc.h>

#include <map>
#include <optional>
#include <random>
#include <string>
#include <vector>

#include "engine/guard.h"
#include "tests/engine/short_memory.h"
#include "tests/engine/storage/columns.h"
#include "tests/support/seed.h"

namespace zervane::storage {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

void AddTags(Pending& pending, TagId count) {
  for (TagId tag = 1; tag <= count; ++tag) {
    pending.ReserveTag(tag);
    pending.AddTag(tag);
  }
}

void Adopt(Pending& pending, RecordBatch batch) {
  pending.Reserve();
  pending.Adopt(batch);
}

void Adopt(Pending& pending, const std::vector<MarkedSample>& records) {
  Adopt(pending, BatchOf(records));
}

std::vector<std::int64_t> Times(Pending& pending, TagId tag) {
  return TimesIn(pending.Copy(tag, {}, Direction::kForward, SIZE_MAX));
}

TEST(Pending, SortsBatchesToTheirTags) {
  Pending pending;
  AddTags(pending, 2);
  Adopt(pending, {Record(1, 10, 0), Record(2, 11, 0), Record(1, 20, 0)});
  Adopt(pending, {Record(2, 5, 0), Record(9, 1, 0)});
  EXPECT_THAT(Times(pending, 1), ElementsAre(10, 20));
  EXPECT_THAT(Times(pending, 2), ElementsAre(5, 11));
  EXPECT_THAT(Times(pending, 9), IsEmpty()) << "a tag that is not there";
}

TEST(Pending, LeavesMemoryThatServedBefore) {
  Pending pending;
  AddTags(pending, 1);
  RecordBatch batch = BatchOf({Record(1, 10, 0)});
  const void* const memory = batch.tags.data();
  pending.Reserve();
  pending.Adopt(batch);
  EXPECT_TRUE(batch.empty());
  pending.Sort();
  pending.Reserve();
  batch = BatchOf({Record(1, 20, 0)});
  pending.Adopt(batch);
  EXPECT_EQ(batch.tags.data(), memory);
  EXPECT_TRUE(batch.empty() && batch.samples.empty() && batch.marks.empty());
}

// A few batches of long texts would else keep their memory for good.
TEST(Pending, GivesTheMemoryOfManyTextsBack) {
  Pending pending;
  AddTags(pending, 1);
  RecordBatch batch;
  for (std::int64_t i = 0; i < 1'100; ++i) {
    MarkedSample record = Record(1, 10 + i, 0);
    record.sample.type = TagType::kBlob;
    record.sample.value = std::string(1'000, 'x');
    AddTo(batch, record);
  }
  pending.Reserve();
  pending.Adopt(batch);
  pending.Sort();
  batch = BatchOf({Record(1, 5, 0)});
  pending.Reserve();
  pending.Adopt(batch);
  EXPECT_EQ(batch.samples.capacity(), 0U);
}

TEST(Pending, TellsHowManyAreNotSorted) {
  Pending pending;
  AddTags(pending, 1);
  RecordBatch batch = BatchOf({Record(1, 10, 0), Record(1, 20, 0)});
  pending.Reserve();
  EXPECT_EQ(pending.Adopt(batch), 2U);
  batch = BatchOf({Record(1, 30, 0)});
  pending.Reserve();
  EXPECT_EQ(pending.Adopt(batch), 3U);
  pending.Sort();
  batch = BatchOf({Record(1, 40, 0)});
  pending.Reserve();
  EXPECT_EQ(pending.Adopt(batch), 1U);
}

TEST(Pending, HasTheActiveRecordWhereBothGenerationsHaveOne) {
  Pending pending;
  AddTags(pending, 1);
  Adopt(pending, {Record(1, 10, 1), Record(1, 20, 1)});
  EXPECT_EQ(pending.Freeze(), 1U);
  Adopt(pending, {Record(1, 20, 2), Record(1, 30, 2)});
  const SampleColumns copied = pending.Copy(1, {}, Direction::kForward, 9);
  EXPECT_EQ(SamplesIn(copied), (std::vector{Record(1, 10, 1).sample, Record(1, 20, 2).sample,
                                            Record(1, 30, 2).sample}));
  EXPECT_THAT(TimesIn(pending.Copy(1, {}, Direction::kBackward, 2)), ElementsAre(20, 30));
  EXPECT_THAT(TimesIn(pending.Copy(1, {}, Direction::kForward, 2)), ElementsAre(10, 20));
  pending.DropFrozen();
  EXPECT_THAT(Times(pending, 1), ElementsAre(20, 30));
}

TEST(Pending, HasTheCurrentValuesOfARangeOfTags) {
  Pending pending;
  AddTags(pending, 300);
  std::vector<MarkedSample> records;
  for (TagId tag = 1; tag <= 300; ++tag) {
    records.push_back(Record(tag, 10, 1));
    records.push_back(Record(tag, 20, 2, kArchive));
  }
  Adopt(pending, records);
  pending.Freeze();
  Adopt(pending, {Record(7, 30, 3, kCurrent)});
  for (const auto& [first, last] : {std::pair(5U, 9U), std::pair(0U, 4'294'967'295U)}) {
    const SampleBatch values = pending.CurrentValues(first, last);
    const TagId least = std::max(1U, first);
    ASSERT_EQ(values.size(), std::min(300U, last) - least + 1);
    for (std::size_t i = 0; i < values.size(); ++i) {
      const TagId tag = least + static_cast<TagId>(i);
      EXPECT_EQ(values.tags[i], tag);
      EXPECT_EQ(values.samples.At(i), Record(tag, tag == 7 ? 30 : 10, tag == 7 ? 3 : 1).sample);
    }
  }
  EXPECT_TRUE(pending.CurrentValues(9, 5).empty());
  EXPECT_TRUE(pending.CurrentValues(301, 400).empty());
}

TEST(Pending, ForgetsWhatATagHadWhenItIsEmptied) {
  Pending pending;
  AddTags(pending, 2);
  Adopt(pending, {Record(1, 10, 1), Record(1, 11, 1, kHeld), Record(2, 10, 1)});
  pending.Freeze();
  Adopt(pending, {Record(1, 20, 1)});
  pending.Sort();
  EXPECT_TRUE(pending.IsToBeWritten(1));
  pending.EmptyTag(1);
  EXPECT_FALSE(pending.IsToBeWritten(1));
  EXPECT_TRUE(pending.IsToBeWritten(2));
  EXPECT_TRUE(pending.frozen().contains(1)) << "whoever writes it may still look at it";
  EXPECT_THAT(Times(pending, 1), IsEmpty());
  EXPECT_TRUE(pending.CurrentValues(1, 1).empty());
  EXPECT_FALSE(pending.Held(1).has_value());
  Adopt(pending, {Record(1, 5, 1)});
  EXPECT_THAT(Times(pending, 1), ElementsAre(5)) << "it is still there";
  pending.Sort();
  pending.RemoveTag(1);
  Adopt(pending, {Record(1, 6, 1)});
  EXPECT_THAT(Times(pending, 1), IsEmpty());
}

// ---- what is held back ----

constexpr std::int64_t kNothingHeld = -2;
constexpr std::int64_t kUnchanged = -3;

// What is held back of tag 1, as its time.
std::int64_t HeldMs(Pending& pending) {
  const std::optional<HeldChange> held = pending.Held(1);
  if (!held) return kUnchanged;
  return held->sample ? held->sample->time_ms : kNothingHeld;
}

TEST(PendingHeld, EndsWithARecordOfItsTimeOrNewer) {
  Pending pending;
  AddTags(pending, 1);
  EXPECT_EQ(HeldMs(pending), kUnchanged);
  Adopt(pending, {Record(1, 10, 0, kHeld), Record(1, 9, 0, kArchive)});
  EXPECT_EQ(HeldMs(pending), 10);
  Adopt(pending, {Record(1, 10, 0, kArchive)});
  EXPECT_EQ(HeldMs(pending), kNothingHeld);
  Adopt(pending, {Record(1, 20, 0, kHeld), Record(1, 30, 0, kArchive), Record(1, 25, 0, kHeld)});
  EXPECT_EQ(HeldMs(pending), 25);
  pending.Freeze();
  EXPECT_EQ(HeldMs(pending), 25);
  Adopt(pending, {Record(1, 40, 0, kCurrent)});
  EXPECT_EQ(HeldMs(pending), 25) << "which no current value ends";
  Adopt(pending, {Record(1, 40, 0, kArchive)});
  EXPECT_EQ(HeldMs(pending), kNothingHeld);
}

TEST(PendingHeld, EndsThoughItStandsInTheFileAlone) {
  Pending pending;
  AddTags(pending, 1);
  pending.NoteHeld(1, 10);
  Adopt(pending, {Record(1, 9, 0, kArchive)});
  EXPECT_EQ(HeldMs(pending), kUnchanged);
  Adopt(pending, {Record(1, 11, 0, kArchive)});
  EXPECT_EQ(HeldMs(pending), kNothingHeld);
}

// ---- against a model ----

struct ModelTag {
  std::map<std::int64_t, Sample> archive;
  std::optional<Sample> current;
  std::optional<Sample> held;
};

TEST(Pending, TellsTheSameAsAMap) {
  const Seed seed;
  std::mt19937 random(seed.value());
  constexpr TagId kTags = 20;
  Pending pending;
  AddTags(pending, kTags);
  std::map<TagId, ModelTag> model;
  std::int64_t clock_ms = 0;
  for (int step = 0; step < 300; ++step) {
    std::vector<MarkedSample> records(random() % 50);
    for (MarkedSample& record : records) {
      const std::int64_t time_ms =
          random() % 4 > 0 ? ++clock_ms : static_cast<std::int64_t>(random() % 1000);
      record = Record(static_cast<TagId>(1 + random() % kTags), time_ms, step,
                      static_cast<std::uint8_t>(random() % 8));
      if (random() % 5 == 0) {
        record.sample.type = TagType::kString;
        record.sample.value = std::to_string(random());
      }
      ModelTag& tag = model[record.tag];
      if ((record.marks & kCurrent) != 0) tag.current = record.sample;
      if ((record.marks & kArchive) != 0) {
        tag.archive[time_ms] = record.sample;
        if (tag.held && tag.held->time_ms <= time_ms) tag.held.reset();
      }
      if ((record.marks & kHeld) != 0) tag.held = record.sample;
    }
    Adopt(pending, records);
    if (step == 150) pending.Freeze();
    if (step % 10 != 0) continue;
    for (TagId id = 1; id <= kTags; ++id) {
      std::vector<Sample> archive;
      for (const auto& [time_ms, sample] : model[id].archive) archive.push_back(sample);
      EXPECT_EQ(SamplesIn(pending.Copy(id, {}, Direction::kForward, SIZE_MAX)), archive);
      const SampleBatch current = pending.CurrentValues(id, id);
      ASSERT_EQ(current.size(), model[id].current ? 1U : 0U);
      if (model[id].current) {
        EXPECT_EQ(current.samples.At(0), *model[id].current);
      }
      const auto held = pending.Held(id);
      EXPECT_EQ(held ? held->sample : std::nullopt, model[id].held);
    }
  }
}

// ---- memory ----

// Under sanitizers the C library's accounts are not kept.
#if !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__)

TEST(Pending, KeepsNothingOfTriesToSortThatFailed) {
  constexpr TagId kTags = 50;
  RecordBatch batch;
  for (std::int64_t i = 0; i < 1000; ++i) {
    AddTo(batch, Record(1, 1'000'000 - i, 0));  // each late but the first
    AddTo(batch, Record(static_cast<TagId>(2 + i % (kTags - 1)), i, 0));
  }
  Pending pending;
  AddTags(pending, kTags);
  Adopt(pending, batch);
  constexpr std::size_t kMuch = 2 << 20;
  const std::size_t before = mallinfo2().uordblks;
  int failed = 0;
  for (bool is_done = false; !is_done && failed < 2000; failed += is_done ? 0 : 1) {
    {
      const ShortMemory memory(3, ShortMemory::Lack::kOne);
      is_done = Guarded([&] {
                  pending.Sort();
                  return Status();
                }).ok();
    }
    ASSERT_LT(mallinfo2().uordblks, before + kMuch) << "after try " << failed;
  }
  EXPECT_GT(failed, 20) << "or hardly anything was tested";
  EXPECT_EQ(Times(pending, 1).size(), 1000U);
}

#endif

// Whichever request fails, a batch is sorted whole or not at all, and its records count once.
TEST(Pending, SortsABatchWholeWhicheverRequestForMemoryFails) {
  for (std::uint64_t nth = 1; nth < 200; ++nth) {
    Pending pending;
    AddTags(pending, 3);
    Adopt(pending, {Record(1, 10, 1), Record(2, 10, 1, kHeld)});
    pending.Sort();
    std::vector<MarkedSample> records = {Record(1, 5, 2), Record(1, 20, 2), Record(2, 10, 2),
                                         Record(3, 7, 2, kArchive | kHeld)};
    records[1].sample.type = TagType::kString;
    records[1].sample.value = std::string(100, 'x');
    Adopt(pending, records);
    bool is_sorted = false;
    {
      const ShortMemory memory(nth, ShortMemory::Lack::kOne);
      is_sorted = Guarded([&] {
                    pending.Sort();
                    return Status();
                  }).ok();
    }
    EXPECT_THAT(Times(pending, 1), ElementsAre(5, 10, 20));
    EXPECT_THAT(Times(pending, 2), ElementsAre(10));
    EXPECT_THAT(Times(pending, 3), ElementsAre(7));
    EXPECT_EQ(pending.Held(2)->sample, std::nullopt);
    EXPECT_EQ(pending.Held(3)->sample->time_ms, 7);
    if (is_sorted) {
      EXPECT_GT(nth, 10U) << "or hardly anything was tested";
      return;
    }
  }
  FAIL() << "it never came to an end";
}

}  // namespace
}  // namespace zervane::storage
