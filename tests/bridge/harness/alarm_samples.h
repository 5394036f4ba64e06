// Alarm records with a value of its own in every member.
#ifndef ZERVANE_TESTS_BRIDGE_ALARM_SAMPLES_H
#define ZERVANE_TESTS_BRIDGE_ALARM_SAMPLES_H

#include <string>

#include "samples.h"

namespace zervane::bridge_test {

// A record whose enumerations are wider than a byte; rest of it 0.
ZR3AlarmRecord AlarmSample(const std::string& comment);

// How nCommented is written, if at all.
enum class Commented { kNo, kYes, kUnwritten };

// The steps of writing AlarmSample(comment) into an object.
Lines AlarmSets(const std::string& label, const std::string& comment, Commented commented);

}  // namespace zervane::bridge_test

#endif
