#pragma once

#include <cstddef>
#include <cstdint>
#include <limits>
#include <memory>
#include <optional>
#include <set>
#include <span>
#include <unordered_map>
#include <utility>
#include <vector>

#include "api/words/alarm.h"
#include "api/words/value.h"
#include "engine/alarms/alarm_rule.h"
#include "engine/alarms/conditions.h"
#include "engine/tag_array.h"
#include "engine/write/turn.h"

namespace zervane {

// How far an alarm tag is.
struct AlarmTrack {
  AlarmState state;
  // The newest start of its records, kNoTime when it has none; none: it was not looked up yet.
  std::optional<std::int64_t> latest_start_ms;
  // Of all times from the one to before the other there are records.
  std::int64_t taken_from_ms = 0;
  std::int64_t taken_until_ms = 0;
};

// The newest good value of a source.
struct NewestGood {
  enum class Knowledge : std::uint8_t { kNotLookedUp, kThereIsNone, kThereIsOne };

  Knowledge knowledge = Knowledge::kNotLookedUp;
  Sample sample;
};

// What the database has to know of alarm tags for every value: their rules, which of them watch a
// tag, how far each is, and the newest good value of each source.
//
// What a batch changes is changed in copies, which take the place of the originals when the store
// has the batch. Invariants: the alarms of a source are in order of identifier; of every alarm its
// deadline is in the list of deadlines.
//
// Threads: with the turn alone.
class AlarmBook {
 public:
  static constexpr std::int64_t kNever = std::numeric_limits<std::int64_t>::max();

  struct Alarm {
    AlarmRule rule;
    AlarmTrack track;                   // as of the last batch that was stored
    std::int64_t deadline_ms = kNever;  // when the first of the pending holds is complete
    // Which batch touched it last, and where its copy stands among that batch's.
    std::uint64_t batch = 0;
    std::size_t trial_at = 0;
  };

  // An alarm as it is to become.
  struct Trial {
    Alarm* alarm = nullptr;
    AlarmTrack track;
    // The record that stands, when it started in this batch; and all starts that this batch has
    // given.
    std::optional<AlarmRecord> standing = {};
    std::set<std::int64_t> starts = {};
  };

  // A tag that alarms watch.
  struct Source {
    std::vector<Alarm*> alarms;
    std::size_t changes = 0;  // how many of them have a CHANGE test
    NewestGood newest;        // as of the last batch that was stored
    NewestGood next;          // as it is to become, when `batch` is the present one
    std::uint64_t batch = 0;
  };

  AlarmBook() = default;
  AlarmBook(const AlarmBook&) = delete;
  AlarmBook& operator=(const AlarmBook&) = delete;

  // Null when there is none.
  Alarm* Find(TagId alarm);
  // Null when no alarm watches the tag.
  Source* FindSource(TagId source);

  // The rule of an alarm tag that is about to be saved, and what was last proposed for the tag in
  // this batch; null when nothing was.
  void Propose(AlarmRule rule);
  const AlarmRule* FindProposal(TagId alarm) const;

  // Has what was proposed for the tag become its rule with this batch: what the tag is judged by,
  // but not how far it is, which is the trial's affair. Or has the tag go.
  void PrepareRule(TagId alarm);
  void PrepareRemoval(TagId alarm);

  // The alarm on a copy. Valid until the next one is asked for.
  Trial& Try(Alarm& alarm);
  std::span<Trial> trials() { return trials_; }
  bool IsTried(const Alarm& alarm) const { return alarm.batch == batch_; }
  // How far the alarm is, in this batch.
  const AlarmTrack& TrackOf(const Alarm& alarm) const {
    return IsTried(alarm) ? trials_[alarm.trial_at].track : alarm.track;
  }
  // The newest good value on a copy.
  NewestGood& TryNewest(Source& source);

  // The alarms whose deadline is not after the time, at most so many, the first ones first.
  std::vector<Alarm*> DueAt(std::int64_t time_ms, std::size_t limit) const;
  // The first deadline, or kNever.
  std::int64_t NextDeadline() const {
    return deadlines_.empty() ? kNever : deadlines_.begin()->first;
  }

  // The alarm tags whose rules change with this batch (their new ones), and those that go.
  std::span<const std::unique_ptr<Alarm>> changed() const { return changed_; }
  std::span<const TagId> removed() const { return removed_; }

  // The batch is stored, or it is not.
  void Keep() noexcept;
  void Discard() noexcept;

 private:
  using Deadline = std::pair<std::int64_t, TagId>;

  void Attach(Alarm& alarm) noexcept;
  // The source that it watched.
  Source& Detach(Alarm& alarm) noexcept;
  static void ForgetUnlessWatched(Source& source) noexcept;
  void AdoptRule(std::unique_ptr<Alarm>& changed) noexcept;
  void Remove(TagId alarm) noexcept;
  void SetDeadline(Alarm& alarm) noexcept;
  void EndBatch() noexcept;

  std::unordered_map<TagId, std::unique_ptr<Alarm>> alarms_;
  TagArray<std::unique_ptr<Source>> sources_;
  std::set<Deadline> deadlines_;

  // Of the batch that is on its way.
  std::uint64_t batch_ = 1;
  std::vector<AlarmRule> proposals_;
  std::vector<Trial> trials_;
  std::vector<Source*> touched_;
  std::vector<std::unique_ptr<Alarm>> changed_;
  std::set<Deadline> new_deadlines_;  // entries for alarms that are not in the book yet
  std::vector<TagId> removed_;
};

}  // namespace zervane
