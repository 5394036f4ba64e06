// The natives of the test classes com.talvoro.zrjni.bridge.AllocationProbe and NativeOutput.
#include <fcntl.h>
#include <jni.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>

#include "allocation_watch.h"

namespace {

using zervane::probe::Sizes;

Sizes sizes;  // too large for a stack; the tests that ask are on one thread

jlongArray ToJava(JNIEnv* env, void (*copy)(Sizes*)) {
  copy(&sizes);
  const size_t count = std::min(sizes.count, Sizes::kCapacity);
  const jlongArray result = env->NewLongArray(static_cast<jsize>(count));
  for (size_t i = 0; i < count; ++i) {
    const auto size = static_cast<jlong>(sizes.bytes[i]);
    env->SetLongArrayRegion(result, static_cast<jsize>(i), 1, &size);
  }
  return result;
}

}  // namespace

extern "C" {

JNIEXPORT jboolean JNICALL Java_com_talvoro_zrjni_bridge_AllocationProbe_watch(JNIEnv* env, jclass,
                                                                               jstring name) {
  const char* chars = env->GetStringUTFChars(name, nullptr);
  const bool found = zervane::probe::WatchLibrary(chars);
  env->ReleaseStringUTFChars(name, chars);
  return found ? JNI_TRUE : JNI_FALSE;
}

JNIEXPORT void JNICALL Java_com_talvoro_zrjni_bridge_AllocationProbe_reset(JNIEnv*, jclass) {
  zervane::probe::ResetWatch();
}

JNIEXPORT void JNICALL Java_com_talvoro_zrjni_bridge_AllocationProbe_failRequest(JNIEnv*, jclass,
                                                                                 jint ordinal) {
  zervane::probe::FailRequest(ordinal);
}

JNIEXPORT jlongArray JNICALL Java_com_talvoro_zrjni_bridge_AllocationProbe_requested(JNIEnv* env,
                                                                                     jclass) {
  return ToJava(env, zervane::probe::CopyRequested);
}

JNIEXPORT jlongArray JNICALL Java_com_talvoro_zrjni_bridge_AllocationProbe_outstanding(JNIEnv* env,
                                                                                       jclass) {
  return ToJava(env, zervane::probe::CopyOutstanding);
}

// The beginning of the index-th block that is left.
JNIEXPORT jbyteArray JNICALL Java_com_talvoro_zrjni_bridge_AllocationProbe_content(JNIEnv* env,
                                                                                   jclass,
                                                                                   jint index,
                                                                                   jint size) {
  const void* const block = zervane::probe::OutstandingBlock(static_cast<size_t>(index));
  if (block == nullptr) return nullptr;
  const jbyteArray result = env->NewByteArray(size);
  env->SetByteArrayRegion(result, 0, size, static_cast<const jbyte*>(block));
  return result;
}

// Sends the process's standard output to a file from now on.
JNIEXPORT jboolean JNICALL Java_com_talvoro_zrjni_bridge_NativeOutput_redirect(JNIEnv* env, jclass,
                                                                               jstring path) {
  const char* chars = env->GetStringUTFChars(path, nullptr);
  const int file = open(chars, O_WRONLY | O_CREAT | O_TRUNC | O_APPEND | O_CLOEXEC, 0644);
  env->ReleaseStringUTFChars(path, chars);
  if (file < 0) return JNI_FALSE;
  const bool redirected = dup2(file, STDOUT_FILENO) == STDOUT_FILENO;
  close(file);
  return redirected ? JNI_TRUE : JNI_FALSE;
}

JNIEXPORT void JNICALL Java_com_talvoro_zrjni_bridge_NativeOutput_flush(JNIEnv*, jclass) {
  fflush(stdout);
}

}  // extern "C"
