#pragma once

#include <exception>
#include <new>
#include <type_traits>

#include "engine/status.h"

namespace zervane {

// Runs a body that answers a Status or a Result; what it throws becomes a status. Every public
// function of a store is one, so that nothing is thrown out of it.
template <typename Body>
std::invoke_result_t<Body> Guarded(Body body) noexcept {
  try {
    return body();
  } catch (const std::bad_alloc&) {
    return Status(ZR3_ERR_OUT_OF_MEMORY, "out of memory");
  } catch (const std::exception& fault) {
    return Status(ZR3_ERR_INTERNAL, fault.what());
  }
}

}  // namespace zervane
