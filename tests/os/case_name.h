// Names the cases of a table after its rows.
#ifndef ZERVANE_TESTS_OS_CASE_NAME_H_
#define ZERVANE_TESTS_OS_CASE_NAME_H_

#include <string>

namespace zervane::os {

inline constexpr auto kCaseName = [](const auto& test) { return std::string(test.param.name); };

}  // namespace zervane::os

#endif  // ZERVANE_TESTS_OS_CASE_NAME_H_
