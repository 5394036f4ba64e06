#include "engine/alarms/alarm_records.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <memory>
#include <optional>
#include <random>
#include <string>
#include <utility>
#include <vector>

#include "engine/alarms/alarm_notes.h"
#include "engine/alarms/alarm_rows.h"
#include "engine/storage/tables.h"
#include "tests/engine/storage/any_store.h"
#include "tests/support/case_name.h"
#include "tests/support/seed.h"

namespace zervane {
namespace {

using storage::AllStores;
using testing::ElementsAre;
using testing::IsEmpty;

std::vector<AlarmKey> KeysOf(const std::vector<AlarmRecord>& records) {
  std::vector<AlarmKey> keys;
  for (const AlarmRecord& record : records) keys.push_back(record.key());
  return keys;
}

AlarmKey Key(TagId tag, std::int64_t start_ms) { return {.start_ms = start_ms, .tag = tag}; }

AlarmRecord RecordAt(TagId tag, std::int64_t start_ms) {
  AlarmRecord record;
  record.tag = tag;
  record.start_ms = start_ms;
  record.priority = ZR3_AM_REC_PRIORITY_SECOND;
  record.type = ZR3_AM_REC_TYPE_HIGH;
  record.source_value = "97.5";
  record.test = "HIGH > 95";
  return record;
}

class AlarmRecordsTest : public storage::AnyStore {
 protected:
  void Put(const std::vector<AlarmRecord>& records) {
    StoreBatch batch;
    for (const AlarmRecord& record : records) Table<AlarmRecord>::Put(record, batch);
    driver_->MustCommit(std::move(batch));
  }

