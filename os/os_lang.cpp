#include "os/os_lang.h"

#include <limits>
#include <string>
#include <utility>

#include "os/error_line.h"
#include "os/system_encoding.h"
#include "os/text_converter.h"

namespace {

using zervane::os::TextConverter;

constexpr int kConverted = 0;
constexpr int kFailed = 1;

// The encoding that the environment asks for. One that texts cannot be in would make every text
// fail; UTF-8 takes its place.
std::string ChooseEncoding() {
  std::string encoding = zervane::os::SelectEncoding(zervane::os::ReadEncodingEnvironment(),
                                                     zervane::os::InstalledCodeset);
  if (zervane::os::IsSystemEncoding(encoding)) return encoding;
  zervane::os::WriteErrorLine("texts cannot be in the encoding '" + encoding +
                              "', which is unknown or does not contain ASCII; they are in UTF-8");
  return zervane::os::kDefaultEncoding;
}

// The calling thread's converter, for the encoding that the whole process keeps.
TextConverter& ThreadConverter() {
  static const std::string encoding = ChooseEncoding();
  thread_local TextConverter converter(encoding);
  return converter;
}

using Direction = bool (TextConverter::*)(const char* src, char* dst, int capacity_bytes);

int Convert(Direction direction, const char* src, char* dst, int capacity) {
  try {
    return (ThreadConverter().*direction)(src, dst, capacity) ? kConverted : kFailed;
  } catch (...) {  // no memory for the thread's converter
    if (dst != nullptr && capacity > 0) *dst = '\0';
    return kFailed;
  }
}

// Texts of this thread that did not convert and that nobody has asked about. In the memory that a
// thread begins with: the dynamic linker, which finds the rest, may have to allocate it.
[[gnu::tls_model("initial-exec")]] constinit thread_local int failures = 0;

}  // namespace

int os_lang_conv_utf8_to_sys(const char* src, char* dst, int capacity) {
  const int status = Convert(&TextConverter::ToSystem, src, dst, capacity);
  if (status != kConverted && failures < std::numeric_limits<int>::max()) ++failures;
  return status;
}

int os_lang_conv_sys_to_utf8(const char* src, char* dst, int capacity) {
  return Convert(&TextConverter::FromSystem, src, dst, capacity);
}

int os_lang_take_failures() { return std::exchange(failures, 0); }
