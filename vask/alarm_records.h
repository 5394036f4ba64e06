#pragma once

#include "api/words/alarm.h"
#include "api/words/status.h"
#include "vask/texts.h"
#include "zr3Struct.h"

// The C records of alarms, of what they are asked for by, and of alarm groups, to and from the
// domain.

namespace zervane {

// ZR3_ERR_INVALID_TIME, ZR3_ERR_INVALID_REGION for an end before the start; an end of 0.0 is none.
Result<AlarmQuery> ReadAlarmQuery(const ZR3AlarmQuery& query);

// Fills the caller's record, all of it. Texts are cut to their arrays.
void FillAlarmRecord(const AlarmRecord& alarm, StandardText& texts, ZR3AlarmRecord* record);

void FillAlarmGroup(const AlarmGroup& group, StandardText& texts, ZR3AlarmGroup* record);

}  // namespace zervane
