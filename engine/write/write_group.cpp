#include "engine/write/write_group.h"

#include <algorithm>

#include "engine/assert.h"
#include "engine/storage/record_batch.h"

namespace zervane {

void WriteGroup::ReserveBatch() {
  if (batches.size() == batches.capacity()) {
    batches.reserve(std::max<std::size_t>(16, 2 * batches.capacity()));
  }
}

void WriteGroup::CloseBatch(std::size_t begin, SessionId session, Ticket* ticket) noexcept {
  ZERVANE_ASSERT(begin == (batches.empty() ? 0 : batches.back().end) && begin <= records.size());
  ZERVANE_ASSERT(batches.size() < batches.capacity());  // it was reserved
  batches.push_back(
      {.begin = begin, .end = records.size(), .session = session, .ticket = ticket, .status = {}});
  if (ticket != nullptr) LimitGrowth(Bytes() - closed_bytes_);
  closed_bytes_ = Bytes();
}

void WriteGroup::AddChange(const std::function<Status(Turn&)>& run, Ticket& ticket) {
  changes.push_back({.run = &run, .ticket = &ticket});
  LimitGrowth(0);
}

// Someone waits from now on, who has handed in so many bytes himself.
void WriteGroup::LimitGrowth(std::size_t bytes) noexcept {
  if (has_waiter_) return;
  has_waiter_ = true;
  if (bytes <= kMoreBytes) max_bytes_ = Bytes() + kMoreBytes;
}

void WriteGroup::Clear() noexcept {
  zervane::Clear(records);
  batches.clear();
  changes.clear();
  closed_bytes_ = 0;
  has_waiter_ = false;
  max_bytes_ = kNoLimit;
}

}  // namespace zervane
