#pragma once

#include <cstddef>

#include "api/words/samples.h"
#include "engine/storage/store.h"

namespace zervane {

// Shows a visitor the good records of a scan, as if there were no others.
//
//   GoodRecords good(direction, visitor);
//   return store.Scan(tag, range, direction, good);
class GoodRecords final : public ScanVisitor {
 public:
  // The visitor outlives it; the direction is that of the scan.
  GoodRecords(Direction direction, ScanVisitor& visitor)
      : direction_(direction), visitor_(visitor) {}

  bool UsesStatistics() const override { return visitor_.UsesStatistics(); }
  // A run that may have others is to be shown, whatever the visitor wants of it.
  Wants Offer(const RunSummary& run) override;
  bool Show(const SampleColumns& records, std::size_t begin, std::size_t end) override;

 private:
  bool ShowRun(const SampleColumns& records, std::size_t begin, std::size_t end);

  const Direction direction_;
  ScanVisitor& visitor_;
  bool are_all_good_ = false;  // of the run that was offered last
};

}  // namespace zervane
