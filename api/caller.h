#pragma once

#include <cstdint>
#include <string>

#include "api/words/user.h"

namespace zervane {

// Tells the sessions of a database apart; 0 is the engine's own.
using SessionId = std::uint64_t;

// Who asks for an operation. Stamps of creation and change are in the user's name; a batch that is
// lost after it was answered is told to its session, and to no other.
struct Caller {
  std::string user = "admin";
  UserId user_id = kAdminId;  // which is what counts: a user of the same name may be another
  SessionId session = 1;
  std::string from = "this process";  // for the log
  bool is_remote = false;             // not in this process: an empty password never logs in

  // The engine itself.
  static const Caller& System() {
    static const Caller system{
        .user = "system", .user_id = 0, .session = 0, .from = "the database"};
    return system;
  }
};

}  // namespace zervane
