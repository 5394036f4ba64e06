#include "engine/archive/write_group.h"

#include <algorithm>
#include <string>
#include <utility>
#include <variant>

namespace zervane {
namespace {

std::size_t SizeOf(const AcceptedSample& record) {
  return sizeof(record) + record.sample.value.text_size();
}

}  // namespace

std::span<AcceptedSample> WriteGroup::RecordsOf(const Batch& batch) noexcept {
  return std::span(records).subspan(batch.begin, batch.end - batch.begin);
}

void WriteGroup::ReserveBatch() {
  if (batches.size() == batches.capacity()) {
    batches.reserve(std::max<std::size_t>(16, 2 * batches.capacity()));
  }
}

void WriteGroup::CloseBatch(std::size_t begin, Ticket* ticket) noexcept {
  batches.push_back({.begin = begin, .end = records.size(), .ticket = ticket, .status = {}});
  for (const AcceptedSample& record : RecordsOf(batches.back())) bytes += SizeOf(record);
}

void WriteGroup::Drop(TagId tag) noexcept {
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
