#pragma once

#include <cstdint>

#include "api/caller.h"
#include "api/operations/tags.h"
#include "engine/catalogue/catalogue.h"
#include "engine/catalogue/tag_listings.h"
#include "engine/catalogue/tag_search.h"

namespace zervane {

// Carries out the operations that ask for tags. Those that change tags go the way of all changes.
//
// Threads: any.
class CatalogueFamily {
 public:
  explicit CatalogueFamily(const Catalogue& catalogue)
      : catalogue_(catalogue), listings_(SteadyClock()) {}

  Result<Tag> Handle(const Caller& caller, const GetTag& operation) const;
  Result<TagType> Handle(const Caller& caller, const GetTagType& operation) const;
  Result<TagId> Handle(const Caller& caller, const FindTagId& operation) const;
  Result<std::int64_t> Handle(const Caller& caller, const GetCatalogueVersion& operation) const;
  Result<Page<Tag>> Handle(const Caller& caller, const FindTags& operation) const;
  Result<std::int64_t> Handle(const Caller& caller, const CountTags& operation) const;
  Result<ListTags::Reply> Handle(const Caller& caller, const ListTags& operation);

  // Has searches end, those under way too, which may be long: they answer ZR3_ERR_NOT_CONNECTED.
  void Stop() { is_stopped_.store(true, std::memory_order_relaxed); }

 private:
  const Catalogue& catalogue_;
  StopFlag is_stopped_{false};
  TagListings listings_;
};

}  // namespace zervane
