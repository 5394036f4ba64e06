#pragma once

#include <cstddef>
#include <span>

#include "zr3Struct.h"

// Adding and changing tags of the classes that this library does not offer yet: the arguments are
// checked, and the answer is ZR3_ERR_NOT_SUPPORTED.

namespace zervane {

// A text of a tag record's extension: its column, and where it stands in the record.
struct ExtensionText {
  int32 column;
  std::size_t offset;
  std::size_t capacity;
};

// The extension of one class of tags.
struct Extension {
  int32 min_column;
  int32 max_column;
  std::span<const ExtensionText> texts;
};

// Only what the mask selects is looked at; on adding, the name always counts.
// ZR3_ERR_NULL_ARGUMENT, ZR3_ERR_INVALID_TEXT, ZR3_ERR_INVALID_MASK.
int32 UnsupportedAdd(const char* function, const Extension& extension, const void* record,
                     const ZR3Mask* mask, const uint32* id) noexcept;
int32 UnsupportedModify(const char* function, const Extension& extension, const void* record,
                        const ZR3Mask* mask) noexcept;

}  // namespace zervane
