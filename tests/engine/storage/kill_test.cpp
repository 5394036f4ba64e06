#include <gtest/gtest.h>

#include <random>
#include <string>

#include "tests/engine/storage/kill_script.h"
#include "tests/engine/storage/support.h"
#include "tests/engine/storage/writing_process.h"

namespace zervane::storage {
namespace {

namespace fs = std::filesystem;

// Everything that the store holds.
KillModel Contents(Store& store) {
  KillModel contents;
  const Result<CatalogueImage> catalogue = store.LoadCatalogue();
  const Result<std::vector<TagSample>> current = store.LoadCurrent();
  for (const TagProperties& tag : catalogue->tags) {
    for (const Sample& sample : ReadAll(store, tag.id)) {
      contents.tags[tag.id].archive[sample.time_ms] = sample;
    }
    contents.tags[tag.id];
  }
  for (const TagSample& value : *current) {
    contents.tags[value.tag].current = value.sample;
  }
  return contents;
}

class KilledWriter : public testing::Test {
 protected:
  std::int64_t Draw(std::int64_t from, std::int64_t to) {
    return std::uniform_int_distribution(from, to)(random_);
  }

  // Lets a writer go on and kills it. The model gets what it answered.
  void WriteAndKill() {
    const WritingProcess writer(ZERVANE_KILL_WRITER, folder_.path(), seed_, next_step_);
    const std::int64_t wanted = Draw(1, 40);
    std::optional<std::int64_t> answer;
    for (std::int64_t i = 0; i < wanted; ++i) {
      answer = writer.NextAnswer();
      ASSERT_TRUE(answer.has_value()) << "the writer failed, see above";
      TakeAnswer(*answer);
    }
    Dawdle(Draw(0, 3'000'000));
    ASSERT_TRUE(writer.Kill());
    while ((answer = writer.NextAnswer())) TakeAnswer(*answer);
  }

  void TakeAnswer(std::int64_t step) {
    ASSERT_EQ(step, next_step_);
    model_.Apply(StepOf(seed_, step));
    ++next_step_;
  }

  // What the folder holds is what was answered, or that and the whole step that was under way.
  void ExpectAllAnswered(const fs::path& folder) {
    const KillModel contents = Contents(*MustOpen(folder));
    ExpectWholeFile(folder);
    if (contents == model_) return;
    model_.Apply(StepOf(seed_, next_step_));
    ++next_step_;
    EXPECT_TRUE(contents == model_) << "something is lost or torn after step " << next_step_ - 1;
  }

  TempFolder folder_;
  const unsigned seed_ = std::random_device{}();
  std::mt19937 random_{seed_};
  KillModel model_;
  std::int64_t next_step_ = 0;
};

TEST_F(KilledWriter, LosesNothingThatItAnsweredAndTearsNothing) {
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
    const TempFolder copy;
    CopyAsAfterCrash(folder_.path(), copy.path());
    ExpectAllAnswered(copy.path());
  }
}

}  // namespace
}  // namespace zervane::storage
