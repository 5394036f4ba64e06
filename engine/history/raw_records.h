#pragma once

#include <cstdint>

#include "api/words/samples.h"
#include "api/words/status.h"
#include "api/words/value.h"
#include "engine/storage/store.h"

namespace zervane {

// Counts records, from summaries alone.
class RecordCounter final : public ScanVisitor {
 public:
  Wants Offer(const RunSummary& run) override {
    count_ += run.count;
    return Wants::kNext;
  }
  bool Show(const SampleColumns&, std::size_t, std::size_t) override { return true; }

  std::int64_t count() const { return count_; }

 private:
  std::int64_t count_ = 0;
};

// Reads up to `limit` records in the direction's order.
class RecordReader final : public ScanVisitor {
 public:
  RecordReader(Direction direction, std::uint64_t limit) : direction_(direction), left_(limit) {}

  bool UsesStatistics() const override { return false; }
  Wants Offer(const RunSummary&) override { return left_ == 0 ? Wants::kStop : Wants::kRecords; }
  bool Show(const SampleColumns& records, std::size_t begin, std::size_t end) override;

  SampleColumns& records() { return records_; }

 private:
  const Direction direction_;
  std::uint64_t left_;
  SampleColumns records_;
};

// How many archived records of the range a tag has; an empty range has none. The status of the
// store.
Result<std::int64_t> CountRaw(Store& store, TagId tag, TimeRange range);

// Up to `limit` archived records of the range: the oldest ones ascending, or (backward) the newest
// ones descending. Memory is needed for the answer alone. The status of the store.
Result<SampleColumns> ReadRaw(Store& store, TagId tag, TimeRange range, Direction direction,
                              std::uint64_t limit);

}  // namespace zervane
