// Which encoding the process's texts are in.
#ifndef ZERVANE_OS_SYSTEM_ENCODING_H_
#define ZERVANE_OS_SYSTEM_ENCODING_H_

#include <string>

namespace zervane::os {

// The encoding where nothing else is asked for, or what is asked for cannot be had.
inline constexpr const char* kDefaultEncoding = "UTF-8";

// The environment variables that decide, in the order in which they are asked; an unset one and an
// empty one are the same.
struct EncodingEnvironment {
  std::string zervane_encoding;  // ZERVANE_ENCODING, the name of an encoding
  std::string lc_all;            // LC_ALL, the name of a locale, as are the others
  std::string lc_ctype;
  std::string lang;
};

// The environment of this process.
EncodingEnvironment ReadEncodingEnvironment();

// The encoding of a locale by the system's own records; empty when the locale is not installed.
std::string InstalledCodeset(const std::string& locale);

// Decides by the first of these that applies:
//   ZERVANE_ENCODING, as it stands;
//   the first locale of LC_ALL, LC_CTYPE, LANG that is not empty:
//     the codeset in its name ("GBK" of "zh_CN.GBK"),
//     UTF-8 for "C" and "POSIX",
//     what installed_codeset says of it ("zh_CN" is commonly GB2312, "de_DE@euro" ISO-8859-15);
//   UTF-8.
// The name is the environment's; texts may turn out not to fit it (IsSystemEncoding).
std::string SelectEncoding(const EncodingEnvironment& environment,
                           std::string (*installed_codeset)(const std::string& locale));

}  // namespace zervane::os

#endif  // ZERVANE_OS_SYSTEM_ENCODING_H_
