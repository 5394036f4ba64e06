#include "vask/paged_iterator.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <memory>
#include <set>
#include <vector>

namespace zervane {
namespace {

// A set of numbers that answers pages of at most `page_items` of them, with a key wherever there
// may be more.
class PagedIteratorTest : public testing::Test {
 protected:
  using Iterator = PagedIterator<TagId>;

  std::unique_ptr<ItemIterator> MakeIterator(TagId from = 1,
                                             std::int64_t limit = Iterator::kNoLimit) {
    Result<std::unique_ptr<ItemIterator>> made = Iterator::Make(
        {.fetch = [this](TagId key, std::int32_t at_most) { return Fetch(key, at_most); },
         .key_of = [](const TagId& number) { return number; },
         .fill = [](const TagId& number, void* to) { *static_cast<TagId*>(to) = number; }},
        from, limit);
    EXPECT_EQ(made.ok(), failure == ZR3_OK);
    return made.ok() ? *std::move(made) : nullptr;
  }

  Result<Page<TagId>> Fetch(TagId key, std::int32_t at_most) {
    EXPECT_GT(at_most, 0);
    EXPECT_LE(at_most, kMaxPageItems);
    fetched_from.push_back(key);
    if (failure != ZR3_OK) return Status(failure, {});
    Page<TagId> page;
    auto next = numbers.lower_bound(key);
    const int most = std::min(at_most, page_items);
    for (int i = 0; i < most && next != numbers.end(); ++i) page.items.push_back(*next++);
    if (next != numbers.end()) page.next = *next;
    return page;
  }

  static std::vector<TagId> Drain(ItemIterator& iterator, std::size_t at_most = 1'000) {
    std::vector<TagId> seen;
    TagId item = 0;
    while (seen.size() < at_most && iterator.Next(&item).ok()) seen.push_back(item);
    return seen;
  }

