#pragma once

#include <compare>
#include <cstdint>
#include <optional>
#include <string_view>

namespace zervane {

// The number that a condition compares a column with.
//
// A number is written as [+-]digits[.digits][e[+-]digits], with a digit before or after the point
// and nothing around it.
class NumberOperand {
 public:
  // None when the text is no number.
  static std::optional<NumberOperand> Parse(std::string_view text);

  // How a whole number compares with it, exactly: 5.5 lies between 5 and 6, and what no column can
  // hold beyond all.
  std::strong_ordering CompareWith(std::int64_t number) const;
  // How a floating-point number compares with it after it is rounded to that type. REQUIRES: the
  // number is finite.
  std::strong_ordering CompareWith(float number) const;
  std::strong_ordering CompareWith(double number) const;

 private:
  std::int64_t floor_ = 0;  // the greatest whole number that is not greater
  bool is_whole_ = true;
  float float32_ = 0;
  double float64_ = 0;
};

}  // namespace zervane
