// The look-up of a tag's identifier, as the value-returning methods make it.
#ifndef ZERVANE_BRIDGE_TAG_LOOKUP_H
#define ZERVANE_BRIDGE_TAG_LOOKUP_H

#include <jni.h>

namespace zervane::bridge {

// The identifier of the tag of that name, whatever its class, as the bits of a Java int; -1 on any
// failure, whose status is lost.
jint FindTagId(JNIEnv* env, jstring tag_name);

}  // namespace zervane::bridge

#endif
