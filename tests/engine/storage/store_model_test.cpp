#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <map>
#include <optional>
#include <random>
#include <string>
#include <string_view>

#include "engine/storage/table.h"
#include "tests/engine/storage/support.h"
#include "tests/support/case_name.h"
#include "tests/support/seed.h"

// Random operations on a store and on a plain map, which must tell the same.
namespace zervane::storage {
namespace {

using ByTime = std::map<std::int64_t, Sample>;
using RowKey = std::array<std::int64_t, 3>;  // task, tag and time

struct ModelTag {
  Tag properties;
  std::optional<Sample> current;
  std::optional<Sample> held;
  ByTime archive;

  void Keep(const MarkedSample& record) {
    const std::int64_t time_ms = record.sample.time_ms;
    const bool archives = (record.marks & kArchive) != 0;
    if ((record.marks & kCurrent) != 0) current = record.sample;
    if (archives) archive[time_ms] = record.sample;
    if (archives && held && held->time_ms <= time_ms) held.reset();
    if ((record.marks & kHeld) != 0) held = record.sample;
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
    driver_ = std::make_unique<StoreDriver>(*store_);
  }

  std::filesystem::path Folder() const { return temp_.path() / std::to_string(generation_); }

  std::int64_t Draw(std::int64_t from, std::int64_t to) {
    return std::uniform_int_distribution(from, to)(random_);
  }

  void AddTag() {
    ++last_id_;
    StoreBatch batch;
    Tag properties = TagNamed(last_id_, "TAG" + std::to_string(last_id_));
    properties.type = static_cast<std::int32_t>(Draw(0, 7));
    properties.span = static_cast<float>(Draw(1, 1000)) / 8;
    Table<Tag>::Put(properties, batch);
    Table<Setting>::Put({.name = "last_id", .value = std::int64_t{last_id_}}, batch);
    Table<Setting>::Put({.name = "version", .value = ++version_}, batch);
    tags_[last_id_].properties = properties;
    if (Draw(0, 1) == 0) AddRecords(last_id_, 3, &batch);
    driver_->MustCommit(std::move(batch));
  }

  void RemoveTag() {
    if (tags_.size() == 1) return;
    const TagId id = AnyTag();
    StoreBatch batch;
    batch.emptied = {id};
    Table<Tag>::Remove(id, batch);
    Table<Setting>::Put({.name = "version", .value = ++version_}, batch);
    driver_->MustCommit(std::move(batch));
    tags_.erase(id);
  }

