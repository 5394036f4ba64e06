#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <optional>
#include <random>

#include "tests/engine/storage/support.h"
#include "tests/support/case_name.h"
#include "tests/support/seed.h"

// Random operations on a store and on a plain map, which must tell the same.
namespace zervane::storage {
namespace {

using ByTime = std::map<std::int64_t, Sample>;

struct ModelTag {
  Tag properties;
  std::optional<Sample> current;
  std::optional<Sample> held;
  ByTime archive;

  void Take(const AcceptedSample& record) {
    const std::int64_t time_ms = record.sample.time_ms;
    if (record.current) current = record.sample;
    if (record.archive) archive[time_ms] = record.sample;
    if (record.archive && held && held->time_ms <= time_ms) held.reset();
    if (record.held) held = record.sample;
  }
};

struct ModelCase {
  const char* name;
  bool on_disk;
  SqliteStoreOptions options;
};

class RandomOperations : public testing::TestWithParam<ModelCase> {
 protected:
  RandomOperations() {
    if (GetParam().on_disk) {
      store_ = MustOpen(Folder(), GetParam().options);
    } else {
      store_ = OpenMemoryStore();
    }
  }

  std::filesystem::path Folder() const { return temp_.path() / std::to_string(generation_); }

  std::int64_t Draw(std::int64_t from, std::int64_t to) {
    return std::uniform_int_distribution(from, to)(random_);
  }

  void AddTag() {
    ++last_id_;
    Tag properties = TagNamed(last_id_, "TAG" + std::to_string(last_id_));
    properties.type = static_cast<std::int32_t>(Draw(0, 7));
    properties.span = static_cast<float>(Draw(1, 1000)) / 8;
    ASSERT_TRUE(store_->PutTag(properties, ++version_).ok());
    tags_[last_id_].properties = properties;
  }

  void RemoveTag() {
    if (tags_.size() == 1) return;
    const TagId id = AnyTag();
    ASSERT_TRUE(store_->RemoveTag(id, ++version_).ok());
    tags_.erase(id);
  }

  TagId AnyTag() { return std::next(tags_.begin(), Draw(0, std::ssize(tags_) - 1))->first; }

  Value AnyValue(TagType type) {
    switch (type) {
      case TagType::kFloat32:
        return static_cast<float>(Draw(-1000, 1000)) / 4;
      case TagType::kFloat64:
        return static_cast<double>(Draw(-100'000, 100'000)) / 100;
      case TagType::kString:
      case TagType::kBlob:
        return std::string(static_cast<std::size_t>(Draw(0, 30)), static_cast<char>(Draw(1, 127)));
      default:
        return static_cast<std::int32_t>(Draw(-128, 127));
    }
  }

  // Times crowd, so that records often replace each other, and jump about.
  void Append() {
    std::vector<AcceptedSample> batch(static_cast<std::size_t>(Draw(1, 25)));
    for (AcceptedSample& record : batch) {
      record.tag = AnyTag();
      record.sample.type = static_cast<TagType>(tags_[record.tag].properties.type);
      record.sample.time_ms = Draw(0, 9) < 7 ? ++clock_ms_ : Draw(0, clock_ms_);
      record.sample.quality = static_cast<std::uint16_t>(Draw(0, 2) * 96);
      record.sample.value = AnyValue(record.sample.type);
      record.archive = Draw(0, 9) > 0;
      record.current = Draw(0, 3) > 0;
      record.held = Draw(0, 19) == 0;
    }
    ASSERT_TRUE(store_->Append(batch).ok());
    for (const AcceptedSample& record : batch) tags_[record.tag].Take(record);
  }

  void Reopen(bool crash) {
    if (!GetParam().on_disk) return;
    if (crash) {
      const std::filesystem::path before = Folder();
      ++generation_;
      CopyWhileOpen(before, Folder());
    }
    store_.reset();
    store_ = MustOpen(Folder(), GetParam().options);
  }

  void CompareRead() {
    const TagId id = AnyTag();
    const TimeRange range{Draw(-5, clock_ms_ + 5), Draw(-5, clock_ms_ + 5)};
    const auto limit = static_cast<std::size_t>(Draw(0, 60));
    const Direction direction = Draw(0, 1) == 0 ? Direction::kForward : Direction::kBackward;
    std::vector<Sample> expected;
    for (const auto& [time_ms, sample] : tags_[id].archive) {
      if (time_ms >= range.from_ms && time_ms <= range.to_ms) expected.push_back(sample);
    }
    EXPECT_EQ(*store_->Count(id, range), std::ssize(expected));
    if (direction == Direction::kBackward) std::ranges::reverse(expected);
    if (expected.size() > limit) expected.resize(limit);
    EXPECT_EQ(*store_->Read(id, range, direction, limit), expected);
  }

  void CompareAll() {
    std::vector<Tag> catalogue;
    std::vector<TagSample> current;
    for (const auto& [id, tag] : tags_) {
      catalogue.push_back(tag.properties);
      if (tag.current) current.push_back({id, *tag.current});
      std::vector<Sample> archive;
      for (const auto& [time_ms, sample] : tag.archive) archive.push_back(sample);
      EXPECT_EQ(ReadAll(*store_, id), archive);
      EXPECT_EQ(*store_->ReadHeld(id), tag.held);
    }
    const auto image = store_->LoadCatalogue();
    EXPECT_EQ(image->tags, catalogue);
    EXPECT_EQ(image->last_id, last_id_);
    EXPECT_EQ(image->version, version_);
    EXPECT_EQ(*store_->LoadCurrent(), current);
  }

  void Step() {
    const std::int64_t kind = Draw(0, 99);
    if (kind < 60) return Append();
    if (kind < 85) return CompareRead();
    if (kind < 90) return AddTag();
    if (kind < 92) return RemoveTag();
    if (kind < 96) return CompareAll();
    Reopen(kind < 98);
  }

  const Seed seed_;
  std::mt19937_64 random_{seed_.value()};
  TempFolder temp_;
  int generation_ = 0;
  std::unique_ptr<Store> store_;

  std::map<TagId, ModelTag> tags_;
  TagId last_id_ = 0;
  std::int64_t version_ = 0;
  std::int64_t clock_ms_ = 0;
};

INSTANTIATE_TEST_SUITE_P(Store, RandomOperations,
                         testing::Values(ModelCase{"Memory", false, {}},
                                         ModelCase{"Sqlite", true, {}},
                                         ModelCase{"SqliteWithTinyBounds", true, kTinyOptions},
                                         ModelCase{"SqliteWithACheckpointPerAppend",
                                                   true,
                                                   {.pending_bytes = 1, .chunk_records = 3}}),
                         CaseName());

TEST_P(RandomOperations, TellTheSameAsAMap) {
  for (int i = 0; i < 5; ++i) AddTag();
  for (int i = 0; i < 600 && !HasFailure(); ++i) Step();
  CompareAll();
  store_.reset();
  if (GetParam().on_disk) ExpectWholeFile(Folder());
}

}  // namespace
}  // namespace zervane::storage
