// A JNIEnv of which every entry fails the test by its name. The names come from jni.h, by way of
// the list that the build makes of it.
#include <cstring>

#include "fake_java.h"

namespace zervane::bridge_test {
namespace {

template <typename Name, typename Function>
struct Trap;

template <typename Name, typename Result, typename... Parameters>
struct Trap<Name, Result(JNICALL*)(Parameters...)> {
  static Result JNICALL Called(Parameters...) {
    ADD_FAILURE() << "the bridge called " << Name::kText;
    return Result();
  }
};

template <typename Name, typename Result, typename... Parameters>
struct Trap<Name, Result(JNICALL*)(Parameters..., ...)> {
  static Result JNICALL Called(Parameters..., ...) {
    ADD_FAILURE() << "the bridge called " << Name::kText;
    return Result();
  }
};

#define ZR_JNI_FUNCTION(name)                   \
  struct Name##name {                           \
    static constexpr const char* kText = #name; \
  };
#include "jni_functions.inc"
#undef ZR_JNI_FUNCTION

}  // namespace

JNINativeInterface_ TrapEveryFunction() {
  JNINativeInterface_ functions;
  memset(&functions, 0, sizeof functions);
#define ZR_JNI_FUNCTION(name) \
  functions.name = Trap<Name##name, decltype(JNINativeInterface_::name)>::Called;
#include "jni_functions.inc"
#undef ZR_JNI_FUNCTION
  return functions;
}

}  // namespace zervane::bridge_test
