#include "engine/history/good_records.h"

#include <utility>

#include "engine/history/last_good.h"

namespace zervane {

ScanVisitor::Wants GoodRecords::Offer(const RunSummary& run) {
  are_all_good_ = run.statistics != nullptr && run.statistics->good == run.statistics->count;
  return are_all_good_ ? visitor_.Offer(run) : Wants::kRecords;
}

// Good records that follow each other are a run.
bool GoodRecords::Show(const SampleColumns& records, std::size_t begin, std::size_t end) {
  if (are_all_good_) return visitor_.Show(records, begin, end);
  if (direction_ == Direction::kForward) {
    while (begin < end) {
      while (begin < end && !IsGoodAt(records, begin)) ++begin;
      std::size_t behind = begin;
      while (behind < end && IsGoodAt(records, behind)) ++behind;
      if (begin < behind && !ShowRun(records, begin, behind)) return false;
      begin = behind;
    }
    return true;
  }
  while (begin < end) {
    while (begin < end && !IsGoodAt(records, end - 1)) --end;
    std::size_t first = end;
    while (begin < first && IsGoodAt(records, first - 1)) --first;
    if (first < end && !ShowRun(records, first, end)) return false;
    end = first;
  }
  return true;
}

bool GoodRecords::ShowRun(const SampleColumns& records, std::size_t begin, std::size_t end) {
  const Wants wants = visitor_.Offer({.first_ms = records.times()[begin],
                                      .last_ms = records.times()[end - 1],
                                      .count = static_cast<std::int64_t>(end - begin)});
  if (wants != Wants::kRecords) return wants == Wants::kNext;
  return visitor_.Show(records, begin, end);
}

}  // namespace zervane
