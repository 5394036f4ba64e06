#include <gtest/gtest.h>

#include <cstdint>
#include <new>
#include <optional>
#include <string>
#include <utility>
#include <variant>
#include <vector>

#include "engine/catalogue/catalogue.h"
#include "engine/catalogue/tag_links.h"
#include "engine/catalogue/tag_rows.h"
#include "engine/storage/table.h"
#include "engine/storage/tables.h"
#include "tests/engine/catalogue/fixture.h"
#include "tests/engine/catalogue/reading_class.h"
#include "tests/engine/short_memory.h"
#include "tests/support/case_name.h"

namespace zervane {
namespace {

constexpr std::int64_t Own(std::int32_t column) {
  return std::int64_t{1} << (column - ZR3_TAG_COL_AM_EXT_PROP_MIN);
}
constexpr std::int64_t kSource = Own(ZR3_TAG_COL_AM_EXT_PROP_SOURCE_TAG);
constexpr std::int64_t kAction = Own(ZR3_TAG_COL_AM_EXT_PROP_ACTION1);
constexpr std::int64_t kType = std::int64_t{1} << ZR3_TAG_COL_COMM_PROP_TAG_TYPE;

Tag AlarmOn(const std::string& name, const std::string& source, const std::string& target = "") {
  Tag tag = Named(name);
  tag.tag_class = ZR3_TAG_CLASS_ALARM;
  AlarmProperties alarm;
  alarm.test1 = "HIGH > 5";
  alarm.action1 = target;
  alarm.source_tag = source;
  alarm.time_dead_band = 7;
  alarm.value_dead_band = 0.5F;
  tag.own = alarm;
  return tag;
}

// Tags 1 "source" and 2 "target", and what alarm tags are linked to.
class LinkedTags : public CatalogueFixture {
 protected:
  LinkedTags() {
    alarm_class_ = &class_;
    EXPECT_TRUE(Reload().ok());
    Add("source");
    Add("target");
  }

  Status ModifyAlarm(TagId id, const Tag& given, std::int64_t extension) {
    return Modify(id, ZR3_TAG_CLASS_ALARM, given, {0, extension});
  }
  AlarmProperties AlarmOf(TagId id) const {
    return std::get<AlarmProperties>(catalogue_->Find(id)->own);
  }
  bool IsRead(TagId id) const { return catalogue_->tags().Find(id)->is_read; }

