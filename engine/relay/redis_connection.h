#pragma once

#include <chrono>
#include <cstddef>
#include <functional>
#include <initializer_list>
#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "api/words/status.h"
#include "engine/relay/name_lookup.h"
#include "engine/relay/redis_reply.h"
#include "engine/relay/wake_up.h"

namespace zervane {

// Appends a command as it is sent. What it is made of is left nowhere else.
void AppendCommand(std::initializer_list<std::string_view> words, std::string& commands);

// A connection to a Redis over a socket that never blocks. No wait is longer than `max_wait`, or
// goes on when `interrupt` is set. After a failure, which is always ZR3_ERR_CONNECT_FAILED, it is
// of no more use.
//
// Threads: one at a time.
class RedisConnection {
 public:
  using Replied = std::function<Status(std::size_t at, RedisReply& reply)>;

  // Tries one address after the other, each with its share of the time that is left.
  static Result<std::unique_ptr<RedisConnection>> Open(std::span<const SocketAddress> addresses,
                                                       Deadline deadline,
                                                       std::chrono::milliseconds max_wait,
                                                       const WakeUp& interrupt);
  ~RedisConnection();
  RedisConnection(const RedisConnection&) = delete;
  RedisConnection& operator=(const RedisConnection&) = delete;

  // Sends commands and hands over their replies in order. An answer must be there as a whole
  // `max_wait` after the one before it, the first so long after the sending began, and nothing is
  // to come behind the last. A failure of `replied` is answered.
  Status Exchange(std::string_view commands, std::size_t count, const Replied& replied);
  // The same for one command, whose words are wiped wherever they were copied to.
  Result<std::unique_ptr<RedisReply>> Ask(std::initializer_list<std::string_view> words);

  // Waits, however long, for `news`; fails as soon as the connection ends.
  Status AwaitNews(const WakeUp& news);

 private:
  RedisConnection(int socket, std::chrono::milliseconds max_wait, const WakeUp& interrupt)
      : socket_(socket), max_wait_(max_wait), interrupt_(interrupt) {}

  Deadline NextDeadline() const { return std::chrono::steady_clock::now() + max_wait_; }
  // As much as goes at once, which may be nothing.
  Status SendSome(std::string_view& commands);
  Status ReceiveSome();

  const int socket_;
  const std::chrono::milliseconds max_wait_;
  const WakeUp& interrupt_;
  RedisReplyReader reader_;
};

}  // namespace zervane
