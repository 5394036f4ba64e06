#pragma once

#include <cstdint>
#include <optional>
#include <vector>

#include "api/words/value.h"
#include "engine/alarms/conditions.h"

// Which alarms there are to be, as plainly as they can be found: by looking at all that has
// happened from the beginning, without a state that goes on from value to value. Nothing of it is
// the engine's but the words that its tests are given in.
namespace zervane::oracle {

// What happens to a source and to one alarm tag that reads it, in the order in which the database
// takes it.
struct AlarmEvent {
  enum class Kind : std::uint8_t {
    kValue,     // the source's value is accepted: good or not, in order or late
    kSilence,   // holds are looked at, though no value has come
    kSaved,     // the alarm tag is added, or saved with these conditions
    kReopened,  // the database is opened anew; what it knew of the source beside its records is
                // gone
  };

  Kind kind = Kind::kValue;
  std::int64_t clock_ms = 0;        // the database's
  Sample sample = {};               // of kValue
  AlarmConditions conditions = {};  // of kSaved
};

struct ExpectedAlarm {
  int position = 0;  // of the test
  std::int64_t start_ms = 0;
  std::optional<std::int64_t> end_ms = {};  // none while it stands
  Sample source;                            // whose value it was raised with
};

// Holds that have lasted by the database's clock are complete before a value is judged, and after
// an opening.
//
// The alarms of the tag by their starts, those of CHANGE tests among them. Before the first event
// of kSaved the tag is not there. The source's archive has every value that was accepted.
//
// Of one value those of the conditions come first, then those of CHANGE tests by their positions:
// so they are given their starts, each the first from its time on that no record of the tag has.
std::vector<ExpectedAlarm> AlarmsOf(const std::vector<AlarmEvent>& events);

}  // namespace zervane::oracle
