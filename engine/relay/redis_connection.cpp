#include "engine/relay/redis_connection.h"

#include <hiredis/hiredis.h>
#include <netinet/in.h>
#include <netinet/tcp.h>
#include <poll.h>
#include <string.h>
#include <sys/socket.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <new>
#include <system_error>
#include <utility>

#include "engine/relay/socket_wait.h"

namespace zervane {
namespace {

constexpr std::size_t kMaxWords = 8;

Status Failure(std::string what) { return {ZR3_ERR_CONNECT_FAILED, std::move(what)}; }
Status Failure(const char* what, int fault) {
  return Failure(what + std::string(": ") + std::generic_category().message(fault));
}

Status Unasked() { return Failure("it says something that it was not asked"); }

// Closes a socket unless it is released.
class OwnedSocket {
 public:
  explicit OwnedSocket(int socket) : socket_(socket) {}
  ~OwnedSocket() {
    if (socket_ >= 0) close(socket_);
  }
  OwnedSocket(const OwnedSocket&) = delete;
  OwnedSocket& operator=(const OwnedSocket&) = delete;

  int get() const { return socket_; }
  int release() { return std::exchange(socket_, -1); }

 private:
  int socket_;
};

Result<int> ConnectTo(const SocketAddress& address, Deadline deadline, const WakeUp& interrupt) {
  OwnedSocket owned(
      socket(address.address.ss_family, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0));
  if (owned.get() < 0) return Failure("no socket", errno);
  const int on = 1;
  (void)setsockopt(owned.get(), IPPROTO_TCP, TCP_NODELAY, &on, sizeof on);
  const auto* const generic = reinterpret_cast<const sockaddr*>(&address.address);
  if (connect(owned.get(), generic, address.size) != 0) {
    if (errno != EINPROGRESS) return Failure("no connection", errno);
    const Result<short> events = AwaitEvents(owned.get(), POLLOUT, deadline, interrupt);
    if (!events.ok()) return events.status();
    int fault = 0;
    socklen_t size = sizeof fault;
    (void)getsockopt(owned.get(), SOL_SOCKET, SO_ERROR, &fault, &size);
    if (fault != 0) return Failure("no connection", fault);
  }
  return owned.release();
}

bool IsForLater(int fault) { return fault == EAGAIN || fault == EWOULDBLOCK || fault == EINTR; }

}  // namespace

void AppendCommand(std::initializer_list<std::string_view> words, std::string& commands) {
  std::array<const char*, kMaxWords> texts{};
  std::array<std::size_t, kMaxWords> sizes{};
  std::size_t count = 0;
  for (const std::string_view word : words) {
    texts[count] = word.data();
    sizes[count++] = word.size();
  }
  char* formatted = nullptr;
  const int size =
      redisFormatCommandArgv(&formatted, static_cast<int>(count), texts.data(), sizes.data());
  if (size < 0) throw std::bad_alloc();
  const auto wipe = [size](char* bytes) {
    explicit_bzero(bytes, static_cast<std::size_t>(size));
    redisFreeCommand(bytes);
  };
  const std::unique_ptr<char, decltype(wipe)> owned(formatted, wipe);
  commands.append(formatted, static_cast<std::size_t>(size));
}

Result<std::unique_ptr<RedisConnection>> RedisConnection::Open(
    std::span<const SocketAddress> addresses, Deadline deadline, std::chrono::milliseconds max_wait,
    const WakeUp& interrupt) {
  Status failure = Failure("the host has no address");
  for (; !addresses.empty(); addresses = addresses.subspan(1)) {
    const auto now = std::chrono::steady_clock::now();
    const auto share = (deadline - now) / static_cast<std::int64_t>(addresses.size());
    const Result<int> socket = ConnectTo(addresses.front(), now + share, interrupt);
    if (socket.ok()) {
      OwnedSocket owned(*socket);
      std::unique_ptr<RedisConnection> connection(
          new RedisConnection(owned.get(), max_wait, interrupt));
      owned.release();
      return connection;
    }
    failure = socket.status();
    if (interrupt.is_set()) break;
  }
  return failure;
}

RedisConnection::~RedisConnection() { close(socket_); }

Status RedisConnection::Exchange(std::string_view commands, std::size_t count,
                                 const Replied& replied) {
  Deadline deadline = NextDeadline();
  for (std::size_t at = 0; at < count;) {
    const short wanted = commands.empty() ? POLLIN : POLLIN | POLLOUT;
    const Result<short> events = AwaitEvents(socket_, wanted, deadline, interrupt_);
    if (!events.ok()) return events.status();
    if ((*events & POLLOUT) != 0) {
      if (Status status = SendSome(commands); !status.ok()) return status;
    }
    if ((*events & (POLLIN | POLLHUP | POLLERR)) == 0) continue;
    if (Status status = ReceiveSome(); !status.ok()) return status;
    while (at < count) {
      const auto reply = reader_.Next();
      if (!reply.ok()) return reply.status();
      if (*reply == nullptr) break;
      if (Status status = replied(at, **reply); !status.ok()) return status;
      ++at;
      deadline = NextDeadline();
    }
  }
  return reader_.HasMore() ? Unasked() : Status();
}

Status RedisConnection::SendSome(std::string_view& commands) {
  const ssize_t sent = send(socket_, commands.data(), commands.size(), MSG_NOSIGNAL);
  if (sent < 0) return IsForLater(errno) ? Status() : Failure("the connection broke", errno);
  commands.remove_prefix(static_cast<std::size_t>(sent));
  return {};
}

Status RedisConnection::ReceiveSome() {
  std::array<char, 16'384> bytes;
  const ssize_t received = recv(socket_, bytes.data(), bytes.size(), 0);
  if (received == 0) return Failure("the connection was closed");
  if (received < 0) return IsForLater(errno) ? Status() : Failure("the connection broke", errno);
  return reader_.Feed({bytes.data(), static_cast<std::size_t>(received)});
}

Result<std::unique_ptr<RedisReply>> RedisConnection::Ask(
    std::initializer_list<std::string_view> words) {
  std::size_t size = 0;
  for (const std::string_view word : words) size += word.size() + 32;
  std::string command;
  command.reserve(size);  // so that it never moves
  AppendCommand(words, command);
  std::unique_ptr<RedisReply> answer;
  Status status = Exchange(command, 1, [&](std::size_t, RedisReply& reply) -> Status {
    answer = std::make_unique<RedisReply>(std::move(reply));
    return {};
  });
  explicit_bzero(command.data(), command.size());
  if (!status.ok()) return status;
  return answer;
}

Status RedisConnection::AwaitNews(const WakeUp& news) {
  for (;;) {
    std::array<pollfd, 3> waits = {
        pollfd{.fd = interrupt_.descriptor(), .events = POLLIN, .revents = 0},
        pollfd{.fd = news.descriptor(), .events = POLLIN, .revents = 0},
        pollfd{.fd = socket_, .events = POLLIN, .revents = 0}};
    const int ready = poll(waits.data(), waits.size(), -1);
    if (ready < 0 && errno != EINTR) return Failure("poll failed", errno);
    if (ready < 0) continue;
    if (waits[0].revents != 0) return Failure("interrupted");
    if (waits[2].revents != 0) {
      if (Status status = ReceiveSome(); !status.ok()) return status;
      return Unasked();
    }
    if (waits[1].revents != 0) return {};
  }
}

}  // namespace zervane
