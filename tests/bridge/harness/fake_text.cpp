#include "fake_text.h"

#include <cstring>
#include <string>

#include "call_log.h"
#include "os/os_lang.h"

namespace zervane::bridge_test {
namespace {

bool IsBetween(char c, char first, char last) { return c >= first && c <= last; }

char Upper(char c) { return IsBetween(c, 'a', 'z') ? static_cast<char>(c - 'a' + 'A') : c; }

char Lower(char c) { return IsBetween(c, 'A', 'Z') ? static_cast<char>(c - 'A' + 'a') : c; }

// A failure leaves something behind that must not be taken for a result.
int Convert(const char* way, bool fail, char (*map)(char), const char* source, char* target,
            int capacity) {
  Log().Add(Kind::kText, std::string(way) + " \"" + source + "\" " + std::to_string(capacity));
  const size_t length = strlen(source);
  if (fail || length + 1 > static_cast<size_t>(capacity)) {
    target[0] = '?';
    return 1;
  }
  for (size_t i = 0; i <= length; ++i) target[i] = map(source[i]);
  return 0;
}

}  // namespace

FakeText& Converters() {
  static FakeText converters;
  return converters;
}

}  // namespace zervane::bridge_test

using namespace zervane::bridge_test;

int os_lang_conv_utf8_to_sys(const char* src, char* dst, int capacity) {
  return Convert("to system", Converters().fail_to_system, Upper, src, dst, capacity);
}

int os_lang_conv_sys_to_utf8(const char* src, char* dst, int capacity) {
  return Convert("to utf8", Converters().fail_to_java, Lower, src, dst, capacity);
}
