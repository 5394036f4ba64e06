// Creating, changing, reading and deleting point tags.
#include "native.h"
#include "tag_methods.h"
#include "text.h"

using namespace zervane::bridge;

ZR_NATIVE(jint, addTag)
(JNIEnv* env, jclass, jobject tagprop, jlong tag_mask, jlong ext_mask) {
  return AddTag(env, kPointTag, pt3_add_tag, tagprop, Mask(tag_mask, ext_mask));
}

// The same on a named data node.
ZR_NATIVE(jint, addTagWithNodeName)
(JNIEnv* env, jclass, jobject tagprop, jlong tag_mask, jlong ext_mask, jstring node_name) {
  ZR3PtTagProp prop;
  ReadTag(env, kPointTag, tagprop, sizeof prop, &prop);
  // kept: the converted node name is never freed.
  const char* const node = LeakOnPurpose(ToSystem(env, node_name));
  const ZR3Mask mask = Mask(tag_mask, ext_mask);
  uint32 tag_id;  // kept: nor is the new identifier handed out here.
  return pt3_add_tag(&prop, &mask, node, &tag_id);
}

ZR_NATIVE(jint, modifyTag)
(JNIEnv* env, jclass, jobject tagprop, jlong tag_mask, jlong ext_mask) {
  // kept: only the first 172 bytes of the record are cleared.
  return ModifyTag(env, kPointTag, pt3_modify_tag_prop, tagprop, kClearedToModify,
                   Mask(tag_mask, ext_mask));
}

ZR_NATIVE(jint, getTag)(JNIEnv* env, jclass, jint tag_id, jobject tagprop) {
  return QueryTag(env, kPointTag, pt3_query_tag_prop, tag_id, tagprop);
}

// Deletes a tag of any class.
ZR_NATIVE(jint, deleteTag)(JNIEnv*, jclass, jint tag_id) { return tag3_delete_tag(tag_id); }
