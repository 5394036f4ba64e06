// The writing process of the users' kill test. It is the system that asks, for admin may lose his
// rights here, as any other.
#include "tests/engine/database/user_kill_script.h"
#include "tests/engine/database/writing_process.h"

namespace zervane {
namespace {

using user_kill::Deed;
using user_kill::Step;

Status Perform(DatabaseClient& database, const Step& step) {
  switch (step.deed) {
    case Deed::kAddUser:
      return database
          .Do(AddUser{.name = step.user, .password = Secret(step.text), .description = {}})
          .status();
    case Deed::kDeleteUser:
      return database.Do(DeleteUser{step.user}).status();
    case Deed::kReset:
      return database.Do(ResetPassword{.user = step.user, .password = Secret(step.text)}).status();
    case Deed::kDescribe:
      return database.Do(DescribeUser{.user = step.user, .description = step.text}).status();
    case Deed::kAddGroup:
      return database.Do(AddUserGroup{.name = step.group, .description = step.text}).status();
    case Deed::kDeleteGroup:
      return database.Do(DeleteUserGroup{step.group}).status();
    case Deed::kJoin:
      return database.Do(AddMember{.user = step.user, .group = step.group}).status();
    case Deed::kLeave:
      return database.Do(RemoveMember{.user = step.user, .group = step.group}).status();
  }
  return {ZR3_ERR_INTERNAL, "no deed"};
}

// What the rules refuse is answered, too.
bool IsRefusal(const Status& status) { return status.code() / 1'000 == 121; }

}  // namespace
}  // namespace zervane

int main(int, char** arguments) {
  using zervane::DatabaseClient;
  using zervane::Status;
  return zervane::Run({.name = "user_kill_writer",
                       .options = {},
                       .caller = zervane::Caller::System(),
                       .prepare = [](DatabaseClient&) { return Status(); },
                       .step =
                           [](DatabaseClient& database, unsigned seed, std::int64_t number) {
                             Status status = zervane::Perform(
                                 database, zervane::user_kill::StepOf(seed, number));
                             return zervane::IsRefusal(status) ? Status() : status;
                           }},
                      arguments);
}
