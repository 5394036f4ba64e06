#pragma once

#include <cstddef>
#include <string>
#include <string_view>

#include "api/words/samples.h"
#include "api/words/value.h"
#include "engine/alarms/alarm_test.h"

// Values of sources of any type, as alarms see them.
namespace zervane {

// A good value: a number, or the bytes of a STRING or BLOB, which live elsewhere.
struct SourceValue {
  TagType type = TagType::kFloat64;
  double number = 0;
  std::string_view text = {};
};

// Of the sample at that place, until the columns change.
SourceValue SourceValueAt(const SampleColumns& samples, std::size_t at);

// Whether the value is a change since the good one before: a number by as much as the test asks
// for, a text by any difference. REQUIRES a CHANGE test.
bool IsChange(const AlarmTest& test, const SourceValue& before, const SourceValue& value);

// As an alarm record has it: the fewest digits that read back as the number that a tag of that type
// holds, without an exponent between 1e-4 and 1e16; a STRING as it is; of a BLOB how long it is.
std::string SourceValueText(const SourceValue& value);

}  // namespace zervane
