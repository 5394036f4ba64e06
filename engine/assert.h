#pragma once

// ZERVANE_ASSERT(what must hold): in debug, sanitizer and fuzz builds (those that define
// ZERVANE_ASSERTS) a breach ends the process and names its place; elsewhere nothing is evaluated.
// For what the code promises itself, never for what comes from outside: that gets a status.
#ifdef ZERVANE_ASSERTS

#include <cstdio>
#include <cstdlib>

namespace zervane {

[[noreturn]] inline void AssertFailed(const char* condition, const char* file, int line) noexcept {
  std::fprintf(stderr, "%s:%d: does not hold: %s\n", file, line, condition);
  std::abort();
}

}  // namespace zervane

#define ZERVANE_ASSERT(condition) \
  ((condition) ? static_cast<void>(0) : ::zervane::AssertFailed(#condition, __FILE__, __LINE__))

#else

#define ZERVANE_ASSERT(condition) static_cast<void>(sizeof((condition) ? 1 : 0))

#endif
