#pragma once

#include <cstddef>
#include <cstdint>

#include "api/words/status.h"
#include "zr3Struct.h"

namespace zervane {

// The checks of one call's arguments, in the order that every function keeps: whether the texts
// converted (ArgumentsWithTexts), pointers, counts, texts, ranges. The first fault decides, and
// nothing is looked at after it: a check may rely on those before it.
class Arguments {
 public:
  // Pointers that must be given: ZR3_ERR_NULL_ARGUMENT.
  template <typename... Pointee>
  Arguments& Given(const Pointee*... pointers) {
    return Require((... && (pointers != nullptr)), ZR3_ERR_NULL_ARGUMENT);
  }

  // A count and its arrays, which may be null when it is not positive: ZR3_ERR_NULL_ARGUMENT,
  // ZR3_ERR_INVALID_COUNT.
  template <typename... Element>
  Arguments& Batch(int32 count, const Element*... arrays) {
    if (count > 0) Given(arrays...);
    return Require(count >= 0, ZR3_ERR_INVALID_COUNT);
  }

  // The same for a count that is handed in through a pointer, given by now.
  template <typename... Element>
  Arguments& Batch(const int32* count, const Element*... arrays) {
    return ok() ? Batch(*count, arrays...) : *this;
  }

  // A text that ends within its first `capacity` bytes, of which no more are read:
  // ZR3_ERR_INVALID_TEXT.
  Arguments& Text(const char* text, std::size_t capacity);

  // The same for the member of a record.
  template <typename Record, std::size_t kCapacity>
  Arguments& Text(const Record* record, char (Record::*text)[kCapacity]) {
    return ok() ? Text(record->*text, kCapacity) : *this;
  }

  // ZR3_ERR_INVALID_ARGUMENT, or the status named.
  Arguments& InRange(std::int64_t value, std::int64_t min, std::int64_t max,
                     ZR3_STATUS status = ZR3_ERR_INVALID_ARGUMENT) {
    return Require(value >= min && value <= max, status);
  }

  // Whatever else must hold.
  Arguments& Require(bool holds, ZR3_STATUS status) {
    if (ok() && !holds) fault_ = status;
    return *this;
  }

  // Checks of the whole of a record: Arguments& check(Arguments&), only when all is well so far.
  template <typename Check>
  Arguments& Also(Check&& check) {
    return ok() ? check(*this) : *this;
  }

  bool ok() const { return fault_ == ZR3_OK; }
  ZR3_STATUS fault() const { return fault_; }

 private:
  ZR3_STATUS fault_ = ZR3_OK;
};

// What a function that takes texts begins its checks with. A text that did not convert arrives as
// an empty one: when that happened on this thread since it last asked here, the call is refused
// with ZR3_ERR_INVALID_TEXT or the status named. Asked before anything else is looked at, whatever
// becomes of the call, so that a failure never refuses a later call. Functions without texts do not
// ask: they may stand between a caller's conversion and the call it is for.
Arguments ArgumentsWithTexts(ZR3_STATUS not_converted = ZR3_ERR_INVALID_TEXT);

// For a function without texts after whose failure its caller goes no further: what did not convert
// for the call that was to follow must not refuse another one.
void ForgetUnconvertedTexts() noexcept;

}  // namespace zervane
