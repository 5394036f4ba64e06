#pragma once

#include <functional>
#include <utility>

#include "api/caller.h"
#include "api/operations/tags.h"
#include "engine/catalogue/catalogue.h"
#include "engine/clock.h"
#include "engine/write/write_path.h"

namespace zervane {

// Carries out the operations that change tags: each is planned by the catalogue and goes the way of
// all changes, in order with the records around it.
//
// Threads: any.
class TagChanges {
 public:
  TagChanges(Catalogue& catalogue, WritePath& writes, Clock clock)
      : catalogue_(catalogue), writes_(writes), clock_(std::move(clock)) {}

  Result<TagId> Handle(const Caller& caller, const AddTag& operation);
  Result<Nothing> Handle(const Caller& caller, const ModifyTag& operation);
  Result<Nothing> Handle(const Caller& caller, const DeleteTag& operation);

 private:
  using Plan = std::function<Result<CatalogueChange>(StoreBatch&)>;

  Stamp StampOf(const Caller& caller) const { return MakeStamp(clock_(), caller.user); }
  // Carries out what the plan says; the tag's identifier.
  Result<TagId> Change(const Plan& plan);
  // Records fix a tag's type: ZR3_ERR_TAG_HAS_RECORDS.
  Status CheckType(Turn& turn, const CatalogueChange& change);

  Catalogue& catalogue_;
  WritePath& writes_;
  const Clock clock_;
};

}  // namespace zervane
