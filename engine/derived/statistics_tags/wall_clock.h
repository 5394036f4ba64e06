#pragma once

#include <chrono>
#include <cstdint>

// Dates and times of day as a clock on the wall of this machine shows them: those of the process's
// time zone, which the C library knows. It is read, never set.
namespace zervane {

// A date of the calendar, whatever the zone.
using CalendarDay = std::chrono::sys_days;

// The instant at which the clock shows so many seconds after midnight of the day, 0 to 86,399, in
// milliseconds since 1970 UTC. A time that the clock passes over is the one that is as much later
// as it is put forward; of two the first.
std::int64_t InstantOf(CalendarDay day, std::int32_t second_of_day);

// The date that the clock shows at an instant.
CalendarDay DayOf(std::int64_t time_ms);

}  // namespace zervane
