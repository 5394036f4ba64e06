#pragma once

#include "api/caller.h"
#include "api/operations/history.h"
#include "engine/catalogue/tag_index.h"
#include "engine/clock.h"
#include "engine/current/current_values.h"
#include "engine/history/points.h"
#include "engine/storage/store.h"

namespace zervane {

// Carries out the operations that answer questions about the past: interpolation and statistics.
//
// Threads: any.
class HistoryFamily {
 public:
  HistoryFamily(Store& store, const TagIndex& tags, const CurrentValues& current_values,
                Clock clock);

  Result<Interpolated> Handle(const Caller& caller, const InterpolateTag& operation) const;
  Result<Interpolated> Handle(const Caller& caller, const InterpolateTags& operation) const;
  Result<double> Handle(const Caller& caller, const CalculateStatistic& operation) const;

 private:
  // ZR3_ERR_TAG_NOT_FOUND, or the status of the store.
  Result<TagPoints> ReadPoints(TagId id) const;

  Store& store_;
  const TagIndex& tags_;
  const CurrentValues& current_values_;
  const Clock clock_;
};

}  // namespace zervane
