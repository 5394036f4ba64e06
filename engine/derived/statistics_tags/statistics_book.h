#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <limits>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <span>
#include <unordered_map>
#include <utility>
#include <vector>

#include "api/words/value.h"
#include "engine/clock.h"
#include "engine/derived/statistics_tags/progress_rows.h"
#include "engine/derived/statistics_tags/statistics_rule.h"
#include "engine/derived/statistics_tags/windows.h"
#include "engine/storage/store.h"
#include "engine/tag_array.h"

namespace zervane {

// Something that is to be computed for a statistics tag, and what is stored with it.
struct StatisticsJob {
  enum class Kind : std::uint8_t {
    kFindStart,  // when the source has its first record
    kWindows,    // windows that are due
    kLate,       // windows into which late records came
  };

  Kind kind = Kind::kWindows;
  std::shared_ptr<const StatisticsRule> rule;
  std::vector<Window> windows = {};  // ascending
  StatisticsProgress progress = {};  // of the tag, afterwards
  LateStretch late = {};             // which stretch it is
  bool is_rest_late = false;         // its windows are not the last ones: it goes on with `late`
  bool is_behind = false;            // there was more to do than for others
};

// What the database has to know of statistics tags: by what rules their values are computed, how
// far each is, and when there is something to do next.
//
// What a batch changes is made beforehand and takes its place when the store has the batch. What is
// being computed is remembered as claimed, so that records that come meanwhile are known to be
// late. Invariant: of every tag there is one entry in the line, and one among the tags that have
// late records when it has a stretch of them.
//
// Threads: with the turn alone.
class StatisticsBook {
 public:
  static constexpr std::int64_t kNever = std::numeric_limits<std::int64_t>::max();
  // So many windows of the past are computed for a new tag, and so many of what closed while the
  // database was shut.
  static constexpr std::int64_t kMostPastWindows = 10'000'000;
  static constexpr std::int64_t kMostMissedWindows = 10'000;
  // So many windows of a tag are computed in one go before others have their turn.
  static constexpr std::int64_t kSlice = 8;
  // So many stretches of late records a batch makes for a tag.
  static constexpr std::size_t kMostStretches = 64;

  struct Proposal {
    StatisticsRule rule;
    bool starts_anew = false;  // where the mode knows a start
  };

  explicit StatisticsBook(Clock clock) : clock_(std::move(clock)) {}
  StatisticsBook(const StatisticsBook&) = delete;
  StatisticsBook& operator=(const StatisticsBook&) = delete;

  // ---- opening ----

  // Each tag once, before the first batch; `has_source`: the source exists.
  void Load(StatisticsRule rule, bool has_source, const StatisticsProgress& progress);
  bool LoadLate(const LateStretch& late);  // false: there is no such tag

  // ---- a batch ----

  // The rule of a tag that is about to be saved, and what was proposed last for it in this batch.
  void Propose(Proposal proposal) { proposals_.push_back(std::move(proposal)); }

  // Has what was proposed for the tag become its rule with this batch. A tag whose rule stays is
  // left alone.
  void PrepareRule(TagId tag, const std::function<bool(TagId source)>& exists, StoreBatch& batch);
  // A tag goes: the statistics tag, or the source of some, or both.
  void PrepareRemoval(TagId tag, StoreBatch& batch);

  // Whether there are statistics of the tag's values.
  bool IsSource(TagId tag) const;
  // A record of a source comes; EndRecords once all of the batch have come.
  void PassRecord(TagId source, std::int64_t time_ms);
  void EndRecords(StoreBatch& batch);

  // The batch is stored, or it is not.
  void Keep() noexcept;
  void Discard() noexcept;

  // ---- what is to be done ----

  // What is to be done now, about `windows` windows at the most; empty: nothing. It is claimed
  // until it is finished or abandoned, and stays where it is until the next claim: whoever computes
  // it may write what he finds into it without the turn, but for the rule. REQUIRES that nothing
  // else is claimed.
  std::span<StatisticsJob> Claim(std::int64_t windows);
  // Whether all tags of what is claimed are as they were.
  bool IsClaimGood() const;
  // Has the claim be finished when the present batch is kept.
  void PrepareFinish() { is_finishing_ = true; }
  // What was claimed stays to be done.
  void Abandon() noexcept;

