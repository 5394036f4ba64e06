#pragma once

#include <cstdint>

#include "zr3Struct.h"

// Adding, changing and reading tags, the same for every class whose tags have properties of their
// own. `record` is the record of the class.

namespace zervane {

int32 AddClassTag(const char* function, std::int32_t tag_class, const void* record,
                  const ZR3Mask* mask, uint32* id) noexcept;
int32 ModifyClassTag(const char* function, std::int32_t tag_class, uint32 id, const void* record,
                     const ZR3Mask* mask) noexcept;
// ZR3_ERR_INVALID_TAG_CLASS for a tag of another class.
int32 QueryClassTag(const char* function, std::int32_t tag_class, uint32 id, void* record) noexcept;

}  // namespace zervane
