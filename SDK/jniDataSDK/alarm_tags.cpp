// Creating, changing, reading, finding and deleting alarm tags.
#include "native.h"
#include "tag_lookup.h"
#include "tag_methods.h"

using namespace zervane::bridge;

namespace {

constexpr std::array<FieldRow, 13> kAlarmRows{{
    TextRow("m_Test1", offsetof(ZR3AlarmTagProp, szTest1)),
    TextRow("m_Test2", offsetof(ZR3AlarmTagProp, szTest2)),
    TextRow("m_Test3", offsetof(ZR3AlarmTagProp, szTest3)),
    TextRow("m_Test4", offsetof(ZR3AlarmTagProp, szTest4)),
    TextRow("m_Action1", offsetof(ZR3AlarmTagProp, szAction1)),
    TextRow("m_Action2", offsetof(ZR3AlarmTagProp, szAction2)),
    TextRow("m_Action3", offsetof(ZR3AlarmTagProp, szAction3)),
    TextRow("m_Action4", offsetof(ZR3AlarmTagProp, szAction4)),
    TextRow("m_SourceTagName", offsetof(ZR3AlarmTagProp, szSourceTagName)),
    Row("m_nAlarmGroupID", "I", Conv::kInt, offsetof(ZR3AlarmTagProp, nAlarmGroupID)),
    Row("m_nAutoAck", "B", Conv::kEnum, offsetof(ZR3AlarmTagProp, nAutoAck)),
    Row("m_TimeDeadBand", "I", Conv::kInt, offsetof(ZR3AlarmTagProp, nTimeDeadBand)),
    Row("m_fValueDeadBand", "F", Conv::kFloat, offsetof(ZR3AlarmTagProp, fValueDeadBand)),
}};

constexpr auto kAlarmTagRows = JoinRows(kCommonTagRows, kAlarmRows);
static_assert(kAlarmTagRows.size() == 39);
constexpr ClassTable kAlarmTag{"com/talvoro/zrjni/ZRJniAlarmTag", kAlarmTagRows};

}  // namespace

ZR_NATIVE(jint, addAlarmTag)
(JNIEnv* env, jclass, jobject tagprop, jlong tag_mask, jlong ext_mask) {
  ZR3AlarmTagProp prop;
  ReadTag(env, kAlarmTag, tagprop, sizeof prop, &prop);
  const ZR3Mask mask = Mask(tag_mask, ext_mask);
  // kept: the new identifier ends in the record; the caller looks it up by name.
  return am3_add_tag(&prop, &mask, nullptr, &prop.nTagID);
}

ZR_NATIVE(jint, modifyAlarmTag)
(JNIEnv* env, jclass, jobject tagprop, jlong tag_mask, jlong ext_mask) {
  // kept: only the first 172 bytes of the record are cleared.
  return ModifyTag(env, kAlarmTag, am3_modify_tag_prop, tagprop, kClearedToModify,
                   Mask(tag_mask, ext_mask));
}

ZR_NATIVE(jint, queryAlarmTag)(JNIEnv* env, jclass, jint tag_id, jobject tagprop) {
  return QueryTag(env, kAlarmTag, am3_query_tag_prop, tag_id, tagprop);
}

ZR_NATIVE(jint, deleteAlarmTag)(JNIEnv*, jclass, jint tag_id) { return tag3_delete_tag(tag_id); }

// kept: the tag of that name is found whatever its class.
ZR_NATIVE(jint, queryAlarmTagID)(JNIEnv* env, jclass, jstring tag_name) {
  return FindTagId(env, tag_name);
}