  // When by the clock there is something to do; kNever.
  std::int64_t NextDue() const;

 private:
  // Where a tag stands in the line: those who are up to date by when they are due, then those who
  // have much to do by turns, then those for whom there is nothing to do.
  struct Place {
    enum class Rank : std::uint8_t { kDue, kBehind, kResting };
    Rank rank = Rank::kResting;
    std::int64_t at = 0;
    TagId tag = 0;
    friend auto operator<=>(const Place&, const Place&) = default;
  };
  struct Entry {
    std::shared_ptr<const StatisticsRule> rule;
    StatisticsProgress
        progress;  // as of the last batch that was stored, but for what is passed over
    bool has_source = false;
    bool may_find_start = true;         // there were records since it was looked for
    bool is_opened = false;             // the database was opened with it
    std::int64_t known_ms = kNoTime;    // since when it is there as it is; kNoTime: taken care of
    std::int64_t claimed_ms = kNoTime;  // windows that end up to it are computed, or being so
    std::map<std::int64_t, LateStretch> late;  // by the times of their keys
    std::int64_t late_claimed_ms = kNoTime;    // the key of the one that is being computed
    Place place;

    std::optional<std::int64_t> start_ms() const;
  };
  struct Source {
    std::vector<Entry*> entries;
    std::int64_t claimed_ms = kNoTime;  // of any of them, or later
    // Of the batch that is on its way.
    std::uint64_t batch = 0;
    std::vector<std::int64_t> late_times;
  };
  struct LateNodes {
    Entry* entry = nullptr;
    std::map<std::int64_t, LateStretch> late;
  };

  Entry* Find(TagId tag) const;
  Source* FindSource(TagId source) const;
  Source& MakeSource(TagId source);
  const Proposal* FindProposal(TagId tag) const;
  StatisticsProgress ProgressAfter(const Entry& entry, const Proposal& proposal) const;
  void AddStretches(Entry& entry, const std::vector<std::int64_t>& times, StoreBatch& batch);
  void AddStretch(Entry& entry, const Window& stretch, LateNodes& nodes, StoreBatch& batch) const;
  static bool IsCovered(const Entry& entry, const LateNodes& nodes, const Window& stretch);

  bool ClaimOf(Entry& entry, std::int64_t windows, std::int64_t now_ms);
  void ClaimLate(Entry& entry, std::int64_t windows);
  Entry* NextLate() const;

  // What cannot fail.
  void Adopt(std::unique_ptr<Entry>& changed) noexcept;
  void Attach(Entry& entry) noexcept;
  void Detach(Entry& entry) noexcept;
  void Remove(TagId tag) noexcept;
  void Finish() noexcept;
  void FinishJob(const StatisticsJob& job) noexcept;
  void EndBatch() noexcept;
  static void PassOver(Entry& entry) noexcept;
  void PutInLine(Entry& entry) noexcept;
  Place PlaceOf(const Entry& entry) noexcept;

  const Clock clock_;
  std::unordered_map<TagId, std::unique_ptr<Entry>> entries_;
  TagArray<std::unique_ptr<Source>> sources_;
  std::set<Place> line_;
  std::int64_t turns_ = 0;  // of those who are behind
  std::set<TagId> late_tags_;
  TagId last_late_ = 0;  // whose turn it was

  std::vector<StatisticsJob> claimed_;
  bool is_claimed_ = false;

  // Of the batch that is on its way.
  std::uint64_t batch_ = 1;
  std::vector<Proposal> proposals_;
  std::vector<std::unique_ptr<Entry>> changed_;
  std::set<Place> new_places_;
  std::set<TagId> new_late_tags_;
  std::vector<LateNodes> new_late_;
  std::vector<Source*> touched_;
  std::vector<Entry*> hopeful_;  // whose source has records, so that they may have a start
  std::vector<TagId> removed_;
  bool is_finishing_ = false;
};

}  // namespace zervane
