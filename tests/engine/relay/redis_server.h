#pragma once

#include <sys/types.h>

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

struct redisContext;

namespace zervane {

// A Redis, or a Sentinel, of this test alone, on a port of the loopback that is free. It ends with
// the test.
class RedisServer {
 public:
  // Options of its command line; `config` are the lines of a file instead, as a Sentinel asks for.
  explicit RedisServer(std::vector<std::string> options = {}, const std::string& config = {});
  ~RedisServer();
  RedisServer(const RedisServer&) = delete;
  RedisServer& operator=(const RedisServer&) = delete;

  // A Sentinel that watches a master of that name.
  static std::unique_ptr<RedisServer> MakeSentinel(const std::string& master_name,
                                                   std::uint16_t master_port);

  std::uint16_t port() const { return port_; }
  std::string port_text() const { return std::to_string(port_); }

  // Ends it as a crash would; Start begins it again, on the same port and empty.
  void Kill();
  void Start();
  // It goes on, or not, to answer.
  void Halt(bool halts);

 private:
  std::string folder_;
  std::vector<std::string> options_;
  std::uint16_t port_ = 0;
  pid_t process_ = 0;
};

// Asks a Redis by a client of its own.
class RedisReader {
 public:
  explicit RedisReader(std::uint16_t port, const std::string& password = {});
  ~RedisReader();
  RedisReader(const RedisReader&) = delete;
  RedisReader& operator=(const RedisReader&) = delete;

  // The texts in a reply, whatever lists they are in. Fails the test when there is none.
  std::vector<std::string> Ask(const std::vector<std::string>& words);
  // The field of every entry of a stream, from the oldest on.
  std::vector<std::string> Stream(const std::string& key);
  // The same, as soon as there are so many.
  std::vector<std::string> AwaitStream(const std::string& key, std::size_t count);

  // The messages of channels from now on.
  void Subscribe(const std::string& channel);
  std::string NextMessage();

 private:
  redisContext* context_ = nullptr;
};

// Looks until it holds, for a minute at most; whether it did.
bool Await(const std::function<bool()>& holds);

}  // namespace zervane
