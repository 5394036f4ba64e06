#include "vask/call.h"

#include <exception>
#include <new>

#include "engine/log.h"

namespace zervane {
namespace {

// What the operator must hear of; the rest is a caller's mistake or an ordinary answer.
bool IsFault(ZR3_STATUS status) {
  return status == ZR3_ERR_CONNECT_FAILED ||
         (status >= ZR3_ERR_OUT_OF_MEMORY && status <= ZR3_ERR_STORAGE_DAMAGED);
}

void LogFailure(const char* function, ZR3_STATUS status, const char* details) noexcept {
  LogAt(IsFault(status) ? spdlog::level::err : spdlog::level::debug, "{}: {} ({}){}{}", function,
        zr3_status_text(status), status, *details == '\0' ? "" : ": ", details);
}

}  // namespace

ZR3_STATUS Failed(const char* function, const Status& failure) noexcept {
  LogFailure(function, failure.code(), failure.message().c_str());
  return failure.code();
}

ZR3_STATUS FailedByException(const char* function) noexcept {
  try {
    throw;
  } catch (const std::bad_alloc&) {
    LogFailure(function, ZR3_ERR_OUT_OF_MEMORY, "");
    return ZR3_ERR_OUT_OF_MEMORY;
  } catch (const std::exception& exception) {
    LogFailure(function, ZR3_ERR_INTERNAL, exception.what());
  } catch (...) {
    LogFailure(function, ZR3_ERR_INTERNAL, "an exception of an unknown kind");
  }
  return ZR3_ERR_INTERNAL;
}

int32 Unsupported(const char* function, const Arguments& arguments) noexcept {
  return Call(function, arguments, [](Session&) -> Status { return {ZR3_ERR_NOT_SUPPORTED, {}}; });
}

int32 UnsupportedQuery(const char* function, const Arguments& arguments,
                       ZR3HANDLE* iterator) noexcept {
  if (iterator != nullptr) *iterator = nullptr;
  return Unsupported(function, arguments);
}

}  // namespace zervane
