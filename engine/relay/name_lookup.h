#pragma once

#include <sys/socket.h>

#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "api/words/status.h"
#include "engine/relay/wake_up.h"

namespace zervane {

using Deadline = std::chrono::steady_clock::time_point;

struct SocketAddress {
  sockaddr_storage address{};
  socklen_t size = 0;
};

// Finds the addresses of a host; it may take as long as it likes.
using Resolver =
    std::function<Result<std::vector<SocketAddress>>(const std::string& host, std::uint16_t port)>;

// The system's. ZR3_ERR_CONNECT_FAILED when the name has none.
Result<std::vector<SocketAddress>> ResolveBySystem(const std::string& host, std::uint16_t port);

// Looks names up in a thread that nobody waits for longer than he wants to: what the system does
// for a name can neither be hurried nor ended. A name that is still being looked up is not looked
// up once more.
//
// Threads: one at a time. The threads that look up use nothing of it, and outlive it.
class NameLookup {
 public:
  explicit NameLookup(Resolver resolver) : resolver_(std::move(resolver)) {}

  // ZR3_ERR_CONNECT_FAILED when there is no answer until the deadline, or `interrupt` is set. What
  // is an address already is answered at once.
  Result<std::vector<SocketAddress>> Find(const std::string& host, std::uint16_t port,
                                          Deadline deadline, const WakeUp& interrupt);

 private:
  struct Question;

  const Resolver resolver_;
  std::shared_ptr<Question> open_;  // still being looked up when nobody waited any longer
};

}  // namespace zervane
