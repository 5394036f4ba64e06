#include "engine/history/many_tags.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <map>

#include "tests/engine/history/history_fixture.h"

namespace zervane {
namespace {

using testing::ElementsAre;

// Tag 1 has floats, tag 2 texts, tag 3 cannot be read, there is no tag 4.
class ManyTags : public testing::Test {
 protected:
  ManyTags() {
    store_.Put(1, {FloatAt(10, 1), FloatAt(20, 3)});
    store_.Put(2, {WordAt(10, "open"), WordAt(20, "shut")});
    store_.Put(3, {WholeAt(10, TagType::kInt32, 1), WholeAt(20, TagType::kInt32, 2),
                   WholeAt(30, TagType::kInt32, 3), WholeAt(40, TagType::kInt32, 4)});
    store_.Damage(1);
  }

  Result<TagPoints> Read(TagId id) {
    ++reads_[id];
    if (id == 4) return Status(ZR3_ERR_TAG_NOT_FOUND, {});
    const TagType type = id == 2 ? TagType::kString : id == 3 ? TagType::kInt32 : TagType::kFloat64;
    return TagPoints::Read(store_, values_, id, {.type = type}, 1000);
  }
  Result<Interpolated> Ask(std::vector<TagId> ids, std::vector<std::int64_t> times) {
    return InterpolateMany(
        {.mode = InterpolationMode::kLinear, .ids = std::move(ids), .times_ms = std::move(times)},
        [this](TagId id) { return Read(id); });
  }

  RunStore store_{{.chunk_records = 3}};
  CurrentValues values_;
  std::map<TagId, int> reads_;
};

TEST_F(ManyTags, AreAnsweredEachAtItsInstant) {
  const auto reply = Ask({2, 1, 2, 1, 1}, {25, 15, 15, 5, 20});
  ASSERT_TRUE(reply.ok());
  EXPECT_THAT(reply->codes, ElementsAre(ZR3_OK, ZR3_OK, ZR3_OK, ZR3_ERR_NO_RECORD, ZR3_OK));
  EXPECT_EQ(reply->samples.At(0), WordAt(25, "shut"));
  EXPECT_EQ(reply->samples.At(1), FloatAt(15, 2));
  EXPECT_EQ(reply->samples.At(2), WordAt(15, "open"));
  EXPECT_EQ(reply->samples.times()[3], 5);
  EXPECT_EQ(reply->samples.At(4), FloatAt(20, 3));
}

TEST_F(ManyTags, HaveATextThatManyInstantsShareOnce) {
  const auto reply = Ask({2, 2, 2, 2}, {12, 25, 11, 13});
  ASSERT_TRUE(reply.ok());
  EXPECT_EQ(reply->samples.At(0), WordAt(12, "open"));
  EXPECT_EQ(reply->samples.At(1), WordAt(25, "shut"));
  EXPECT_EQ(reply->samples.At(2), WordAt(11, "open"));
  EXPECT_EQ(reply->samples.At(3), WordAt(13, "open"));
  EXPECT_EQ(reply->samples.texts().size(), 8U);
}

TEST_F(ManyTags, AreReadOnceEach) {
  ASSERT_TRUE(Ask({1, 2, 1, 2, 1}, {15, 15, 16, 16, 17}).ok());
  EXPECT_EQ(reads_[1], 1);
  EXPECT_EQ(reads_[2], 1);
}

TEST_F(ManyTags, HaveTheirStatusAsTheCodeOfTheirInstants) {
  const auto reply = Ask({3, 4, 1, 4}, {40, 15, 15, 16});
  ASSERT_TRUE(reply.ok());
  EXPECT_THAT(reply->codes, ElementsAre(ZR3_ERR_STORAGE_DAMAGED, ZR3_ERR_TAG_NOT_FOUND, ZR3_OK,
                                        ZR3_ERR_TAG_NOT_FOUND));
  EXPECT_THAT(reply->samples.times(), ElementsAre(40, 15, 15, 16));
}

TEST_F(ManyTags, FailAsAWholeWhenTheDatabaseIsClosed) {
  ASSERT_TRUE(store_.Close().ok());
  EXPECT_EQ(Ask({1, 2}, {15, 15}).code(), ZR3_ERR_NOT_CONNECTED);
}

TEST_F(ManyTags, MayBeNone) {
  const auto reply = Ask({}, {});
  ASSERT_TRUE(reply.ok());
  EXPECT_TRUE(reply->codes.empty());
}

}  // namespace
}  // namespace zervane
