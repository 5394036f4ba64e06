#include "engine/history_family.h"

#include <spdlog/fmt/fmt.h>

#include <optional>
#include <span>
#include <utility>

#include "engine/catalogue/rules.h"
#include "engine/history/interpolation.h"
#include "engine/history/many_tags.h"
#include "engine/history/statistics/calculate.h"

namespace zervane {
namespace {

Status CheckInstants(InterpolationMode mode, std::span<const std::int64_t> times_ms) {
  const bool is_mode = mode == InterpolationMode::kLinear || mode == InterpolationMode::kPrevious;
  if (!is_mode) {
    return {ZR3_ERR_INVALID_ARGUMENT,
            fmt::format("interpolation mode {}", static_cast<unsigned>(mode))};
  }
  if (times_ms.size() <= kMaxInstants) return {};
  return {ZR3_ERR_INVALID_COUNT,
          fmt::format("{} instants, of {} at the most", times_ms.size(), kMaxInstants)};
}

}  // namespace

HistoryFamily::HistoryFamily(Store& store, const TagIndex& tags,
                             const CurrentValues& current_values, Clock clock)
    : store_(store), tags_(tags), current_values_(current_values), clock_(std::move(clock)) {}

Result<Interpolated> HistoryFamily::Handle(const Caller&, const InterpolateTag& operation) const {
  if (Status status = CheckInstants(operation.mode, operation.times_ms); !status.ok())
    return status;
  const Result<TagPoints> points = ReadPoints(operation.id);
  if (!points.ok()) return points.status();
  return Interpolate(*points, operation.mode, operation.times_ms);
}

Result<Interpolated> HistoryFamily::Handle(const Caller&, const InterpolateTags& operation) const {
  if (Status status = CheckInstants(operation.mode, operation.times_ms); !status.ok())
    return status;
  if (operation.ids.size() != operation.times_ms.size()) {
    return Status(ZR3_ERR_INVALID_COUNT, fmt::format("{} tags at {} instants", operation.ids.size(),
                                                     operation.times_ms.size()));
  }
  return InterpolateMany(operation, [this](TagId id) { return ReadPoints(id); });
}

Result<double> HistoryFamily::Handle(const Caller&, const CalculateStatistic& operation) const {
  const Result<TagPoints> points = ReadPoints(operation.id);
  if (!points.ok()) return points.status();
  return CalculateStatisticOf(*points, operation.request);
}

Result<TagPoints> HistoryFamily::ReadPoints(TagId id) const {
  const std::optional<TagTraits> traits = tags_.Find(id);
  if (!traits) return NoSuchTag(id);
  return TagPoints::Read(store_, current_values_, id, *traits, clock_());
}

}  // namespace zervane
