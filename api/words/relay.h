#pragma once

#include <string>

#include "api/fields.h"
#include "api/words/secret.h"

namespace zervane {

// What an operator sets of the relay to Redis, as texts in UTF-8; docs/relay.md says what they
// mean, which numbers they have when they are empty, and what an empty host or route turns off.
struct RelaySettings {
  std::string source_name;
  std::string host;
  std::string port;
  Secret password;
  std::string max_connections;
  std::string max_wait_ms;
  std::string master_name;
  // The streams and channels of alarms that are raised, of those that end, of current values, and
  // of acknowledgements and comments.
  std::string raised_route;
  std::string ended_route;
  std::string values_route;
  std::string notes_route;

  static auto Fields(auto& self) {
    return FieldList(
        Field{"source_name", self.source_name}, Field{"host", self.host}, Field{"port", self.port},
        Field{"password", self.password}, Field{"max_connections", self.max_connections},
        Field{"max_wait_ms", self.max_wait_ms}, Field{"master_name", self.master_name},
        Field{"raised_route", self.raised_route}, Field{"ended_route", self.ended_route},
        Field{"values_route", self.values_route}, Field{"notes_route", self.notes_route});
  }
  friend bool operator==(const RelaySettings&, const RelaySettings&) = default;
};

}  // namespace zervane
