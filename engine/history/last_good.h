#pragma once

#include <cstddef>
#include <cstdint>
#include <limits>
#include <string>

#include "api/words/samples.h"
#include "engine/storage/run_statistics.h"
#include "engine/storage/store.h"

namespace zervane {

// Whether a record is good: by its quality, and a number must be finite.
bool IsGoodAt(const SampleColumns& records, std::size_t at);

// The last good record that was passed, and whether one that is not good came behind it.
class LastGood {
 public:
  enum class State {
    kNone,     // no record was good
    kKnown,    // it is there
    kUnknown,  // there is one whose text was not read
  };

  State state() const { return state_; }
  const RunStatistics::Point& point() const { return point_; }
  const std::string& text() const { return text_; }

  // The time of the first record behind it that is not good, or kNever.
  std::int64_t first_bad_ms() const { return first_bad_ms_; }
  bool IsFollowedByBad() const { return first_bad_ms_ != kNever; }

  void PassGood(const SampleColumns& records, std::size_t at);
  void PassBad(std::int64_t time_ms);
  // All records from `begin` to before `end`, in one go.
  void Pass(const SampleColumns& records, std::size_t begin, std::size_t end);
  // Those of a run that is not looked at.
  void Pass(const RunStatistics& run);

  static constexpr std::int64_t kNever = std::numeric_limits<std::int64_t>::max();

 private:
  State state_ = State::kNone;
  RunStatistics::Point point_;
  std::string text_;
  std::int64_t first_bad_ms_ = kNever;
};

// Finds the last good record of a backward scan.
class LastGoodFinder final : public ScanVisitor {
 public:
  Wants Offer(const RunSummary& run) override;
  bool Show(const SampleColumns& records, std::size_t begin, std::size_t end) override;

  const LastGood& found() const { return found_; }

 private:
  LastGood found_;
};

}  // namespace zervane
