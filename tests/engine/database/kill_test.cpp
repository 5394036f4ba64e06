#include <gtest/gtest.h>

#include <filesystem>
#include <memory>
#include <optional>
#include <random>
#include <string>
#include <utility>
#include <vector>

#include "engine/embedded.h"
#include "tests/engine/database/archive_model.h"
#include "tests/engine/database/kill_script.h"
#include "tests/engine/storage/support.h"
#include "tests/engine/storage/writing_process.h"

namespace zervane {
namespace {

namespace fs = std::filesystem;

std::unique_ptr<Database> Open(const fs::path& folder) {
  auto opened = OpenEmbedded(storage::MustOpen(folder), SystemClock(), "admin");
  EXPECT_TRUE(opened.ok()) << opened.status().message();
  if (!opened.ok()) std::abort();
  return *std::move(opened);
}

class KilledDatabase : public testing::Test {
 protected:
  KilledDatabase() {
    for (TagId tag = 1; tag <= kLastTag; ++tag) model_.tags()[tag].tolerance = ToleranceOf(tag);
  }

  std::int64_t Draw(std::int64_t from, std::int64_t to) {
    return std::uniform_int_distribution(from, to)(random_);
  }

  // Lets a writer go on and kills it. The model gets what it began and what it answered.
  void WriteAndKill() {
    const storage::WritingProcess writer(ZERVANE_DATABASE_KILL_WRITER, folder_.path(), seed_,
                                         next_step_);
    const std::int64_t wanted = Draw(1, 60);
    std::optional<std::int64_t> answer;
    for (std::int64_t i = 0; i < wanted; ++i) {
      answer = writer.NextAnswer();
      ASSERT_TRUE(answer.has_value()) << "the writer failed, see above";
      TakeAnswer(*answer);
    }
    storage::Dawdle(Draw(0, 3'000'000));
    ASSERT_TRUE(writer.Kill());
    while ((answer = writer.NextAnswer())) TakeAnswer(*answer);
    Accept(next_step_);
  }

  // A durable answer vouches for all that was queued before, too.
  void TakeAnswer(std::int64_t step) {
    ASSERT_EQ(step, next_step_);
    Accept(step);
    ++next_step_;
    if (StepOf(seed_, step).answer == WriteAnswer::kDurable) model_.StoreAll();
  }

  void Accept(std::int64_t number) {
    const KillStep step = StepOf(seed_, number);
    for (const std::int32_t code : model_.Accept(step.batch, step.order)) ASSERT_EQ(code, ZR3_OK);
  }

  // What the folder holds is what was answered, and of what was queued or under way the first
  // steps.
  void ExpectAllAnswered(const fs::path& folder) {
    EXPECT_EQ(DifferenceAfterCrash(model_, *Open(folder)), "") << "by step " << next_step_;
    storage::ExpectWholeFile(folder);
    ++next_step_;  // that was under way
    next_step_ -= static_cast<std::int64_t>(model_.unstored());
    model_.LoseUnstored();
  }

  // A change of quality passes all filters, and what they hold goes before it.
  void ExpectNothingHeldIsLost() {
    const auto database = Open(folder_.path());
    std::vector<TagSample> batch;
    for (TagId tag = 1; tag <= kLastTag; ++tag) {
      Sample last = *model_.tags()[tag].current;
      last.time_ms += kStepMs;
      last.quality = ZR3_QUALITY_UNCERTAIN;
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

  storage::TempFolder folder_;
  const unsigned seed_ = std::random_device{}();
  std::mt19937 random_{seed_};
  ArchiveModel model_;
  std::int64_t next_step_ = 0;
};

TEST_F(KilledDatabase, LosesNothingThatItAnsweredNorTearsABatch) {
  SCOPED_TRACE("seed " + std::to_string(seed_));
  for (int round = 0; round < 50 && !HasFailure(); ++round) {
    SCOPED_TRACE("round " + std::to_string(round));
    WriteAndKill();
    if (HasFailure()) break;
    if (round % 2 == 0) {
      ExpectAllAnswered(folder_.path());
      continue;
    }
    // Looks at a copy, so that the next writer finds what the killed one left.
    const storage::TempFolder copy;
    storage::CopyAsAfterCrash(folder_.path(), copy.path());
    ExpectAllAnswered(copy.path());
  }
  if (!HasFailure()) ExpectNothingHeldIsLost();
}

}  // namespace
}  // namespace zervane
