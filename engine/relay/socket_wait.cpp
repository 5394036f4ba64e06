#include "engine/relay/socket_wait.h"

#include <poll.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <limits>

namespace zervane {
namespace {

// Rounded up, so that nobody asks again and again within the last millisecond.
int MillisecondsUntil(Deadline deadline) {
  const auto left =
      std::chrono::ceil<std::chrono::milliseconds>(deadline - std::chrono::steady_clock::now());
  return static_cast<int>(
      std::clamp<std::int64_t>(left.count(), 0, std::numeric_limits<int>::max()));
}

}  // namespace

Result<short> AwaitEvents(int descriptor, short events, Deadline deadline,
                          const WakeUp& interrupt) {
  for (;;) {
    std::array<pollfd, 2> waits = {
        pollfd{.fd = interrupt.descriptor(), .events = POLLIN, .revents = 0},
        pollfd{.fd = descriptor, .events = events, .revents = 0}};
    const int ready = poll(waits.data(), waits.size(), MillisecondsUntil(deadline));
    if (ready < 0 && errno != EINTR) return Status(ZR3_ERR_CONNECT_FAILED, "poll failed");
    if (waits[0].revents != 0) return Status(ZR3_ERR_CONNECT_FAILED, "interrupted");
    if (ready > 0 && waits[1].revents != 0) return waits[1].revents;
    if (std::chrono::steady_clock::now() >= deadline) {
      return Status(ZR3_ERR_CONNECT_FAILED, "no answer in time");
    }
  }
}

Status AwaitReadable(int descriptor, Deadline deadline, const WakeUp& interrupt) {
  return AwaitEvents(descriptor, POLLIN, deadline, interrupt).status();
}

}  // namespace zervane
