#include <gtest/gtest.h>

#include <filesystem>
#include <memory>
#include <utility>
#include <vector>

#include "engine/embedded.h"
#include "tests/engine/database/archive_model.h"
#include "tests/engine/database/kill_script.h"
#include "tests/engine/storage/sqlite/kill_fixture.h"
#include "tests/engine/storage/support.h"
#include "tests/support/database_client.h"

namespace zervane {
namespace {

namespace fs = std::filesystem;

DatabaseClient Open(const fs::path& folder) {
  auto opened = OpenEmbedded(storage::MustOpen(folder), SystemClock());
  EXPECT_TRUE(opened.ok()) << opened.status().message();
  if (!opened.ok()) std::abort();
  return *std::move(opened);
}

class KilledDatabase : public storage::KillFixture {
 protected:
  KilledDatabase() : KillFixture(ZERVANE_DATABASE_KILL_WRITER, 60) {
    for (TagId tag = 1; tag <= kLastTag; ++tag) model_.tags()[tag].tolerance = ToleranceOf(tag);
  }

  // A durable answer vouches for all that was queued before, too.
  void TakeAnswer(std::int64_t step) override {
    ASSERT_EQ(step, next_step_);
    Accept(step);
    ++next_step_;
    if (StepOf(seed_.value(), step).answer == WriteAnswer::kDurable) model_.StoreAll();
  }

  void TakeKill() override { Accept(next_step_); }

  void Accept(std::int64_t number) {
    const KillStep step = StepOf(seed_.value(), number);
    if (step.correction) {
      ASSERT_EQ(model_.Correct(step.correction->tag, step.correction->sample), ZR3_OK);
      ++corrections_;
      return;
    }
    for (const std::int32_t code : model_.Accept(step.batch, step.order)) ASSERT_EQ(code, ZR3_OK);
  }

  // What the folder holds is what was answered, and of what was queued or under way the first
  // steps.
  void ExpectAllAnswered(const fs::path& folder) override {
    EXPECT_EQ(DifferenceAfterCrash(model_, *Open(folder)), "") << "by step " << next_step_;
    storage::ExpectWholeFile(folder);
    ++next_step_;  // that was under way
    next_step_ -= static_cast<std::int64_t>(model_.unstored());
    model_.LoseUnstored();
  }

  // A change of quality passes all filters, and what they hold goes before it.
  void ExpectNothingHeldIsLost() {
    auto database = Open(folder_.path());
    std::vector<TagSample> batch;
    for (TagId tag = 1; tag <= kLastTag; ++tag) {
      Sample last = *model_.tags()[tag].current;
      last.time_ms += kStepMs;
      const bool is_uncertain = last.quality == ZR3_QUALITY_UNCERTAIN;  // by a correction
      last.quality = is_uncertain ? ZR3_QUALITY_GOOD : ZR3_QUALITY_UNCERTAIN;
      batch.push_back({tag, last});
    }
    model_.Accept(batch, WriteOrder::kInOrder);
    model_.StoreAll();
    std::vector<std::int32_t> codes(batch.size());
    auto written = batch;
    EXPECT_TRUE(
        database->Write(std::move(written), WriteOrder::kInOrder, WriteAnswer::kDurable, codes)
            .ok());
    EXPECT_EQ(DifferenceOfAll(model_, *database), "");
    for (const TagSample& last : batch) {
      EXPECT_EQ(database->ReadRecords(last.tag, {}, Direction::kBackward, 1)->front(), last.sample);
    }
    const TagId compressed = kPlainTags + 2;
    EXPECT_LT(*database->CountRecords(compressed, {}),
              std::ssize(model_.tags()[compressed].archive))
        << "or no filter was at work";
  }

  ArchiveModel model_;
  int corrections_ = 0;
};

TEST_F(KilledDatabase, LosesNothingThatItAnsweredNorTearsABatch) {
  RunRounds(50);
  if (!HasFailure()) ExpectNothingHeldIsLost();
  EXPECT_GT(corrections_, 0);
}

}  // namespace
}  // namespace zervane
