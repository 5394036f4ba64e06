#pragma once

#include <spdlog/logger.h>

namespace zervane {

// The library's log: standard error, warnings and worse unless ZERVANE_LOG names another level
// ("trace", "debug", "info", "warn", "error", "critical", "off"). Threads: any.
spdlog::logger& Log();

}  // namespace zervane
