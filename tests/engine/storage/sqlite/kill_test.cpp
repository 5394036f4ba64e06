#include <gtest/gtest.h>

#include <filesystem>

#include "tests/engine/storage/sqlite/kill_fixture.h"
#include "tests/engine/storage/sqlite/kill_script.h"
#include "tests/engine/storage/support.h"

namespace zervane::storage {
namespace {

namespace fs = std::filesystem;

// Everything that the store holds.
KillModel Contents(Store& store) {
  KillModel contents;
  for (const Tag& tag : Tags(store)) {
    for (const Sample& sample : ReadAll(store, tag.id)) {
      contents.tags[tag.id].archive[sample.time_ms] = sample;
    }
    contents.tags[tag.id];
  }
  for (const TagSample& value : CurrentValues(store)) {
    contents.tags[value.tag].current = value.sample;
  }
  return contents;
}

class KilledWriter : public KillFixture {
 protected:
  KilledWriter() : KillFixture(ZERVANE_KILL_WRITER, 40) {}

  void TakeAnswer(std::int64_t step) override {
    ASSERT_EQ(step, next_step_);
    model_.Apply(StepOf(seed_.value(), step));
    ++next_step_;
  }

  // What the folder holds is what was answered, or that and the whole step that was under way.
  void ExpectAllAnswered(const fs::path& folder) override {
    const KillModel contents = Contents(*MustOpen(folder));
    ExpectWholeFile(folder);
    if (contents == model_) return;
    model_.Apply(StepOf(seed_.value(), next_step_));
    ++next_step_;
    EXPECT_TRUE(contents == model_) << "something is lost or torn after step " << next_step_ - 1;
  }

  KillModel model_;
};

TEST_F(KilledWriter, LosesNothingThatItAnsweredAndTearsNothing) { RunRounds(50); }

}  // namespace
}  // namespace zervane::storage
