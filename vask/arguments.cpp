#include "vask/arguments.h"

#include <cstring>

#include "engine/assert.h"
#include "os/os_lang.h"

namespace zervane {

Arguments& Arguments::Text(const char* text, std::size_t capacity) {
  ZERVANE_ASSERT(capacity > 0);
  return ok() ? Require(strnlen(text, capacity) < capacity, ZR3_ERR_INVALID_TEXT) : *this;
}

Arguments ArgumentsWithTexts(ZR3_STATUS not_converted) {
  return Arguments().Require(os_lang_take_failures() == 0, not_converted);
}

void ForgetUnconvertedTexts() noexcept { (void)os_lang_take_failures(); }

}  // namespace zervane
