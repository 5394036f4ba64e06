#pragma once

#include <cstdint>
#include <random>
#include <string>
#include <vector>

#include "api/words/tag.h"
#include "api/words/value.h"

// What the writing process of the kill test of calculations does: durable batches of values, step
// by step, known from the step's number alone.
namespace zervane::calculation_kill {

// Tags are added in this order: two operands, their sum, what follows from the sum.
constexpr TagId kOperands = 2;
constexpr TagId kSum = 3;
constexpr TagId kBehind = 4;
constexpr TagId kLastTag = kBehind;

inline Tag TagNumber(TagId id) {
  Tag tag;
  tag.name = "TAG" + std::to_string(id);
  if (id <= kOperands) return tag;
  CalculationProperties calculation;
  calculation.calc_mode = ZR3_CALC_MODE_NOTIFY;
  calculation.calc_expr = id == kSum ? "'TAG1' + 'TAG2'" : "'TAG3' * 2 + 'TAG1'";
  tag.tag_class = ZR3_TAG_CLASS_CALC;
  tag.own = calculation;
  return tag;
}

constexpr std::int64_t kFirstStepMs = 1'000'000'000'000;
constexpr std::int64_t kStepMs = 1'000;
constexpr std::int64_t kRecordMs = 10;

enum class Kind : std::uint8_t {
  kInOrder,     // one batch of values, each newer than those before
  kOutOfOrder,  // a value, and one of the other operand that is behind it
  kReplace,     // a value, and another one of its time
};

inline Kind KindOf(std::int64_t number) {
  if (number % 2 == 0) return Kind::kInOrder;
  return number / 2 % 2 == 0 ? Kind::kOutOfOrder : Kind::kReplace;
}

inline std::int64_t StepAt(std::int64_t time_ms) { return (time_ms - kFirstStepMs) / kStepMs; }

// Whether nothing of the step is revised, so that every result that is stamped in it is that of the
// values up to its time, whenever the database ended.
inline bool IsSettled(std::int64_t number) { return KindOf(number) == Kind::kInOrder; }

// One after the other.
inline std::vector<std::vector<TagSample>> StepOf(unsigned seed, std::int64_t number) {
  std::mt19937_64 random(seed + static_cast<std::uint64_t>(number));
  const auto draw = [&](std::int64_t from, std::int64_t to) {
    return std::uniform_int_distribution(from, to)(random);
  };
  const auto record = [&](TagId tag, std::int64_t at_ms) {
    TagSample written;
    written.tag = tag;
    written.sample.time_ms = kFirstStepMs + number * kStepMs + at_ms;
    written.sample.value = static_cast<double>(draw(1, 100));
    return written;
  };
  const auto any_operand = [&] { return static_cast<TagId>(draw(1, kOperands)); };
  if (KindOf(number) == Kind::kInOrder) {
    std::vector<TagSample> batch;
    for (std::int64_t at = draw(1, 5); at > 0; --at) {
      const auto place = static_cast<std::int64_t>(batch.size()) + 1;
      batch.push_back(record(any_operand(), place * kRecordMs));
    }
    return {batch};
  }
  const TagId tag = any_operand();
  const bool is_behind = KindOf(number) == Kind::kOutOfOrder;
  const TagSample first = record(tag, 2 * kRecordMs);
  const TagSample second =
      is_behind ? record(kOperands + 1 - tag, kRecordMs) : record(tag, 2 * kRecordMs);
  return {{first}, {second}};
}

}  // namespace zervane::calculation_kill
