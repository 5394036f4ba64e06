#include "tests/engine/relay/fake_server.h"

#include <arpa/inet.h>
#include <hiredis/hiredis.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <array>
#include <memory>
#include <utility>

namespace zervane {
namespace {

bool SendAll(int socket, std::string_view bytes) {
  while (!bytes.empty()) {
    const ssize_t sent = send(socket, bytes.data(), bytes.size(), MSG_NOSIGNAL);
    if (sent <= 0) return false;
    bytes.remove_prefix(static_cast<std::size_t>(sent));
  }
  return true;
}

}  // namespace

FakeServer::FakeServer(Serve serve)
    : serve_(std::move(serve)), listener_(socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0)) {
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  socklen_t size = sizeof address;
  bind(listener_, reinterpret_cast<sockaddr*>(&address), size);
  listen(listener_, 8);
  getsockname(listener_, reinterpret_cast<sockaddr*>(&address), &size);
  port_ = ntohs(address.sin_port);
  thread_ = std::thread([this] { Loop(); });
}

FakeServer::~FakeServer() {
  is_stopping_ = true;
  shutdown(listener_, SHUT_RDWR);
  thread_.join();
  close(listener_);
}

void FakeServer::Loop() {
  while (!is_stopping_) {
    const int peer = accept4(listener_, nullptr, nullptr, SOCK_CLOEXEC);
    if (peer < 0) return;
    ++connections_;
    serve_(peer);
    close(peer);
  }
}

void ListenOnly(int socket) {
  std::array<char, 4096> bytes;
  while (recv(socket, bytes.data(), bytes.size(), 0) > 0) {
  }
}

FakeServer::Serve Answering(std::function<std::string(const Command&)> answer) {
  return [answer = std::move(answer)](int socket) {
    const std::unique_ptr<redisReader, void (*)(redisReader*)> reader(redisReaderCreate(),
                                                                      redisReaderFree);
    std::array<char, 4096> bytes;
    for (;;) {
      const ssize_t received = recv(socket, bytes.data(), bytes.size(), 0);
      if (received <= 0) return;
      redisReaderFeed(reader.get(), bytes.data(), static_cast<std::size_t>(received));
      void* read = nullptr;
      while (redisReaderGetReply(reader.get(), &read) == REDIS_OK && read != nullptr) {
        const std::unique_ptr<redisReply, void (*)(void*)> reply(static_cast<redisReply*>(read),
                                                                 freeReplyObject);
        Command command;
        for (std::size_t i = 0; i < reply->elements; ++i) {
          command.emplace_back(reply->element[i]->str, reply->element[i]->len);
        }
        const std::string said = answer(command);
        if (said.empty() || !SendAll(socket, said)) return;
      }
    }
  };
}

FakeServer::Serve Saying(std::string bytes) {
  return [bytes = std::move(bytes)](int socket) {
    std::array<char, 4096> asked;
    (void)recv(socket, asked.data(), asked.size(), 0);
    SendAll(socket, bytes);
  };
}

FakeServer::Serve Dripping(std::string bytes, std::atomic<std::size_t>* sent) {
  return [bytes = std::move(bytes), sent](int socket) {
    std::array<char, 4096> asked;
    (void)recv(socket, asked.data(), asked.size(), 0);
    for (const char byte : bytes) {
      if (!SendAll(socket, {&byte, 1})) return;
      ++*sent;
      pollfd peer{.fd = socket, .events = POLLRDHUP, .revents = 0};
      if (poll(&peer, 1, 10) > 0) return;
    }
  };
}

}  // namespace zervane
