#pragma once

#include <string>

#include "api/words/status.h"

namespace zervane::storage {

// The status of a file operation that failed with an error number of the system.
Status SystemStatus(int error, const std::string& doing);

}  // namespace zervane::storage
