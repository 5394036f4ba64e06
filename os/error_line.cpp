#include "os/error_line.h"

#include <array>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <string_view>

namespace zervane::os {
namespace {

// The levels of ZERVANE_LOG at which errors are logged; "critical", "off" and unknown words are the
// others.
constexpr std::string_view kLevelsWithErrors[] = {"trace", "debug", "info", "warning",
                                                  "warn",  "error", "err"};

bool AreErrorsLogged() {
  const char* const named = std::getenv("ZERVANE_LOG");
  if (named == nullptr) return true;
  for (const std::string_view level : kLevelsWithErrors) {
    if (level == named) return true;
  }
  return false;
}

}  // namespace

void WriteErrorLine(const std::string& message) noexcept {
  if (!AreErrorsLogged()) return;
  constexpr long kNanosecondsPerMs = 1'000'000;
  std::timespec now{};
  std::timespec_get(&now, TIME_UTC);
  std::tm local{};
  localtime_r(&now.tv_sec, &local);
  std::array<char, sizeof "9999-12-31 23:59:59"> time{};
  std::strftime(time.data(), time.size(), "%Y-%m-%d %H:%M:%S", &local);
  std::fprintf(stderr, "%s.%03ld zervane error: %s\n", time.data(), now.tv_nsec / kNanosecondsPerMs,
               message.c_str());
}

}  // namespace zervane::os
