#include "engine/write/write_group.h"

#include <algorithm>
#include <iterator>

#include "engine/assert.h"
#include "engine/storage/record_batch.h"

namespace zervane {

void WriteGroup::ReserveBatch(std::size_t batch_rows) {
  if (const std::size_t all = rows.size() + batch_rows; all > rows.capacity()) {
    rows.reserve(std::max(all, 2 * rows.capacity()));
  }
  if (batches.size() == batches.capacity()) {
    batches.reserve(std::max<std::size_t>(16, 2 * batches.capacity()));
  }
}

void WriteGroup::CloseBatch(std::size_t begin, SessionId session, Ticket* ticket,
                            std::span<RowChange> batch_rows) noexcept {
  ZERVANE_ASSERT(begin == (batches.empty() ? 0 : batches.back().end) && begin <= records.size());
  ZERVANE_ASSERT(batches.size() < batches.capacity());  // it was reserved
  ZERVANE_ASSERT(rows.size() + batch_rows.size() <= rows.capacity());
  const std::size_t first_row = rows.size();
  std::move(batch_rows.begin(), batch_rows.end(), std::back_inserter(rows));
  batches.push_back({.begin = begin,
                     .end = records.size(),
                     .first_row = first_row,
                     .last_row = rows.size(),
                     .session = session,
                     .ticket = ticket,
                     .status = {}});
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
  rows.clear();
  batches.clear();
  changes.clear();
  closed_bytes_ = 0;
  has_waiter_ = false;
  max_bytes_ = kNoLimit;
}

}  // namespace zervane
