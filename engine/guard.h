#pragma once

#include <exception>
#include <new>
#include <system_error>
#include <type_traits>
#include <utility>

#include "api/words/status.h"

namespace zervane {

// ZR3_ERR_INTERNAL with its cause, as far as there is memory for the text.
inline Status InternalFault(const char* cause) noexcept {
  try {
    return {ZR3_ERR_INTERNAL, cause};
  } catch (...) {
    return {ZR3_ERR_INTERNAL, {}};
  }
}

// The exception being handled, as a status: ZR3_ERR_OUT_OF_MEMORY, which needs no memory itself, or
// ZR3_ERR_INTERNAL. A thread that cannot be had is a want of memory too.
inline Status StatusOfException() noexcept {
  try {
    throw;
  } catch (const std::bad_alloc&) {
    return {ZR3_ERR_OUT_OF_MEMORY, {}};
  } catch (const std::system_error& fault) {
    const bool is_short = fault.code() == std::errc::resource_unavailable_try_again ||
                          fault.code() == std::errc::not_enough_memory;
    return is_short ? Status(ZR3_ERR_OUT_OF_MEMORY, {}) : InternalFault(fault.what());
  } catch (const std::exception& fault) {
    return InternalFault(fault.what());
  } catch (...) {
    return InternalFault("an exception of an unknown kind");
  }
}

// Runs a body that answers a Status or a Result; what it throws becomes a status. Every public
// function of a store is one, so that nothing is thrown out of it.
template <typename Body>
std::invoke_result_t<Body> Guarded(Body&& body) noexcept {
  try {
    return std::forward<Body>(body)();
  } catch (...) {
    return StatusOfException();
  }
}

}  // namespace zervane
