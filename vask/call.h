#pragma once

#include <utility>

#include "engine/guard.h"
#include "vask/arguments.h"
#include "vask/session.h"

// The shape of every exported function: arguments checked, the session held, work done, its outcome
// made the API's status. Nothing that is thrown on the way leaves.

namespace zervane {

// Logs a failure of a function, and answers its status.
ZR3_STATUS Failed(const char* function, const Status& failure) noexcept;

// The outcome of Status work() as a status, whatever happens in it.
template <typename Work>
int32 StatusOfWork(const char* function, Work&& work) noexcept {
  const Status status = Guarded(std::forward<Work>(work));
  return status.ok() ? ZR3_OK : Failed(function, status);
}

// Carries out Status body(Session&) for a function that needs the session. Without one it is
// ZR3_ERR_NOT_CONNECTED, with wrong arguments their fault.
template <typename Body>
int32 Call(const char* function, const Arguments& arguments, Body&& body) noexcept {
  return StatusOfWork(function, [&] {
    return ProcessSession().Hold([&](Session& session) -> Status {
      if (!arguments.ok()) return {arguments.fault(), {}};
      return body(session);
    });
  });
}

// The same for a query that makes an iterator. It becomes 0 (when one is given) unless the query
// succeeds, so that no caller takes what stood there for a handle.
template <typename Body>
int32 Query(const char* function, const Arguments& arguments, ZR3HANDLE* iterator,
            Body&& body) noexcept {
  if (iterator != nullptr) *iterator = nullptr;
  return Call(function, arguments, std::forward<Body>(body));
}

// The same for a function that may wait for long, and takes the session for itself what it needs.
template <typename Body>
int32 CallAside(const char* function, const Arguments& arguments, Body&& body) noexcept {
  return StatusOfWork(function, [&] {
    Session& process = ProcessSession();
    Status status = process.Hold([&](Session&) -> Status { return {arguments.fault(), {}}; });
    return status.ok() ? body(process) : status;
  });
}

// Hands a value out to the caller, or its failure.
template <typename T, typename Out>
Status Deliver(const Result<T>& result, Out* out) {
  if (!result.ok()) return result.status();
  *out = static_cast<Out>(*result);
  return {};
}

}  // namespace zervane
