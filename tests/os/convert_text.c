/* convert_text to_system|from_system|short_to_system HEX...: converts the bytes in the encoding of
 * this process's environment and prints each result in hexadecimal, or "failed", on a line. For
 * short_to_system no file can be opened while the first of them is converted. */
#include <stdio.h>
#include <string.h>
#include <sys/resource.h>

#include "os/os_lang.h"

enum { kMaxTextBytes = 64 };

static int parse_hex(const char* hex, char* text) {
  const size_t length = strlen(hex) / 2;
  if (length > kMaxTextBytes) return 0;
  for (size_t i = 0; i < length; ++i) {
    unsigned byte;
    if (sscanf(hex + 2 * i, "%2x", &byte) != 1) return 0;
    text[i] = (char)byte;
  }
  text[length] = '\0';
  return 1;
}

static void convert(const char* direction, const char* text) {
  char converted[4 * kMaxTextBytes + 1];
  const int status = strcmp(direction, "from_system") == 0
                         ? os_lang_conv_sys_to_utf8(text, converted, sizeof(converted))
                         : os_lang_conv_utf8_to_sys(text, converted, sizeof(converted));
  if (status != 0) {
    puts("failed");
    return;
  }
  for (const char* byte = converted; *byte != '\0'; ++byte) printf("%02X", (unsigned char)*byte);
  puts("");
}

static void convert_without_files(const char* direction, const char* text) {
  struct rlimit files;
  if (getrlimit(RLIMIT_NOFILE, &files) != 0) return;
  const struct rlimit none = {0, files.rlim_max};
  if (setrlimit(RLIMIT_NOFILE, &none) != 0) return;
  convert(direction, text);
  setrlimit(RLIMIT_NOFILE, &files);
}

int main(int argc, char** argv) {
  char text[kMaxTextBytes + 1];
  if (argc < 3) return 2;
  for (int i = 2; i < argc; ++i) {
    if (!parse_hex(argv[i], text)) return 2;
    if (i == 2 && strcmp(argv[1], "short_to_system") == 0) {
      convert_without_files(argv[1], text);
    } else {
      convert(argv[1], text);
    }
  }
  return 0;
}
