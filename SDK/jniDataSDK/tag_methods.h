// What is done with the properties of a tag, the same for point, alarm, calculation and statistics
// tags: only the class, the record and the function of the client API differ.
#ifndef ZERVANE_BRIDGE_TAG_METHODS_H
#define ZERVANE_BRIDGE_TAG_METHODS_H

#include "tag_fields.h"

namespace zervane::bridge {

// The properties that a native method's two mask arguments select.
inline ZR3Mask Mask(jlong tag_mask, jlong ext_mask) { return {tag_mask, ext_mask}; }

// Creates a tag from the object, read into a cleared record.
template <typename Prop>
jint AddTag(JNIEnv* env, const ClassTable& table,
            int32 (*add)(const Prop*, const ZR3Mask*, const char*, uint32*), jobject tagprop,
            const ZR3Mask& mask) {
  Prop prop;
  ReadTag(env, table, tagprop, sizeof prop, &prop);
  uint32 tag_id;  // kept: the new identifier is not handed out; the caller looks it up by name.
  return add(&prop, &mask, nullptr, &tag_id);
}

// Changes the tag that m_tagID names. The first `cleared` bytes of the record are cleared before
// the object is read into it.
template <typename Prop>
jint ModifyTag(JNIEnv* env, const ClassTable& table,
               int32 (*modify)(uint32, const Prop*, const ZR3Mask*), jobject tagprop,
               size_t cleared, const ZR3Mask& mask) {
  Prop prop;
  ReadTag(env, table, tagprop, cleared, &prop);
  return modify(prop.nTagID, &prop, &mask);
}

// Writes every field but m_tagClass on status 0.
template <typename Prop>
jint QueryTag(JNIEnv* env, const ClassTable& table, int32 (*query)(uint32, Prop*), jint tag_id,
              jobject tagprop) {
  const Binding fields(env, table);
  Prop prop;
  const int32 status = query(tag_id, &prop);
  return StoreOnSuccess(status, fields, &prop, tagprop);
}

}  // namespace zervane::bridge

#endif
