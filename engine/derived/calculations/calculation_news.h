#pragma once

#include <cstddef>
#include <cstdint>
#include <list>
#include <memory>
#include <unordered_map>
#include <vector>

#include "api/words/value.h"
#include "engine/derived/calculations/calculation.h"
#include "engine/mutex.h"

namespace zervane {

// The current value of a tag that calculations read, as they see it.
struct OperandValue {
  TagId tag = 0;
  double number = 0;  // NaN: it is bad, or no number
  std::int64_t time_ms = kNoTime;
};

// What one commit means to calculations.
struct CalculationNews {
  std::vector<std::shared_ptr<const Calculation>> saved;
  std::int64_t saved_ms = 0;  // when that was, by the clock
  // What tags hold that are read from now on, or were corrected: no reason to compute anything.
  std::vector<OperandValue> found;
  std::vector<TagId> removed;        // calculation tags, and tags that they read
  std::vector<OperandValue> values;  // that have become current, of each tag the newest
  // A current value was corrected: it is among what is found with the next news, for which the
  // stage can be asked.
  bool corrects = false;

  std::uint64_t number = 0;  // of the commit; it counts up
  bool notifies = false;     // rows stand until it is followed
};

// News on the way from those who commit to the one who computes. Nothing is ever lost: when very
// many values wait, the newest commits are taken for one, so that of each tag the newest remains.
//
// Threads: any.
class CalculationNewsQueue {
 public:
  using List = std::list<CalculationNews>;

  // So many values of several commits may wait.
  static constexpr std::size_t kMostValues = 65'536;

  // Needs no memory.
  void Append(List& news) noexcept EXCLUDES(mutex_);
  List TakeAll() noexcept EXCLUDES(mutex_);

  // Makes one of the last two when too many values wait. For who is about to append. It costs what
  // the last one has, however many wait before it.
  void Compact() EXCLUDES(mutex_);

 private:
  using Places = std::unordered_map<TagId, std::size_t>;

  // Has places_ be of that news, with a place for each tag of the later one, too.
  void FindPlaces(const CalculationNews& news, const CalculationNews& later) REQUIRES(mutex_);
  void Join(CalculationNews& news, const CalculationNews& later) REQUIRES(mutex_);

  Mutex mutex_;
  List waiting_ GUARDED_BY(mutex_);
  std::size_t values_ GUARDED_BY(mutex_) = 0;
  // Where the values of tags stand in the news to which others were joined last.
  const CalculationNews* joined_ GUARDED_BY(mutex_) = nullptr;
  Places places_ GUARDED_BY(mutex_);
};

}  // namespace zervane