  std::set<TagId> numbers{2, 3, 5, 7, 11, 13, 17};
  int page_items = 3;
  ZR3_STATUS failure = ZR3_OK;
  std::vector<TagId> fetched_from;
};

using Numbers = std::vector<TagId>;

TEST_F(PagedIteratorTest, GoesThroughAllPagesInOrder) {
  EXPECT_EQ(Drain(*MakeIterator()), (Numbers{2, 3, 5, 7, 11, 13, 17}));
  EXPECT_EQ(fetched_from, (Numbers{1, 7, 17}));
}

TEST_F(PagedIteratorTest, StaysAtItsEnd) {
  const auto iterator = MakeIterator();
  Drain(*iterator);
  numbers.insert(19);
  TagId item = 1;
  for (int i = 0; i < 3; ++i) {
    EXPECT_EQ(iterator->Next(&item).code(), ZR3_ERR_END_OF_ITERATION);
    iterator->Forget();
  }
  EXPECT_EQ(item, 1U);
}

TEST_F(PagedIteratorTest, BeginsWhereItIsToldTo) {
  EXPECT_EQ(Drain(*MakeIterator(7)), (Numbers{7, 11, 13, 17}));
  EXPECT_EQ(Drain(*MakeIterator(18)), Numbers{});
}

TEST_F(PagedIteratorTest, HandsOutNoMoreThanItsLimit) {
  for (const std::int64_t limit : {1, 2, 3, 4, 6, 7, 8}) {
    const auto iterator = MakeIterator(1, limit);
    EXPECT_EQ(Drain(*iterator).size(), std::min<std::size_t>(limit, numbers.size())) << limit;
    iterator->Forget();
    TagId item = 0;
    EXPECT_EQ(iterator->Next(&item).code(), ZR3_ERR_END_OF_ITERATION) << limit;
  }
}

TEST_F(PagedIteratorTest, HandsOutNoMoreThanItsLimitOfADatabaseThatAnswersMore) {
  const auto fetch = [](TagId, std::int32_t) -> Result<Page<TagId>> {
    return Page<TagId>{.items = {1, 2, 3, 4}, .next = 5};
  };
  Result<std::unique_ptr<ItemIterator>> iterator = Iterator::Make(
      {.fetch = fetch,
       .key_of = [](const TagId& number) { return number; },
       .fill = [](const TagId& number, void* to) { *static_cast<TagId*>(to) = number; }},
      1, 2);
  ASSERT_TRUE(iterator.ok());
  EXPECT_EQ(Drain(**iterator), (Numbers{1, 2}));
}

TEST_F(PagedIteratorTest, SeesNothingTwiceAfterForgetting) {
  for (std::size_t before = 0; before <= numbers.size(); ++before) {
    const auto iterator = MakeIterator();
    Numbers seen = Drain(*iterator, before);
    iterator->Forget();
    iterator->Forget();
    for (const TagId number : Drain(*iterator)) seen.push_back(number);
    EXPECT_EQ(seen, (Numbers{2, 3, 5, 7, 11, 13, 17})) << before;
  }
}

TEST_F(PagedIteratorTest, KeepsNoMemoryForAPageThatIsForgotten) {
  const auto iterator = MakeIterator();
  const auto& pages = static_cast<const Iterator&>(*iterator);
  EXPECT_EQ(Drain(*iterator, 1), Numbers{2});
  EXPECT_GE(pages.capacity(), 3U);
  iterator->Forget();
  EXPECT_EQ(pages.capacity(), 0U);
}

TEST_F(PagedIteratorTest, PassesOverWhatWentAndSeesWhatCameBehindItsPage) {
  const auto iterator = MakeIterator();
  EXPECT_EQ(Drain(*iterator, 3), (Numbers{2, 3, 5}));
  numbers.erase(7);
  numbers.insert({4, 8});
  EXPECT_EQ(Drain(*iterator), (Numbers{8, 11, 13, 17}));
}

TEST_F(PagedIteratorTest, GoesOnFromAKeyThatIsGone) {
  const auto iterator = MakeIterator();
  EXPECT_EQ(Drain(*iterator, 1), Numbers{2});
  iterator->Forget();
  numbers.erase(3);
  EXPECT_EQ(Drain(*iterator), (Numbers{5, 7, 11, 13, 17}));
}

TEST_F(PagedIteratorTest, IsNotMadeOfAQueryThatFails) {
  failure = ZR3_ERR_INVALID_ARGUMENT;
  EXPECT_EQ(MakeIterator(), nullptr);
}

TEST_F(PagedIteratorTest, TriesAPageAgainThatFailed) {
  const auto iterator = MakeIterator();
  EXPECT_EQ(Drain(*iterator, 3), (Numbers{2, 3, 5}));
  failure = ZR3_ERR_STORAGE_FAILED;
  TagId item = 1;
  EXPECT_EQ(iterator->Next(&item).code(), ZR3_ERR_STORAGE_FAILED);
  EXPECT_EQ(item, 1U);
  failure = ZR3_OK;
  EXPECT_EQ(Drain(*iterator), (Numbers{7, 11, 13, 17}));
}

TEST_F(PagedIteratorTest, GoesOnBehindAPageThatIsEmpty) {
  int calls = 0;
  Result<std::unique_ptr<ItemIterator>> iterator = Iterator::Make(
      {.fetch = [&](TagId key, std::int32_t) -> Result<Page<TagId>> {
         if (++calls < 4) return Page<TagId>{.items = {}, .next = key + 100};
         return Page<TagId>{.items = {key}, .next = std::nullopt};
       },
       .key_of = [](const TagId& number) { return number; },
       .fill = [](const TagId& number, void* to) { *static_cast<TagId*>(to) = number; }},
      1);
  ASSERT_TRUE(iterator.ok());
  EXPECT_EQ(Drain(**iterator), Numbers{301});
}

}  // namespace
}  // namespace zervane
