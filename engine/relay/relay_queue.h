#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <map>
#include <set>
#include <span>
#include <string>
#include <unordered_map>
#include <utility>
#include <vector>

#include "api/words/value.h"
#include "engine/mutex.h"
#include "engine/relay/relay_config.h"
#include "engine/relay/wake_up.h"
#include "engine/tag_array.h"

namespace zervane {

// One thing to be sent.
struct RelayEntry {
  RelayKind kind = RelayKind::kValue;
  std::uint64_t number = 0;  // given by the queue, ascending

  // Of a value.
  TagId tag = 0;
  std::string name;
  Sample sample;

  // Of what becomes of an alarm.
  std::string json;

  bool is_value() const { return kind == RelayKind::kValue; }
};

// What waits to be sent, in the order in which it came. When it is full the oldest value of a tag
// that has a newer one goes; then the oldest value of any tag, after which every current value is
// to be sent again; an alarm goes when only alarms are left, the oldest first. What goes is
// counted.
//
// It also knows what was sent of every tag, so that nothing older follows.
//
// Threads: any. None waits here.
class RelayQueue {
 public:
  static constexpr std::size_t kMaxEntries = 65'536;
  using Wanted = std::array<bool, kRelayKinds>;

  explicit RelayQueue(std::size_t max_entries = kMaxEntries) : max_entries_(max_entries) {}

  // Set whenever there may be something to send that was not there before.
  WakeUp& news() { return news_; }

  // What is taken from now on. What waits of other kinds goes, and is not counted.
  void SetWanted(const Wanted& wanted) noexcept EXCLUDES(mutex_);

  // When it throws, the entry is not there.
  void Push(RelayEntry entry) EXCLUDES(mutex_);

  // The first entries, at most `max`, in their order; values that are older than what was sent of
  // their tags are left out.
  std::vector<RelayEntry> Pop(std::size_t max) EXCLUDES(mutex_);
  // Puts entries that could not be sent back to where they were; what has no room there goes as if
  // it had been there all the time.
  void PutBack(std::vector<RelayEntry> entries) noexcept EXCLUDES(mutex_);

  // Notes the times of values that were sent.
  using SentValue = std::pair<TagId, std::int64_t>;
  void NoteSent(std::span<const SentValue> values) EXCLUDES(mutex_);

  // Every current value is to be sent, whatever waits.
  void AskForAll() noexcept EXCLUDES(mutex_);
  // Whether that was asked since this was called last.
  bool WasAskedForAll() noexcept EXCLUDES(mutex_);

  bool HasEntries() const EXCLUDES(mutex_);
  // The number of the newest entry that waits; 0 for none.
  std::uint64_t newest() const EXCLUDES(mutex_);
  std::size_t size() const EXCLUDES(mutex_);

  // How many entries have gone since this was asked last.
  std::uint64_t CountGone() noexcept EXCLUDES(mutex_);

 private:
  using Entries = std::map<std::uint64_t, RelayEntry>;

  void Insert(Entries::node_type node) REQUIRES(mutex_);
  void MakeRoom() noexcept REQUIRES(mutex_);
  // Takes the entry out.
  Entries::node_type Extract(Entries::iterator place) noexcept REQUIRES(mutex_);
  // The place of the first entry in order; REQUIRES one.
  Entries& FirstOf() REQUIRES(mutex_);
  bool IsOutdated(const RelayEntry& entry) const REQUIRES(mutex_);
  std::size_t Count() const REQUIRES(mutex_) { return values_.size() + alarms_.size(); }
  const std::size_t max_entries_;
  WakeUp news_;

  mutable Mutex mutex_;
  Wanted wanted_ GUARDED_BY(mutex_) = {true, true, true, true};
  std::uint64_t last_number_ GUARDED_BY(mutex_) = 0;
  Entries values_ GUARDED_BY(mutex_);
  Entries alarms_ GUARDED_BY(mutex_);
  std::unordered_map<TagId, std::uint64_t> newest_of_tag_ GUARDED_BY(mutex_);
  std::set<std::uint64_t> superseded_ GUARDED_BY(mutex_);  // values whose tags have newer ones
  TagArray<std::int64_t> sent_until_ GUARDED_BY(mutex_);   // 0 for nothing
  bool is_asked_for_all_ GUARDED_BY(mutex_) = false;
  std::uint64_t gone_ GUARDED_BY(mutex_) = 0;
};

}  // namespace zervane
