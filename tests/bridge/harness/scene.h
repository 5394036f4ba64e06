// What a test of the bridge stands on: the fakes, and the way to call a native method.
#ifndef ZERVANE_TESTS_BRIDGE_SCENE_H
#define ZERVANE_TESTS_BRIDGE_SCENE_H

#include <gtest/gtest.h>

#include <type_traits>

#include "allocation_probe.h"
#include "call_log.h"
#include "com_talvoro_zrjni_Jni_Zervane.h"
#include "contract.h"
#include "fake_api.h"
#include "fake_java.h"
#include "fake_text.h"

// The native method of that name, as javac declares it.
#define ZR(method) Java_com_talvoro_zrjni_Jni_1Zervane_##method

namespace zervane::bridge_test {

// Forgets what earlier tests left in the fakes.
void ResetScene();

// Leaves old bytes (kFreshByte) below the caller's frame.
void AgeStack();

// One native call: what it logs and allocates is its own, and at its end it must hold no Java text
// and have freed no memory of others.
class NativeCall {
 public:
  NativeCall();
  ~NativeCall();
};

// Calls a method from so far down the stack that its locals stand among the old bytes, below what
// AgeStack needed for itself.
template <typename Method, typename... Arguments>
[[gnu::noinline]] auto CallBelowGap(Method method, Arguments... arguments) {
  char gap[512];
  asm volatile("" : : "r"(gap) : "memory");  // the gap is in use, so the call is no jump
  return method(arguments...);
}

// Calls a native method as the virtual machine does.
template <typename Result, typename... Parameters>
Result Call(Result (*method)(JNIEnv*, jclass, Parameters...),
            std::type_identity_t<Parameters>... arguments) {
  const NativeCall call;
  JNIEnv* const env = Java().env();
  const jclass native_class = Java().native_class();
  AgeStack();
  return CallBelowGap(method, env, native_class, arguments...);
}

// Blocks that the last native call left allocated, by size.
inline std::vector<size_t> Left() { return Probe().Left(); }
using Blocks = std::vector<size_t>;

// A block with the system-encoded form of a Java string of that many UTF-16 units.
constexpr size_t TextBlock(size_t units) { return units * 4 + 1; }

// Byte by byte; a failure names the first offset that differs.
testing::AssertionResult SameBytes(const void* expected, const void* actual, size_t size);

template <typename Record>
testing::AssertionResult SameRecord(const Record& expected, const Record& actual) {
  return SameBytes(&expected, &actual, sizeof(Record));
}

// Whether a new block is as malloc returned it.
testing::AssertionResult Untouched(const void* bytes, size_t size);

// Whether memory on the stack was not cleared: old bytes stand in it. Not all of it need hold them,
// for the compiler may have used it for something else before.
testing::AssertionResult HoldsOldBytes(const void* bytes, size_t size);

// A fixture that begins with a clean scene and ends with nothing allocated.
class BridgeTest : public testing::Test {
 protected:
  void SetUp() override { ResetScene(); }
  void TearDown() override { ResetScene(); }
};

}  // namespace zervane::bridge_test

#endif