  Result<AlarmPage> Page(const std::vector<TagId>& tags, const AlarmQuery& query, AlarmKey from,
                         std::size_t limit) {
    return FindAlarms(*store_, {.tags = tags, .query = query, .from = from, .limit = limit});
  }
  // All of them, page by page.
  std::vector<AlarmRecord> Find(const std::vector<TagId>& tags, const AlarmQuery& query = {},
                                std::size_t limit = 1'000) {
    std::vector<AlarmRecord> found;
    std::optional<AlarmKey> from = AlarmKey();
    while (from) {
      Result<AlarmPage> page = Page(tags, query, *from, limit);
      EXPECT_TRUE(page.ok()) << page.status().message();
      if (!page.ok()) break;
      EXPECT_LE(page->items.size(), limit);
      for (AlarmRecord& record : page->items) found.push_back(std::move(record));
      from = page->next;
    }
    return found;
  }
};

INSTANTIATE_TEST_SUITE_P(Store, AlarmRecordsTest,
                         testing::ValuesIn(AllStores().begin(), AllStores().end()), CaseName());

TEST_P(AlarmRecordsTest, TheRangeIsClosedAndAnEndOfZeroIsNone) {
  Put({RecordAt(1, 10), RecordAt(1, 20), RecordAt(1, 30), RecordAt(2, 20)});
  EXPECT_THAT(KeysOf(Find({1}, {.start_ms = 10, .end_ms = 20})),
              ElementsAre(Key(1, 10), Key(1, 20)));
  EXPECT_THAT(KeysOf(Find({1}, {.start_ms = 20})), ElementsAre(Key(1, 20), Key(1, 30)));
  EXPECT_THAT(Find({1}, {.start_ms = 31}), IsEmpty());
  EXPECT_THAT(Find({1}, {.start_ms = 11, .end_ms = 19}), IsEmpty());
}

TEST_P(AlarmRecordsTest, RecordsComeInOrderOfStartThenTagOnceForEachPage) {
  Put({RecordAt(3, 10), RecordAt(1, 20), RecordAt(2, 20), RecordAt(3, 20), RecordAt(1, 30)});
  for (const std::size_t limit : {1U, 2U, 3U, 100U}) {
    EXPECT_THAT(KeysOf(Find({1, 2, 3}, {}, limit)),
                ElementsAre(Key(3, 10), Key(1, 20), Key(2, 20), Key(3, 20), Key(1, 30)));
  }
  EXPECT_THAT(KeysOf(Find({1, 3}, {}, 1)),
              ElementsAre(Key(3, 10), Key(1, 20), Key(3, 20), Key(1, 30)));
}

TEST_P(AlarmRecordsTest, NoTagsHaveNoRecords) {
  Put({RecordAt(1, 10)});
  EXPECT_THAT(Find({}), IsEmpty());
  EXPECT_THAT(Find({2}), IsEmpty());
}

TEST_P(AlarmRecordsTest, AKeyBehindTheRangeHasNothing) {
  Put({RecordAt(1, 10)});
  std::vector<TagId> many;
  for (TagId tag = 1; tag <= 100; ++tag) many.push_back(tag);
  EXPECT_THAT(Page({1}, {.end_ms = 20}, Key(0, 21), 10)->items, IsEmpty());
  EXPECT_THAT(Page({1}, {.end_ms = 20}, Key(2, 20), 10)->items, IsEmpty());
  EXPECT_THAT(Page(many, {.end_ms = 20}, Key(0, 21), 10)->items, IsEmpty());
}

TEST_P(AlarmRecordsTest, APageEndsAtAboutOneMebibyte) {
  AlarmRecord large = RecordAt(1, 0);
  large.source_value = std::string(1'999, 'v');
  std::vector<AlarmRecord> records;
  for (std::int64_t start_ms = 1; start_ms <= 700; ++start_ms) {
    records.push_back(large);
    records.back().start_ms = start_ms;
  }
  Put(records);
  const Result<AlarmPage> page = Page({1}, {}, {}, 1'000);
  ASSERT_TRUE(page.ok());
  EXPECT_GT(page->items.size(), 400U);
  EXPECT_LT(page->items.size(), 600U);
  ASSERT_TRUE(page->next.has_value());
  EXPECT_EQ(page->next->start_ms, page->items.back().start_ms + 1);
  EXPECT_EQ(Find({1}).size(), 700U);
}

TEST_P(AlarmRecordsTest, TheLatestIsTheOneThatStartedLast) {
  Put({RecordAt(1, 30), RecordAt(1, 20), RecordAt(2, 40)});
  EXPECT_EQ((*LatestAlarm(*store_, 1))->start_ms, 30);
  EXPECT_EQ(*LatestAlarm(*store_, 3), std::nullopt);
}

// ---- against a plain filter ----

bool IsWanted(std::int64_t mask, std::initializer_list<int> enumerators, int value) {
  bool any = false;
  for (const int enumerator : enumerators) any = any || (mask >> enumerator & 1) != 0;
  return !any || (mask >> value & 1) != 0;
}

bool Passes(const AlarmQuery& query, const AlarmRecord& record) {
  return record.start_ms >= query.start_ms &&
         (query.end_ms == 0 || record.start_ms <= query.end_ms) &&
         IsWanted(query.acknowledged_mask, {0, 1}, record.is_acknowledged ? 1 : 0) &&
         IsWanted(query.restored_mask, {0, 1}, record.is_restored ? 1 : 0) &&
         IsWanted(query.type_mask, {1, 2, 3, 4, 5}, record.type) &&
         IsWanted(query.priority_mask, {1, 2, 3, 4}, record.priority);
}

TEST_P(AlarmRecordsTest, AnyQueryFindsWhatAPlainFilterFinds) {
  const Seed seed;
  std::mt19937 random(seed.value());
  const auto pick = [&](int from, int to) {
    return std::uniform_int_distribution(from, to)(random);
  };
  std::vector<AlarmRecord> all;
  for (TagId tag = 1; tag <= 60; ++tag) {
    for (std::int64_t start_ms = pick(1, 9); start_ms < 100; start_ms += pick(1, 30)) {
      AlarmRecord record = RecordAt(tag, start_ms);
      record.is_acknowledged = pick(0, 1) == 1;
      record.is_restored = pick(0, 1) == 1;
      record.type = pick(1, 5);
      record.priority = pick(1, 4);
      all.push_back(record);
    }
  }
  Put(all);
  std::ranges::sort(all, {}, &AlarmRecord::key);
  const auto mask = [&](int bits) -> std::int64_t {
    const int kind = pick(0, 4);
    return kind == 0 ? -1 : kind == 1 ? 0 : kind == 2 ? 1 << 20 : pick(0, (1 << bits) - 1);
  };
  for (int round = 0; round < 300; ++round) {
    AlarmQuery query = {.start_ms = pick(0, 60)};
    if (pick(0, 1) == 1) query.end_ms = query.start_ms + pick(0, 40);
    query.acknowledged_mask = mask(2);
    query.restored_mask = mask(2);
    query.type_mask = mask(6);
    query.priority_mask = mask(5);
    std::vector<TagId> tags;
    const int share = pick(1, 10);
    for (TagId tag = 1; tag <= 60; ++tag) {
      if (pick(1, 10) <= share) tags.push_back(tag);
    }
    std::vector<AlarmRecord> wanted;
    for (const AlarmRecord& record : all) {
      if (std::ranges::count(tags, record.tag) > 0 && Passes(query, record)) {
        wanted.push_back(record);
      }
    }
    ASSERT_EQ(Find(tags, query, static_cast<std::size_t>(pick(1, 40))), wanted);
  }
}

// ---- among many records of other tags ----

// A store in which tag 500 has many open records between two instants of the other tags.
class ManyAlarmRecordsTest : public testing::Test {
 protected:
  void Fill(std::int64_t count) {
    StoreBatch batch;
    for (const TagId tag : {1U, 2U}) {
      for (const std::int64_t start_ms : {std::int64_t{1}, count + 10}) {
        Table<AlarmRecord>::Put(RecordAt(tag, start_ms), batch);
      }
    }
    for (std::int64_t at = 0; at < count; ++at) {
      Table<AlarmRecord>::Put(RecordAt(500, 2 + at), batch);
    }
    storage::StoreDriver(*store_).MustCommit(std::move(batch));
  }
  Result<AlarmPage> Page(const std::vector<TagId>& tags, AlarmKey from) {
    return FindAlarms(*store_, {.tags = tags, .query = open_, .from = from, .limit = 10});
  }

  const std::unique_ptr<Store> store_ = OpenMemoryStore();
  const AlarmQuery open_ = {.acknowledged_mask = 1};
};

TEST_F(ManyAlarmRecordsTest, AFewTagsAreReadOneByOneWhenTheIndexIsLong) {
  Fill(25'000);
  const Result<AlarmPage> page = Page({1, 2}, {});
  ASSERT_TRUE(page.ok());
  EXPECT_THAT(KeysOf(page->items),
              ElementsAre(Key(1, 1), Key(2, 1), Key(1, 25'010), Key(2, 25'010)));
  EXPECT_EQ(page->next, std::nullopt);
}

TEST_F(ManyAlarmRecordsTest, APageEndsEarlyWhenItTookManyRowsAndTheNextGoesOn) {
  Fill(110'000);
  std::vector<TagId> many;
  for (TagId tag = 1; tag <= 100; ++tag) many.push_back(tag);
  const Result<AlarmPage> first = Page(many, {});
  ASSERT_TRUE(first.ok());
  EXPECT_THAT(KeysOf(first->items), ElementsAre(Key(1, 1), Key(2, 1)));
  ASSERT_TRUE(first->next.has_value());
  EXPECT_LT(first->next->start_ms, 110'000);
  const Result<AlarmPage> rest = Page(many, *first->next);
  EXPECT_THAT(KeysOf(rest->items), ElementsAre(Key(1, 110'010), Key(2, 110'010)));
  EXPECT_EQ(rest->next, std::nullopt);
}

// ---- notes ----

class AlarmNotesTest : public AlarmRecordsTest {
 protected:
  AlarmRecord Stored(const AlarmKey& key) { return **Table<AlarmRecord>(*store_).Read(key); }

  StoreBatch batch_;
};

INSTANTIATE_TEST_SUITE_P(Store, AlarmNotesTest,
                         testing::ValuesIn(AllStores().begin(), AllStores().end()), CaseName());

TEST_P(AlarmNotesTest, AcknowledgingSetsTimeAndUserOnce) {
  AlarmRecord record = RecordAt(1, 10);
  Put({record});
  AlarmNotes notes(*store_, batch_, 5'000, "operator");
  EXPECT_EQ(*notes.Acknowledge(Key(1, 10)), ZR3_OK);
  EXPECT_EQ(*notes.Acknowledge(Key(1, 10)), ZR3_ERR_ALREADY_ACKNOWLEDGED);
  EXPECT_EQ(*notes.Acknowledge(Key(1, 11)), ZR3_ERR_NO_ALARM);
  EXPECT_EQ(*notes.Acknowledge(Key(2, 10)), ZR3_ERR_NO_ALARM);
  EXPECT_EQ(batch_.rows.size(), 1U);
  driver_->MustCommit(std::move(batch_));
  record.is_acknowledged = true;
  record.acknowledged_ms = 5'000;
  record.acknowledged_by = "operator";
  EXPECT_EQ(Stored(Key(1, 10)), record);
  StoreBatch again;
  EXPECT_EQ(*AlarmNotes(*store_, again, 6'000, "other").Acknowledge(Key(1, 10)),
            ZR3_ERR_ALREADY_ACKNOWLEDGED);
  EXPECT_THAT(again.rows, IsEmpty());
}

TEST_P(AlarmNotesTest, ACommentReplacesTheOneBeforeAndMayBeEmpty) {
  AlarmRecord record = RecordAt(1, 10);
  record.comment = "old";
  Put({record});
  EXPECT_EQ(*AlarmNotes(*store_, batch_, 5'000, "operator").Comment(Key(1, 10), ""), ZR3_OK);
  driver_->MustCommit(std::move(batch_));
  record.comment = "";
  record.commented_ms = 5'000;
  record.commented_by = "operator";
  EXPECT_EQ(Stored(Key(1, 10)), record);
}

TEST_P(AlarmNotesTest, ACommentIsUtf8OfAtMost765BytesWithoutNul) {
  Put({RecordAt(1, 10)});
  AlarmNotes notes(*store_, batch_, 5'000, "operator");
  EXPECT_EQ(*notes.Comment(Key(1, 10), std::string(766, 'c')), ZR3_ERR_INVALID_TEXT);
  EXPECT_EQ(*notes.Comment(Key(1, 10), std::string("a\0b", 3)), ZR3_ERR_INVALID_TEXT);
  EXPECT_EQ(*notes.Comment(Key(1, 10), "\xFF"), ZR3_ERR_INVALID_TEXT);
  EXPECT_THAT(batch_.rows, IsEmpty());
  EXPECT_EQ(*notes.Comment(Key(1, 10), std::string(765, 'c')), ZR3_OK);
}

TEST_P(AlarmNotesTest, EveryNoteIsAPutOfTheRecordAsItThenStands) {
  Put({RecordAt(1, 10)});
  AlarmNotes notes(*store_, batch_, 5'000, "operator");
  EXPECT_EQ(*notes.Comment(Key(1, 10), "first"), ZR3_OK);
  EXPECT_EQ(*notes.Acknowledge(Key(1, 10)), ZR3_OK);
  EXPECT_EQ(*notes.Comment(Key(1, 10), "second"), ZR3_OK);
  ASSERT_EQ(batch_.rows.size(), 3U);
  const auto put = [&](std::size_t at) {
    std::vector<CellView> row;
    for (const Cell& cell : *batch_.rows[at].row) row.push_back(ViewOf(cell));
    return *RowFormat<AlarmRecord>::FromRow(row);
  };
  EXPECT_EQ(put(0).comment, "first");
  EXPECT_FALSE(put(0).is_acknowledged);
  EXPECT_EQ(put(1).comment, "first");
  EXPECT_TRUE(put(1).is_acknowledged);
  EXPECT_EQ(put(2).comment, "second");
  EXPECT_TRUE(put(2).is_acknowledged);
}

// ---- properties ----

TEST(AlarmMaskTest, BitsWithoutAPropertyAreNoMask) {
  EXPECT_TRUE(CheckAlarmMask(-1).ok());
  EXPECT_TRUE(CheckAlarmMask(0).ok());
  EXPECT_TRUE(CheckAlarmMask((1 << 15) - 1).ok());
  EXPECT_EQ(CheckAlarmMask(1 << 15).code(), ZR3_ERR_INVALID_MASK);
  EXPECT_EQ(CheckAlarmMask(-2).code(), ZR3_ERR_INVALID_MASK);
}

TEST(AlarmMaskTest, EachBitSelectsItsPropertyAndTagAndStartAlwaysCome) {
  AlarmRecord full = RecordAt(7, 70);
  full.end_ms = 71;
  full.acknowledged_ms = 72;
  full.commented_ms = 73;
  full.is_acknowledged = full.is_restored = true;
  full.acknowledgement = ZR3_AM_ACK_TYPE_AUTO;
  full.comment = "c";
  full.acknowledged_by = "a";
  full.commented_by = "b";
  AlarmRecord none;
  none.tag = 7;
  none.start_ms = 70;
  for (std::size_t bit = 0; bit < kAlarmProperties; ++bit) {
    SCOPED_TRACE(bit);
    AlarmRecord selected = full;
    KeepSelected(std::int64_t{1} << bit, selected);
    std::vector<std::size_t> set;
    const Row row = RowFormat<AlarmRecord>::RowOf(selected);
    const Row empty = RowFormat<AlarmRecord>::RowOf(none);
    for (std::size_t at = 0; at < row.size(); ++at) {
      if (row[at] != empty[at]) set.push_back(at);
    }
    EXPECT_EQ(set, bit < 2 ? std::vector<std::size_t>{} : std::vector<std::size_t>{bit});
  }
  AlarmRecord all = full;
  KeepSelected(-1, all);
  EXPECT_EQ(all, full);
}

}  // namespace
}  // namespace zervane
