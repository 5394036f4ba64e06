// Login, users, passwords, groups, membership, authority items and control levels.
#include "holders.h"
#include "iterators.h"
#include "native.h"
#include "text.h"

using namespace zervane::bridge;

namespace {

constexpr FieldRow kUserRows[] = {
    OutRow("userName", kString, Conv::kText, offsetof(ZR3SecUser, szUserName)),
    OutRow("userPwd", kString, Conv::kText, offsetof(ZR3SecUser, szPasswd)),
    OutRow("userDesc", kString, Conv::kText, offsetof(ZR3SecUser, szUserDesc)),
};
constexpr ClassTable kUser{"com/talvoro/zrsdk/base/ZRUser", kUserRows};

constexpr FieldRow kGroupRows[] = {
    OutRow("groupName", kString, Conv::kText, offsetof(ZR3SecGroup, szGroupName)),
    OutRow("groupDesc", kString, Conv::kText, offsetof(ZR3SecGroup, szGroupDesc)),
};
constexpr ClassTable kGroup{"com/talvoro/zrsdk/base/ZRGroup", kGroupRows};

// The item's level is not delivered.
constexpr FieldRow kAuthItemRows[] = {
    OutRow("authItemName", kString, Conv::kText, offsetof(ZR3SecAuthItem, szName)),
    OutRow("authItemDesc", kString, Conv::kText, offsetof(ZR3SecAuthItem, szDesc)),
};
constexpr ClassTable kAuthItem{"com/talvoro/zrsdk/base/ZRAuthItem", kAuthItemRows};

// The current user's name alone: what precedes the other members of a user's record.
struct CurrentUserName {
  char text[32];
};
static_assert(offsetof(CurrentUserName, text) == offsetof(ZR3SecUser, szUserName));

using TwoTextsCall = int32 (*)(const char*, const char*);
using ListCall = int32 (*)(ZR3HANDLE*);
using ListOfCall = int32 (*)(const char*, ZR3HANDLE*);

jint CallWithTwoTexts(JNIEnv* env, TwoTextsCall call, jstring first, jstring second) {
  const Text first_text = ToSystem(env, first);
  const Text second_text = ToSystem(env, second);
  return call(first_text.get(), second_text.get());
}

// Converts a text that is never freed.
const char* ToSystemLeaked(JNIEnv* env, jstring string) {
  return LeakOnPurpose(ToSystem(env, string));
}

jint List(JNIEnv* env, ListCall call, jobject iterator_holder) {
  const Binding holder(env, kLongWrapper);
  ZR3HANDLE iterator;
  const int32 status = call(&iterator);
  return StoreHandleAlways(status, holder, iterator, iterator_holder);
}

// The same for what belongs to a user or a group.
jint ListOf(JNIEnv* env, ListOfCall call, jstring owner, jobject iterator_holder) {
  const Binding holder(env, kLongWrapper);
  const Text name = ToSystem(env, owner);
  ZR3HANDLE iterator;
  const int32 status = call(name.get(), &iterator);
  return StoreHandleAlways(status, holder, iterator, iterator_holder);
}

}  // namespace

ZR_NATIVE(jint, login)(JNIEnv* env, jclass, jstring user, jstring password) {
  return CallWithTwoTexts(env, sc3_login, user, password);
}

// ---- users ----

ZR_NATIVE(jint, addUser)
(JNIEnv* env, jclass, jstring name, jstring password, jstring description) {
  ZR3SecUser user;
  // kept: none of the three converted texts is freed.
  CopyTextLeaking(env, name, user.szUserName);
  CopyTextLeaking(env, password, user.szPasswd);
  CopyTextLeaking(env, description, user.szUserDesc);
  return sc3_add_user(&user);
}

ZR_NATIVE(jint, deleteUser)(JNIEnv* env, jclass, jstring name) {
  return sc3_delete_user(ToSystemLeaked(env, name));  // kept: the converted name is not freed.
}

ZR_NATIVE(jint, modifyUserPassword)
(JNIEnv* env, jclass, jstring name, jstring old_password, jstring new_password) {
  // kept: none of the three converted texts is freed.
  const char* const name_text = ToSystemLeaked(env, name);
  const char* const old_text = ToSystemLeaked(env, old_password);
  const char* const new_text = ToSystemLeaked(env, new_password);
  return sc3_modify_password(name_text, old_text, new_text);
}

