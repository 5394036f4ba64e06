#include "engine/write/write_group.h"

#include <algorithm>
#include <utility>

#include "engine/assert.h"

namespace zervane {
namespace {

std::size_t SizeOf(const AcceptedSample& record) {
  return sizeof(record) + record.sample.value.text_size();
}

}  // namespace

std::span<AcceptedSample> WriteGroup::RecordsOf(const Batch& batch) noexcept {
  ZERVANE_ASSERT(batch.begin <= batch.end && batch.end <= records.size());
  return std::span(records).subspan(batch.begin, batch.end - batch.begin);
}

void WriteGroup::ReserveBatch() {
  if (batches.size() == batches.capacity()) {
    batches.reserve(std::max<std::size_t>(16, 2 * batches.capacity()));
  }
}

void WriteGroup::CloseBatch(std::size_t begin, Ticket* ticket) noexcept {
  ZERVANE_ASSERT(begin == (batches.empty() ? 0 : batches.back().end) && begin <= records.size());
  ZERVANE_ASSERT(batches.size() < batches.capacity());  // it was reserved
  batches.push_back({.begin = begin, .end = records.size(), .ticket = ticket, .status = {}});
  for (const AcceptedSample& record : RecordsOf(batches.back())) bytes += SizeOf(record);
}

void WriteGroup::Drop(TagId tag) noexcept {
  ZERVANE_ASSERT(records.size() == (batches.empty() ? 0 : batches.back().end));
  std::size_t next = 0;
  std::size_t kept = 0;
  for (Batch& batch : batches) {
    batch.begin = kept;
    for (; next < batch.end; ++next) {
      if (records[next].tag == tag) {
        bytes -= SizeOf(records[next]);
      } else {
        if (kept != next) records[kept] = std::move(records[next]);
        ++kept;
      }
    }
    batch.end = kept;
  }
  records.resize(kept);
}

void WriteGroup::Clear() noexcept {
  records.clear();
  batches.clear();
  changes.clear();
  bytes = 0;
}

}  // namespace zervane
