#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

#include "api/words/status.h"
#include "engine/catalogue/catalogue.h"
#include "engine/current/current_values.h"
#include "engine/mutex.h"
#include "engine/relay/back_off.h"
#include "engine/relay/name_lookup.h"
#include "engine/relay/redis_connection.h"
#include "engine/relay/redis_login.h"
#include "engine/relay/relay_config.h"
#include "engine/relay/relay_queue.h"
#include "engine/relay/wake_up.h"

namespace zervane {

// Sends what waits in a queue to a Redis, on a thread of its own. After every connection that
// succeeds it sends what waited, then the current value of every tag; a connection that is lost is
// tried again, later each time.
//
// Threads: any may call Use; Stop and the destructor once, last.
class RelaySender {
 public:
  using Clock = std::chrono::steady_clock;
  // What tests have in other ways.
  struct Surroundings {
    Resolver resolver = ResolveBySystem;
    std::function<Clock::time_point()> now = Clock::now;
    // Waits so long, or until it is woken.
    std::function<void(std::chrono::milliseconds, const WakeUp&)> pause;  // none: it does so
  };

  // It waits for settings. All outlive it. Throws std::system_error when there can be no thread.
  RelaySender(RelayQueue& queue, const Catalogue& catalogue, const CurrentValues& current_values,
              Surroundings surroundings);
  ~RelaySender() { Stop(); }
  RelaySender(const RelaySender&) = delete;
  RelaySender& operator=(const RelaySender&) = delete;

  // From now on it sends by these settings, over another connection.
  void Use(std::shared_ptr<const RelayConfig> config) noexcept EXCLUDES(mutex_);
  // Ends at once what it does.
  void Stop() noexcept EXCLUDES(mutex_);

 private:
  using Config = std::shared_ptr<const RelayConfig>;
  static constexpr std::size_t kEntriesAtOnce = 256;

  void Loop() noexcept EXCLUDES(mutex_);
  // None when it is to end.
  Config AwaitConfig() EXCLUDES(mutex_);
  // Connects and sends, until that fails or is interrupted.
  Status Serve(const RelayConfig& config);
  Status SendWhatWaited(const RelayConfig& config, RedisConnection& redis);
  Status SendAllCurrent(const RelayConfig& config, RedisConnection& redis);
  // From that identifier on; `next` becomes the one behind, or 0.
  Status SendPage(const RelayConfig& config, RedisConnection& redis, TagId* next);
  // The first entries of the queue, which stay there when they cannot be sent.
  Status SendEntries(const RelayConfig& config, RedisConnection& redis, bool* has_sent);
  // `commands` has two for each of so many; `sent` hears of each that has arrived, in order.
  Status Deliver(RedisConnection& redis, std::string_view commands, std::size_t count,
                 const std::function<void()>& sent);
  Status JudgeReply(bool is_publish, const RedisReply& reply);
  void TellGone() noexcept;
  void TellFailure(const Status& failure) noexcept;
  void TellSuccess() noexcept;

  RelayQueue& queue_;
  const Catalogue& catalogue_;
  const CurrentValues& current_values_;
  const Surroundings surroundings_;

  WakeUp interrupt_;  // what is done now is to end
  Mutex mutex_;
  Config config_ GUARDED_BY(mutex_);
  bool is_stopping_ GUARDED_BY(mutex_) = false;

  // Of the thread alone.
  NameLookup names_;
  BackOff back_off_;
  std::optional<Clock::time_point> connected_;  // since when there is a connection
  std::string told_;           // the failure that was told last; empty: it goes well
  std::uint64_t refused_ = 0;  // commands of the connection that were refused

  std::thread thread_;
};

}  // namespace zervane
