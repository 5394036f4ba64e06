#include "engine/storage/store.h"

#include <algorithm>
#include <type_traits>
#include <utility>
#include <variant>

#include "engine/assert.h"
#include "engine/guard.h"
#include "engine/storage/tables.h"

namespace zervane {
namespace {

// Whether rows are as their tables want them, and records go with their tag.
bool IsWholeBatch(const StoreBatch& batch) {
  const std::size_t records = batch.records.size();
  const bool is_even =
      batch.records.samples.size() == records && batch.records.marks.size() == records;
  return is_even && std::ranges::all_of(batch.rows, [&](const RowChange& change) {
           if (!IsWhole(change)) return false;
           const bool removes_tag = change.table == TableId::kTag && !change.row;
           return !removes_tag ||
                  std::ranges::count(batch.emptied, std::get<std::int64_t>(change.key.front())) > 0;
         });
}

}  // namespace

// Any call but Close: refused when the store is closed, and what the body throws is a status.
template <typename Body>
auto Store::Call(Body&& body) noexcept {
  using Answer = std::invoke_result_t<Body>;
  const auto refused = [](Status status) {
    if constexpr (std::is_same_v<Answer, CommitAnswer>) {
      return CommitAnswer::Refused(std::move(status));
    } else {
      return Answer(std::move(status));
    }
  };
  if (!Enter()) return refused({ZR3_ERR_NOT_CONNECTED, {}});
  Answer answer = [&]() -> Answer {
    try {
      return std::forward<Body>(body)();
    } catch (...) {
      return refused(StatusOfException());
    }
  }();
  Leave();
  return answer;
}

bool Store::Enter() noexcept {
  const bool is_open = (calls_.fetch_add(1, std::memory_order_acquire) & kIsClosed) == 0;
  if (!is_open) Leave();
  return is_open;
}

void Store::Leave() noexcept {
  const std::uint32_t left = calls_.fetch_sub(1, std::memory_order_release) - 1;
  if (left == kIsClosed) calls_.notify_all();
}

CommitAnswer Store::Commit(StoreBatch& batch) noexcept {
  ZERVANE_ASSERT(IsWholeBatch(batch));
  return Call([&] { return DoCommit(batch); });
}

Status Store::Scan(TagId tag, TimeRange range, Direction direction, ScanVisitor& visitor) noexcept {
  return Call([&] {
    return range.from_ms > range.to_ms ? Status() : DoScan(tag, range, direction, visitor);
  });
}

Result<std::optional<Sample>> Store::ReadHeld(TagId tag) noexcept {
  return Call([&] { return DoReadHeld(tag); });
}

Result<SampleBatch> Store::ReadCurrent(TagId first, TagId last) noexcept {
  return Call([&] { return DoReadCurrent(first, last); });
}

Status Store::Rows(const RowRange& range, std::size_t limit, const RowVisitor& visit) noexcept {
  ZERVANE_ASSERT(IsWhole(range));
  return Call([&] { return limit == 0 ? Status() : DoRows(range, limit, visit); });
}

Result<LeaseAnswer> Store::Lease(LeaseWish wish) noexcept {
  return Call([&] { return DoLease(wish); });
}

Status Store::Close() noexcept {
  if ((calls_.fetch_or(kIsClosed, std::memory_order_acquire) & kIsClosed) != 0) {
    return {ZR3_ERR_NOT_CONNECTED, {}};
  }
  for (std::uint32_t calls = calls_.load(std::memory_order_acquire); calls != kIsClosed;
       calls = calls_.load(std::memory_order_acquire)) {
    calls_.wait(calls, std::memory_order_acquire);
  }
  return Guarded([&] { return DoClose(); });
}

std::optional<storage::TextDecoder> TextEncoding::DecoderOfUtf8(std::string_view name) {
  return name == "UTF-8" ? std::optional(storage::TextDecoder()) : std::nullopt;
}

}  // namespace zervane
