#include "engine/history/raw_records.h"

#include <algorithm>
#include <utility>

#include "engine/assert.h"

namespace zervane {
namespace {

// The samples from `begin` on, which are of one type, in the opposite order.
void ReverseFrom(SampleColumns& samples, std::size_t begin) {
  const auto reverse = [begin](auto column) {
    const auto part = column.subspan(begin);
    std::reverse(part.begin(), part.end());
  };
  const auto types = std::as_const(samples).types().subspan(begin);
  ZERVANE_ASSERT(std::equal(types.begin(), types.end(), types.rbegin()));
  reverse(samples.times());
  reverse(samples.values());
  reverse(samples.qualities());
}

}  // namespace

bool RecordReader::Show(const SampleColumns& records, std::size_t begin, std::size_t end) {
  const auto count = static_cast<std::size_t>(std::min<std::uint64_t>(left_, end - begin));
  left_ -= count;
  if (direction_ == Direction::kForward) {
    records_.AddRange(records, begin, begin + count);
  } else {
    const std::size_t first = records_.size();
    records_.AddRange(records, end - count, end);
    ReverseFrom(records_, first);
  }
  return left_ > 0;
}

Result<std::int64_t> CountRaw(Store& store, TagId tag, TimeRange range) {
  RecordCounter counter;
  if (range.empty()) return counter.count();
  if (Status status = store.Scan(tag, range, Direction::kForward, counter); !status.ok()) {
    return status;
  }
  return counter.count();
}

Result<SampleColumns> ReadRaw(Store& store, TagId tag, TimeRange range, Direction direction,
                              std::uint64_t limit) {
  RecordReader reader(direction, limit);
  if (range.empty() || limit == 0) return std::move(reader.records());
  if (Status status = store.Scan(tag, range, direction, reader); !status.ok()) return status;
  return std::move(reader.records());
}

}  // namespace zervane
