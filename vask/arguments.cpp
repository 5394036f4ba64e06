#include "vask/arguments.h"

#include <cstring>

namespace zervane {

Arguments& Arguments::Text(const char* text, std::size_t capacity) {
  return ok() ? Require(strnlen(text, capacity) < capacity, ZR3_ERR_INVALID_TEXT) : *this;
}

}  // namespace zervane
