#include "engine/relay/name_lookup.h"

#include <netdb.h>

#include <cstring>
#include <optional>
#include <thread>
#include <utility>

#include "engine/guard.h"
#include "engine/mutex.h"
#include "engine/relay/socket_wait.h"

namespace zervane {
namespace {

Result<std::vector<SocketAddress>> Resolve(const std::string& host, std::uint16_t port, int flags) {
  addrinfo wish{};
  wish.ai_family = AF_UNSPEC;
  wish.ai_socktype = SOCK_STREAM;
  wish.ai_flags = flags | AI_NUMERICSERV;
  addrinfo* found = nullptr;
  const int fault = getaddrinfo(host.c_str(), std::to_string(port).c_str(), &wish, &found);
  if (fault != 0) return Status(ZR3_ERR_CONNECT_FAILED, gai_strerror(fault));
  const std::unique_ptr<addrinfo, void (*)(addrinfo*)> owned(found, freeaddrinfo);
  std::vector<SocketAddress> addresses;
  for (const addrinfo* at = found; at != nullptr; at = at->ai_next) {
    SocketAddress address{.address = {}, .size = at->ai_addrlen};
    std::memcpy(&address.address, at->ai_addr, at->ai_addrlen);
    addresses.push_back(address);
  }
  return addresses;
}

}  // namespace

Result<std::vector<SocketAddress>> ResolveBySystem(const std::string& host, std::uint16_t port) {
  return Resolve(host, port, 0);
}

struct NameLookup::Question {
  Question(std::string asked_host, std::uint16_t asked_port)
      : host(std::move(asked_host)), port(asked_port) {}

  void Answer(Result<std::vector<SocketAddress>> found) noexcept {
    {
      const MutexLock lock(mutex);
      answer = std::move(found);
    }
    is_answered.Set();
  }
  Result<std::vector<SocketAddress>> answered() {
    const MutexLock lock(mutex);
    return *std::exchange(answer, std::nullopt);
  }

  const std::string host;
  const std::uint16_t port;
  WakeUp is_answered;
  Mutex mutex;
  std::optional<Result<std::vector<SocketAddress>>> answer GUARDED_BY(mutex);
};

Result<std::vector<SocketAddress>> NameLookup::Find(const std::string& host, std::uint16_t port,
                                                    Deadline deadline, const WakeUp& interrupt) {
  Result<std::vector<SocketAddress>> numeric = Resolve(host, port, AI_NUMERICHOST);
  if (numeric.ok()) return numeric;
  if (open_ == nullptr || open_->host != host || open_->port != port) {
    auto question = std::make_shared<Question>(host, port);
    std::thread([question, resolver = resolver_] {
      question->Answer(Guarded([&] { return resolver(question->host, question->port); }));
    }).detach();
    open_ = std::move(question);
  }
  Status status = AwaitReadable(open_->is_answered.descriptor(), deadline, interrupt);
  if (!status.ok()) return status;
  return std::exchange(open_, nullptr)->answered();
}

}  // namespace zervane
