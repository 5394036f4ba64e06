// Creating, changing, reading and deleting point tags.
#include "native.h"
#include "tag_fields.h"
#include "text.h"

using namespace zervane::bridge;

namespace {

int32 AddTag(const ZR3PtTagProp& prop, jlong tag_mask, jlong ext_mask, const char* node) {
  const ZR3Mask mask{tag_mask, ext_mask};
  uint32 tag_id;  // kept: the new identifier is not handed out; the caller looks it up by name.
  return pt3_add_tag(&prop, &mask, node, &tag_id);
}

}  // namespace

ZR_NATIVE(jint, addTag)
(JNIEnv* env, jclass, jobject tagprop, jlong tag_mask, jlong ext_mask) {
  ZR3PtTagProp prop;
  ReadTag(env, kPointTag, tagprop, sizeof prop, &prop);
  return AddTag(prop, tag_mask, ext_mask, nullptr);
}

// The same on a named data node.
ZR_NATIVE(jint, addTagWithNodeName)
(JNIEnv* env, jclass, jobject tagprop, jlong tag_mask, jlong ext_mask, jstring node_name) {
  ZR3PtTagProp prop;
  ReadTag(env, kPointTag, tagprop, sizeof prop, &prop);
  // kept: the converted node name is never freed.
  const char* const node = LeakOnPurpose(ToSystem(env, node_name));
  return AddTag(prop, tag_mask, ext_mask, node);
}

// Changes the properties that the masks select, of the tag that m_tagID names.
ZR_NATIVE(jint, modifyTag)
(JNIEnv* env, jclass, jobject tagprop, jlong tag_mask, jlong ext_mask) {
  ZR3PtTagProp prop;
  // kept: only the first 172 bytes of the record are cleared.
  ReadTag(env, kPointTag, tagprop, kClearedToModify, &prop);
  const ZR3Mask mask{tag_mask, ext_mask};
  return pt3_modify_tag_prop(prop.nTagID, &prop, &mask);
}

// Writes every field but m_tagClass on status 0.
ZR_NATIVE(jint, getTag)(JNIEnv* env, jclass, jint tag_id, jobject tagprop) {
  const Binding fields(env, kPointTag);
  ZR3PtTagProp prop;
  const int32 status = pt3_query_tag_prop(tag_id, &prop);
  return StoreOnSuccess(status, fields, &prop, tagprop);
}

// Deletes a tag of any class.
ZR_NATIVE(jint, deleteTag)(JNIEnv*, jclass, jint tag_id) { return tag3_delete_tag(tag_id); }
