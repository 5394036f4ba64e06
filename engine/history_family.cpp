#include "engine/history_family.h"

#include <utility>

namespace zervane {

HistoryFamily::HistoryFamily(Store& store, const TagIndex& tags,
                             const CurrentValues& current_values, Clock clock)
    : store_(store), tags_(tags), current_values_(current_values), clock_(std::move(clock)) {}

Result<Interpolated> HistoryFamily::Handle(const Caller&, const InterpolateTag&) const {
  return Status(ZR3_ERR_NOT_SUPPORTED, {});
}
Result<Interpolated> HistoryFamily::Handle(const Caller&, const InterpolateTags&) const {
  return Status(ZR3_ERR_NOT_SUPPORTED, {});
}
Result<double> HistoryFamily::Handle(const Caller&, const CalculateStatistic&) const {
  return Status(ZR3_ERR_NOT_SUPPORTED, {});
}

}  // namespace zervane
