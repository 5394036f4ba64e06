// From a tag's name to its identifier and type, and the version of the catalogue.
#include "tag_lookup.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "holders.h"
#include "native.h"
#include "text.h"

using namespace zervane::bridge;

namespace {

constexpr size_t kVersionPrefix = 12;  // characters of the reply before the number
constexpr size_t kVersionFrame = 13;   // and the one after it

// One name of a batch. The slots are not cleared beforehand.
struct NameSlot {
  char text[ZR3_LEN_TAG_NAME];
};

void CopyNames(JNIEnv* env, jobjectArray names, jint count, NameSlot* slots) {
  for (jint i = 0; i < count; ++i) {
    const auto name = static_cast<jstring>(env->GetObjectArrayElement(names, i));
    // kept: a name of 255 bytes or more leaves its slot's last byte as it was, unterminated.
    strncpy(slots[i].text, ToSystem(env, name).get(), sizeof(NameSlot) - 1);
  }
}

// The catalogue version in a reply: the digits between its prefix and its last character.
// kept: a reply shorter than those, or longer than the buffer, is not guarded against.
int ParseVersion(const char* reply) {
  char digits[100] = {};
  const size_t length = strlen(reply);
  strncpy(digits, reply + kVersionPrefix, length - kVersionFrame);
  printf("#%d, %s\n", static_cast<int>(length), digits);  // kept: the reply is printed.
  return atoi(digits);
}

}  // namespace

namespace zervane::bridge {

jint FindTagId(JNIEnv* env, jstring tag_name) {
  const Text name = ToSystem(env, tag_name);
  uint32 tag_id = 0;
  if (tag3_query_id_by_name(name.get(), &tag_id) != 0) return kFailed;
  return static_cast<jint>(tag_id);
}

}  // namespace zervane::bridge

ZR_NATIVE(jint, getTagType)(JNIEnv* env, jclass, jint tag_id, jobject type_holder) {
  const Binding holder(env, kIntWrapper);
  ZR3_TAG_TYPE type = 0;
  const int32 status = pt3_query_tag_type(tag_id, &type);
  return StoreOnSuccess(status, holder, &type, type_holder);
}

// The type of the tag of that name, or -1 on any failure.
ZR_NATIVE(jbyte, queryTagType)(JNIEnv* env, jclass, jstring tag_name) {
  const Text name = ToSystem(env, tag_name);
  uint32 tag_id = 0;
  ZR3_TAG_TYPE type = 0;
  if (tag3_query_id_by_name(name.get(), &tag_id) != 0) return kFailed;
  if (pt3_query_tag_type(tag_id, &type) != 0) return kFailed;
  return static_cast<jbyte>(type);
}

ZR_NATIVE(jint, queryTagID)(JNIEnv* env, jclass, jstring tag_name) {
  return FindTagId(env, tag_name);
}

ZR_NATIVE(jint, queryTagIDByName)(JNIEnv* env, jclass, jstring tag_name, jobject id_holder) {
  const Text name = ToSystem(env, tag_name);
  const Binding holder(env, kIntWrapper);
  uint32 tag_id = 0;
  const int32 status = tag3_query_id_by_name(name.get(), &tag_id);
  return StoreOnSuccess(status, holder, &tag_id, id_holder);
}

// The identifiers of many names. Error codes, then identifiers, are written when the status is 0 or
// tells that some names failed.
ZR_NATIVE(jint, queryTagIDsByNames)
(JNIEnv* env, jclass, jobjectArray names, jint count, jintArray tag_ids, jintArray error_codes) {
  // kept: the names are not checked for memory; without any, the virtual machine ends.
  const auto slots = MallocArray<NameSlot>(count);
  const auto ids = MallocArray<jint>(count);
  if (!ids) return kFailed;
  env->GetIntArrayRegion(tag_ids, 0, count, ids.get());
  const auto codes = MallocCleared<jint>(count);
  if (!codes) return kFailed;
  CopyNames(env, names, count, slots.get());
  const int32 status = tag3_query_ids_by_names(count, reinterpret_cast<const char*>(slots.get()),
                                               reinterpret_cast<uint32*>(ids.get()), codes.get());
  if (status == 0 || status == ZR3_ERR_SOME_NAMES_FAILED) {
    env->SetIntArrayRegion(error_codes, 0, count, codes.get());
    env->SetIntArrayRegion(tag_ids, 0, count, ids.get());
  }
  return status;
}

// The version of the tag catalogue, stored on status 0.
ZR_NATIVE(jint, getNewlyTagVersion)(JNIEnv* env, jclass, jobject version_holder) {
  const Binding holder(env, kLongWrapper);
  char* reply = nullptr;
  const int32 status = cc3_cmd("cmdtype=read_version;", &reply);
  if (status != 0) {
    // kept: a failure is printed.
    puts("err Java_com_talvoro_zrjni_Jni_1Zervane_getNewlyTagVersion!!!");
    return status;
  }
  const int64 version = ParseVersion(reply);
  holder.Write(&version, version_holder);
  cc3_cmd_free(reply);
  return 0;
}
