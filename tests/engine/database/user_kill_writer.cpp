// The writing process of the users' kill test: performs the script's steps from a number on,
// without end, and writes each answered step's number to file descriptor 3. Opens the database anew
// now and then, so that it is also killed while it closes and opens.
//
// user_kill_writer FOLDER SEED FIRST_STEP
#include <unistd.h>

#include <cstdio>
#include <memory>
#include <string>
#include <utility>

#include "api/operation_table.h"
#include "engine/embedded.h"
#include "tests/engine/database/user_kill_script.h"

namespace {

using zervane::Caller;
using zervane::Database;
using zervane::Secret;
using zervane::Status;
using zervane::user_kill::Deed;
using zervane::user_kill::Step;

constexpr int kAnswers = 3;
constexpr int kStepsPerOpen = 40;

Status Perform(Database& database, const Step& step) {
  const Caller& caller = Caller::System();  // admin may lose his rights here, as any other
  switch (step.deed) {
    case Deed::kAddUser:
      return database
          .Do(caller,
              zervane::AddUser{.name = step.user, .password = Secret(step.text), .description = {}})
          .status();
    case Deed::kDeleteUser:
      return database.Do(caller, zervane::DeleteUser{step.user}).status();
    case Deed::kReset:
      return database
          .Do(caller, zervane::ResetPassword{.user = step.user, .password = Secret(step.text)})
          .status();
    case Deed::kDescribe:
      return database.Do(caller, zervane::DescribeUser{.user = step.user, .description = step.text})
          .status();
    case Deed::kAddGroup:
      return database
          .Do(caller, zervane::AddUserGroup{.name = step.group, .description = step.text})
          .status();
    case Deed::kDeleteGroup:
      return database.Do(caller, zervane::DeleteUserGroup{step.group}).status();
    case Deed::kJoin:
      return database.Do(caller, zervane::AddMember{.user = step.user, .group = step.group})
          .status();
    case Deed::kLeave:
      return database.Do(caller, zervane::RemoveMember{.user = step.user, .group = step.group})
          .status();
  }
  return {ZR3_ERR_INTERNAL, "no deed"};
}

// What the rules refuse is answered, too.
bool IsRefusal(const Status& status) { return status.code() / 1'000 == 121; }

Status Work(Database& database, unsigned seed, std::int64_t& number) {
  for (int i = 0; i < kStepsPerOpen; ++i, ++number) {
    Status status = Perform(database, zervane::user_kill::StepOf(seed, number));
    if (!status.ok() && !IsRefusal(status)) return status;
    if (write(kAnswers, &number, sizeof(number)) != sizeof(number)) {
      return {ZR3_ERR_INTERNAL, "nobody listens"};
    }
  }
  return database.Close();
}

}  // namespace

int main(int, char** arguments) {
  const std::string folder = arguments[1];
  const auto seed = static_cast<unsigned>(std::stoul(arguments[2]));
  std::int64_t number = std::stoll(arguments[3]);
  for (;;) {
    const auto database = zervane::OpenEmbeddedFolder(folder);
    const Status status = database.ok() ? Work(**database, seed, number) : database.status();
    if (status.ok()) continue;
    std::fprintf(stderr, "user_kill_writer: %d %s\n", status.code(), status.message().c_str());
    return 1;
  }
}
