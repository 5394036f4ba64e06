#include "engine/alarms/alarm_action.h"

#include <spdlog/fmt/fmt.h>

#include <charconv>
#include <cmath>
#include <limits>
#include <string>
#include <system_error>
#include <variant>

#include "api/words/samples.h"
#include "engine/storage/cells.h"

namespace zervane {
namespace {

// The numbers of a row's detail, which stand with a space between two.
class NumberReader {
 public:
  explicit NumberReader(std::string_view text) : text_(text) {}

  template <typename T>
  void Into(T* number) {
    if (at_ > 0 && is_whole_) {
      is_whole_ = at_ < text_.size() && text_[at_] == ' ';
      ++at_;
    }
    if (!is_whole_) return;
    const char* const end = text_.data() + text_.size();
    const auto [rest, fault] = std::from_chars(text_.data() + at_, end, *number);
    is_whole_ = fault == std::errc();
    at_ = static_cast<std::size_t>(rest - text_.data());
  }

  bool HasReadAll() const { return is_whole_ && at_ == text_.size(); }

 private:
  const std::string_view text_;
  std::size_t at_ = 0;
  bool is_whole_ = true;
};

bool FitsInto32Bits(double number) {
  return std::trunc(number) == number && number >= std::numeric_limits<std::int32_t>::min() &&
         number <= std::numeric_limits<std::int32_t>::max();
}

std::optional<Value> ValueOf(TagType type, double number) {
  switch (type) {
    case TagType::kFloat64:
      return Value(number);
    case TagType::kFloat32:
      if (std::fabs(number) > std::numeric_limits<float>::max()) return std::nullopt;
      return Value(static_cast<float>(number));
    case TagType::kString:
    case TagType::kBlob:
      return std::nullopt;
    default:
      if (!FitsInto32Bits(number)) return std::nullopt;
      return Value(static_cast<std::int32_t>(number));
  }
}

}  // namespace

Row RowFormat<PendingAction>::KeyCells(const Key& key) {
  Row cells = KeysOf(key.alarm);
  cells.push_back(CellOf(key.start_ms));
  return cells;
}

Row RowFormat<PendingAction>::KeysOf(TagId alarm) {
  Row cells = AllKeys();
  cells.push_back(CellOf(alarm));
  return cells;
}

Row RowFormat<PendingAction>::AllKeys() { return {CellOf(std::string(kTask))}; }

Row RowFormat<PendingAction>::RowOf(const PendingAction& action) {
  Row row = KeyCells(action.key);
  row.push_back(CellOf(fmt::format("{} {} {} {}", action.target, action.chain.depth,
                                   action.chain.share, action.number)));
  return row;
}

std::optional<PendingAction> RowFormat<PendingAction>::FromRow(RowView row) {
  PendingAction action;
  std::string detail;
  if (!FromCell(row[1], &action.key.alarm) || !FromCell(row[2], &action.key.start_ms) ||
      !FromCell(row[3], &detail)) {
    return std::nullopt;
  }
  NumberReader numbers(detail);
  numbers.Into(&action.target);
  numbers.Into(&action.chain.depth);
  numbers.Into(&action.chain.share);
  numbers.Into(&action.number);
  const bool is_such = numbers.HasReadAll() && action.chain.depth >= 1 &&
                       action.chain.share <= ActionChain::kWholeShare && !action.chain.IsCut() &&
                       std::isfinite(action.number);
  return is_such ? std::optional(action) : std::nullopt;
}

std::optional<Sample> SampleOf(TagType type, double number, std::int64_t time_ms) {
  const std::optional<Value> value = ValueOf(type, number);
  if (!value || CheckValue(type, *value) != ValueFault::kNone) return std::nullopt;
  return Sample{.time_ms = time_ms, .quality = ZR3_QUALITY_GOOD, .type = type, .value = *value};
}

}  // namespace zervane
