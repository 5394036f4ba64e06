#include "os/os_lang.h"

#include <fcntl.h>
#include <unistd.h>

#include <cstddef>
#include <limits>
#include <memory>
#include <new>
#include <string>
#include <utility>

#include "os/error_line.h"
#include "os/iconv_codec.h"
#include "os/system_encoding.h"
#include "os/text_converter.h"
#include "os/thread_owned.h"

namespace {

using zervane::os::TextConverter;

constexpr int kConverted = 0;
constexpr int kFailed = 1;

// The C library reads its list of encodings once, and knows none but a few ever after when that
// fails. While this library is being loaded there are files and memory to read it.
[[maybe_unused]] const bool has_list = zervane::os::IconvHandle().Open("WCHAR_T", "UTF-8");

// Whether a file can be opened now, and memory be had, as iconv needs to find an encoding.
bool AreFilesAndMemoryAtHand() {
  constexpr std::size_t kEnough = 256 << 10;
  const std::unique_ptr<char[]> memory(new (std::nothrow) char[kEnough]);
  const int file = open("/dev/null", O_RDONLY | O_CLOEXEC);
  if (file >= 0) close(file);
  return memory != nullptr && file >= 0;
}

// Whether texts can be in the encoding. That holds for the life of the process, so what iconv does
// not find for want of memory or descriptors is asked again, now or, by throwing, the next time:
// texts, addresses among them, must not be in another encoding because there was a shortage once.
bool IsUsable(const std::string& encoding) {
  constexpr int kTries = 3;
  for (int i = 0; i < kTries; ++i) {
    if (zervane::os::IsSystemEncoding(encoding)) return true;
    if (!AreFilesAndMemoryAtHand()) throw std::bad_alloc();
  }
  return false;
}

// The encoding that the environment asks for. One that texts cannot be in would make every text
// fail; UTF-8 takes its place.
std::string ChooseEncoding() {
  std::string encoding = zervane::os::SelectEncoding(zervane::os::ReadEncodingEnvironment(),
                                                     zervane::os::InstalledCodeset);
  if (IsUsable(encoding)) return encoding;
  zervane::os::WriteErrorLine("texts cannot be in the encoding '" + encoding +
                              "', which is unknown or does not contain ASCII; they are in UTF-8");
  return zervane::os::kDefaultEncoding;
}

// The encoding that the whole process keeps. Never destroyed: threads may outlive static objects.
const std::string& ProcessEncoding() {
  static const std::string& encoding = *new std::string(ChooseEncoding());
  return encoding;
}

TextConverter& ThreadConverter() {
  static zervane::os::ThreadOwned<TextConverter> converters;
  return converters.OfThisThread([] { return std::make_unique<TextConverter>(ProcessEncoding()); });
}

using Direction = bool (TextConverter::*)(const char* src, char* dst, int capacity_bytes);

int Convert(Direction direction, const char* src, char* dst, int capacity) {
  try {
    return (ThreadConverter().*direction)(src, dst, capacity) ? kConverted : kFailed;
  } catch (...) {  // nothing to make the thread's converter of
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

const char* os_lang_encoding() {
  try {
    return ProcessEncoding().c_str();
  } catch (...) {  // no files or memory to find it
    return nullptr;
  }
}

int os_lang_take_failures() { return std::exchange(failures, 0); }
