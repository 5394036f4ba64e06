#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "api/words/samples.h"
#include "engine/current/current_values.h"
#include "engine/history/points.h"
#include "engine/write/turn.h"
#include "tests/engine/history/run_store.h"

// What the suites of history share.
namespace zervane {

constexpr std::uint16_t kGood = 192;
constexpr std::uint16_t kUncertain = 64;
constexpr std::uint16_t kBad = 0;

inline Sample FloatAt(std::int64_t time_ms, double value, std::uint16_t quality = kGood) {
  return {.time_ms = time_ms, .quality = quality, .type = TagType::kFloat64, .value = value};
}

inline Sample WholeAt(std::int64_t time_ms, TagType type, std::int32_t value,
                      std::uint16_t quality = kGood) {
  return {.time_ms = time_ms, .quality = quality, .type = type, .value = value};
}

inline Sample WordAt(std::int64_t time_ms, std::string text, std::uint16_t quality = kGood) {
  return {
      .time_ms = time_ms, .quality = quality, .type = TagType::kString, .value = std::move(text)};
}

inline void PutCurrent(CurrentValues& values, TagId tag, const Sample& sample) {
  Turn turn = Turn::Issue();
  SampleColumns columns;
  columns.Add(sample);
  values.Put(turn, values.Prepare(turn, tag, columns, 0));
}

// The points of tag 1, whose archive is in a store.
inline TagPoints PointsIn(Store& store, TagType type, std::int64_t now_ms,
                          const CurrentValues& current_values, bool filtered = false) {
  Result<TagPoints> points = TagPoints::Read(
      store, current_values, 1, {.type = type, .archiving = true, .filtered = filtered}, now_ms);
  EXPECT_TRUE(points.ok()) << points.status().message();
  return *std::move(points);
}

}  // namespace zervane
