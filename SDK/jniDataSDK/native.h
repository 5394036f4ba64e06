// What every translation unit with native methods includes: the header that javac generates (which
// checks each signature), the client API, and the two ways a handle crosses the boundary.
#ifndef ZERVANE_BRIDGE_NATIVE_H
#define ZERVANE_BRIDGE_NATIVE_H

#include "com_talvoro_zrjni_Jni_Zervane.h"
#include "zervane.h"

// Opens the definition of the native method `method` (a name with an underscore is written with its
// JNI escape, register_1rest).
#define ZR_NATIVE(result, method) \
  extern "C" JNIEXPORT result JNICALL Java_com_talvoro_zrjni_Jni_1Zervane_##method

namespace zervane::bridge {

static_assert(sizeof(ZR3HANDLE) == sizeof(jlong), "a handle travels as a Java long");

// The result for a failure of the bridge's own, and for value look-ups that failed.
inline constexpr jint kFailed = -1;

// A Java long is a handle's bit pattern.
inline ZR3HANDLE AsHandle(jlong handle) { return reinterpret_cast<ZR3HANDLE>(handle); }

// The result of the older queries, which return their handle: -1 on any status but 0.
inline jint NarrowHandle(int32 status, ZR3HANDLE handle) {
  if (status != 0) return kFailed;
  // kept: only the low 32 bits of the handle reach the caller.
  return static_cast<jint>(reinterpret_cast<jlong>(handle));
}

}  // namespace zervane::bridge

#endif
