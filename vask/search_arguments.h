#pragma once

#include "vask/arguments.h"

namespace zervane {

// The conditions of a search, given by now: ZR3_ERR_NULL_ARGUMENT, ZR3_ERR_INVALID_COUNT,
// ZR3_ERR_INVALID_TEXT, ZR3_ERR_INVALID_ARGUMENT for an unknown column or relation.
Arguments& CheckFilter(Arguments& arguments, const ZR3FilterItemSet* filter);

// The classes of a search: bit i is class i, bit ZR3_TAG_CLASS_ALL all classes, -1 likewise.
// Without a class, or with another bit, ZR3_ERR_INVALID_MASK.
Arguments& CheckClassMask(Arguments& arguments, int64 class_mask);

}  // namespace zervane
