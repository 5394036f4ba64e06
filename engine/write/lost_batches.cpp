#include "engine/write/lost_batches.h"

#include <algorithm>
#include <utility>

#include "engine/log.h"

namespace zervane {

LostBatches::~LostBatches() {
  while (count_ > 0) (void)Remove(0);
}

void LostBatches::Note(SessionId session, std::size_t records, const Status& status) noexcept {
  for (std::size_t at = 0; at < count_; ++at) {
    if (losses_[at].session != session) continue;
    ++losses_[at].more_batches;
    losses_[at].more_records += records;
    return;
  }
  LogError("{} records that were answered when queued could not be stored: {} ({})", records,
           zr3_status_text(status.code()), status.message());
  if (count_ == kMaxSessions) {
    LogWarning("a session that lost records will not be told: {} others wait to be", count_ - 1);
    (void)Remove(0);
  }
  losses_[count_++] = {.session = session, .status = status, .more_batches = 0, .more_records = 0};
}

Status LostBatches::Tell(SessionId session) noexcept {
  for (std::size_t at = 0; at < count_; ++at) {
    if (losses_[at].session == session) return Remove(at);
  }
  return {};
}

Status LostBatches::TellAnyone() noexcept { return count_ == 0 ? Status() : Remove(0); }

Status LostBatches::Remove(std::size_t at) noexcept {
  if (losses_[at].more_batches > 0) {
    LogError("{} more batches of {} records of the same session could not be stored either",
             losses_[at].more_batches, losses_[at].more_records);
  }
  Status status = std::move(losses_[at].status);
  std::move(losses_.begin() + static_cast<std::ptrdiff_t>(at) + 1,
            losses_.begin() + static_cast<std::ptrdiff_t>(count_),
            losses_.begin() + static_cast<std::ptrdiff_t>(at));
  losses_[--count_] = {};
  return status;
}

}  // namespace zervane
