#include "engine/relay/relay_sender.h"

#include <poll.h>

#include <utility>

#include "engine/guard.h"
#include "engine/log.h"
#include "engine/relay/relay_json.h"
#include "engine/relay/socket_wait.h"

namespace zervane {
namespace {

constexpr std::string_view kStreamLength = "100000";

// Both commands of one thing to be sent.
void AppendCommands(const std::string& route, std::string_view json, std::string& commands) {
  AppendCommand({"XADD", route, "MAXLEN", "~", kStreamLength, "*", "json", json}, commands);
  AppendCommand({"PUBLISH", route, json}, commands);
}

void Pause(std::chrono::milliseconds time, const WakeUp& interrupt) {
  pollfd wait{.fd = interrupt.descriptor(), .events = POLLIN, .revents = 0};
  (void)poll(&wait, 1, static_cast<int>(time.count()));
}

// Entries that are on their way: those that have not arrived go back to the queue.
class Departed {
 public:
  Departed(RelayQueue& queue, std::vector<RelayEntry> entries)
      : queue_(queue), entries_(std::move(entries)) {}
  ~Departed() {
    if (arrived_ == entries_.size()) return;
    const auto end = entries_.begin() + static_cast<std::ptrdiff_t>(arrived_);
    entries_.erase(entries_.begin(), end);
    queue_.PutBack(std::move(entries_));
  }
  Departed(const Departed&) = delete;
  Departed& operator=(const Departed&) = delete;

  const std::vector<RelayEntry>& entries() const { return entries_; }
  void NoteArrival() { ++arrived_; }

