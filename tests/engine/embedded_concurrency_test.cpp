#include <gtest/gtest.h>

#include <atomic>
#include <map>
#include <memory>
#include <random>
#include <string>
#include <thread>
#include <vector>

#include "tests/engine/embedded_fixture.h"
#include "tests/support/seed.h"

namespace zervane {
namespace {

constexpr int kWriters = 4;
constexpr int kReaders = 2;
constexpr int kTagsPerWriter = 5;
constexpr int kBatches = 200;

// A value that tells its time, so that a reader sees a torn or foreign one.
double ValueAt(TagId tag, std::int64_t time_ms) { return static_cast<double>(time_ms) * 100 + tag; }

// What one writer's tags must hold in the end.
using Model = std::map<TagId, std::map<std::int64_t, double>>;

class EmbeddedConcurrency : public EmbeddedTest {
 protected:
  // Writes random batches to tags of its own and notes what was accepted.
  void WriteRandomly(unsigned seed, const std::vector<TagId>& tags, Model& model) {
    std::mt19937 random(seed);
    std::map<TagId, std::int64_t> newest;
    for (int i = 0; i < kBatches; ++i) {
      const bool in_order = random() % 3 != 0;
      std::vector<TagSample> batch;
      for (auto n = random() % 20; n > 0; --n) {
        const TagId tag = tags[random() % tags.size()];
        std::int64_t time_ms = newest[tag] + 1 + static_cast<std::int64_t>(random() % 5);
        if (!in_order && random() % 2 == 0) time_ms = 1 + static_cast<std::int64_t>(random() % 500);
        newest[tag] = std::max(newest[tag], time_ms);
        batch.push_back({tag, NumberAt(time_ms, ValueAt(tag, time_ms))});
        model[tag][time_ms] = ValueAt(tag, time_ms);
      }
      const auto answer = random() % 2 == 0 ? WriteAnswer::kDurable : WriteAnswer::kQueued;
      const auto order = in_order ? WriteOrder::kInOrder : WriteOrder::kAnyOrder;
      EXPECT_EQ(Write(std::move(batch), answer, order).status, ZR3_OK);
    }
  }

  // Current values never go back and always belong to their tag and time.
  void ReadUntil(const std::atomic<bool>& is_over, TagId last_tag) {
    std::map<TagId, std::int64_t> seen;
    while (!is_over) {
      for (TagId tag = 1; tag <= last_tag; ++tag) {
        const Result<Sample> current = database_->ReadCurrent(tag);
        if (!current.ok()) continue;
        EXPECT_GE(current->time_ms, seen[tag]);
        EXPECT_EQ(current->value.float64(), ValueAt(tag, current->time_ms));
        seen[tag] = current->time_ms;
        TagType type;
        EXPECT_EQ(database_->GetTagType(tag, &type), ZR3_OK);
        EXPECT_TRUE(database_->CountRecords(tag, {}).ok());
      }
    }
  }

