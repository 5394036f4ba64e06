#pragma once

#include <cstdint>
#include <limits>
#include <vector>

#include "api/words/value.h"
#include "engine/catalogue/filter_settings.h"
#include "engine/filters/exception_report.h"
#include "engine/filters/point.h"
#include "engine/filters/swinging_door.h"

namespace zervane {

// What becomes of a record that passes the filters of its tag.
enum class Filtered {
  kArchived,  // it enters the archive
  kHeld,      // it passed exception reporting, and compression holds it
  kHeldBack,  // exception reporting holds it back
};

// The filters of one tag of numbers: exception reporting, then compression. It speaks of times,
// qualities and order, so that the filters see nothing but finite values that ascend in time.
//
// Small and quickly copied: a change can be tried on a copy.
class RecordFilter {
 public:
  explicit RecordFilter(const FilterSettings& settings);

  // Starts from a record that the archive holds and that is the tag's current value. Without it,
  // the first record is archived.
  void StartFrom(const Sample& archived);

  // Filters the next accepted record. What enters the archive before it is appended to `archived`.
  //
  // A change of quality, a value that is not finite and the one after it always pass, with all that
  // is held, and the filters start anew from there. A record of the newest one's time takes its
  // place. A late one, older than the newest, is archived at once; where it falls between records
  // that are still held they are archived too, for a line across it would mean nothing.
  Filtered Filter(const Sample& sample, std::vector<Sample>& archived);

  // Appends all that is held to `archived`, oldest first; the filters start anew from the newest.
  void Release(std::vector<Sample>& archived);

  // Whether compression holds a record: the last one that was Filtered::kHeld.
  bool HoldsOne() const { return door_.held().has_value(); }

  // The time of the newest record that has entered the archive, from which the filters judge; all
  // that they hold is newer. kNoTime before the first.
  std::int64_t last_archived_ms() const { return door_.last_archived().time_ms; }

 private:
  const Point& Newest() const;
  bool AlwaysPasses(const Sample& sample, const Point& point) const;
  Filtered FilterLate(const Point& point, std::vector<Sample>& archived);
  Filtered Report(const Point& point, std::vector<Sample>& archived);
  Filtered Compress(const Point& point, std::vector<Sample>& archived);
  Sample SampleOf(const Point& point) const;

  // Before the first record: a point from which everything passes.
  static constexpr Point kNothing = {kNoTime, std::numeric_limits<double>::quiet_NaN()};

  TagType type_ = TagType::kFloat64;
  std::uint16_t quality_ = ZR3_QUALITY_GOOD;  // of the newest record, and of all that are held
  ExceptionReport report_;  // the last passed on is what compression holds, else the last archived
  SwingingDoor door_;
};

}  // namespace zervane
