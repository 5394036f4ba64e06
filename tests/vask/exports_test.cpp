// What the shared library lets others see.

#include <dlfcn.h>
#include <gtest/gtest.h>
#include <stdio.h>

#include <algorithm>
#include <memory>
#include <sstream>

#include "tests/vask/api_function.h"

namespace zervane {
namespace {

std::vector<std::string> Exported() {
  const std::unique_ptr<FILE, int (*)(FILE*)> nm(
      popen("nm -D --defined-only " ZERVANE_VASK_LIBRARY, "r"), pclose);
  std::vector<std::string> names;
  char line[512];
  while (nm != nullptr && fgets(line, sizeof line, nm.get()) != nullptr) {
    std::istringstream words(line);
    std::string address;
    std::string kind;
    std::string name;
    words >> address >> kind >> name;
    names.push_back(kind == "T" ? name : kind + " " + name);
  }
  return names;
}

TEST(Library, ExportsTheFunctionsOfTheHeaderAndNothingElse) {
  std::vector<std::string> expected;
  for (const ApiFunction& function : AllFunctions()) expected.push_back(function.name);
  std::sort(expected.begin(), expected.end());
  std::vector<std::string> exported = Exported();
  std::sort(exported.begin(), exported.end());
  EXPECT_EQ(exported, expected);
}

TEST(Library, LoadsAndAnswersOnItsOwn) {
  void* library = dlopen(ZERVANE_VASK_LIBRARY, RTLD_NOW | RTLD_LOCAL);
  ASSERT_NE(library, nullptr) << dlerror();
  const auto disconnect = reinterpret_cast<int32 (*)()>(dlsym(library, "nt3_disconnect"));
  ASSERT_NE(disconnect, nullptr);
  EXPECT_EQ(disconnect(), ZR3_ERR_NOT_CONNECTED);
  EXPECT_EQ(dlclose(library), 0);
}

}  // namespace
}  // namespace zervane
