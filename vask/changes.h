#pragma once

#include <vector>

#include "api/words/alarm.h"
#include "api/words/samples.h"
#include "api/words/status.h"
#include "vask/texts.h"
#include "zr3Struct.h"

// Batches of what has changed, as they are handed out: each lies in one piece of memory of its own,
// texts included, which the table of what was handed out keeps. A batch of nothing is null, and
// hands out nothing.

namespace zervane {

// A STRING or BLOB has a buffer of its own length, terminated; a STRING is cut as in a buffer of
// ZR3_LEN_VALUE bytes. When it fails, or throws, nothing was handed out.
Status HandOutChanges(const SampleBatch& changes, StandardText& texts, int32* count, uint32** tags,
                      ZR3Record** records);
Status HandOutAlarms(const std::vector<AlarmRecord>& alarms, StandardText& texts, int32* count,
                     ZR3AlarmRecord** records);

}  // namespace zervane
