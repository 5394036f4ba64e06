#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <filesystem>
#include <functional>
#include <optional>
#include <random>
#include <string>

#include "tests/engine/storage/sqlite/writing_process.h"
#include "tests/engine/storage/support.h"
#include "tests/support/seed.h"

namespace zervane::storage {

// Lets a program write, kills it at any instant, looks at what it left, and again: each time the
// next one goes on where the last one was killed.
class KillFixture : public testing::Test {
 protected:
  // A program runs until it has answered up to so many steps, and a little longer.
  KillFixture(const char* program, std::int64_t most_answers)
      : program_(program), most_answers_(most_answers) {}

  // The program answered the step: whatever it stands for is stored.
  virtual void TakeAnswer(std::int64_t step) = 0;
  // The program is killed, and has answered nothing more; next_step_ may have been under way.
  virtual void TakeKill() {}
  // The folder holds what was answered; next_step_ is then the next program's first.
  virtual void ExpectAllAnswered(const std::filesystem::path& folder) = 0;

  void RunRounds(int rounds) {
    for (int round = 0; round < rounds && !HasFailure(); ++round) {
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

  // The same, and some more when no kill has come yet at the instant that the test is about.
  void RunRoundsUntil(int rounds, const std::function<bool()>& has_come) {
    constexpr int kMostMore = 100;
    RunRounds(rounds);
    for (int more = 0; more < kMostMore && !has_come() && !HasFailure(); ++more) RunRounds(2);
  }

  TempFolder folder_;
  const Seed seed_;
  std::int64_t next_step_ = 0;

 private:
  std::int64_t Draw(std::int64_t from, std::int64_t to) {
    return std::uniform_int_distribution(from, to)(random_);
  }

  void WriteAndKill() {
    const WritingProcess writer(program_, folder_.path(), seed_.value(), next_step_);
    const std::int64_t wanted = Draw(1, most_answers_);
    std::optional<std::int64_t> answer;
    for (std::int64_t i = 0; i < wanted; ++i) {
      answer = writer.NextAnswer();
      ASSERT_TRUE(answer.has_value()) << "the writer failed, see above";
      TakeAnswer(*answer);
    }
    Dawdle(Draw(0, 3'000'000));
    ASSERT_TRUE(writer.Kill());
    while ((answer = writer.NextAnswer())) TakeAnswer(*answer);
    TakeKill();
  }

  const char* const program_;
  const std::int64_t most_answers_;
  std::mt19937 random_{seed_.value()};
};

}  // namespace zervane::storage
