#include "tests/engine/relay/redis_server.h"

#include <arpa/inet.h>
#include <gtest/gtest.h>
#include <hiredis/hiredis.h>
#include <signal.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <thread>

namespace zervane {
namespace {

using ReplyPtr = std::unique_ptr<redisReply, void (*)(void*)>;

constexpr std::chrono::minutes kPatience{1};

// One that nobody listens at; somebody else may take it before it is used, so who starts a server
// there looks whether that is the one that answers.
std::uint16_t FreePort() {
  const int listener = socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
  sockaddr_in address{};
  address.sin_family = AF_INET;
  address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
  socklen_t size = sizeof address;
  bind(listener, reinterpret_cast<sockaddr*>(&address), size);
  getsockname(listener, reinterpret_cast<sockaddr*>(&address), &size);
  close(listener);
  return ntohs(address.sin_port);
}

void AddTexts(const redisReply* reply, std::vector<std::string>& texts) {
  if (reply->type == REDIS_REPLY_INTEGER) texts.push_back(std::to_string(reply->integer));
  if (reply->str != nullptr) texts.emplace_back(reply->str, reply->len);
  for (std::size_t i = 0; i < reply->elements; ++i) AddTexts(reply->element[i], texts);
}

redisContext* Connect(std::uint16_t port) {
  timeval patience{.tv_sec = 60, .tv_usec = 0};
  redisContext* const context = redisConnectWithTimeout("127.0.0.1", port, patience);
  if (context != nullptr && context->err == 0) {
    redisSetTimeout(context, patience);
    return context;
  }
  redisFree(context);
  return nullptr;
}

ReplyPtr Send(redisContext* context, const std::vector<std::string>& words) {
  std::vector<const char*> texts;
  std::vector<std::size_t> sizes;
  for (const std::string& word : words) {
    texts.push_back(word.data());
    sizes.push_back(word.size());
  }
  void* reply =
      redisCommandArgv(context, static_cast<int>(texts.size()), texts.data(), sizes.data());
  return {static_cast<redisReply*>(reply), freeReplyObject};
}

// Whether the process that answers there is this one, and not yet loading.
bool Answers(std::uint16_t port, pid_t process) {
  redisContext* const context = Connect(port);
  if (context == nullptr) return false;
  const ReplyPtr reply = Send(context, {"PING"});
  const bool answers = reply != nullptr;
  redisFree(context);
  return answers && kill(process, 0) == 0;
}

}  // namespace

bool Await(const std::function<bool()>& holds) {
  const auto end = std::chrono::steady_clock::now() + kPatience;
  while (!holds()) {
    if (std::chrono::steady_clock::now() > end) return false;
    std::this_thread::sleep_for(std::chrono::milliseconds(2));
  }
  return true;
}

RedisServer::RedisServer(std::vector<std::string> options, const std::string& config)
    : options_(std::move(options)) {
  std::string pattern = std::filesystem::temp_directory_path() / "zervane-redis-XXXXXX";
  if (mkdtemp(pattern.data()) == nullptr) throw std::runtime_error("no folder for a Redis");
  folder_ = pattern;
  if (!config.empty()) {
    std::ofstream(folder_ + "/config") << config;
    options_.insert(options_.begin(), folder_ + "/config");
  }
  Start();
}

RedisServer::~RedisServer() {
  Kill();
  std::filesystem::remove_all(folder_);
}

void RedisServer::Start() {
  for (int tries = 0; tries < 10; ++tries) {
    if (port_ == 0 || tries > 0) port_ = FreePort();
    // The program of Debian's redis-tools, which is a server when it is called one.
    std::vector<std::string> words = {"redis-server"};
    words.insert(words.end(), options_.begin(), options_.end());
    for (const std::string& word :
         {std::string("--port"), port_text(), std::string("--bind"), std::string("127.0.0.1"),
          std::string("--dir"), folder_, std::string("--save"), std::string(""),
          std::string("--logfile"), folder_ + "/log"}) {
      words.push_back(word);
    }
    std::vector<char*> arguments;
    for (std::string& word : words) arguments.push_back(word.data());
    arguments.push_back(nullptr);
    process_ = fork();
    if (process_ == 0) {
      prctl(PR_SET_PDEATHSIG, SIGKILL);  // it does not outlive the test, whatever becomes of that
      execvp("redis-check-rdb", arguments.data());
      _exit(127);
    }
    int status = 0;
    const bool answers = Await([&] {
      return Answers(port_, process_) || waitpid(process_, &status, WNOHANG) == process_;
    });
    if (answers && Answers(port_, process_)) return;
  }
  throw std::runtime_error("redis-server does not start: scripts/bootstrap installs it");
}

std::unique_ptr<RedisServer> RedisServer::MakeSentinel(const std::string& master_name,
                                                       std::uint16_t master_port) {
  const std::string config =
      "sentinel monitor " + master_name + " 127.0.0.1 " + std::to_string(master_port) + " 1\n";
  return std::make_unique<RedisServer>(std::vector<std::string>{"--sentinel"}, config);
}

void RedisServer::Kill() {
  if (process_ == 0) return;
  kill(process_, SIGKILL);
  waitpid(process_, nullptr, 0);
  process_ = 0;
}

void RedisServer::Halt(bool halts) { kill(process_, halts ? SIGSTOP : SIGCONT); }

RedisReader::RedisReader(std::uint16_t port, const std::string& password)
    : context_(Connect(port)) {
  if (context_ == nullptr) throw std::runtime_error("no connection to the test's Redis");
  if (!password.empty()) (void)Ask({"AUTH", password});
}

RedisReader::~RedisReader() { redisFree(context_); }

std::vector<std::string> RedisReader::Ask(const std::vector<std::string>& words) {
  const ReplyPtr reply = Send(context_, words);
  if (reply == nullptr) throw std::runtime_error("the test's Redis does not answer");
  std::vector<std::string> texts;
  AddTexts(reply.get(), texts);
  return texts;
}

// An entry is its identifier, the field's name and the field.
std::vector<std::string> RedisReader::Stream(const std::string& key) {
  const std::vector<std::string> texts = Ask({"XRANGE", key, "-", "+"});
  std::vector<std::string> fields;
  for (std::size_t i = 0; i + 2 < texts.size(); i += 3) {
    EXPECT_EQ(texts[i + 1], "json");
    fields.push_back(texts[i + 2]);
  }
  return fields;
}

std::vector<std::string> RedisReader::AwaitStream(const std::string& key, std::size_t count) {
  std::vector<std::string> fields;
  EXPECT_TRUE(Await([&] {
    fields = Stream(key);
    return fields.size() >= count;
  })) << fields.size()
      << " of " << count;
  return fields;
}

void RedisReader::Subscribe(const std::string& channel) { (void)Ask({"SUBSCRIBE", channel}); }

std::string RedisReader::NextMessage() {
  void* reply = nullptr;
  if (redisGetReply(context_, &reply) != REDIS_OK) throw std::runtime_error("no message comes");
  const ReplyPtr owned(static_cast<redisReply*>(reply), freeReplyObject);
  std::vector<std::string> texts;
  AddTexts(owned.get(), texts);
  return texts.back();
}

}  // namespace zervane
