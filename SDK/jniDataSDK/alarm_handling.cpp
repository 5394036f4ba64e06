// Acknowledging and commenting one alarm, which its tag and its start time name.
#include <cstring>

#include "native.h"
#include "records.h"
#include "text.h"

using namespace zervane::bridge;

namespace {

// The text of one comment, as the API takes it.
struct CommentSlot {
  char text[ZR3_LEN_ALARM_COMMENT];
};

// Converts a comment; false when it does not fit.
bool ReadComment(JNIEnv* env, jstring comment, CommentSlot* slot) {
  Text converted = ToSystem(env, comment);
  if (strlen(converted.get()) >= sizeof slot->text) {
    LeakOnPurpose(std::move(converted));  // kept: a comment that does not fit is not freed.
    return false;
  }
  CopyText(converted, slot->text);
  return true;
}

}  // namespace

ZR_NATIVE(jint, acknowledgeAlarm)(JNIEnv* env, jclass, jint tag_id, jobject time_object) {
  const Binding time_fields(env, kTime);
  const ZR3Time time = ReadTime(time_fields, time_object);
  const auto id = static_cast<uint32>(tag_id);
  int32 code;  // kept: an alarm that the code alone reports as failed reads as acknowledged.
  return am3_acknowledge_alarms(1, &id, &time, &code);
}

// -1, and nothing is sent, for a comment of more than 255 bytes.
ZR_NATIVE(jint, commentAlarm)
(JNIEnv* env, jclass, jint tag_id, jobject time_object, jstring comment) {
  const Binding time_fields(env, kTime);
  CommentSlot slot;
  if (!ReadComment(env, comment, &slot)) return kFailed;
  const ZR3Time time = ReadTime(time_fields, time_object);
  const auto id = static_cast<uint32>(tag_id);
  int32 code;  // kept: an alarm that the code alone reports as failed reads as commented.
  return am3_comment_alarms(1, &id, &time, slot.text, &code);
}