  // Its tag stays, and may have records of the same batch.
  void Empty() {
    const TagId id = AnyTag();
    StoreBatch batch;
    batch.emptied = {id};
    ModelTag& tag = tags_[id];
    tag = {.properties = tag.properties, .current = {}, .held = {}, .archive = {}};
    if (Draw(0, 1) == 0) AddRecords(id, 3, &batch);
    driver_->MustCommit(std::move(batch));
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

  // Records of the tag; 0: of any. Times crowd, so that records often replace each other, and jump
  // about.
  void AddRecords(TagId tag, std::int64_t most, StoreBatch* batch) {
    for (std::int64_t left = Draw(1, most); left > 0; --left) {
      MarkedSample record{.tag = tag == 0 ? AnyTag() : tag, .sample = {}, .marks = 0};
      record.sample.type = static_cast<TagType>(tags_[record.tag].properties.type);
      record.sample.time_ms = Draw(0, 9) < 7 ? ++clock_ms_ : Draw(0, clock_ms_);
      record.sample.quality = static_cast<std::uint16_t>(Draw(0, 2) * 96);
      record.sample.value = AnyValue(record.sample.type);
      const bool archives = Draw(0, 9) > 0;
      const bool is_current = Draw(0, 3) > 0;
      const bool is_held = Draw(0, 19) == 0;
      record.marks = static_cast<std::uint8_t>((archives ? kArchive : 0) |
                                               (is_current ? kCurrent : 0) | (is_held ? kHeld : 0));
      AddTo(batch->records, record);
      tags_[record.tag].Keep(record);
    }
  }

  // Rows of few keys, so that they often replace each other, put and removed, one by one and by
  // the first cells of their keys.
  void ChangeRows() {
    StoreBatch batch;
    for (std::int64_t left = Draw(1, 8); left > 0; --left) {
      RowKey key{Draw(0, 2), Draw(-2, 2), Draw(0, 4)};
      Row cells = {Cell(std::to_string(key[0])), Cell(key[1]), Cell(key[2])};
      const std::int64_t kind = Draw(0, 9);
      if (kind < 7) {
        rows_[key] = Draw(0, 999);
        Row row = cells;
        row.push_back(rows_[key]);
        batch.rows.push_back({.table = TableId::kProgress, .key = cells, .row = row});
      } else {
        const auto same = static_cast<std::size_t>(10 - kind);
        std::erase_if(rows_, [&](const auto& row) {
          return std::equal(key.begin(), key.begin() + same, row.first.begin());
        });
        cells.resize(same);
        batch.rows.push_back({.table = TableId::kProgress, .key = cells});
      }
    }
    if (Draw(0, 1) == 0) AddRecords(0, 5, &batch);
    driver_->MustCommit(std::move(batch));
  }

  void CompareRows() {
    for (const std::size_t index : {0, 1}) {
      std::map<RowKey, std::int64_t> found;
      const auto add = [&](RowView row) {
        const std::int64_t task = std::stoll(std::string(std::get<std::string_view>(row[0])));
        found[{task, std::get<std::int64_t>(row[1]), std::get<std::int64_t>(row[2])}] =
            std::get<std::int64_t>(row[3]);
        return true;
      };
      EXPECT_TRUE(store_->Rows({.table = TableId::kProgress, .index = index}, SIZE_MAX, add).ok());
      EXPECT_EQ(found, rows_) << index;
    }
  }

  void Append() {
    StoreBatch batch;
    AddRecords(0, 25, &batch);
    driver_->MustCommit(std::move(batch));
  }

  void Refuse() {
    StoreBatch batch;
    batch.emptied = {AnyTag()};
    AddTo(batch.records, Record(AnyTag(), ++clock_ms_, 1));
    AddTo(batch.records, Record(AnyTag(), -1, 1));
    Table<Setting>::Put({.name = "version", .value = std::int64_t{-1}}, batch);
    EXPECT_EQ(driver_->Commit(batch).fate, CommitAnswer::Fate::kRefused);
  }

  void Reopen(bool crash) {
    if (!GetParam().on_disk) return;
    if (crash) {
      const std::filesystem::path before = Folder();
      ++generation_;
      CopyWhileOpen(before, Folder());
    }
    const Status closed = store_->Close();
    EXPECT_TRUE(closed.ok()) << closed.message();
    const std::int64_t last_commit = driver_->last_commit();
    store_ = MustOpen(Folder(), GetParam().options);
    driver_ = std::make_unique<StoreDriver>(*store_);
    EXPECT_EQ(driver_->last_commit(), last_commit);
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
    EXPECT_EQ(CountRange(*store_, id, range), std::ssize(expected));
    if (direction == Direction::kBackward) std::ranges::reverse(expected);
    if (expected.size() > limit) expected.resize(limit);
    EXPECT_EQ(ReadRange(*store_, id, range, direction, limit), expected);
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
    EXPECT_EQ(Tags(*store_), catalogue);
    EXPECT_EQ(SettingOf(*store_, "last_id"), Cell(std::int64_t{last_id_}));
    EXPECT_EQ(SettingOf(*store_, "version"), Cell(version_));
    EXPECT_EQ(CurrentValues(*store_), current);
    CompareRows();
  }

  void Step() {
    const std::int64_t kind = Draw(0, 99);
    if (kind < 50) return Append();
    if (kind < 60) return ChangeRows();
    if (kind < 85) return CompareRead();
    if (kind < 90) return AddTag();
    if (kind < 92) return RemoveTag();
    if (kind < 93) return Empty();
    if (kind < 94) return Refuse();
    if (kind < 96) return CompareAll();
    Reopen(kind < 98);
  }

  const Seed seed_;
  std::mt19937_64 random_{seed_.value()};
  TempFolder temp_;
  int generation_ = 0;
  std::unique_ptr<Store> store_;
  std::unique_ptr<StoreDriver> driver_;

  std::map<TagId, ModelTag> tags_;
  std::map<RowKey, std::int64_t> rows_;
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
