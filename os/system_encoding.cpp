#include "os/system_encoding.h"

#include <langinfo.h>
#include <locale.h>

#include <cstdlib>
#include <string_view>

namespace zervane::os {
namespace {

std::string Variable(const char* name) {
  const char* value = std::getenv(name);
  return value == nullptr ? "" : value;
}

// A locale is language[_territory][.codeset][@modifier].
std::string_view WithoutModifier(std::string_view locale) {
  return locale.substr(0, locale.find('@'));
}

}  // namespace

EncodingEnvironment ReadEncodingEnvironment() {
  return {Variable("ZERVANE_ENCODING"), Variable("LC_ALL"), Variable("LC_CTYPE"), Variable("LANG")};
}

std::string InstalledCodeset(const std::string& locale) {
  const locale_t handle = newlocale(LC_CTYPE_MASK, locale.c_str(), locale_t{});
  if (handle == locale_t{}) return "";
  std::string codeset = nl_langinfo_l(CODESET, handle);
  freelocale(handle);
  return codeset;
}

std::string SelectEncoding(const EncodingEnvironment& environment,
                           std::string (*installed_codeset)(const std::string& locale)) {
  if (!environment.zervane_encoding.empty()) return environment.zervane_encoding;
  const std::string& locale = !environment.lc_all.empty()     ? environment.lc_all
                              : !environment.lc_ctype.empty() ? environment.lc_ctype
                                                              : environment.lang;
  const std::string_view name = WithoutModifier(locale);
  const std::string_view language = name.substr(0, name.find('.'));
  if (name.size() > language.size() + 1) return std::string(name.substr(language.size() + 1));
  if (language.empty() || language == "C" || language == "POSIX") return kDefaultEncoding;
  const std::string codeset = installed_codeset(locale);
  return codeset.empty() ? kDefaultEncoding : codeset;
}

}  // namespace zervane::os
