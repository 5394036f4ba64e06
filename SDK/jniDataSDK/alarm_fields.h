// Alarm records and their filter across the boundary. Java's alarm records are only written, its
// filters only read.
#ifndef ZERVANE_BRIDGE_ALARM_FIELDS_H
#define ZERVANE_BRIDGE_ALARM_FIELDS_H

#include "binding.h"
#include "zr3Struct.h"

namespace zervane::bridge {

extern const ClassTable kAlarmQuery;  // ZrAlarmQuery

// ZRJniAlarmRecord, as three ways to an alarm record write it.
extern const ClassTable kAlarmRecord;            // of tags: every field
extern const ClassTable kGroupAlarmRecord;       // of a group: all but nCommented
extern const ClassTable kSubscribedAlarmRecord;  // of a subscription: likewise

// Looks the class up and reads a filter.
ZR3AlarmQuery ReadAlarmQuery(JNIEnv* env, jobject query);

// Writes a record by the fields of kAlarmRecord, but nCommented tells of `commented`'s comment.
void WriteAlarmRecord(const Binding& fields, const ZR3AlarmRecord& record,
                      const ZR3AlarmRecord& commented, jobject object);

}  // namespace zervane::bridge

#endif
