#pragma once

#include <memory>

#include "api/words/relay.h"
#include "api/words/status.h"
#include "engine/catalogue/catalogue.h"
#include "engine/mutex.h"
#include "engine/relay/relay_config.h"
#include "engine/relay/relay_intake.h"
#include "engine/relay/relay_queue.h"
#include "engine/relay/relay_sender.h"
#include "engine/storage/store.h"
#include "engine/write/write_path.h"

namespace zervane {

// Passes current values and what becomes of alarms on to a Redis, as docs/relay.md describes. It
// follows the feed on threads of its own: whoever writes never waits for it.
//
// Threads: any may call Configure; the others one after the other.
class Relay {
 public:
  // All outlive it.
  Relay(Store& store, WritePath& writes, const Catalogue& catalogue,
        RelaySender::Surroundings surroundings = {});
  ~Relay();
  Relay(const Relay&) = delete;
  Relay& operator=(const Relay&) = delete;

  // Reads the settings that are kept. What is damaged among them turns the relay off, which is
  // logged: the database does not stand or fall with it. The status of the store else.
  Status Load() EXCLUDES(mutex_);
  // Begins to relay, when the settings say so, and whenever they do so later.
  void Start() EXCLUDES(mutex_);
  // Ends it at once, whatever Redis does. What waits is not sent any more.
  void Stop() noexcept EXCLUDES(mutex_);

  // Keeps the settings and goes on with them. The statuses of ParseRelaySettings, and those of the
  // store, leave those before.
  Status Configure(const RelaySettings& settings) EXCLUDES(mutex_);

 private:
  using Config = std::shared_ptr<const RelayConfig>;

  // The threads that are there while something is relayed. Those that fill the queue end first.
  struct Threads {
    std::unique_ptr<RelaySender> sender;
    std::unique_ptr<RelayIntake> values;
    std::unique_ptr<RelayIntake> alarms;
  };

  bool is_started() const EXCLUDES(mutex_);
  // Adds the threads that the settings ask for and that are not there. They wait: nobody follows
  // what is committed otherwise than before, and nothing is sent.
  Status Prepare(const RelayConfig& config, Threads& added) EXCLUDES(mutex_);
  // Goes on with the settings and the threads; answers those that are not needed any more.
  Threads Adopt(Config config, Threads added) noexcept EXCLUDES(mutex_);

  Store& store_;
  WritePath& writes_;
  const Catalogue& catalogue_;
  const RelaySender::Surroundings surroundings_;
  RelayQueue queue_;

  mutable Mutex mutex_;
  Config config_ GUARDED_BY(mutex_);  // null: none were ever given
  bool is_started_ GUARDED_BY(mutex_) = false;
  Threads threads_ GUARDED_BY(mutex_);
};

}  // namespace zervane
