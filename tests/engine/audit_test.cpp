// What the log tells of who does what.

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <spdlog/sinks/ostream_sink.h>

#include <map>
#include <memory>
#include <sstream>
#include <string>
#include <vector>

#include "engine/authorised.h"
#include "engine/log.h"

namespace zervane {
namespace {

using testing::HasSubstr;
using testing::Not;

// Answers every operation as it is told.
class AnsweringDatabase final : public Database {
 public:
  explicit AnsweringDatabase(const ZR3_STATUS* answer) : answer_(*answer) {}

  std::optional<std::int64_t> HeardCatalogueVersion(const Caller&) const override { return 1; }
  Status Carry(const Caller&, OperationNumber, const void*, void*) override {
    return {answer_, {}};
  }
  Status Close() override { return {}; }

 private:
  const ZR3_STATUS& answer_;
};

class AuditTest : public testing::Test {
 protected:
  AuditTest() : sinks_(Log().sinks()), level_(Log().level()) {
    Log().sinks() = {std::make_shared<spdlog::sinks::ostream_sink_st>(text_)};
    Log().sinks().front()->set_pattern("%l: %v");
    Log().set_level(spdlog::level::info);
  }
  ~AuditTest() override {
    Log().sinks() = sinks_;
    Log().set_level(level_);
  }

  // What the log tells of the operation, asked by anna.
  template <typename Op>
  std::string LineOf(const Op& operation, ZR3_STATUS answer = ZR3_OK) {
    answer_ = answer;
    text_.str({});
    (void)database_.Do({.user = "anna", .user_id = 7, .session = 1, .from = "the mill"}, operation);
    return text_.str();
  }

  std::ostringstream text_;
  int caller_level_ = kMaxLevel;

 private:
  const std::vector<spdlog::sink_ptr> sinks_;
  const spdlog::level::level_enum level_;
  ZR3_STATUS answer_ = ZR3_OK;
  Authorised database_{std::make_unique<AnsweringDatabase>(&answer_),
                       [this](const Caller&, AuthorityItem) { return caller_level_; }};
};

TEST_F(AuditTest, TellsWhoFromWhereWhatAndWhatBecameOfIt) {
  EXPECT_EQ(LineOf(DeleteTag{.id = 5}),
            "info: audit: 'anna' of the mill: delete tag(id: 5): done\n");
  EXPECT_EQ(LineOf(DeleteTag{.id = 5}, ZR3_ERR_TAG_NOT_FOUND),
            std::string("info: audit: 'anna' of the mill: delete tag(id: 5): ") +
                zr3_status_text(ZR3_ERR_TAG_NOT_FOUND) + "\n");
}

TEST_F(AuditTest, WarnsOfRefusals) {
  caller_level_ = 1;
  EXPECT_EQ(LineOf(DeleteTag{.id = 5}),
            "warning: audit: 'anna' of the mill, level 1, may not delete tag(id: 5), which needs "
            "level 3\n");
  EXPECT_EQ(
      LineOf(Login{.name = "bert", .password = Secret("x")}, ZR3_ERR_LOGIN_FAILED),
      std::string("warning: audit: 'anna' of the mill: log in(name: 'bert', password: ***): ") +
          zr3_status_text(ZR3_ERR_LOGIN_FAILED) + "\n");
}

TEST_F(AuditTest, TellsNoPassword) {
  AddUser add{.name = "bert", .password = Secret("open sesame"), .description = "d"};
  ChangePassword change{
      .user = "bert", .old_password = Secret("open sesame"), .new_password = Secret("sesame open")};
  ResetPassword reset{.user = "bert", .password = Secret("open sesame")};
  for (const int level : {kMaxLevel, 0}) {
    caller_level_ = level;
    EXPECT_THAT(LineOf(add), AllOf(HasSubstr("bert"), Not(HasSubstr("sesame"))));
    EXPECT_THAT(LineOf(change), AllOf(HasSubstr("bert"), Not(HasSubstr("sesame"))));
    EXPECT_THAT(LineOf(reset), AllOf(HasSubstr("bert"), Not(HasSubstr("sesame"))));
  }
}

// A name in the log cannot be made to look like a line of its own.
TEST_F(AuditTest, KeepsNamesToTheirLine) {
  Login login;
  login.name = "x\ninfo: audit: 'admin' of here: log in(name: 'admin'): done";
  EXPECT_THAT(LineOf(login, ZR3_ERR_LOGIN_FAILED), Not(HasSubstr("\ninfo")));
}

// Whatever changes users, tags and alarms, and logins; of what reads and of values there would be
// too much.
TEST_F(AuditTest, IsOfLoginsAndOfChangesToTagsAlarmsUsersAndSettings) {
  AllOperations::ForEach([&]<typename Op>() {
    const OperationRow& row = RowOf(Op::kNumber);
    const bool is_of_values = row.item == AuthorityItem::kRecords;
    const bool is_told = Op::kNumber == OperationNumber::kLogin || (row.changes && !is_of_values);
    EXPECT_EQ(LineOf(Op()).empty(), !is_told) << row.name;
  });
}

TEST_F(AuditTest, IsNotWrittenWhereTheLogIsQuieter) {
  Log().set_level(spdlog::level::warn);
  EXPECT_EQ(LineOf(DeleteTag{.id = 5}), "");
}

}  // namespace
}  // namespace zervane
