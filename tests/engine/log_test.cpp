#include "engine/log.h"

#include <gtest/gtest.h>
#include <spdlog/sinks/ostream_sink.h>

#include <memory>
#include <sstream>
#include <stdexcept>
#include <string>
#include <vector>

#include "tests/engine/short_memory.h"

namespace zervane {
namespace {

// A sink that fails, as a full disk's or a closed pipe's may.
class FailingSink : public spdlog::sinks::sink {
 public:
  void log(const spdlog::details::log_msg&) override { throw std::runtime_error("no room"); }
  void flush() override {}
  void set_pattern(const std::string&) override {}
  void set_formatter(std::unique_ptr<spdlog::formatter>) override {}
};

// The library's log goes to a text, and afterwards to where it went before.
class LogTest : public testing::Test {
 protected:
  LogTest() : sinks_(Log().sinks()), level_(Log().level()) {
    Log().sinks() = {std::make_shared<spdlog::sinks::ostream_sink_st>(text_)};
    Log().sinks().front()->set_pattern("%l: %v");
    Log().set_level(spdlog::level::warn);
    Log().set_error_handler([](const std::string&) {});  // the default one speaks up as well
  }
  ~LogTest() override {
    Log().sinks() = sinks_;
    Log().set_level(level_);
    Log().set_error_handler(nullptr);
  }

  std::ostringstream text_;

 private:
  const std::vector<spdlog::sink_ptr> sinks_;
  const spdlog::level::level_enum level_;
};

TEST_F(LogTest, HasALineForEachCallThatItsLevelLetsThrough) {
  LogError("{} of {}", 1, std::string("two"));
  LogWarning("three");
  LogAt(spdlog::level::info, "four {}", 4.5);
  EXPECT_EQ(text_.str(), "error: 1 of two\nwarning: three\n");
}

TEST_F(LogTest, HasOneLineForEachCallWhateverTheTextsInItAre) {
  LogError("no user '{}'", "x\n2026-11-22 zervane info: audit\r \t \x7f");
  EXPECT_EQ(text_.str(), "error: no user 'x?2026-11-22 zervane info: audit? ? ?'\n");
}

TEST_F(LogTest, LeavesALineOutThatThereIsNoMemoryFor) {
  const std::string long_text(10'000, 'x');
  {
    const ShortMemory memory(1);
    LogError("a long line: {}", long_text);
  }
  EXPECT_EQ(text_.str().find("a long line"), std::string::npos);
  LogError("and another");
  EXPECT_NE(text_.str().find("and another"), std::string::npos);
}

TEST_F(LogTest, SurvivesASinkThatFails) {
  bool was_told = false;
  Log().sinks() = {std::make_shared<FailingSink>()};
  Log().set_error_handler([&](const std::string&) {
    was_told = true;
    throw std::runtime_error("no room for that, either");
  });
  LogError("lost");
  EXPECT_TRUE(was_told);
}

}  // namespace
}  // namespace zervane
