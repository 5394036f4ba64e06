#pragma once

#include <cstdint>
#include <optional>

#include "api/words/statistics.h"
#include "api/words/status.h"
#include "api/words/tag.h"
#include "api/words/value.h"
#include "engine/derived/statistics_tags/windows.h"

namespace zervane {

// By what the values of a statistics tag are computed.
struct StatisticsRule {
  TagId tag = 0;
  TagId source = 0;
  TagType type = TagType::kFloat64;  // of the tag's own values
  // But for what says nothing of the values to come: the source's name, and the wish to start anew.
  StatisticsProperties properties;

  // When the first window begins; none: with the source's first record.
  std::optional<std::int64_t> start_ms() const;
  std::int64_t scan_period_ms() const { return std::int64_t{properties.scan_period} * 1000; }
  bool IsRunning() const { return AreRunning(properties.sample_mode); }

  friend bool operator==(const StatisticsRule&, const StatisticsRule&) = default;
};
StatisticsRule RuleOf(const Tag& tag, TagId source);

// What is asked for a window. A share of good is not asked for: with less the value is computed all
// the same.
StatisticRequest RequestFor(const StatisticsProperties& properties, const Window& window);

// Whether windows can be made by the sampling properties that count for the mode, and the statistic
// can be calculated of a source of the type. ZR3_ERR_INVALID_PROPERTY for numbers,
// ZR3_ERR_INVALID_EXPRESSION for the filter, ZR3_ERR_INVALID_TAG_TYPE where the tag would hold
// texts or the statistic is none of texts.
Status CheckSampling(const StatisticsProperties& properties);
Status CheckRule(const StatisticsRule& rule, std::optional<TagType> source_type);

}  // namespace zervane
