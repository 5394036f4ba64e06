#include "engine/catalogue/tag_listings.h"

#include <gtest/gtest.h>

#include <memory>
#include <new>
#include <string>
#include <vector>

#include "api/words/tag_columns.h"
#include "tests/engine/short_memory.h"

namespace zervane {
namespace {

class TagListingsTest : public testing::Test {
 protected:
  TagListingsTest() { AddUpTo(2'500); }

  void AddUpTo(TagId last) {
    auto image = std::make_shared<TagImage>(*image_);
    for (TagId id = image->last_id() + 1; id <= last; ++id) {
      Tag tag;
      tag.id = id;
      tag.name = "T" + std::to_string(id);
      tag.eng_units = "bar";
      image->Put(PackedTag::Pack(tag));
    }
    image->SetLastId(last);
    image_ = std::move(image);
  }
  void Remove(TagId id) {
    auto image = std::make_shared<TagImage>(*image_);
    image->Remove(id);
    image_ = std::move(image);
  }

  Result<ListTags::Reply> List(const ListTags& operation, SessionId session = 1) {
    return listings_.List(Caller{.user = "u", .session = session, .from = "here"}, operation,
                          image_, is_stopped_);
  }
  // The first page of a listing that goes on.
  ListTags::Reply Begin(SessionId session = 1) { return *List({}, session); }
  ZR3_STATUS GoOn(std::uint64_t snapshot, SessionId session = 1) {
    return List({.snapshot = snapshot, .from = 1'001}, session).code();
  }

  std::int64_t now_ms_ = 1'000'000;
  TagListings listings_{[this] { return now_ms_; }, {.listings = 16}};
  TagImagePtr image_ = std::make_shared<TagImage>();
  StopFlag is_stopped_{false};
};

TEST_F(TagListingsTest, ListAllTagsOfOneInstantPageByPage) {
  ListTags operation;
  std::vector<TagId> ids;
  int pages = 0;
  do {
    const Result<ListTags::Reply> reply = List(operation);
    ASSERT_TRUE(reply.ok());
    EXPECT_EQ(reply->total, 2'500);
    for (const Tag& tag : reply->page.items) ids.push_back(tag.id);
    ++pages;
    operation.snapshot = reply->snapshot;
    operation.from = reply->page.next.value_or(0);
    // None of this is seen.
    Remove(2'500 - static_cast<TagId>(pages));
    AddUpTo(2'500 + static_cast<TagId>(pages));
  } while (operation.from != 0);
  EXPECT_EQ(pages, 3);
  ASSERT_EQ(ids.size(), 2'500U);
  for (TagId id = 1; id <= 2'500; ++id) ASSERT_EQ(ids[id - 1], id);
  EXPECT_EQ(operation.snapshot, 0U) << "the last page ends the listing";
  EXPECT_EQ(listings_.size(), 0U);
}

TEST_F(TagListingsTest, KeepNothingOfAListingOfOnePage) {
  image_ = std::make_shared<TagImage>();
  AddUpTo(1'000);
  const Result<ListTags::Reply> reply = List({});
  EXPECT_EQ(reply->page.items.size(), 1'000U);
  EXPECT_FALSE(reply->page.next.has_value());
  EXPECT_EQ(reply->snapshot, 0U);
  EXPECT_EQ(listings_.size(), 0U);
}

TEST_F(TagListingsTest, ListTheClassesThatAreAskedFor) {
  EXPECT_EQ(List({.class_mask = 1})->total, 2'500);
  const Result<ListTags::Reply> alarms = List({.class_mask = 2});
  EXPECT_EQ(alarms->total, 0);
  EXPECT_TRUE(alarms->page.items.empty());
  EXPECT_FALSE(alarms->page.next.has_value());
}

TEST_F(TagListingsTest, GiveTheSelectedCommonPropertiesAlone) {
  const std::int64_t units = std::int64_t{1} << ZR3_TAG_COL_COMM_PROP_ENG_UNITS;
  Tag expected;
  ClearProperties(expected, ZR3_TAG_CLASS_BASIC);
  expected.id = 1;
  expected.name = "T1";
  EXPECT_EQ(List({.mask = 0})->page.items.front(), expected);
  expected.eng_units = "bar";
  EXPECT_EQ(List({.mask = units})->page.items.front(), expected);
}

TEST_F(TagListingsTest, KeepToTheClassesAndPropertiesOfTheFirstPage) {
  const Result<ListTags::Reply> first = List({.class_mask = 1, .mask = 0});
  const Result<ListTags::Reply> next = List({.class_mask = 2,
                                             .mask = std::int64_t{1} << 60,
                                             .snapshot = first->snapshot,
                                             .from = *first->page.next});
  ASSERT_TRUE(next.ok());
  EXPECT_EQ(next->page.items.size(), 1'000U);
  EXPECT_EQ(next->page.items.front().eng_units, "");
}

TEST_F(TagListingsTest, RefuseMasksThatMeanNothing) {
  EXPECT_EQ(List({.class_mask = 0}).code(), ZR3_ERR_INVALID_MASK);
  EXPECT_EQ(List({.class_mask = 128}).code(), ZR3_ERR_INVALID_MASK);
  EXPECT_EQ(List({.mask = std::int64_t{1} << 36}).code(), ZR3_ERR_INVALID_MASK);
  EXPECT_EQ(listings_.size(), 0U);
}

TEST_F(TagListingsTest, EndAMinuteAfterAPageWasLastAskedFor) {
  const std::uint64_t snapshot = Begin().snapshot;
  for (int page = 0; page < 3; ++page) {
    now_ms_ += 60'000;
    EXPECT_EQ(GoOn(snapshot), ZR3_OK) << "every page begins the minute anew";
  }
  now_ms_ += 60'001;
  EXPECT_EQ(GoOn(snapshot), ZR3_ERR_INVALID_HANDLE);
  EXPECT_EQ(listings_.size(), 0U);
}

TEST_F(TagListingsTest, BelongToTheSessionThatBeganThem) {
  const std::uint64_t snapshot = Begin(7).snapshot;
  EXPECT_EQ(GoOn(snapshot, 8), ZR3_ERR_INVALID_HANDLE);
  EXPECT_EQ(GoOn(snapshot, 7), ZR3_OK);
  EXPECT_EQ(GoOn(snapshot + 1, 7), ZR3_ERR_INVALID_HANDLE);
}

TEST_F(TagListingsTest, AreTakenAwayWhenTheyAreIdleAndAnotherBegins) {
  (void)Begin();
  now_ms_ += 60'001;
  EXPECT_TRUE(List({.class_mask = 2}).ok());  // of one page, so that it is not kept itself
  EXPECT_EQ(listings_.size(), 0U);
}

TEST_F(TagListingsTest, EndWithAPageThatFails) {
  const std::uint64_t other = Begin(7).snapshot;
  EXPECT_EQ(GoOn(other, 8), ZR3_ERR_INVALID_HANDLE);
  EXPECT_EQ(listings_.size(), 1U) << "another session's goes on";

  const std::uint64_t stopped = Begin().snapshot;
  is_stopped_ = true;
  EXPECT_EQ(GoOn(stopped), ZR3_ERR_NOT_CONNECTED);
  is_stopped_ = false;
  EXPECT_EQ(GoOn(stopped), ZR3_ERR_INVALID_HANDLE);

  const std::uint64_t starved = Begin().snapshot;
  ZR3_STATUS status = ZR3_OK;
  {
    const ShortMemory memory(1);
    try {
      status = GoOn(starved);
    } catch (const std::bad_alloc&) {
    }
  }
  EXPECT_EQ(status, ZR3_ERR_OUT_OF_MEMORY);
  EXPECT_EQ(GoOn(starved), ZR3_ERR_INVALID_HANDLE);
  EXPECT_EQ(listings_.size(), 1U);
  EXPECT_EQ(GoOn(other, 7), ZR3_OK);
}

TEST_F(TagListingsTest, MayBeManyAtATimeForTheyShareTheirTags) {
  EXPECT_EQ(TagListings::Limits().listings, 1'024U);
}

TEST_F(TagListingsTest, AreNoMoreThanMayBeAtATime) {
  std::uint64_t last = 0;
  for (int i = 0; i < 16; ++i) last = Begin().snapshot;
  EXPECT_EQ(List({}).code(), ZR3_ERR_OUT_OF_MEMORY);
  EXPECT_EQ(GoOn(last), ZR3_OK);
  EXPECT_TRUE(List({.snapshot = last, .from = 2'001}).ok());  // the last page
  EXPECT_TRUE(List({}).ok());
  EXPECT_EQ(List({}).code(), ZR3_ERR_OUT_OF_MEMORY);
  now_ms_ += 60'001;
  EXPECT_TRUE(List({}).ok());
  EXPECT_EQ(listings_.size(), 1U);
}

TEST_F(TagListingsTest, AreOfNoMoreTagsThanMayBeAtOnce) {
  EXPECT_EQ(TagListings::Limits().tags, 500'000);
  TagListings few([] { return std::int64_t{0}; }, {.tags = 2'500});
  EXPECT_EQ(few.List({}, {}, image_, is_stopped_)->total, 2'500);
  AddUpTo(2'501);
  EXPECT_EQ(few.List({}, {}, image_, is_stopped_).code(), ZR3_ERR_OUT_OF_MEMORY);
  EXPECT_EQ(few.List({}, {.class_mask = 2}, image_, is_stopped_)->total, 0)
      << "those of other classes do not count";
}

}  // namespace
}  // namespace zervane
