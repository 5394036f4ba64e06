#include "engine/filters/record_filter.h"

#include <cmath>
#include <limits>
#include <optional>
#include <type_traits>

#include "engine/assert.h"

namespace zervane {
namespace {

// Exact, whatever the type of the number; texts have no filters.
double NumberOf(const Value& value) {
  switch (value.kind()) {
    case Value::Kind::kInteger:
      return value.integer();
    case Value::Kind::kFloat32:
      return value.float32();
    case Value::Kind::kFloat64:
      return value.float64();
    case Value::Kind::kText:
      break;
  }
  return std::numeric_limits<double>::quiet_NaN();
}

Point PointOf(const Sample& sample) { return {sample.time_ms, NumberOf(sample.value)}; }

}  // namespace

RecordFilter::RecordFilter(const FilterSettings& settings)
    : report_(settings.exception_deviation, settings.exception_max_ms),
      door_(settings.compression_deviation, settings.compression_max_ms) {
  report_.Restart(kNothing);
  door_.Restart(kNothing);
}

void RecordFilter::StartFrom(const Sample& archived) {
  type_ = archived.type;
  quality_ = archived.quality;
  report_.Restart(PointOf(archived));
  door_.Restart(PointOf(archived));
}

Filtered RecordFilter::Filter(const Sample& sample, std::vector<Sample>& archived) {
  ZERVANE_ASSERT(sample.value.kind() != Value::Kind::kText && sample.time_ms >= 0);
  const Point point = PointOf(sample);
  if (point.time_ms < Newest().time_ms) return FilterLate(point, archived);
  const bool replaces = point.time_ms == Newest().time_ms;
  const bool replaces_passed = replaces && !report_.held_back();
  const bool replaces_archived = replaces_passed && !door_.held();
  if (replaces_passed) {
    if (const std::optional<Point> ended = door_.Retract()) archived.push_back(SampleOf(*ended));
  } else if (replaces) {
    report_.Retract();
  }
  if (replaces_archived || AlwaysPasses(sample, point)) {
    Release(archived);
    StartFrom(sample);
    return Filtered::kArchived;
  }
  if (!replaces_passed) return Report(point, archived);
  report_.Restart(point);  // it is passed on, as the one in whose place it stands
  return Compress(point, archived);
}

void RecordFilter::Release(std::vector<Sample>& archived) {
  if (door_.held()) archived.push_back(SampleOf(*door_.held()));
  if (report_.held_back()) archived.push_back(SampleOf(*report_.held_back()));
  const Point newest = Newest();
  report_.Restart(newest);
  door_.Restart(newest);
}

const Point& RecordFilter::Newest() const {
  return report_.held_back() ? *report_.held_back() : report_.last_passed();
}

bool RecordFilter::AlwaysPasses(const Sample& sample, const Point& point) const {
  return sample.quality != quality_ || !std::isfinite(point.value) ||
         !std::isfinite(report_.last_passed().value);
}

Filtered RecordFilter::FilterLate(const Point& point, std::vector<Sample>& archived) {
  if (point.time_ms >= door_.last_archived().time_ms) Release(archived);
  return Filtered::kArchived;
}

Filtered RecordFilter::Report(const Point& point, std::vector<Sample>& archived) {
  const Passed passed = report_.Filter(point);
  if (passed.held && Compress(*passed.held, archived) == Filtered::kArchived) {
    archived.push_back(SampleOf(*passed.held));
  }
  return passed.point ? Compress(point, archived) : Filtered::kHeldBack;
}

Filtered RecordFilter::Compress(const Point& point, std::vector<Sample>& archived) {
  const Passed passed = door_.Filter(point);
  if (passed.held) archived.push_back(SampleOf(*passed.held));
  return passed.point ? Filtered::kArchived : Filtered::kHeld;
}

Sample RecordFilter::SampleOf(const Point& point) const {
  Sample sample = {.time_ms = point.time_ms, .quality = quality_, .type = type_, .value = {}};
  switch (type_) {
    case TagType::kFloat64:
      sample.value = point.value;
      break;
    case TagType::kFloat32:
      sample.value = static_cast<float>(point.value);
      break;
    default:
      sample.value = static_cast<std::int32_t>(point.value);
  }
  return sample;
}

}  // namespace zervane
