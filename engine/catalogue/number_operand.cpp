#include "engine/catalogue/number_operand.h"

#include <algorithm>
#include <charconv>
#include <cstddef>
#include <limits>
#include <string>
#include <system_error>

namespace zervane {
namespace {

bool IsDigit(char c) { return c >= '0' && c <= '9'; }

// Takes the digits at the begin of the text off it.
std::string_view SplitDigits(std::string_view& text) {
  const auto end = std::ranges::find_if_not(text, IsDigit);
  const auto size = static_cast<std::size_t>(end - text.begin());
  const std::string_view digits = text.substr(0, size);
  text.remove_prefix(size);
  return digits;
}

// Takes a sign off; whether it was '-'.
bool SplitSign(std::string_view& text) {
  const bool is_negative = text.starts_with('-');
  if (is_negative || text.starts_with('+')) text.remove_prefix(1);
  return is_negative;
}

// A number as it is written: 0.DIGITS times ten to the power of `exponent`; the first digit is not
// 0, and zero has none.
struct Decimal {
  bool is_negative = false;
  std::string digits;
  std::int64_t exponent = 0;
};

// Far beyond what any text or column reaches; sums of a few of them still fit.
constexpr std::int64_t kGreatExponent = 1'000'000'000'000;

// The exponent's digits, none of which may be missing.
std::optional<std::int64_t> ParseExponent(std::string_view text) {
  const bool is_negative = SplitSign(text);
  const std::string_view digits = SplitDigits(text);
  if (digits.empty() || !text.empty()) return std::nullopt;
  std::int64_t exponent = 0;
  for (const char digit : digits) {
    exponent = std::min(10 * exponent + (digit - '0'), kGreatExponent);
  }
  return is_negative ? -exponent : exponent;
}

std::optional<Decimal> ParseDecimal(std::string_view text) {
  Decimal decimal;
  decimal.is_negative = SplitSign(text);
  const std::string_view whole = SplitDigits(text);
  std::string_view fraction;
  if (text.starts_with('.')) {
    text.remove_prefix(1);
    fraction = SplitDigits(text);
  }
  if (whole.empty() && fraction.empty()) return std::nullopt;
  if (text.starts_with('e') || text.starts_with('E')) {
    const std::optional<std::int64_t> exponent = ParseExponent(text.substr(1));
    if (!exponent) return std::nullopt;
    decimal.exponent = *exponent;
  } else if (!text.empty()) {
    return std::nullopt;
  }
  decimal.digits.append(whole).append(fraction);
  decimal.exponent += static_cast<std::int64_t>(whole.size());
  const std::size_t zeros = std::min(decimal.digits.find_first_not_of('0'), decimal.digits.size());
  decimal.digits.erase(0, zeros);
  decimal.exponent -= static_cast<std::int64_t>(zeros);
  return decimal;
}

// Rounds to the nearest, to infinity or zero where that is beyond the type.
template <typename Float>
Float RoundTo(const Decimal& decimal) {
  if (decimal.digits.empty()) return 0;
  const std::string text = "0." + decimal.digits + "e" + std::to_string(decimal.exponent);
  Float number = 0;
  const auto [end, fault] = std::from_chars(text.data(), text.data() + text.size(), number);
  if (fault == std::errc::result_out_of_range) {
    number = decimal.exponent > 0 ? std::numeric_limits<Float>::infinity() : 0;
  }
  return decimal.is_negative ? -number : number;
}

// Columns hold numbers of up to 32 bits.
constexpr std::int64_t kBeyondColumns = std::int64_t{1} << 40;

// The part before the point, or kBeyondColumns if that is less.
std::int64_t WholePart(const Decimal& decimal) {
  std::int64_t whole = 0;
  for (std::int64_t i = 0; i < decimal.exponent && whole < kBeyondColumns; ++i) {
    const auto at = static_cast<std::size_t>(i);
    if (decimal.digits.empty()) break;
    whole = 10 * whole + (at < decimal.digits.size() ? decimal.digits[at] - '0' : 0);
  }
  return std::min(whole, kBeyondColumns);
}

bool HasFraction(const Decimal& decimal) {
  const auto begin = static_cast<std::size_t>(std::max<std::int64_t>(decimal.exponent, 0));
  return begin < decimal.digits.size() &&
         decimal.digits.find_first_not_of('0', begin) != std::string::npos;
}

template <typename Float>
std::strong_ordering Compare(Float a, Float b) {
  if (a == b) return std::strong_ordering::equal;
  return a < b ? std::strong_ordering::less : std::strong_ordering::greater;
}

}  // namespace

std::optional<NumberOperand> NumberOperand::Parse(std::string_view text) {
  const std::optional<Decimal> decimal = ParseDecimal(text);
  if (!decimal) return std::nullopt;
  NumberOperand operand;
  operand.is_whole_ = !HasFraction(*decimal);
  const std::int64_t whole = WholePart(*decimal);
  operand.floor_ = !decimal->is_negative ? whole : (operand.is_whole_ ? -whole : -whole - 1);
  operand.float32_ = RoundTo<float>(*decimal);
  operand.float64_ = RoundTo<double>(*decimal);
  return operand;
}

std::strong_ordering NumberOperand::CompareWith(std::int64_t number) const {
  if (number == floor_ && !is_whole_) return std::strong_ordering::less;
  return number <=> floor_;
}

std::strong_ordering NumberOperand::CompareWith(float number) const {
  return Compare(number, float32_);
}

std::strong_ordering NumberOperand::CompareWith(double number) const {
  return Compare(number, float64_);
}

}  // namespace zervane
