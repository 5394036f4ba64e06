// The tree of alarm groups: creating, changing, finding, reading and deleting groups, and what lies
// directly under one.
#include "holders.h"
#include "iterators.h"
#include "native.h"
#include "text.h"

using namespace zervane::bridge;

namespace {

constexpr FieldRow kGroupRows[] = {
    TextRow("m_GroupName", offsetof(ZR3AlarmGroup, szName)),
    TextRow("m_GroupDesc", offsetof(ZR3AlarmGroup, szDesc)),
    Row("m_GroupID", "I", Conv::kInt, offsetof(ZR3AlarmGroup, nGroupID)),
    Row("m_ParentID", "I", Conv::kInt, offsetof(ZR3AlarmGroup, nParentID)),
};
constexpr uint8_t kIdsFirst[] = {2, 3, 0, 1};

constexpr const char* kGroupPath = "com/talvoro/zrjni/AlarmGroup";
constexpr ClassTable kGroup{kGroupPath, kGroupRows};
constexpr ClassTable kGroupIdsFirst{kGroupPath, kGroupRows, kIdsFirst};

// am3_query_group_child_groups and am3_query_group_child_tags.
using ChildrenCall = int32 (*)(uint32, ZR3HANDLE*);

int32 QueryProps(jint group_id, ZR3AlarmGroup* group, int32* code) {
  const auto id = static_cast<uint32>(group_id);
  return am3_query_group_props(1, &id, group, code);
}

jint QueryChildrenIntoHolder(JNIEnv* env, ChildrenCall call, jint group_id,
                             jobject iterator_holder) {
  const Binding holder(env, kLongWrapper);
  ZR3HANDLE iterator;
  const int32 status = call(group_id, &iterator);
  return StoreHandleAlways(status, holder, iterator, iterator_holder);
}

jint QueryChildrenNarrow(ChildrenCall call, jint group_id) {
  ZR3HANDLE iterator;
  const int32 status = call(group_id, &iterator);
  return NarrowHandle(status, iterator);
}

}  // namespace

ZR_NATIVE(jint, addAlarmGroup)(JNIEnv* env, jclass, jobject group_object) {
  const Binding fields(env, kGroup);
  ZR3AlarmGroup group;
  fields.Read(group_object, &group);
  // kept: the identifier goes over the record's parent and is not handed out; the caller looks it
  // up by name.
  return am3_add_group(&group, &group.nParentID);
}

ZR_NATIVE(jint, deleteAlarmGroup)(JNIEnv*, jclass, jint group_id) {
  return am3_delete_group(group_id);
}

// The API leaves a text that is empty as it was.
ZR_NATIVE(jint, modifyAlarmGroupName)(JNIEnv* env, jclass, jint group_id, jstring name) {
  ZR3AlarmGroup group{};
  CopyText(env, name, group.szName);
  return am3_modify_group(group_id, &group);
}

ZR_NATIVE(jint, modifyAlarmGroupDesc)(JNIEnv* env, jclass, jint group_id, jstring description) {
  ZR3AlarmGroup group{};
  CopyText(env, description, group.szDesc);
  return am3_modify_group(group_id, &group);
}

// kept: does nothing and reports success; a group cannot be moved.
ZR_NATIVE(jint, modifyAlarmParentID)(JNIEnv*, jclass, jint /*group_id*/, jint /*parent_id*/) {
  return 0;
}

// The identifier of the group of that name under a parent, or -1 on any failure.
ZR_NATIVE(jint, queryAlarmGroupID)(JNIEnv* env, jclass, jstring name, jint parent_id) {
  ZR3AlarmGroup group;
  CopyText(env, name, group.szName);
  uint32 group_id = 0;
  if (am3_query_group_id(group.szName, parent_id, &group_id) != 0) return kFailed;
  return static_cast<jint>(group_id);
}

// The result is the status, or on status 0 the group's error code; the object is written when both
// are 0.
ZR_NATIVE(jint, queryAlarmGroupProp)(JNIEnv* env, jclass, jint group_id, jobject group_object) {
  const Binding fields(env, kGroupIdsFirst);
  ZR3AlarmGroup group;
  int32 code = 0;
  const int32 status = QueryProps(group_id, &group, &code);
  return StoreOnSuccess(status != 0 ? status : code, fields, &group, group_object);
}

ZR_NATIVE(jint, queryAmGroup)(JNIEnv* env, jclass, jint group_id, jobject group_object) {
  const Binding fields(env, kGroup);
  ZR3AlarmGroup group;
  // kept: the error code is not looked at; a group that failed is written as the API left it.
  int32 code = 0;
  const int32 status = QueryProps(group_id, &group, &code);
  return StoreOnSuccess(status, fields, &group, group_object);
}

ZR_NATIVE(jint, queryAlarmChildGroupsEx)
(JNIEnv* env, jclass, jint group_id, jobject iterator_holder) {
  return QueryChildrenIntoHolder(env, am3_query_group_child_groups, group_id, iterator_holder);
}

ZR_NATIVE(jint, queryAlarmChildGroups)(JNIEnv*, jclass, jint group_id) {
  return QueryChildrenNarrow(am3_query_group_child_groups, group_id);
}

ZR_NATIVE(jint, getAmChildGroupsItemStep)
(JNIEnv* env, jclass, jlong iterator, jobject group_object) {
  ZR3AlarmGroup group;
  return StepItem(env, iterator, kGroupIdsFirst, &group, group_object);
}

ZR_NATIVE(jint, queryAlarmChildTagsEx)
(JNIEnv* env, jclass, jint group_id, jobject iterator_holder) {
  return QueryChildrenIntoHolder(env, am3_query_group_child_tags, group_id, iterator_holder);
}

ZR_NATIVE(jint, queryAlarmChildTags)(JNIEnv*, jclass, jint group_id) {
  return QueryChildrenNarrow(am3_query_group_child_tags, group_id);
}

// The identifier of the next alarm tag, or -1 at the end and on any failure.
ZR_NATIVE(jint, getAmChildTagsItemStep)(JNIEnv*, jclass, jlong iterator) {
  uint32 tag_id = 0;
  if (ut3_get_item_step(AsHandle(iterator), &tag_id) != 0) return kFailed;
  return static_cast<jint>(tag_id);
}