  ReadingClass class_;
};

// ---- keeping ----

TEST_F(LinkedTags, KeepsAnAlarmTagWithAllItsProperties) {
  const TagId id = Add(AlarmOn("alarm", "source", "target"));
  Tag expected = AlarmOn("alarm", "source", "target");
  expected.id = id;
  expected.creation_date = expected.change_date = kStamp.date;
  expected.creator = expected.changer = kStamp.user;
  EXPECT_EQ(*catalogue_->Find(id), expected);
  ASSERT_TRUE(Reload().ok());
  EXPECT_EQ(*catalogue_->Find(id), expected);
  EXPECT_EQ(IdOf("ALARM"), id);
}

TEST_F(LinkedTags, TakesUnselectedOwnPropertiesAtTheirDefaults) {
  const TagId id = *TryAdd(AlarmOn("alarm", "source"), {0, kSource});
  AlarmProperties expected;
  expected.source_tag = "source";
  EXPECT_EQ(AlarmOf(id), expected);
  EXPECT_EQ(catalogue_->Find(id)->tag_class, ZR3_TAG_CLASS_ALARM);
}

TEST_F(LinkedTags, ChangesTheSelectedOwnPropertiesAlone) {
  const TagId id = Add(AlarmOn("alarm", "source", "target"));
  Tag given = AlarmOn("other", "target");
  std::get<AlarmProperties>(given.own).time_dead_band = 60;
  ASSERT_TRUE(ModifyAlarm(id, given, Own(ZR3_TAG_COL_AM_EXT_PROP_TIME_DEADBAND)).ok());
  AlarmProperties expected = std::get<AlarmProperties>(AlarmOn("", "source", "target").own);
  expected.time_dead_band = 60;
  EXPECT_EQ(AlarmOf(id), expected);
  ASSERT_TRUE(Reload().ok());
  EXPECT_EQ(AlarmOf(id), expected);
}

TEST_F(LinkedTags, RemovesAllRowsOfAnAlarmTag) {
  const TagId id = Add(AlarmOn("alarm", "source", "target"));
  ASSERT_TRUE(Remove(id).ok());
  for (const TableId table : {TableId::kAlarmTag, TableId::kTagLink}) {
    EXPECT_TRUE(store_
                    ->Rows({.table = table}, 1,
                           [](RowView) {
                             ADD_FAILURE() << "a row is left";
                             return false;
                           })
                    .ok());
  }
  ASSERT_TRUE(Reload().ok());
  EXPECT_EQ(catalogue_->Find(id).code(), ZR3_ERR_TAG_NOT_FOUND);
}

TEST_F(LinkedTags, RefusesClassesThatAreNotKept) {
  Tag statistics = Named("s");
  statistics.own = StatisticsProperties();
  statistics.tag_class = ZR3_TAG_CLASS_STATS;
  EXPECT_EQ(TryAdd(statistics).code(), ZR3_ERR_INVALID_TAG_CLASS);
  Tag alarm = AlarmOn("a", "source");
  alarm.tag_class = ZR3_TAG_CLASS_BASIC;
  EXPECT_EQ(TryAdd(alarm).code(), ZR3_ERR_INVALID_TAG_CLASS);
  alarm_class_ = nullptr;
  ASSERT_TRUE(Reload().ok());
  EXPECT_EQ(TryAdd(AlarmOn("a", "source")).code(), ZR3_ERR_INVALID_TAG_CLASS);
}

TEST_F(LinkedTags, RefusesBitsThatAlarmTagsHaveNoPropertyFor) {
  const TagId id = Add(AlarmOn("alarm", "source"));
  EXPECT_EQ(TryAdd(AlarmOn("b", "source"), {-1, 1 << 13}).code(), ZR3_ERR_INVALID_MASK);
  EXPECT_EQ(ModifyAlarm(id, AlarmOn("alarm", "source"), 1 << 13).code(), ZR3_ERR_INVALID_MASK);
  EXPECT_TRUE(ModifyAlarm(id, AlarmOn("alarm", "source"), (1 << 13) - 1).ok());
}

TEST_F(LinkedTags, KeepsAnAlarmTagInItsClass) {
  const TagId id = Add(AlarmOn("alarm", "source"));
  EXPECT_EQ(Rename(id, "b").code(), ZR3_ERR_INVALID_TAG_CLASS);
  EXPECT_EQ(Modify(1, ZR3_TAG_CLASS_ALARM, AlarmOn("b", "source"), kAll).code(),
            ZR3_ERR_INVALID_TAG_CLASS);
  Tag given = AlarmOn("alarm", "source");
  given.tag_class = ZR3_TAG_CLASS_BASIC;
  EXPECT_EQ(Modify(id, ZR3_TAG_CLASS_ALARM, given, kAll).code(), ZR3_ERR_INVALID_TAG_CLASS);
}

// ---- what the class is asked ----

TEST_F(LinkedTags, GivesTheIdentifierBeforeItAsksTheClass) {
  const TagId id = Add(AlarmOn("alarm", "source"));
  EXPECT_EQ(class_.id, id);
  EXPECT_EQ(class_.links_before, std::nullopt);
}

TEST_F(LinkedTags, TellsTheClassToWhatTheTagWasLinked) {
  const TagId id = Add(AlarmOn("alarm", "source", "target"));
  ASSERT_TRUE(ModifyAlarm(id, AlarmOn("alarm", ""), kAction).ok());
  EXPECT_EQ(class_.links_before, (TagLinks{1, 0, 2}));
  ASSERT_TRUE(Reload().ok());
  ASSERT_TRUE(ModifyAlarm(id, AlarmOn("alarm", ""), 0).ok());
  EXPECT_EQ(class_.links_before, TagLinks{1});
  EXPECT_EQ(catalogue_->LinksOf(id), TagLinks{1});
}

TEST_F(LinkedTags, AnswersTheStatusOfTheClassAndChangesNothing) {
  StoreBatch batch;
  EXPECT_EQ(catalogue_->PlanAdd(AlarmOn("alarm", "nobody"), kAll, kStamp, batch).code(),
            ZR3_ERR_NAME_NOT_FOUND);
  EXPECT_TRUE(batch.rows.empty());
  const TagId id = Add(AlarmOn("alarm", "source"));
  EXPECT_EQ(id, 3U);
  EXPECT_EQ(ModifyAlarm(id, AlarmOn("", "", "nobody"), kAction).code(), ZR3_ERR_NAME_NOT_FOUND);
  EXPECT_EQ(catalogue_->LinksOf(id), TagLinks{1});
  EXPECT_FALSE(IsRead(2));
}

TEST_F(LinkedTags, TellsANameAsTheTagHasItHoweverItWasGiven) {
  const TagId id = Add(AlarmOn("alarm", "SOURCE", "Target"));
  EXPECT_EQ(AlarmOf(id).source_tag, "source");
  EXPECT_EQ(AlarmOf(id).action1, "target");
  ASSERT_TRUE(ModifyAlarm(id, AlarmOn("", "TARGET"), kSource).ok());
  EXPECT_EQ(AlarmOf(id).source_tag, "target");
}

// ---- traits ----

TEST_F(LinkedTags, SaysOfAnAlarmTagThatItsRecordsAreTheDatabasesOwn) {
  const TagId id = Add(AlarmOn("alarm", "source"));
  for (const bool reloads : {false, true}) {
    ASSERT_TRUE(!reloads || Reload().ok());
    EXPECT_TRUE(catalogue_->tags().Find(id)->is_own);
    EXPECT_FALSE(catalogue_->tags().Find(1)->is_own);
  }
}

TEST_F(LinkedTags, SaysThatASourceIsReadButNotATarget) {
  Add(AlarmOn("alarm", "source", "target"));
  for (const bool reloads : {false, true}) {
    ASSERT_TRUE(!reloads || Reload().ok());
    EXPECT_TRUE(IsRead(1));
    EXPECT_FALSE(IsRead(2));
  }
}

TEST_F(LinkedTags, SaysThatATagIsReadForAsLongAsAnyoneReadsIt) {
  const TagId first = Add(AlarmOn("a", "source", "source"));
  const TagId second = Add(AlarmOn("b", "source"));
  const TagId third = Add(AlarmOn("c", "target", "source"));
  ASSERT_TRUE(ModifyAlarm(first, AlarmOn("", "target"), kSource).ok());
  EXPECT_TRUE(IsRead(1));
  EXPECT_TRUE(IsRead(2));
  ASSERT_TRUE(Remove(second).ok());
  EXPECT_FALSE(IsRead(1));  // though it is set
  ASSERT_TRUE(Remove(first).ok());
  EXPECT_TRUE(IsRead(2));
  ASSERT_TRUE(Remove(third).ok());
  EXPECT_FALSE(IsRead(2));
  ASSERT_TRUE(Reload().ok());
  EXPECT_FALSE(IsRead(1));
  EXPECT_FALSE(IsRead(2));
}

TEST_F(LinkedTags, LeavesATagReadThatChanges) {
  Add(AlarmOn("alarm", "source"));
  ASSERT_TRUE(Rename(1, "renamed").ok());
  EXPECT_TRUE(IsRead(1));
  ASSERT_TRUE(Retype(1, ZR3_TAG_TYPE_INT8).ok());
  EXPECT_TRUE(IsRead(1));
}

TEST_F(LinkedTags, HasNoTraitsOfATagThatIsGoneThoughItIsLinkedTo) {
  const TagId id = Add(AlarmOn("alarm", "source"));
  ASSERT_TRUE(Remove(1).ok());
  ASSERT_TRUE(ModifyAlarm(id, AlarmOn("", "target"), kSource).ok());
  EXPECT_EQ(catalogue_->tags().Find(1), std::nullopt);
}

struct RetypeCase {
  const char* name;
  std::int32_t before;
  std::int32_t after;
  ZR3_STATUS status;
};

class RetypedSource : public LinkedTags, public testing::WithParamInterface<RetypeCase> {};

TEST_P(RetypedSource, StaysANumberOrAText) {
  ASSERT_TRUE(Retype(1, GetParam().before).ok());
  ASSERT_TRUE(Retype(2, GetParam().before).ok());
  Add(AlarmOn("alarm", "source", "target"));
  EXPECT_EQ(Retype(1, GetParam().after).code(), GetParam().status);
  EXPECT_TRUE(Retype(2, GetParam().after).ok());  // nobody reads it
}

INSTANTIATE_TEST_SUITE_P(
    LinkedTags, RetypedSource,
    testing::Values(RetypeCase{"NumberToNumber", ZR3_TAG_TYPE_FLOAT64, ZR3_TAG_TYPE_INT8, ZR3_OK},
                    RetypeCase{"NumberToDigital", ZR3_TAG_TYPE_INT32, ZR3_TAG_TYPE_DIGITAL, ZR3_OK},
                    RetypeCase{"TextToBlob", ZR3_TAG_TYPE_STRING, ZR3_TAG_TYPE_BLOB, ZR3_OK},
                    RetypeCase{"NumberToText", ZR3_TAG_TYPE_INT32, ZR3_TAG_TYPE_STRING,
                               ZR3_ERR_INVALID_TAG_TYPE},
                    RetypeCase{"DigitalToBlob", ZR3_TAG_TYPE_DIGITAL, ZR3_TAG_TYPE_BLOB,
                               ZR3_ERR_INVALID_TAG_TYPE},
                    RetypeCase{"TextToNumber", ZR3_TAG_TYPE_STRING, ZR3_TAG_TYPE_FLOAT32,
                               ZR3_ERR_INVALID_TAG_TYPE}),
    CaseName());

// ---- following names ----

TEST_F(LinkedTags, ReadsBackByThePresentNamesOfItsTags) {
  const TagId id = Add(AlarmOn("alarm", "source", "target"));
  const Tag before = *catalogue_->Find(id);
  ASSERT_TRUE(Rename(1, "new source").ok());
  ASSERT_TRUE(Rename(2, "new target").ok());
  Tag expected = before;  // the stamps too
  std::get<AlarmProperties>(expected.own).source_tag = "new source";
  std::get<AlarmProperties>(expected.own).action1 = "new target";
  EXPECT_EQ(*catalogue_->Find(id), expected);
  ASSERT_TRUE(Reload().ok());
  EXPECT_EQ(*catalogue_->Find(id), expected);
  EXPECT_EQ(catalogue_->LinksOf(id), (TagLinks{1, 0, 2}));
}

TEST_F(LinkedTags, FollowsEachTagOnceWithItsOwnRowAlone) {
  const TagId both = Add(AlarmOn("both", "source", "source"));
  Add(AlarmOn("other", "target"));
  StoreBatch batch;
  Result<CatalogueChange> change =
      catalogue_->PlanModify(1, ZR3_TAG_CLASS_BASIC, Named("renamed"), {1, 0}, kStamp, batch);
  ASSERT_TRUE(change.ok());
  std::vector<std::pair<TableId, Cell>> rows;
  for (const RowChange& row : batch.rows) {
    if (row.table != TableId::kSettings) rows.emplace_back(row.table, row.key.front());
  }
  EXPECT_EQ(rows, (std::vector<std::pair<TableId, Cell>>{
                      {TableId::kTag, std::int64_t{1}}, {TableId::kAlarmTag, std::int64_t{both}}}));
}

TEST_F(LinkedTags, TouchesNobodyWhenTheNameStays) {
  Add(AlarmOn("alarm", "source"));
  Tag given = Named("source");
  given.descriptor = "described";
  StoreBatch batch;
  ASSERT_TRUE(catalogue_->PlanModify(1, ZR3_TAG_CLASS_BASIC, given, {-1, 0}, kStamp, batch).ok());
  EXPECT_EQ(batch.rows.size(), 2U);  // the tag and the version
}

TEST_F(LinkedTags, HasNoSourceAnyMoreWhenItIsDeleted) {
  const TagId id = Add(AlarmOn("alarm", "source", "target"));
  ASSERT_TRUE(Remove(1).ok());
  ASSERT_TRUE(Remove(2).ok());
  const TagId reborn = Add("source");
  for (const bool reloads : {false, true}) {
    ASSERT_TRUE(!reloads || Reload().ok());
    EXPECT_EQ(AlarmOf(id).source_tag, "");
    EXPECT_EQ(AlarmOf(id).action1, "target");
    EXPECT_FALSE(IsRead(reborn));
    EXPECT_EQ(catalogue_->LinksOf(id), (TagLinks{1, 0, 2}));
  }
}

TEST_F(LinkedTags, RefusesANameThatDoesNotFitALinkedTag) {
  const TagId first = Add(AlarmOn("first", "source"));
  StoreBatch batch;
  const std::string name(ReadingClass::kMaxNameBytes + 1, 'n');
  const auto change =
      catalogue_->PlanModify(1, ZR3_TAG_CLASS_BASIC, Named(name), {1, 0}, kStamp, batch);
  EXPECT_EQ(change.code(), ZR3_ERR_INVALID_PROPERTY);
  EXPECT_EQ(change.status().message(), "first");
  EXPECT_TRUE(batch.rows.empty());
  EXPECT_EQ(AlarmOf(first).source_tag, "source");
}

TEST_F(LinkedTags, FollowsTenThousandTagsAtOnce) {
  constexpr TagId kAlarms = 10'000;
  StoreBatch rows;
  for (TagId id = 3; id < 3 + kAlarms; ++id) {
    Tag tag = AlarmOn("alarm " + std::to_string(id), "source");
    tag.id = id;
    PutTagRows(tag, rows);
    PutLinks(id, {}, {1}, rows);
  }
  Table<Setting>::Put({std::string(kLastIdSetting), std::int64_t{2 + kAlarms}}, rows);
  driver_.MustCommit(std::move(rows));
  ASSERT_TRUE(Reload().ok());
  ASSERT_TRUE(IsRead(1));
  ASSERT_TRUE(Rename(1, "renamed").ok());
  const TagImagePtr renamed = catalogue_->image();
  ASSERT_TRUE(Remove(1).ok());
  for (TagId id = 3; id < 3 + kAlarms; ++id) {
    ASSERT_EQ(std::get<AlarmProperties>(renamed->Find(id)->Unpack().own).source_tag, "renamed");
    ASSERT_EQ(AlarmOf(id).source_tag, "");
  }
}

// ---- want of memory, and of the store ----

TEST_F(LinkedTags, StaysAsItWasWhenTheStoreRefuses) {
  const TagId id = Add(AlarmOn("alarm", "source"));
  faults_->FailCommitsTo(TableId::kTag, ZR3_ERR_STORAGE_FULL);
  EXPECT_EQ(ModifyAlarm(id, AlarmOn("", "target"), kSource).code(), ZR3_ERR_STORAGE_FULL);
  EXPECT_EQ(Rename(1, "renamed").code(), ZR3_ERR_STORAGE_FULL);
  EXPECT_EQ(Remove(1).code(), ZR3_ERR_STORAGE_FULL);
  EXPECT_EQ(Remove(id).code(), ZR3_ERR_STORAGE_FULL);
  EXPECT_EQ(AlarmOf(id).source_tag, "source");
  EXPECT_EQ(catalogue_->LinksOf(id), TagLinks{1});
  EXPECT_TRUE(IsRead(1));
  EXPECT_FALSE(IsRead(2));
}

TEST_F(LinkedTags, NeedsNoMemoryToFollowTheStore) {
  StoreBatch batch;
  const auto adopt = [&](const Result<CatalogueChange>& change) {
    ASSERT_TRUE(change.ok());
    const ShortMemory memory(1);
    catalogue_->Adopt(*change);
  };
  adopt(catalogue_->PlanAdd(AlarmOn("alarm", "source", "target"), kAll, kStamp, batch));
  EXPECT_EQ(catalogue_->LinksOf(3), (TagLinks{1, 0, 2}));
  adopt(catalogue_->PlanModify(3, ZR3_TAG_CLASS_ALARM, AlarmOn("alarm", "target", "source"),
                               {0, kSource | kAction}, kStamp, batch));
  EXPECT_EQ(catalogue_->LinksOf(3), (TagLinks{2, 0, 1}));
  EXPECT_FALSE(IsRead(1));
  EXPECT_TRUE(IsRead(2));
  adopt(catalogue_->PlanRemove(3, batch));
  EXPECT_EQ(catalogue_->LinksOf(3), TagLinks());
  EXPECT_FALSE(IsRead(2));
}

TEST_F(LinkedTags, StayAsTheyWereWhicheverRequestForMemoryFails) {
  const TagId id = Add(AlarmOn("alarm", "source", "target"));
  const Tag other = AlarmOn("alarm", "target", "source");
  bool failed = true;
  for (std::uint64_t nth = 1; failed; ++nth) {
    try {
      StoreBatch batch;
      const ShortMemory memory(nth, ShortMemory::Lack::kOne);
      (void)catalogue_->PlanModify(id, ZR3_TAG_CLASS_ALARM, other, kAll, kStamp, batch);
      failed = ShortMemory::Failed() > 0;
    } catch (const std::bad_alloc&) {
    }
    ASSERT_EQ(catalogue_->LinksOf(id), (TagLinks{1, 0, 2}));
    ASSERT_TRUE(IsRead(1));
    ASSERT_FALSE(IsRead(2));
  }
  ASSERT_TRUE(Modify(id, ZR3_TAG_CLASS_ALARM, other, kAll).ok());
  EXPECT_EQ(catalogue_->LinksOf(id), (TagLinks{2, 0, 1}));
}

// ---- what a damaged store may hold ----

Tag StoredAlarm(TagId id) {
  Tag tag = AlarmOn("alarm " + std::to_string(id), "");
  tag.id = id;
  return tag;
}

struct DamageCase {
  const char* name;
  void (*damage)(StoreBatch&);
};

class DamagedLinkedTags : public testing::TestWithParam<DamageCase> {};

TEST_P(DamagedLinkedTags, AreRefused) {
  for (const bool is_damaged : {false, true}) {
    const std::unique_ptr<Store> store = OpenMemoryStore();
    StoreBatch batch;
    for (const TagId id : {2, 3}) PutTagRows(StoredAlarm(id), batch);
    Table<TagLink>::Put({.tag = 3, .place = 0, .target = 1}, batch);  // deleted meanwhile
    Table<Setting>::Put({std::string(kLastIdSetting), std::int64_t{4}}, batch);
    if (is_damaged) GetParam().damage(batch);
    storage::StoreDriver(*store).MustCommit(std::move(batch));
    ReadingClass alarms;
    Catalogue catalogue(*store);
    catalogue.Register(ZR3_TAG_CLASS_ALARM, alarms);
    EXPECT_EQ(catalogue.Load().code(), is_damaged ? ZR3_ERR_STORAGE_DAMAGED : ZR3_OK);
  }
}

void RemoveOwn(TagId id, StoreBatch& batch) {
  batch.rows.push_back({.table = TableId::kAlarmTag, .key = {Cell(std::int64_t{id})}, .row = {}});
}

INSTANTIATE_TEST_SUITE_P(
    LinkedTags, DamagedLinkedTags,
    testing::Values(
        DamageCase{"OwnRowMissing", [](StoreBatch& b) { RemoveOwn(2, b); }},
        DamageCase{"LastOwnRowMissing", [](StoreBatch& b) { RemoveOwn(3, b); }},
        DamageCase{"OwnRowOfNoTagBefore", [](StoreBatch& b) { PutOwnRow(StoredAlarm(1), b); }},
        DamageCase{"OwnRowOfNoTagBehind", [](StoreBatch& b) { PutOwnRow(StoredAlarm(4), b); }},
        DamageCase{"OwnRowOfAPointTag",
                   [](StoreBatch& b) {
                     Tag point = Named("point");
                     point.id = 4;
                     PutTagRows(point, b);
                     PutOwnRow(StoredAlarm(4), b);
                   }},
        DamageCase{"OwnPropertyOutOfRange",
                   [](StoreBatch& b) {
                     Tag tag = StoredAlarm(3);
                     std::get<AlarmProperties>(tag.own).time_dead_band = -1;
                     PutTagRows(tag, b);
                   }},
        DamageCase{"LinkOfNoTag",
                   [](StoreBatch& b) { Table<TagLink>::Put({.tag = 4, .target = 1}, b); }},
        DamageCase{"LinkOfAPointTag",
                   [](StoreBatch& b) {
                     Tag point = Named("point");
                     point.id = 4;
                     PutTagRows(point, b);
                     Table<TagLink>::Put({.tag = 4, .target = 1}, b);
                   }},
        DamageCase{"LinkToNothing",
                   [](StoreBatch& b) { Table<TagLink>::Put({.tag = 3, .target = 0}, b); }},
        DamageCase{"LinkToATagThatNeverWas",
                   [](StoreBatch& b) { Table<TagLink>::Put({.tag = 3, .target = 5}, b); }},
        DamageCase{"LinkInAPlaceBeyondAll",
                   [](StoreBatch& b) {
                     Table<TagLink>::Put({.tag = 3, .place = kMaxTagLinks, .target = 1}, b);
                   }}),
    CaseName());

}  // namespace
}  // namespace zervane
