#pragma once

#include <span>

#include "engine/status.h"
#include "engine/storage/store.h"

namespace zervane::storage {

// Whether every record has a tag, a time and a value that can be stored: ZR3_ERR_INVALID_ARGUMENT
// with the first that has not.
Status CheckRecords(std::span<const AcceptedSample> records);

}  // namespace zervane::storage
