#pragma once

#include <atomic>
#include <cstdint>
#include <functional>
#include <string>
#include <thread>
#include <vector>

namespace zervane {

// Listens on a port of the loopback and serves one connection after the other as a test says, on a
// thread of its own.
class FakeServer {
 public:
  // Serves a connection, which is closed when it returns. It returns when the peer has gone.
  using Serve = std::function<void(int socket)>;

  explicit FakeServer(Serve serve);
  ~FakeServer();
  FakeServer(const FakeServer&) = delete;
  FakeServer& operator=(const FakeServer&) = delete;

  std::uint16_t port() const { return port_; }
  int connections() const { return connections_; }

 private:
  void Loop();

  const Serve serve_;
  int listener_ = -1;
  std::uint16_t port_ = 0;
  std::atomic<int> connections_ = 0;
  std::atomic<bool> is_stopping_ = false;
  std::thread thread_;
};

// Reads what comes, and answers nothing.
void ListenOnly(int socket);

// Answers every command with some bytes; with none the connection ends.
using Command = std::vector<std::string>;
FakeServer::Serve Answering(std::function<std::string(const Command&)> answer);

// Sends the bytes at once, and closes.
FakeServer::Serve Saying(std::string bytes);

// Sends the bytes one by one, 10 ms from each other, for as long as the peer is there.
FakeServer::Serve Dripping(std::string bytes, std::atomic<std::size_t>* sent);

}  // namespace zervane
