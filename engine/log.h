#pragma once

#include "third_party/logger.h"

namespace zervane {

// The library's log: standard error, warnings and worse unless ZERVANE_LOG names another level
// ("trace", "debug", "info", "warn", "error", "critical", "off"). For its settings; lines go in by
// the functions below. Threads: any.
spdlog::logger& Log();

// Lines of the log, for instance:
//
//   LogError("batch {} of the journal: {}; set aside", number, status.message());
//
// They throw nothing, so that they may stand where a failure is being told: a line that cannot be
// written, for want of memory or for any other reason, is left out. Threads: any.
void AddLogLine(spdlog::level::level_enum level, fmt::string_view format,
                fmt::format_args arguments) noexcept;

template <typename... Arguments>
void LogAt(spdlog::level::level_enum level, fmt::format_string<const Arguments&...> format,
           const Arguments&... arguments) noexcept {
  AddLogLine(level, format, fmt::make_format_args(arguments...));
}

template <typename... Arguments>
void LogError(fmt::format_string<const Arguments&...> format,
              const Arguments&... arguments) noexcept {
  AddLogLine(spdlog::level::err, format, fmt::make_format_args(arguments...));
}

template <typename... Arguments>
void LogWarning(fmt::format_string<const Arguments&...> format,
                const Arguments&... arguments) noexcept {
  AddLogLine(spdlog::level::warn, format, fmt::make_format_args(arguments...));
}

}  // namespace zervane
