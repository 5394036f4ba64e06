#pragma once

#include <cstdint>
#include <filesystem>
#include <optional>
#include <string>
#include <string_view>

#include "api/words/status.h"

namespace zervane {

// The environment variables that say where the embedded database is; empty when unset.
struct Environment {
  std::string zervane_home;   // ZERVANE_HOME
  std::string xdg_data_home;  // XDG_DATA_HOME
  std::string home;           // HOME
};

// One place that a connection may lead to.
struct Target {
  enum class Kind { kFolder, kMemory, kServer };

  Kind kind = Kind::kMemory;
  std::filesystem::path folder = {};  // of an embedded database
  std::string host = {};              // of a server, ASCII letters in lower case
  std::uint16_t port = 0;             // of a server

  friend bool operator==(const Target&, const Target&) = default;
};

// Where a session leads: equal servers make equal sessions.
struct Servers {
  Target primary;
  std::optional<Target> standby;  // only beside a primary that is a server: no other needs one

  friend bool operator==(const Servers&, const Servers&) = default;
};

// Understands one address. "" is the embedded database in $ZERVANE_HOME, else in
// $XDG_DATA_HOME/zervane, else in ~/.local/share/zervane; "embedded:DIR" the one in DIR; "memory:"
// a volatile one; anything else a server's host name or address. ZR3_ERR_INVALID_ADDRESS. Looks at
// nothing but its arguments.
Result<Target> ParseAddress(std::string_view address, std::uint16_t port,
                            const Environment& environment);

// Understands the addresses of a connection; an empty standby is none.
Result<Servers> ParseServers(std::string_view address, std::uint16_t port,
                             std::string_view standby_address, std::uint16_t standby_port,
                             const Environment& environment);

// The same target, its folder absolute and without links, so that two ways of naming one folder
// are equal. Asks the file system; a folder that cannot be resolved stays as it is.
Target Resolved(Target target);

}  // namespace zervane
