#include "scene.h"

#include <algorithm>

namespace zervane::bridge_test {
[[gnu::noinline]] void AgeStack() {
  volatile unsigned char bytes[65536];
  for (volatile unsigned char& byte : bytes) byte = kFreshByte;
}

void ResetScene() {
  Probe().Reset();
  Api().Reset();
  Java().Reset();
  Log().Clear();
  Converters() = FakeText();
}

NativeCall::NativeCall() {
  Log().Clear();
  Java().BeginCall();
  Probe().Arm();
}

NativeCall::~NativeCall() {
  Probe().Disarm();
  Java().EndCall();
  EXPECT_EQ(Probe().foreign_frees(), 0) << "the bridge freed what it had not allocated";
}

testing::AssertionResult SameBytes(const void* expected, const void* actual, size_t size) {
  if (size == 0) return testing::AssertionSuccess();
  const auto* const first = static_cast<const unsigned char*>(expected);
  const auto* const second = static_cast<const unsigned char*>(actual);
  const auto [at, other] = std::mismatch(first, first + size, second);
  if (at == first + size) return testing::AssertionSuccess();
  return testing::AssertionFailure() << "byte " << at - first << " of " << size << " is "
                                     << int{*other} << ", not " << int{*at};
}

testing::AssertionResult Untouched(const void* bytes, size_t size) {
  const std::vector<unsigned char> fresh(size, kFreshByte);
  return SameBytes(fresh.data(), bytes, size);
}

testing::AssertionResult HoldsOldBytes(const void* bytes, size_t size) {
  const auto* const first = static_cast<const unsigned char*>(bytes);
  if (std::find(first, first + size, kFreshByte) != first + size) {
    return testing::AssertionSuccess();
  }
  return testing::AssertionFailure() << "there is no old byte among " << size;
}

}  // namespace zervane::bridge_test
