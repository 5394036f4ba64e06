#pragma once

#include <cstdint>

#include "zr3Struct.h"

// Adding and changing tags of the classes that this library does not offer yet: the arguments are
// checked, and the answer is ZR3_ERR_NOT_SUPPORTED.

namespace zervane {

// `record` is the record of the class. Only what the mask selects is looked at; on adding, the name
// always counts. ZR3_ERR_NULL_ARGUMENT, ZR3_ERR_INVALID_TEXT, ZR3_ERR_INVALID_MASK.
int32 UnsupportedAdd(const char* function, std::int32_t tag_class, const void* record,
                     const ZR3Mask* mask, const uint32* id) noexcept;
int32 UnsupportedModify(const char* function, std::int32_t tag_class, const void* record,
                        const ZR3Mask* mask) noexcept;

}  // namespace zervane
