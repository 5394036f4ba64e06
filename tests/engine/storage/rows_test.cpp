#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <string>
#include <tuple>
#include <vector>

#include "api/words/tag_columns.h"
#include "engine/storage/store.h"
#include "engine/storage/table.h"
#include "engine/storage/tables.h"
#include "tests/engine/storage/any_store.h"
#include "tests/support/case_name.h"

// What every store must do with rows, run on each of them.
namespace zervane::storage {
namespace {

using testing::ElementsAre;
using testing::ElementsAreArray;
using testing::IsEmpty;

using Rows = AnyStore;

INSTANTIATE_TEST_SUITE_P(Store, Rows, testing::ValuesIn(AllStores().begin(), AllStores().end()),
                         CaseName());

Cell Number(std::int64_t number) { return number; }
Cell Text(std::string text) { return text; }

// A row of progress is named by its task, tag and time, as `b 2 30`.
void PutProgress(const std::string& task, std::int64_t tag, std::int64_t time, StoreBatch& batch) {
  const Row key = {Text(task), Number(tag), Number(time)};
  Row row = key;
  row.push_back(Text(task + std::to_string(tag)));
  batch.rows.push_back({.table = TableId::kProgress, .key = key, .row = row});
}

std::vector<std::string> Shown(Store& store, const RowRange& range, std::size_t limit = SIZE_MAX) {
  std::vector<std::string> names;
  const Status status = store.Rows(range, limit, [&](RowView row) {
    EXPECT_EQ(row.size(), 4U);
    names.push_back(std::string(std::get<std::string_view>(row[0])) + " " +
                    std::to_string(std::get<std::int64_t>(row[1])) + " " +
                    std::to_string(std::get<std::int64_t>(row[2])));
    return true;
  });
  EXPECT_TRUE(status.ok()) << status.message();
  return names;
}

void PutAll(StoreDriver& driver) {
  StoreBatch batch;
  for (const auto& [task, tag, time] : std::vector<std::tuple<const char*, int, int>>{
           {"b", 2, 10}, {"a", 3, 10}, {"b", 1, 20}, {"a", 1, 30}, {"b", 1, -5}, {"c", 1, 0}}) {
    PutProgress(task, tag, time, batch);
  }
  driver.MustCommit(std::move(batch));
}

struct RangeCase {
  const char* name;
  RowRange range;
  std::vector<std::string> expected;
};

TEST_P(Rows, AreShownByRangesOfAnIndex) {
  PutAll(*driver_);
  const auto range = [](std::size_t index, Row from, Row to, bool is_backward = false,
                        bool is_behind = false) {
    return RowRange{.table = TableId::kProgress,
                    .index = index,
                    .from = std::move(from),
                    .to = std::move(to),
                    .is_backward = is_backward,
                    .is_behind = is_behind};
  };
  const std::vector<RangeCase> cases = {
      {"all, by key",
       range(0, {}, {}),
       {"a 1 30", "a 3 10", "b 1 -5", "b 1 20", "b 2 10", "c 1 0"}},
      {"all, backward",
       range(0, {}, {}, true),
       {"c 1 0", "b 2 10", "b 1 20", "b 1 -5", "a 3 10", "a 1 30"}},
      {"one task", range(0, {Text("b")}, {Text("b")}), {"b 1 -5", "b 1 20", "b 2 10"}},
      {"two cells", range(0, {Text("b"), Number(1)}, {Text("b"), Number(1)}), {"b 1 -5", "b 1 20"}},
      {"one row",
       range(0, {Text("b"), Number(1), Number(20)}, {Text("b"), Number(1), Number(20)}),
       {"b 1 20"}},
      {"none of the key",
       range(0, {Text("b"), Number(1), Number(21)}, {Text("b"), Number(1), Number(21)}),
       {}},
      {"from", range(0, {Text("b"), Number(1), Number(0)}, {}), {"b 1 20", "b 2 10", "c 1 0"}},
      {"to", range(0, {}, {Text("b"), Number(1)}), {"a 1 30", "a 3 10", "b 1 -5", "b 1 20"}},
      {"behind a row",
       range(0, {Text("b"), Number(1), Number(20)}, {}, false, true),
       {"b 2 10", "c 1 0"}},
      {"behind rows that begin so",
       range(0, {Text("b"), Number(1)}, {Text("b")}, false, true),
       {"b 2 10"}},
      {"before a row",
       range(0, {}, {Text("b"), Number(1), Number(20)}, true, true),
       {"b 1 -5", "a 3 10", "a 1 30"}},
      {"behind the bound's own beginning",
       range(0, {Text("b")}, {Text("b"), Number(1)}, false, true),
       {}},
      {"that ends before it begins", range(0, {Text("c")}, {Text("a")}), {}},
      {"that ends before it begins, backward", range(0, {Text("c")}, {Text("a")}, true), {}},
      {"by tag", range(1, {}, {}), {"a 1 30", "b 1 -5", "b 1 20", "c 1 0", "b 2 10", "a 3 10"}},
      {"of one tag", range(1, {Number(1)}, {Number(1)}), {"a 1 30", "b 1 -5", "b 1 20", "c 1 0"}},
      {"of one tag, backward",
       range(1, {Number(1)}, {Number(1)}, true),
       {"c 1 0", "b 1 20", "b 1 -5", "a 1 30"}},
      {"of tags up to",
       range(1, {}, {Number(2)}),
       {"a 1 30", "b 1 -5", "b 1 20", "c 1 0", "b 2 10"}},
      {"of a tag behind a task",
       range(1, {Number(1), Text("b")}, {Number(1)}, false, true),
       {"c 1 0"}},
  };
  for (int i = 0; i < 2; ++i) {
    for (const RangeCase& row : cases) {
      EXPECT_THAT(Shown(*store_, row.range), ElementsAreArray(row.expected)) << row.name;
      std::vector<std::string> two = row.expected;
      two.resize(std::min<std::size_t>(two.size(), 2));
      EXPECT_THAT(Shown(*store_, row.range, 2), ElementsAreArray(two)) << row.name;
    }
    Reopen();
  }
}

TEST_P(Rows, AreReplacedByKeyInEveryIndex) {
  PutAll(*driver_);
  StoreBatch batch;
  PutProgress("b", 1, 20, batch);
  batch.rows.back().row->back() = Text("another");
  batch.rows.push_back(
      {.table = TableId::kProgress, .key = {Text("b"), Number(1), Number(-5)}, .row = {}});
  batch.rows.push_back(
      {.table = TableId::kProgress, .key = {Text("z"), Number(1), Number(-5)}, .row = {}});
  driver_->MustCommit(std::move(batch));
  const RowRange of_tag{
      .table = TableId::kProgress, .index = 1, .from = {Number(1)}, .to = {Number(1)}};
  for (int i = 0; i < 2; ++i) {
    EXPECT_THAT(Shown(*store_, of_tag), ElementsAre("a 1 30", "b 1 20", "c 1 0"));
    std::vector<std::string> details;
    EXPECT_TRUE(store_
                    ->Rows(of_tag, 9,
                           [&](RowView row) {
                             details.emplace_back(std::get<std::string_view>(row[3]));
                             return true;
                           })
                    .ok());
    EXPECT_THAT(details, ElementsAre("a1", "another", "c1"));
    Reopen();
  }
}

TEST_P(Rows, AreAsTheLastChangeOfTheirKeySays) {
  StoreBatch batch;
  PutProgress("a", 1, 1, batch);
  batch.rows.push_back({.table = TableId::kProgress, .key = batch.rows[0].key, .row = {}});
  PutProgress("b", 1, 1, batch);
  batch.rows.push_back({.table = TableId::kProgress, .key = batch.rows[2].key, .row = {}});
  PutProgress("b", 1, 1, batch);
  driver_->MustCommit(std::move(batch));
  EXPECT_THAT(Shown(*store_, {.table = TableId::kProgress}), ElementsAre("b 1 1"));
}

// ---- removed by the first cells of their key ----

RowChange RemovalOf(Row key) { return {.table = TableId::kProgress, .key = std::move(key)}; }

struct RemovalCase {
  const char* name;
  Row key;
  std::vector<std::string> left;
};

TEST_P(Rows, GoByTheFirstCellsOfTheirKey) {
  const std::vector<RemovalCase> cases = {
      {"the first", {Text("b")}, {"a 1 30", "a 3 10", "c 1 0"}},
      {"the last", {Text("c")}, {"a 1 30", "a 3 10", "b 1 -5", "b 1 20", "b 2 10"}},
      {"two", {Text("b"), Number(1)}, {"a 1 30", "a 3 10", "b 2 10", "c 1 0"}},
      {"all",
       {Text("b"), Number(1), Number(20)},
       {"a 1 30", "a 3 10", "b 1 -5", "b 2 10", "c 1 0"}},
      {"two of no row",
       {Text("b"), Number(3)},
       {"a 1 30", "a 3 10", "b 1 -5", "b 1 20", "b 2 10", "c 1 0"}},
      {"one that begins no row",
       {Text("")},
       {"a 1 30", "a 3 10", "b 1 -5", "b 1 20", "b 2 10", "c 1 0"}},
  };
  for (const RemovalCase& row : cases) {
    SCOPED_TRACE(row.name);
    PutAll(*driver_);
    StoreBatch batch;
    batch.rows.push_back(RemovalOf(row.key));
    driver_->MustCommit(std::move(batch));
    for (int i = 0; i < 2; ++i) {
      EXPECT_THAT(Shown(*store_, {.table = TableId::kProgress}), ElementsAreArray(row.left));
      EXPECT_THAT(Shown(*store_, {.table = TableId::kProgress, .index = 1}),
                  testing::UnorderedElementsAreArray(row.left));
      Reopen();
    }
  }
}

TEST_P(Rows, ThatAreRemovedTogetherMayBePutAgainBehindIt) {
  PutAll(*driver_);
  StoreBatch batch;
  PutProgress("b", 5, 5, batch);
  batch.rows.push_back(RemovalOf({Text("b")}));
  PutProgress("b", 1, 20, batch);
  batch.rows.push_back(RemovalOf({Text("a"), Number(1)}));
  driver_->MustCommit(std::move(batch));
  EXPECT_THAT(Shown(*store_, {.table = TableId::kProgress}),
              ElementsAre("a 3 10", "b 1 20", "c 1 0"));
  EXPECT_THAT(Shown(*store_, {.table = TableId::kProgress, .index = 1}),
              ElementsAre("b 1 20", "c 1 0", "a 3 10"));
}

// A row whose integers are all `number`.
Row RowWith(const TableInfo& table, std::int64_t number) {
  Row row;
  for (const TableColumn& column : table.columns) {
    const bool is_number = column.kind == TableColumn::Kind::kInteger;
    const bool is_real = column.kind == TableColumn::Kind::kReal;
    row.push_back(is_number ? Number(number) : is_real ? Cell(0.5) : Text(column.name.data()));
  }
  return row;
}

TEST_P(Rows, GoManyAtATimeAndWithThemTheirPlacesInEveryIndex) {
  constexpr std::int64_t kMany = 10'000;
  const TableInfo& table = InfoOf(TableId::kAlarmRecord);
  StoreBatch batch;
  for (std::int64_t i = 0; i < kMany; ++i) {
    for (const std::int64_t tag : {6, 7, 8}) {
      if (tag != 7 && i % 1'000 != 0) continue;
      Row row = RowWith(table, i);
      row[0] = Number(tag);
      batch.rows.push_back({.table = table.id, .key = {Number(tag), Number(i)}, .row = row});
    }
  }
  driver_->MustCommit(std::move(batch));
  StoreBatch removal;
  removal.rows.push_back({.table = table.id, .key = {Number(7)}});
  driver_->MustCommit(std::move(removal));
  for (std::size_t index = 0; index < table.indexes.size(); ++index) {
    int shown = 0;
    const auto show = [&](RowView row) {
      EXPECT_NE(std::get<std::int64_t>(row[0]), 7);
      ++shown;
      return true;
    };
    EXPECT_TRUE(store_->Rows({.table = table.id, .index = index}, SIZE_MAX, show).ok());
    EXPECT_EQ(shown, 20) << index;
  }
}

// ---- what they hold ----

TEST_P(Rows, OfEveryTableAreKeptAndFoundByEveryIndex) {
  for (const TableInfo& table : AllTables()) {
    SCOPED_TRACE(table.name);
    const Row row = RowWith(table, 7);
    const Row key(row.begin(), row.begin() + static_cast<std::ptrdiff_t>(table.key_columns));
    StoreBatch batch;
    batch.rows.push_back({.table = table.id, .key = key, .row = row});
    driver_->MustCommit(std::move(batch));
    if (table.id != TableId::kSettings) Reopen();  // an odd setting would be none of the file's
    for (std::size_t index = 0; index < table.indexes.size(); ++index) {
      RowRange range{.table = table.id, .index = index};
      for (const std::size_t column : table.indexes[index]) range.from.push_back(row[column]);
      range.to = range.from;
      Row found;
      const auto copy = [&](RowView cells) {
        for (const CellView& cell : cells) found.push_back(CopyOf(cell));
        return true;
      };
      EXPECT_TRUE(store_->Rows(range, 2, copy).ok());
      EXPECT_EQ(found, row) << index;
    }
  }
}

TEST_P(Rows, EndWhereTheVisitorDoes) {
  PutAll(*driver_);
  int shown = 0;
  EXPECT_TRUE(
      store_->Rows({.table = TableId::kProgress}, 9, [&](RowView) { return ++shown < 2; }).ok());
  EXPECT_EQ(shown, 2);
  EXPECT_THAT(Shown(*store_, {.table = TableId::kProgress}, 0), IsEmpty());
}

TEST_P(Rows, KeepCellsOfEveryKind) {
  const std::vector<Cell> cells = {Cell(),
                                   Number(std::numeric_limits<std::int64_t>::min()),
                                   Number(std::numeric_limits<std::int64_t>::max()),
                                   Cell(0.1),
                                   Cell(-std::numeric_limits<double>::infinity()),
                                   Text(""),
                                   Text(std::string("\0 and more\xFF", 11)),
                                   Text(std::string(100'000, 'x'))};
  StoreBatch batch;
  for (std::size_t i = 0; i < cells.size(); ++i) {
    Table<Setting>::Put({.name = "cell " + std::to_string(i), .value = cells[i]}, batch);
  }
  Table<Setting>::Put({.name = "nan", .value = std::nan("")}, batch);
  driver_->MustCommit(std::move(batch));
  for (int round = 0; round < 2; ++round) {
    for (std::size_t i = 0; i < cells.size(); ++i) {
      EXPECT_EQ(SettingOf(*store_, "cell " + std::to_string(i)), cells[i]) << i;
    }
    EXPECT_EQ(SettingOf(*store_, "nan"), Cell());
    EXPECT_EQ(SettingOf(*store_, "none"), std::nullopt);
    Reopen();
  }
}

// ---- as objects ----

TEST_P(Rows, OfTagsKeepEveryProperty) {
  Tag tag = TagNamed(7, "M\u00fcller \u6e29\u5ea6");
  int number = 0;
  ForEachColumn(tag, [&](const PropertyColumn& column) {
    ++number;
    if (column.column == ZR3_TAG_COL_COMM_PROP_TAGID) return;
    VisitProperty(column, tag, [&]<typename T>(T& value) {
      if constexpr (std::is_same_v<T, std::string>) {
        value += std::to_string(number);
      } else {
        value = static_cast<T>(number);
      }
    });
  });
  tag.tag_class = ZR3_TAG_CLASS_BASIC;  // whose own properties these are
  tag.span = std::numeric_limits<float>::infinity();
  driver_->PutTag(tag);
  for (int i = 0; i < 2; ++i) {
    EXPECT_EQ(Table<Tag>(*store_).Read(7)->value(), tag);
    Reopen();
  }
}

TEST_P(Rows, OfTagsKeepANumberThatIsNone) {
  Tag tag = TagNamed(7, "NAN");
  tag.span = std::numeric_limits<float>::quiet_NaN();
  driver_->PutTag(tag);
  Reopen();
  EXPECT_TRUE(std::isnan(Table<Tag>(*store_).Read(7)->value().span));
}

TEST_P(Rows, ComeInPagesWithTheKeyToGoOnFrom) {
  for (TagId id = 3; id <= 7; ++id) driver_->PutTag(TagNamed(id, std::to_string(id)));
  driver_->RemoveTag(5);
  const Table<Tag> tags(*store_);
  std::vector<TagId> ids;
  std::optional<TagId> from = 0;
  int pages = 0;
  while (from) {
    const Result<Page<Tag>> page = tags.ReadPage(*from, 2);
    ASSERT_TRUE(page.ok()) << page.status().message();
    for (const Tag& tag : page->items) ids.push_back(tag.id);
    from = page->next;
    ++pages;
  }
  EXPECT_THAT(ids, ElementsAre(1, 2, 3, 4, 6, 7));
  EXPECT_EQ(pages, 3);
}

}  // namespace
}  // namespace zervane::storage