ZR_NATIVE(jint, modifyUserDesc)(JNIEnv* env, jclass, jstring name, jstring description) {
  // kept: neither converted text is freed.
  const char* const name_text = ToSystemLeaked(env, name);
  const char* const description_text = ToSystemLeaked(env, description);
  return sc3_modify_user_desc(name_text, description_text);
}

ZR_NATIVE(jint, resetUserPassword)(JNIEnv* env, jclass, jstring name, jstring new_password) {
  return CallWithTwoTexts(env, sc3_reset_password, name, new_password);
}

// Writes userName alone, on status 0.
ZR_NATIVE(jint, getCurrentUser)(JNIEnv* env, jclass, jobject user_object) {
  const Binding fields(env, kUser);
  CurrentUserName name;
  const int32 status = sc3_query_current_user_name(sizeof name.text, name.text);
  if (status == 0) fields.WriteRows(0, 1, &name, user_object);
  return status;
}

ZR_NATIVE(jint, getAllUsers)(JNIEnv* env, jclass, jobject iterator_holder) {
  return List(env, sc3_query_all_users, iterator_holder);
}

ZR_NATIVE(jint, getUserFromIterator)(JNIEnv* env, jclass, jlong iterator, jobject user_object) {
  ZR3SecUser user;
  return StepItem(env, iterator, kUser, &user, user_object);
}

// ---- groups and membership ----

ZR_NATIVE(jint, addGroup)(JNIEnv* env, jclass, jstring name, jstring description) {
  ZR3SecGroup group;
  CopyText(env, name, group.szGroupName);
  CopyText(env, description, group.szGroupDesc);
  return sc3_add_group(&group);
}

ZR_NATIVE(jint, deleteGroup)(JNIEnv* env, jclass, jstring name) {
  const Text name_text = ToSystem(env, name);
  return sc3_delete_group(name_text.get());
}

ZR_NATIVE(jint, modifyGroupDesc)(JNIEnv* env, jclass, jstring name, jstring description) {
  return CallWithTwoTexts(env, sc3_modify_group_desc, name, description);
}

ZR_NATIVE(jint, addUserToGroup)(JNIEnv* env, jclass, jstring user, jstring group) {
  return CallWithTwoTexts(env, sc3_add_user_to_group, user, group);
}

ZR_NATIVE(jint, deleteUserFromGroup)(JNIEnv* env, jclass, jstring user, jstring group) {
  return CallWithTwoTexts(env, sc3_delete_user_from_group, user, group);
}

ZR_NATIVE(jint, getUsersOfGroup)(JNIEnv* env, jclass, jstring group, jobject iterator_holder) {
  return ListOf(env, sc3_query_members_of_group, group, iterator_holder);
}

ZR_NATIVE(jint, getAllGroups)(JNIEnv* env, jclass, jobject iterator_holder) {
  return List(env, sc3_query_all_groups, iterator_holder);
}

ZR_NATIVE(jint, queryGroupsOfUser)(JNIEnv* env, jclass, jstring user, jobject iterator_holder) {
  return ListOf(env, sc3_query_groups_of_user, user, iterator_holder);
}

ZR_NATIVE(jint, getZRGroupFromIterator)
(JNIEnv* env, jclass, jlong iterator, jobject group_object) {
  ZR3SecGroup group;
  return StepItem(env, iterator, kGroup, &group, group_object);
}

// ---- authority ----

ZR_NATIVE(jint, getAuthItems)(JNIEnv* env, jclass, jobject iterator_holder) {
  return List(env, sc3_query_all_auth_items, iterator_holder);
}

ZR_NATIVE(jint, getZRAuthItemFromIterator)
(JNIEnv* env, jclass, jlong iterator, jobject item_object) {
  ZR3SecAuthItem item;
  return StepItem(env, iterator, kAuthItem, &item, item_object);
}

// The level that a user holds for an item, or the status of a failure.
ZR_NATIVE(jint, getControlLevel)(JNIEnv* env, jclass, jstring user, jstring item) {
  Text user_text = ToSystem(env, user);
  Text item_text = ToSystem(env, item);
  int32 level = 0;
  const int32 status = sc3_query_auth_of_user(user_text.get(), item_text.get(), &level);
  if (status != 0) {
    LeakOnPurpose(std::move(user_text));  // kept: after a failure neither text is freed.
    LeakOnPurpose(std::move(item_text));
    return status;
  }
  return level;  // kept: a level and a status look the same.
}
