#include "engine/log.h"

#include <spdlog/common.h>
#include <spdlog/sinks/stdout_sinks.h>

#include <cstdlib>
#include <memory>

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

}  // namespace zervane
