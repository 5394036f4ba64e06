#include "engine/log.h"

#include <spdlog/common.h>
#include <spdlog/sinks/stdout_sinks.h>

#include <algorithm>
#include <cstdlib>
#include <memory>
#include <utility>

namespace zervane {
namespace {

// Not in the logging library's own registry: a host program may use that library too.
std::unique_ptr<spdlog::logger> MakeLogger() {
  auto sink = std::make_shared<spdlog::sinks::stderr_sink_mt>();
  auto logger = std::make_unique<spdlog::logger>("zervane", std::move(sink));
  const char* level = std::getenv("ZERVANE_LOG");
  logger->set_level(level == nullptr ? spdlog::level::warn : spdlog::level::from_str(level));
  logger->set_pattern("%Y-%m-%d %H:%M:%S.%e zervane %l: %v");
  return logger;
}

}  // namespace

spdlog::logger& Log() {
  // Never destroyed: threads may still have something to say while the process ends.
  static spdlog::logger& logger = *MakeLogger().release();
  return logger;
}

void AddLogLine(spdlog::level::level_enum level, fmt::string_view format,
                fmt::format_args arguments) noexcept {
  try {
    spdlog::logger& log = Log();
    if (!log.should_log(level)) return;
    fmt::memory_buffer line;  // a short one needs no memory of the heap
    fmt::vformat_to(fmt::appender(line), format, arguments);
    // Texts of callers stand in it: none may begin a line of its own.
    const auto is_control = [](unsigned char c) { return c < 0x20 || c == 0x7F; };
    std::replace_if(line.begin(), line.end(), is_control, '?');
    log.log(level, spdlog::string_view_t(line.data(), line.size()));
  } catch (...) {
    // There is nobody left to tell.
  }
}

}  // namespace zervane
