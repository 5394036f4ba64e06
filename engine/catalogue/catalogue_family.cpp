#include "engine/catalogue/catalogue_family.h"

#include <spdlog/fmt/fmt.h>

#include <algorithm>
#include <cstddef>
#include <optional>

#include "engine/catalogue/rules.h"

namespace zervane {

Result<Tag> CatalogueFamily::Handle(const Caller&, const GetTag& operation) const {
  return catalogue_.Find(operation.id);
}

Result<TagType> CatalogueFamily::Handle(const Caller&, const GetTagType& operation) const {
  const std::optional<TagTraits> traits = catalogue_.tags().Find(operation.id);
  if (!traits) return NoSuchTag(operation.id);
  return traits->type;
}

Result<TagId> CatalogueFamily::Handle(const Caller&, const FindTagId& operation) const {
  return catalogue_.FindByName(operation.name);
}

Result<std::int64_t> CatalogueFamily::Handle(const Caller&, const GetCatalogueVersion&) const {
  return catalogue_.version();
}

Result<Page<Tag>> CatalogueFamily::Handle(const Caller&, const FindTags& operation) const {
  if (operation.limit < 1) {
    return Status(ZR3_ERR_INVALID_COUNT, fmt::format("a page of {} tags", operation.limit));
  }
  const Result<TagMatcher> matcher = TagMatcher::Compile(operation.query);
  if (!matcher.ok()) return matcher.status();
  Status status = CheckSearchMask(operation.mask, matcher->asked_classes());
  if (!status.ok()) return status;
  const PageLimits limits{.items =
                              static_cast<std::size_t>(std::min(operation.limit, kMaxPageItems))};
  const TagImagePtr image = catalogue_.image();
  return FindPage(*image, *matcher, operation.mask, operation.from, limits, is_stopped_);
}

Result<std::int64_t> CatalogueFamily::Handle(const Caller&, const CountTags& operation) const {
  const Result<TagMatcher> matcher = TagMatcher::Compile(operation.query);
  if (!matcher.ok()) return matcher.status();
  const TagImagePtr image = catalogue_.image();
  return CountMatches(*image, *matcher, is_stopped_);
}

Result<ListTags::Reply> CatalogueFamily::Handle(const Caller& caller, const ListTags& operation) {
  return listings_.List(caller, operation, catalogue_.image(), is_stopped_);
}

}  // namespace zervane
