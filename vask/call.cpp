#include "vask/call.h"

#include <string>

#include "engine/log.h"

namespace zervane {
namespace {

// What the operator must hear of; the rest is a caller's mistake or an ordinary answer.
bool IsFault(ZR3_STATUS status) {
  return status == ZR3_ERR_CONNECT_FAILED ||
         (status >= ZR3_ERR_OUT_OF_MEMORY && status <= ZR3_ERR_STORAGE_DAMAGED);
}

}  // namespace

ZR3_STATUS Failed(const char* function, const Status& failure) noexcept {
  const std::string& details = failure.message();
  LogAt(IsFault(failure.code()) ? spdlog::level::err : spdlog::level::debug, "{}: {} ({}){}{}",
        function, zr3_status_text(failure.code()), failure.code(), details.empty() ? "" : ": ",
        details);
  return failure.code();
}

}  // namespace zervane