 private:
  RelayQueue& queue_;
  std::vector<RelayEntry> entries_;
  std::size_t arrived_ = 0;
};

}  // namespace

RelaySender::RelaySender(RelayQueue& queue, const Catalogue& catalogue,
                         const CurrentValues& current_values, Surroundings surroundings)
    : queue_(queue),
      catalogue_(catalogue),
      current_values_(current_values),
      surroundings_(std::move(surroundings)),
      names_(surroundings_.resolver),
      thread_([this] { Loop(); }) {}

void RelaySender::Use(Config config) noexcept {
  {
    const MutexLock lock(mutex_);
    config_.swap(config);
  }
  interrupt_.Set();
}

void RelaySender::Stop() noexcept {
  {
    const MutexLock lock(mutex_);
    is_stopping_ = true;
  }
  interrupt_.Set();
  if (thread_.joinable()) thread_.join();
}

void RelaySender::Loop() noexcept {
  Config config;
  for (;;) {
    if (interrupt_.is_set() || config == nullptr) {
      Config next = AwaitConfig();
      if (next == nullptr) break;
      if (next != config) back_off_.Reset();
      config = std::move(next);
    }
    connected_ = {};
    const Status failure = Guarded([&] { return Serve(*config); });
    if (interrupt_.is_set()) continue;
    if (connected_) back_off_.NoteHeld(surroundings_.now() - *connected_);
    TellFailure(failure);
    const std::chrono::milliseconds time = back_off_.Next();
    if (surroundings_.pause) {
      surroundings_.pause(time, interrupt_);
    } else {
      Pause(time, interrupt_);
    }
  }
  TellGone();
}

RelaySender::Config RelaySender::AwaitConfig() {
  for (;;) {
    interrupt_.Clear();
    {
      const MutexLock lock(mutex_);
      if (is_stopping_) return nullptr;
      if (config_ != nullptr) return config_;
    }
    Pause(std::chrono::milliseconds(-1), interrupt_);
  }
}

Status RelaySender::Serve(const RelayConfig& config) {
  refused_ = 0;
  auto redis = OpenRedis(config, names_, interrupt_);
  if (!redis.ok()) return redis.status();
  connected_ = surroundings_.now();
  if (Status status = SendWhatWaited(config, **redis); !status.ok()) return status;
  (void)queue_.WasAskedForAll();
  if (Status status = SendAllCurrent(config, **redis); !status.ok()) return status;
  for (;;) {
    TellSuccess();
    queue_.news().Clear();
    if (queue_.WasAskedForAll()) {
      if (Status status = SendAllCurrent(config, **redis); !status.ok()) return status;
    }
    bool has_sent = true;
    while (has_sent) {
      if (Status status = SendEntries(config, **redis, &has_sent); !status.ok()) return status;
    }
    TellGone();
    if (Status status = (*redis)->AwaitNews(queue_.news()); !status.ok()) return status;
  }
}

Status RelaySender::SendWhatWaited(const RelayConfig& config, RedisConnection& redis) {
  // What comes meanwhile is not waited for: it may come as fast as it is sent.
  std::size_t left = queue_.size();
  bool has_sent = true;
  while (left > 0 && has_sent) {
    if (Status status = SendEntries(config, redis, &has_sent); !status.ok()) return status;
    left -= std::min(left, kEntriesAtOnce);
  }
  return {};
}

// What comes meanwhile goes in between, so that it does not wait until there is no room for it.
Status RelaySender::SendAllCurrent(const RelayConfig& config, RedisConnection& redis) {
  if (!config.WantsValues()) return {};
  for (TagId next = 1; next != 0;) {
    if (Status status = SendPage(config, redis, &next); !status.ok()) return status;
    bool has_sent = false;
    if (Status status = SendEntries(config, redis, &has_sent); !status.ok()) return status;
  }
  return {};
}

Status RelaySender::SendPage(const RelayConfig& config, RedisConnection& redis, TagId* next) {
  std::string commands;
  std::string json;
  std::vector<RelayQueue::SentValue> values;
  const TagImagePtr image = catalogue_.image();
  TagId first = std::exchange(*next, 0);
  image->tags().VisitFrom(first, [&](const PackedTag& tag) {
    if (values.size() == kEntriesAtOnce) {
      *next = tag.id();
      return false;
    }
    const std::optional<Sample> current = current_values_.Find(tag.id());
    if (!current) return true;
    json.clear();
    AppendValueJson(tag.name(), tag.id(), *current, json);
    AppendCommands(config.RouteOf(RelayKind::kValue), json, commands);
    values.emplace_back(tag.id(), current->time_ms);
    return true;
  });
  Status status = Deliver(redis, commands, values.size(), [] {});
  if (status.ok()) queue_.NoteSent(values);
  return status;
}

Status RelaySender::SendEntries(const RelayConfig& config, RedisConnection& redis, bool* has_sent) {
  Departed departed(queue_, queue_.Pop(kEntriesAtOnce));
  std::string commands;
  std::string json;
  std::vector<RelayQueue::SentValue> values;
  for (const RelayEntry& entry : departed.entries()) {
    json.clear();
    if (entry.is_value()) {
      AppendValueJson(entry.name, entry.tag, entry.sample, json);
      values.emplace_back(entry.tag, entry.sample.time_ms);
    }
    AppendCommands(config.RouteOf(entry.kind), entry.is_value() ? json : entry.json, commands);
  }
  const std::size_t count = departed.entries().size();
  *has_sent = count > 0;
  Status status = Deliver(redis, commands, count, [&] { departed.NoteArrival(); });
  if (status.ok()) queue_.NoteSent(values);
  return status;
}

Status RelaySender::Deliver(RedisConnection& redis, std::string_view commands, std::size_t count,
                            const std::function<void()>& sent) {
  if (count == 0) return {};
  const std::uint64_t refused_before = refused_;
  Status status = redis.Exchange(commands, 2 * count, [&](std::size_t at, RedisReply& reply) {
    const bool is_publish = at % 2 == 1;
    Status judged = JudgeReply(is_publish, reply);
    if (judged.ok() && is_publish) sent();
    return judged;
  });
  const bool has_all_refused = refused_ - refused_before == 2 * count;
  if (status.ok() && !has_all_refused) back_off_.Reset();
  return status;
}

// What one command is refused for would not be otherwise on another connection: the key holds
// something that is no stream, or is not this user's, or the server knows no such command. All else
// is about the server as it is now.
Status RelaySender::JudgeReply(bool is_publish, const RedisReply& reply) {
  using Kind = RedisReply::Kind;
  // The identifier of the stream's entry, or the number of those who heard.
  if (reply.kind == (is_publish ? Kind::kNumber : Kind::kText)) return {};
  if (!reply.IsFailure()) {
    return {ZR3_ERR_CONNECT_FAILED, "what it answers is not what a Redis does"};
  }
  const std::string_view code = reply.FailureCode();
  if (code != "WRONGTYPE" && code != "NOPERM" && code != "ERR") {
    return {ZR3_ERR_CONNECT_FAILED, "what it is sent is answered with " + std::string(code)};
  }
  if (refused_++ == 0) LogWarning("the relay: its Redis refuses commands with {}", code);
  return {};
}

void RelaySender::TellGone() noexcept {
  if (const std::uint64_t gone = queue_.CountGone(); gone > 0) {
    LogWarning("the relay: {} entries went, for no more can wait", gone);
  }
}

// An outage is told once, and again when there is another reason for it.
void RelaySender::TellFailure(const Status& failure) noexcept {
  try {
    if (failure.message() == told_) return;
    LogWarning("the relay: {}; it is tried again and again", failure.message());
    told_ = failure.message().empty() ? "a failure" : failure.message();
  } catch (...) {
    // Then it is told once more.
  }
}

void RelaySender::TellSuccess() noexcept {
  if (!told_.empty()) LogAt(spdlog::level::info, "the relay: it goes on");
  told_.clear();
}

}  // namespace zervane
