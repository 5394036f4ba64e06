#pragma once

#include <cstdint>
#include <random>
#include <string>
#include <vector>

#include "api/words/tag.h"
#include "api/words/value.h"

// What the writing process of the kill test of calculations does: one durable batch of values a
// step, known from the step's number alone.
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

inline std::vector<TagSample> StepOf(unsigned seed, std::int64_t number) {
  std::mt19937_64 random(seed + static_cast<std::uint64_t>(number));
  const auto draw = [&](std::int64_t from, std::int64_t to) {
    return std::uniform_int_distribution(from, to)(random);
  };
  std::vector<TagSample> batch(static_cast<std::size_t>(draw(1, 5)));
  std::int64_t time_ms = kFirstStepMs + number * kStepMs;
  for (TagSample& record : batch) {
    record.tag = static_cast<TagId>(draw(1, kOperands));
    record.sample.time_ms = time_ms += kRecordMs;
    record.sample.value = static_cast<double>(draw(1, 100));
  }
  return batch;
}

}  // namespace zervane::calculation_kill
