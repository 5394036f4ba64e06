#pragma once

#include <atomic>
#include <cstdint>
#include <memory>
#include <thread>

#include "api/words/alarm.h"
#include "engine/catalogue/catalogue.h"
#include "engine/feed/commit_feed.h"
#include "engine/relay/relay_queue.h"
#include "engine/relay/tag_names.h"

namespace zervane {

// Moves what is committed into the queue, on a thread of its own: values that become current, or
// what becomes of alarms. Whoever commits waits for neither. For as long as there is none the feed
// has nobody to tell.
//
// Threads: one after the other.
class RelayIntake {
 public:
  enum class What : std::uint8_t { kValues, kAlarms };

  // Follows from now on. All outlive it. ZR3_ERR_OUT_OF_MEMORY when too many follow the database;
  // throws std::system_error when there can be no thread.
  static Result<std::unique_ptr<RelayIntake>> Open(What what, CommitFeed& feed,
                                                   const Catalogue& catalogue, RelayQueue& queue);
  // Ends at once; what waits to be moved is left.
  ~RelayIntake();
  RelayIntake(const RelayIntake&) = delete;
  RelayIntake& operator=(const RelayIntake&) = delete;

 private:
  RelayIntake(What what, std::unique_ptr<FeedConsumer> consumer, const Catalogue& catalogue,
              RelayQueue& queue);

  void Loop() noexcept;
  std::optional<FeedConsumer::Delivery> AwaitNext();
  void Move(const FeedConsumer::Delivery& delivery);
  void MoveValues(const CommittedGroup& group);
  void MoveAlarms(const CommittedGroup& group);
  void Push(RelayKind kind, const AlarmRecord& record);
  // What was to be moved from that commit on is lost.
  void TellLost(std::int64_t commit) noexcept;

  const What what_;
  const std::unique_ptr<FeedConsumer> consumer_;
  RelayQueue& queue_;
  std::atomic<bool> is_stopping_ = false;
  TagNames names_;  // of the thread
  std::thread thread_;
};

}  // namespace zervane
