#include "engine/derived/calculations/poll_schedule.h"

#include <algorithm>
#include <limits>
#include <utility>

namespace zervane {

void PollSchedule::Add(TagId tag, std::int64_t period_s, std::int64_t behind_ms) {
  const std::int64_t period_ms = period_s * 1000;
  const auto [place, is_new] = periods_.try_emplace(period_s);
  if (is_new) place->second.next_ms = (behind_ms / period_ms + 1) * period_ms;
  place->second.tags.insert(tag);
}

void PollSchedule::Remove(TagId tag, std::int64_t period_s) {
  const auto place = periods_.find(period_s);
  if (place == periods_.end()) return;
  place->second.tags.erase(tag);
  if (place->second.tags.empty()) periods_.erase(place);
}

std::int64_t PollSchedule::NextDue() const {
  std::int64_t next_ms = std::numeric_limits<std::int64_t>::max();
  for (const auto& [period_s, period] : periods_) next_ms = std::min(next_ms, period.next_ms);
  return next_ms;
}

std::optional<PollSchedule::Due> PollSchedule::DueAt(std::int64_t now_ms) {
  for (auto& [period_s, period] : periods_) {
    const std::int64_t period_ms = period_s * 1000;
    if (period.next_ms - now_ms > period_ms + kMostSetBackMs) {
      period.next_ms = (now_ms / period_ms + 1) * period_ms;
    }
    const std::int64_t late = (now_ms - period.next_ms) / period_ms;
    if (now_ms < period.next_ms || late < kMostLate) continue;
    const std::int64_t passed_over = late - kMostLate + 1;
    period.next_ms += passed_over * period_ms;
    passed_over_ += passed_over;
  }
  Due due = {.time_ms = NextDue(), .tags = {}};
  if (due.time_ms > now_ms) return std::nullopt;
  for (const auto& [period_s, period] : periods_) {
    if (period.next_ms != due.time_ms) continue;
    due.tags.insert(due.tags.end(), period.tags.begin(), period.tags.end());
  }
  return due;
}

void PollSchedule::SetDone(const Due& due) {
  for (auto& [period_s, period] : periods_) {
    if (period.next_ms == due.time_ms) period.next_ms += period_s * 1000;
  }
}

std::int64_t PollSchedule::TakePassedOver() { return std::exchange(passed_over_, 0); }

}  // namespace zervane
