#include <fcntl.h>
#include <gtest/gtest.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <csignal>
#include <random>
#include <string>

#include "tests/engine/storage/kill_script.h"
#include "tests/engine/storage/support.h"

namespace zervane::storage {
namespace {

namespace fs = std::filesystem;

// The process that writes, and the pipe on which it tells of its answers.
class Writer {
 public:
  Writer(const fs::path& folder, unsigned seed, std::int64_t first_step) {
    std::array<int, 2> ends{};
    if (pipe2(ends.data(), O_CLOEXEC) != 0) std::abort();
    answers_ = ends[0];
    std::array<std::string, 4> words = {ZERVANE_KILL_WRITER, folder.string(), std::to_string(seed),
                                        std::to_string(first_step)};
    std::array<char*, 5> arguments = {words[0].data(), words[1].data(), words[2].data(),
                                      words[3].data(), nullptr};
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_adddup2(&actions, ends[1], 3);
    if (posix_spawn(&process_, arguments[0], &actions, nullptr, arguments.data(), environ) != 0) {
      std::abort();
    }
    posix_spawn_file_actions_destroy(&actions);
    close(ends[1]);
  }
  Writer(const Writer&) = delete;
  Writer& operator=(const Writer&) = delete;
  ~Writer() { close(answers_); }

  // The next answered step; none once the process has ended.
  std::optional<std::int64_t> NextAnswer() const {
    std::int64_t step = 0;
    if (read(answers_, &step, sizeof(step)) != sizeof(step)) return std::nullopt;
    return step;
  }

  // Ends the process at once. True when nothing else had ended it.
  bool Kill() const {
    kill(process_, SIGKILL);
    int status = 0;
    waitpid(process_, &status, 0);
    return WIFSIGNALED(status) && WTERMSIG(status) == SIGKILL;
  }

 private:
  pid_t process_ = -1;
  int answers_ = -1;
};

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

// Passes a moment of random length, so that the kill meets the writer anywhere in its next steps.
void Dawdle(std::int64_t turns) {
  for (volatile std::int64_t turn = 0; turn < turns;) turn = turn + 1;
}

class KilledWriter : public testing::Test {
 protected:
  std::int64_t Draw(std::int64_t from, std::int64_t to) {
    return std::uniform_int_distribution(from, to)(random_);
  }

  // Lets a writer go on and kills it. The model gets what it answered.
  void WriteAndKill() {
    const Writer writer(folder_.path(), seed_, next_step_);
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
