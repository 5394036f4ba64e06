#include "engine/derived/calculations/notify_rows.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <set>
#include <string>
#include <variant>
#include <vector>

namespace zervane {
namespace {

using Format = RowFormat<NotifyReason>;

// The rows as a store has them after the batches that were kept.
class StoredRows {
 public:
  void Store(const StoreBatch& batch) {
    for (const RowChange& change : batch.rows) {
      if (NotifyRows::IsAllDone(change)) {
        tags_.clear();
      } else if (change.row) {
        tags_.insert(std::get<std::int64_t>(change.key[1]));
      } else {
        tags_.erase(std::get<std::int64_t>(change.key[1]));
      }
    }
  }
  const std::set<std::int64_t>& tags() const { return tags_; }

 private:
  std::set<std::int64_t> tags_;
};

class NotifyRowsTest : public testing::Test {
 protected:
  using Tags = std::set<std::int64_t>;

  StoreBatch Valued(std::uint64_t number, const std::vector<TagId>& tags) {
    StoreBatch batch;
    for (const TagId tag : tags) rows_.PrepareValue(tag, number, batch);
    return batch;
  }
  void Keep(const StoreBatch& batch) {
    rows_.Keep();
    stored_.Store(batch);
    EXPECT_EQ(Tags(rows_.standing().begin(), rows_.standing().end()), stored_.tags());
  }
  void KeepDone(std::uint64_t through, StoreBatch batch = {}) {
    batch.rows.insert(batch.rows.begin(), NotifyRows::AllDone());
    rows_.PrepareDone(through, batch);
    Keep(batch);
  }

  NotifyRows rows_;
  StoredRows stored_;
};

TEST_F(NotifyRowsTest, ATagHasOneRowHoweverOftenItsValueChanges) {
  StoreBatch first = Valued(2, {7, 7, 8});
  EXPECT_EQ(first.rows.size(), 2U);
  Keep(first);
  StoreBatch second = Valued(3, {7, 8});
  EXPECT_TRUE(second.rows.empty());
  Keep(second);
  EXPECT_EQ(stored_.tags(), (Tags{7, 8}));
}

TEST_F(NotifyRowsTest, WhatChangedSinceItWasFollowedKeepsItsRow) {
  Keep(Valued(2, {7, 8}));
  Keep(Valued(3, {7}));
  KeepDone(2);
  EXPECT_EQ(stored_.tags(), (Tags{7}));
  KeepDone(3);
  EXPECT_EQ(stored_.tags(), (Tags{}));
  Keep(Valued(4, {7}));
  EXPECT_EQ(stored_.tags(), (Tags{7}));
}

TEST_F(NotifyRowsTest, WhatChangesInTheBatchThatIsDoneKeepsItsRow) {
  Keep(Valued(2, {7, 8}));
  KeepDone(2, Valued(3, {8, 9}));
  EXPECT_EQ(stored_.tags(), (Tags{8, 9}));
  KeepDone(3);
  EXPECT_EQ(stored_.tags(), (Tags{}));
}

TEST_F(NotifyRowsTest, ABatchThatIsNotStoredChangesNothing) {
  Keep(Valued(2, {7}));
  (void)Valued(3, {7, 8});
  rows_.Discard();
  StoreBatch done;
  rows_.PrepareDone(2, done);
  rows_.Discard();
  Keep(Valued(4, {8}));
  EXPECT_EQ(stored_.tags(), (Tags{7, 8}));
  KeepDone(3);  // of which batch 3 was never a part
  EXPECT_EQ(stored_.tags(), (Tags{8}));
}

TEST_F(NotifyRowsTest, ARemovedTagHasNone) {
  Keep(Valued(2, {7, 8}));
  StoreBatch batch;
  rows_.PrepareRemoval(7, batch);
  rows_.PrepareRemoval(9, batch);
  EXPECT_EQ(batch.rows.size(), 1U);
  Keep(batch);
  EXPECT_EQ(stored_.tags(), (Tags{8}));
}

TEST_F(NotifyRowsTest, AreReadBackAsTheyWereStoredAndNothingElseIsTakenForOne) {
  const auto read = [](const Row& row) {
    std::vector<CellView> cells;
    for (const Cell& cell : row) {
      if (const auto* const bytes = std::get_if<CellBytes>(&cell)) {
        cells.emplace_back(std::string_view(*bytes));
      } else if (const auto* const number = std::get_if<std::int64_t>(&cell)) {
        cells.emplace_back(*number);
      } else {
        cells.emplace_back();
      }
    }
    return Format::FromRow(cells);
  };
  const Row row = Format::RowOf({.tag = 7});
  EXPECT_EQ(read(row), NotifyReason{.tag = 7});
  Row other = row;
  other[1] = std::int64_t{0};
  EXPECT_FALSE(read(other));
  other = row;
  other[2] = std::int64_t{5};
  EXPECT_FALSE(read(other));
  other = row;
  other[3] = CellBytes("something");
  EXPECT_FALSE(read(other));
}

}  // namespace
}  // namespace zervane
