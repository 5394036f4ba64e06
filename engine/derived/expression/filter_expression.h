#pragma once

#include <string_view>
#include <utility>

#include "api/words/status.h"
#include "engine/derived/expression/program.h"

namespace zervane {

// An expression that says of a record whether it passes, from its `value`, its `quality` and its
// `time`. It names no tags.
//
//   Result<FilterExpression> filter = FilterExpression::Parse("value > 50 && quality >= 192");
//   if (!filter.ok()) return filter.status();
//   const double answer = filter->Evaluate(sample_value, quality, time_s);
//
// Threads: any, at the same time.
class FilterExpression {
 public:
  // ZR3_ERR_INVALID_EXPRESSION, with the place in the message; an empty text is none, either.
  static Result<FilterExpression> Parse(std::string_view text);

  // A record passes when this is not 0. NaN or an infinity say that the filter has no answer. The
  // time is in seconds since 1970.
  double Evaluate(double value, double quality, double time_s) const;

 private:
  explicit FilterExpression(Program program) : program_(std::move(program)) {}

  Program program_;
};

}  // namespace zervane
