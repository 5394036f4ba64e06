#include <algorithm>
#include <utility>

#include "engine/assert.h"
#include "engine/derived/statistics_tags/statistics_book.h"

// What the book knows of what is to be done: the line, and what is claimed of it.
namespace zervane {
namespace {

using Kind = StatisticsJob::Kind;

}  // namespace

// Windows of a start that is known now which are not to be computed: see the bounds above, and of
// running ones all but the latest.
void StatisticsBook::PassOver(Entry& entry) noexcept {
  const std::optional<std::int64_t> start_ms = entry.start_ms();
  if (!start_ms || entry.known_ms == kNoTime) return;
  const Windows windows(entry.rule->properties, *start_ms);
  StatisticsProgress& progress = entry.progress;
  const std::int64_t first = windows.FirstEndingAfter(progress.until_ms);
  const std::int64_t last =
      windows.FirstEndingAfter(entry.known_ms - entry.rule->scan_period_ms()) - 1;
  const auto go_on_with = [&](std::int64_t number) {
    progress.until_ms = std::max(progress.until_ms, windows.EndOf(number - 1));
  };
  entry.known_ms = kNoTime;
  if (last <= first) return;
  if (entry.rule->IsRunning()) return go_on_with(last);
  const std::int64_t seen = windows.FirstEndingAfter(progress.seen_ms) - 1;
  const std::int64_t last_past = entry.is_opened ? std::min(last, seen) : last;
  if (last_past - first >= kMostPastWindows) go_on_with(last_past - kMostPastWindows + 1);
  if (last - std::max(first - 1, last_past) <= kMostMissedWindows) return;
  const std::int64_t next = last - kMostMissedWindows + 1;
  if (first > last_past) return go_on_with(next);
  if (progress.gap != WindowGap()) return;  // there is one already; rather too much than too little
  progress.gap = {.after_ms = windows.EndOf(last_past), .until_ms = windows.EndOf(next - 1)};
}

StatisticsBook::Place StatisticsBook::PlaceOf(const Entry& entry) noexcept {
  const TagId tag = entry.rule->tag;
  const Place resting = {.rank = Place::Rank::kResting, .at = 0, .tag = tag};
  if (!entry.has_source) return resting;
  const std::optional<std::int64_t> start_ms = entry.start_ms();
  if (!start_ms) {
    if (!entry.may_find_start) return resting;
    return {.rank = Place::Rank::kBehind, .at = ++turns_, .tag = tag};
  }
  const Windows windows(entry.rule->properties, *start_ms);
  const std::int64_t next = windows.FirstEndingAfter(entry.progress.until_ms);
  const std::int64_t scan_ms = entry.rule->scan_period_ms();
  if (windows.EndOf(next + kSlice) + scan_ms <= clock_()) {
    return {.rank = Place::Rank::kBehind, .at = ++turns_, .tag = tag};
  }
  return {.rank = Place::Rank::kDue, .at = windows.EndOf(next) + scan_ms, .tag = tag};
}

void StatisticsBook::PutInLine(Entry& entry) noexcept {
  PassOver(entry);
  const Place place = PlaceOf(entry);
  auto node = line_.extract(entry.place);
  ZERVANE_ASSERT(!node.empty());
  node.value() = place;
  entry.place = place;
  line_.insert(std::move(node));
}

std::int64_t StatisticsBook::NextDue() const {
  if (!late_tags_.empty()) return 0;
  const auto behind = line_.lower_bound({.rank = Place::Rank::kBehind, .at = 0, .tag = 0});
  if (behind != line_.end() && behind->rank == Place::Rank::kBehind) return 0;
  if (line_.empty() || line_.begin()->rank != Place::Rank::kDue) return kNever;
  return line_.begin()->at;
}

// Those who are up to date first, so that nobody waits for another's past.
std::span<StatisticsJob> StatisticsBook::Claim(std::int64_t windows) {
  ZERVANE_ASSERT(!is_claimed_);
  is_claimed_ = true;
  claimed_.clear();
  const std::int64_t now_ms = clock_();
  std::int64_t left = windows;
  for (auto at = line_.begin(); at != line_.end() && left > 0; ++at) {
    if (at->rank != Place::Rank::kDue || at->at > now_ms) break;
    if (!ClaimOf(*Find(at->tag), std::min(left, kSlice), now_ms)) continue;
    left -= static_cast<std::int64_t>(claimed_.back().windows.size());
  }
  if (Entry* const late = NextLate(); late != nullptr && left > 0) {
    ClaimLate(*late, left);
    left -= static_cast<std::int64_t>(claimed_.back().windows.size());
  }
  const auto behind = line_.lower_bound({.rank = Place::Rank::kBehind, .at = 0, .tag = 0});
  if (left > 0 && behind != line_.end() && behind->rank == Place::Rank::kBehind) {
    Entry& entry = *Find(behind->tag);
    if (!ClaimOf(entry, left, now_ms)) PutInLine(entry);  // the clock was put back
  }
  return claimed_;
}

// Whether there is a job. One without windows stores that there were none.
bool StatisticsBook::ClaimOf(Entry& entry, std::int64_t windows, std::int64_t now_ms) {
  StatisticsJob job = {.rule = entry.rule, .progress = entry.progress};
  const std::optional<std::int64_t> start_ms = entry.start_ms();
  job.is_behind = entry.place.rank == Place::Rank::kBehind;
  if (!start_ms) {
    job.kind = Kind::kFindStart;
    claimed_.push_back(std::move(job));
    entry.may_find_start = false;
    return true;
  }
  const Windows all(entry.rule->properties, *start_ms);
  const std::int64_t scan_ms = entry.rule->scan_period_ms();
  std::int64_t number = all.FirstEndingAfter(entry.progress.until_ms);
  for (std::int64_t count = 0; count < windows; ++count, ++number) {
    const std::int64_t end_ms = all.EndOf(number);
    if (end_ms + scan_ms > now_ms) break;
    const std::optional<Window> window = all.At(number);
    if (window) job.windows.push_back(*window);
    job.progress.until_ms = std::max(job.progress.until_ms, end_ms);
    // What lies between is not to be computed.
    const WindowGap& gap = entry.progress.gap;
    if (end_ms >= gap.after_ms && end_ms < gap.until_ms) {
      job.progress.until_ms = gap.until_ms;
      job.progress.gap = {};
      break;
    }
  }
  if (job.progress == entry.progress) return false;
  job.progress.seen_ms = std::max(job.progress.seen_ms, now_ms);
  claimed_.push_back(std::move(job));
  Source& source = **sources_.Find(entry.rule->source);
  entry.claimed_ms = std::max(entry.claimed_ms, claimed_.back().progress.until_ms);
  source.claimed_ms = std::max(source.claimed_ms, entry.claimed_ms);
  return true;
}

StatisticsBook::Entry* StatisticsBook::NextLate() const {
  if (late_tags_.empty()) return nullptr;
  auto next = late_tags_.upper_bound(last_late_);
  if (next == late_tags_.end()) next = late_tags_.begin();
  return Find(*next);
}

void StatisticsBook::ClaimLate(Entry& entry, std::int64_t windows) {
  ZERVANE_ASSERT(!entry.late.empty());
  const LateStretch& late = entry.late.begin()->second;
  StatisticsJob job = {.kind = Kind::kLate, .rule = entry.rule, .progress = entry.progress};
  job.late = late;
  const std::optional<std::int64_t> start_ms = entry.start_ms();
  if (start_ms && entry.has_source) {
    const Windows all(entry.rule->properties, *start_ms);
    const std::int64_t until_ms = entry.progress.until_ms;
    // Of running windows it is the one that was the latest when the records came, and ends with the
    // stretch.
    const bool is_running = entry.rule->IsRunning();
    const std::int64_t from_ms = is_running ? late.last_ms : late.first_ms;
    const std::int64_t to_ms = is_running ? std::min(until_ms, late.last_ms + 1) : until_ms;
    std::int64_t number = all.FirstEndingAfter(std::max(from_ms, entry.progress.from_ms));
    for (; !job.is_rest_late && all.EndOf(number) <= to_ms; ++number) {
      const std::optional<Window> window = all.At(number);
      if (!window) continue;
      if (window->begin_ms > late.last_ms) break;
      if (static_cast<std::int64_t>(job.windows.size()) == windows) {
        job.is_rest_late = true;
        job.late.first_ms = std::max(window->begin_ms, late.first_ms);
      } else {
        job.windows.push_back(*window);
      }
    }
  }
  entry.late_claimed_ms = late.key.time_ms;
  last_late_ = entry.rule->tag;
  claimed_.push_back(std::move(job));
}

bool StatisticsBook::IsClaimGood() const {
  return is_claimed_ && std::ranges::all_of(claimed_, [&](const StatisticsJob& job) {
           const Entry* const entry = Find(job.rule->tag);
           if (entry == nullptr || entry->rule != job.rule) return false;
           // What has a source to wait for is not done without it. Late records are gone with it.
           return entry->has_source || job.kind == Kind::kLate;
         });
}

void StatisticsBook::Finish() noexcept {
  for (const StatisticsJob& job : claimed_) FinishJob(job);
  is_claimed_ = false;
}

void StatisticsBook::FinishJob(const StatisticsJob& job) noexcept {
  Entry& entry = *Find(job.rule->tag);
  if (job.kind != Kind::kLate) {
    entry.progress = job.progress;
    return PutInLine(entry);
  }
  entry.late_claimed_ms = kNoTime;
  const auto late = entry.late.find(job.late.key.time_ms);
  if (job.is_rest_late) {
    late->second = job.late;
    return;
  }
  entry.late.erase(late);
  if (entry.late.empty()) late_tags_.erase(job.rule->tag);
}

void StatisticsBook::Abandon() noexcept {
  if (!is_claimed_) return;
  is_claimed_ = false;
  for (const StatisticsJob& job : claimed_) {
    Entry* const entry = Find(job.rule->tag);
    if (entry == nullptr || entry->rule != job.rule) continue;
    entry->late_claimed_ms = kNoTime;
    if (job.kind == Kind::kFindStart) entry->may_find_start = true;
  }
}

}  // namespace zervane
