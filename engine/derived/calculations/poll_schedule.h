#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <optional>
#include <set>
#include <vector>

#include "api/words/value.h"

namespace zervane {

// When polled calculation tags are computed: at every whole multiple of their periods since 1970.
//
// Threads: one at a time.
class PollSchedule {
 public:
  // An instant, and the periods of which it is a multiple.
  struct Due {
    std::int64_t time_ms = 0;
    std::vector<TagId> tags;
  };

  // So many multiples of a period that are late are computed; those before them are passed over.
  static constexpr std::int64_t kMostLate = 3'600;

  // When the clock is set back by no more than this, nothing is computed before it has passed the
  // last multiple that was. When by more, the multiples behind it come anew.
  static constexpr std::int64_t kMostSetBackMs = 60'000;

  // At multiples behind the time. To add it twice, with one period, is as to add it once.
  void Add(TagId tag, std::int64_t period_s, std::int64_t behind_ms);
  void Remove(TagId tag, std::int64_t period_s);

  // When there is something due next; the greatest number when there is nothing.
  std::int64_t NextDue() const;
  // The first instant up to now at which something is due; none when there is none. It stays due
  // until it is done.
  std::optional<Due> DueAt(std::int64_t now_ms);
  void SetDone(const Due& due);

  // How many instants were passed over since this was asked last.
  std::int64_t TakePassedOver();

 private:
  struct Period {
    std::int64_t next_ms = 0;
    std::set<TagId> tags;
  };

  std::map<std::int64_t, Period> periods_;  // by their length in seconds
  std::int64_t passed_over_ = 0;
};

}  // namespace zervane
