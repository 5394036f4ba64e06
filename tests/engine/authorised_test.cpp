#include "engine/authorised.h"

#include <gtest/gtest.h>

#include <memory>
#include <utility>
#include <vector>

namespace zervane {
namespace {

// Notes which operations reach it.
class ReachedDatabase final : public Database {
 public:
  explicit ReachedDatabase(std::vector<OperationNumber>* reached) : reached_(*reached) {}

  std::optional<std::int64_t> HeardCatalogueVersion(const Caller&) const override { return 42; }
  Status Carry(const Caller&, OperationNumber number, const void*, void*) override {
    reached_.push_back(number);
    return {};
  }
  Status Close() override { return {ZR3_ERR_STORAGE_FULL, {}}; }

 private:
  std::vector<OperationNumber>& reached_;
};

class AuthorisedTest : public testing::Test {
 protected:
  // A database whose callers have this level everywhere.
  Authorised WithLevel(int level) {
    return Authorised(std::make_unique<ReachedDatabase>(&reached_),
                      [level](const Caller&, AuthorityItem) { return level; });
  }

  std::vector<OperationNumber> reached_;
};

TEST_F(AuthorisedTest, LetsOperationsThroughThatTheLevelSufficesFor) {
  for (int level = 0; level <= kMaxLevel; ++level) {
    Authorised database = WithLevel(level);
    AllOperations::ForEach([&]<typename Op>() {
      reached_.clear();
      const bool suffices = level >= RowOf(Op::kNumber).level;
      const Result<typename Op::Reply> answer = database.Do(Caller(), Op());
      EXPECT_EQ(answer.code(), suffices ? ZR3_OK : ZR3_ERR_NO_RIGHT)
          << RowOf(Op::kNumber).name << ", level " << level;
      EXPECT_EQ(reached_.size(), suffices ? 1U : 0U);
    });
  }
}

TEST_F(AuthorisedTest, AsksForTheLevelOfTheCallerInTheOperationsItem) {
  std::vector<std::pair<std::string, AuthorityItem>> asked;
  Authorised database(std::make_unique<ReachedDatabase>(&reached_),
                      [&](const Caller& caller, AuthorityItem item) {
                        asked.emplace_back(caller.user, item);
                        return kMaxLevel;
                      });
  (void)database.Do({.user = "anna"}, DeleteTag{.id = 1});
  (void)database.Do({.user = "bert"}, ReadRecords{});
  EXPECT_EQ(asked, (std::vector<std::pair<std::string, AuthorityItem>>{
                       {"anna", AuthorityItem::kTags}, {"bert", AuthorityItem::kRecords}}));
}

TEST_F(AuthorisedTest, KnowsNoOperationOfAnotherNumber) {
  Authorised database = WithLevel(kMaxLevel);
  for (const int number : {0, static_cast<int>(kLastOperation) + 1, 65'535}) {
    EXPECT_EQ(
        database.Carry(Caller(), static_cast<OperationNumber>(number), nullptr, nullptr).code(),
        ZR3_ERR_NOT_SUPPORTED);
  }
  EXPECT_TRUE(reached_.empty());
}

TEST_F(AuthorisedTest, TellsTheCataloguesVersionToThoseWhoMayReadIt) {
  EXPECT_EQ(WithLevel(kNoUserNeeded).HeardCatalogueVersion(Caller()), std::nullopt);
  EXPECT_EQ(WithLevel(0).HeardCatalogueVersion(Caller()), std::nullopt);
  EXPECT_EQ(WithLevel(1).HeardCatalogueVersion(Caller()), 42);
}

TEST_F(AuthorisedTest, PassesOnWhatNeedsNoRight) {
  Authorised database = WithLevel(0);
  EXPECT_EQ(database.Close().code(), ZR3_ERR_STORAGE_FULL);
}

TEST(OperationTable, AsksForMoreOfThoseWhoChangeThanOfThoseWhoRead) {
  for (const OperationRow& row : OperationTable()) {
    EXPECT_EQ(row.changes, row.level >= 2) << row.name;
  }
}

}  // namespace
}  // namespace zervane