  // Tags come, receive records, change and go.
  void ChangeCatalogueUntil(const std::atomic<bool>& is_over) {
    for (int i = 0; !is_over; ++i) {
      const TagId id = AddTag("temporary" + std::to_string(i));
      EXPECT_EQ(WriteAt(id, 10, WriteAnswer::kQueued), ZR3_OK);
      Tag renamed;
      renamed.name = "renamed" + std::to_string(i);
      EXPECT_TRUE(database_->ModifyTag(id, ZR3_TAG_CLASS_BASIC, renamed, {1, 0}).ok());
      EXPECT_EQ(*database_->FindTag(renamed.name), id);
      EXPECT_EQ(WriteAt(id, 11, WriteAnswer::kQueued), ZR3_OK);
      EXPECT_TRUE(database_->DeleteTag(id).ok());
    }
  }
};

TEST_F(EmbeddedConcurrency, KeepsWhatManyWritersWroteWhileReadersReadAndTagsComeAndGo) {
  const Seed seed;
  std::vector<std::vector<TagId>> tags(kWriters);
  for (int i = 0; i < kWriters * kTagsPerWriter; ++i) {
    tags[i % kWriters].push_back(AddTag("tag" + std::to_string(i)));
  }
  std::vector<Model> models(kWriters);
  std::atomic<bool> is_over{false};
  std::vector<std::thread> others;
  for (int i = 0; i < kReaders; ++i) {
    others.emplace_back([&] { ReadUntil(is_over, kWriters * kTagsPerWriter); });
  }
  others.emplace_back([&] { ChangeCatalogueUntil(is_over); });
  std::vector<std::thread> writers;
  for (unsigned i = 0; i < kWriters; ++i) {
    writers.emplace_back([&, i] { WriteRandomly(seed.value() + i, tags[i], models[i]); });
  }
  for (std::thread& writer : writers) writer.join();
  is_over = true;
  for (std::thread& other : others) other.join();
  EXPECT_TRUE(database_->Close().ok());

  EXPECT_EQ(disk_->orphans(), 0);
  EXPECT_EQ(disk_->tags().size(), std::size_t{kWriters} * kTagsPerWriter);
  for (const Model& model : models) {
    for (const auto& [tag, expected] : model) {
      std::map<std::int64_t, double> stored;
      for (const auto& [time_ms, sample] : disk_->archive(tag)) {
        stored[time_ms] = sample.value.float64();
      }
      EXPECT_EQ(stored, expected) << tag;
      EXPECT_EQ(disk_->current(tag)->time_ms, expected.rbegin()->first) << tag;
    }
  }
}

// Writers race for one tag: whatever was accepted is stored, and time never goes back.
TEST_F(EmbeddedConcurrency, AcceptsOneOrderWhenWritersRaceForATag) {
  const TagId tag = AddTag("shared");
  std::atomic<std::int64_t> next_ms{1};
  std::atomic<int> accepted{0};
  std::vector<std::thread> writers;
  for (int i = 0; i < kWriters; ++i) {
    writers.emplace_back([&, i] {
      for (int n = 0; n < 500; ++n) {
        const auto answer = (n + i) % 5 == 0 ? WriteAnswer::kDurable : WriteAnswer::kQueued;
        const ZR3_STATUS code = WriteAt(tag, next_ms++, answer);
        EXPECT_TRUE(code == ZR3_OK || code == ZR3_ERR_OUT_OF_ORDER) << code;
        if (code == ZR3_OK) ++accepted;
      }
    });
  }
  for (std::thread& writer : writers) writer.join();
  EXPECT_TRUE(database_->Close().ok());
  EXPECT_EQ(StoredTimes(tag).size(), static_cast<std::size_t>(accepted.load()));
  EXPECT_EQ(disk_->current(tag)->time_ms, StoredTimes(tag).back());
}

TEST_F(EmbeddedConcurrency, ChangesATypeOnlyBetweenRecords) {
  constexpr int kTags = 200;
  for (int i = 0; i < kTags; ++i) AddTag("tag" + std::to_string(i));
  std::thread retyping([&] {
    Tag text;
    text.type = ZR3_TAG_TYPE_STRING;
    const PropertyMask type = {std::int64_t{1} << ZR3_TAG_COL_COMM_PROP_TAG_TYPE, 0};
    for (TagId tag = 1; tag <= kTags; ++tag) {
      const Status status = database_->ModifyTag(tag, ZR3_TAG_CLASS_BASIC, text, type);
      EXPECT_TRUE(status.ok() || status.code() == ZR3_ERR_TAG_HAS_RECORDS) << status.code();
    }
  });
  for (TagId tag = 1; tag <= kTags; ++tag) {
    const ZR3_STATUS code = WriteAt(tag, 10, WriteAnswer::kQueued);
    EXPECT_TRUE(code == ZR3_OK || code == ZR3_ERR_TYPE_MISMATCH) << code;
  }
  retyping.join();
  EXPECT_TRUE(database_->Close().ok());
  for (const Tag& tag : disk_->tags()) {
    const std::optional<Sample> current = disk_->current(tag.id);
    const bool is_text = tag.type == ZR3_TAG_TYPE_STRING;
    EXPECT_EQ(is_text, !current.has_value()) << tag.id;
  }
}

}  // namespace
}  // namespace zervane
