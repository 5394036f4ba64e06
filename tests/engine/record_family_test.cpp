#include "engine/record_family.h"

#include <gtest/gtest.h>

#include "engine/storage/table.h"
#include "engine/write/turn.h"
#include "tests/engine/records.h"
#include "tests/engine/storage/store_driver.h"

namespace zervane {
namespace {

constexpr TagId kPoint = 1;
constexpr TagId kStatistics = 2;

class RecordFamilyTest : public testing::Test {
 protected:
  RecordFamilyTest() {
    EXPECT_TRUE(writes_.Start(Turn::Issue()).ok());
    for (const TagId tag : {kPoint, kStatistics}) {
      const auto plan = [&](Turn&, StoreBatch& batch) {
        Table<Tag>::Put(storage::TagNamed(tag, "T" + std::to_string(tag)), batch);
        tags_.Reserve(tag);
        return Status();
      };
      EXPECT_TRUE(
          writes_.Change(plan, [&](Turn&) { tags_.Put(tag, {.is_own = tag == kStatistics}); })
              .ok());
      const WriteSamples write = {.batch = BatchOf({{tag, NumberAt(10)}})};
      EXPECT_EQ(writes_.Write(Caller::System(), write)->status, ZR3_OK);
    }
  }
  ~RecordFamilyTest() override { (void)writes_.Close(); }

  std::unique_ptr<Store> store_ = OpenMemoryStore();
  TagIndex tags_;
  WritePath writes_{*store_, tags_, [] { return std::int64_t{0}; }};
  RecordFamily family_{*store_, tags_, writes_};
};

TEST_F(RecordFamilyTest, CorrectsRecordsOfPointTagsAlone) {
  const auto correct = [&](TagId tag) {
    return family_.Handle({}, CorrectRecord{.id = tag, .sample = NumberAt(10, 5)}).code();
  };
  EXPECT_EQ(correct(kPoint), ZR3_OK);
  EXPECT_EQ(correct(kStatistics), ZR3_ERR_INVALID_TAG_CLASS);
  EXPECT_EQ(writes_.current_values().Find(kPoint), NumberAt(10, 5));
  EXPECT_EQ(writes_.current_values().Find(kStatistics), NumberAt(10));
}

}  // namespace
}  // namespace zervane
