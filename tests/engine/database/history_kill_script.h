#pragma once

#include <cstdint>
#include <random>
#include <string>
#include <vector>

#include "api/words/tag.h"
#include "api/words/value.h"

// What the writing process of the kill test of calculated history does: a step saves a calculation
// tag so that it is computed anew over the same past, known from the step's number alone.
namespace zervane::history_kill {

// Tags are added in this order.
constexpr TagId kOperand = 1;
constexpr TagId kBusy = 2;  // written to while the past is computed
constexpr TagId kPolled = 3;
constexpr TagId kNotified = 4;

constexpr std::int64_t kFirstMs = 1'000'000'000'000;
constexpr std::int64_t kRecords = 12'000;
constexpr std::int64_t kRecordMs = 7'000;
constexpr std::int64_t kLastMs = kFirstMs + (kRecords - 1) * kRecordMs;
constexpr std::int64_t kPeriodS = 5;
constexpr std::int64_t kStartS = kFirstMs / 1000 - 100;
constexpr std::int64_t kEndS = kLastMs / 1000 + 100;

// All records of the operand; the first one is good.
inline std::vector<TagSample> OperandRecords() {
  std::vector<TagSample> records;
  for (std::int64_t at = 0; at < kRecords; ++at) {
    Sample sample;
    sample.time_ms = kFirstMs + at * kRecordMs;
    sample.value = static_cast<double>(at % 101);
    if (at % 17 == 5) sample.quality = ZR3_QUALITY_BAD;
    records.push_back({kOperand, sample});
  }
  return records;
}

inline TagId TagOfStep(std::int64_t number) { return number % 2 == 0 ? kPolled : kNotified; }
// By what the operand is multiplied from the step on.
inline std::int64_t FactorOf(std::int64_t number) { return number + 1; }
// How many batches the step writes beside.
inline int BatchesOf(unsigned seed, std::int64_t number) {
  std::mt19937_64 random(seed + static_cast<std::uint64_t>(number));
  return std::uniform_int_distribution(0, 30)(random);
}

inline Tag TagWith(TagId id, std::int64_t factor) {
  Tag tag;
  tag.name = "TAG" + std::to_string(id);
  if (id < kPolled) return tag;
  CalculationProperties own;
  own.calc_mode = id == kPolled ? ZR3_CALC_MODE_POLL : ZR3_CALC_MODE_NOTIFY;
  own.calc_period = static_cast<std::int32_t>(kPeriodS);
  own.calc_expr = "'TAG1' * " + std::to_string(factor);
  own.calc_history = true;
  own.calc_start_date = static_cast<std::int32_t>(kStartS);
  own.have_end_time = true;
  own.calc_end_date = static_cast<std::int32_t>(kEndS);
  tag.tag_class = ZR3_TAG_CLASS_CALC;
  tag.own = own;
  return tag;
}

}  // namespace zervane::history_kill
