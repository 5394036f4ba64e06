// tag3: tags of all classes.

#include <cstddef>
#include <cstdlib>
#include <limits>
#include <utility>

#include "vask/api.h"
#include "vask/batch.h"
#include "vask/call.h"
#include "vask/search_arguments.h"
#include "vask/tag_iteration.h"
#include "vask/texts.h"

using zervane::Arguments;
using zervane::ArgumentsWithTexts;
using zervane::Call;
using zervane::CountTags;
using zervane::DeleteTag;
using zervane::Deliver;
using zervane::FindTags;
using zervane::ForEach;
using zervane::PropertyMask;
using zervane::Query;
using zervane::Result;
using zervane::Session;
using zervane::Status;
using zervane::TagId;
using zervane::TagQuery;

namespace {

// The name in a slot of ZR3_LEN_TAG_NAME bytes.
Status FindName(Session& session, const char* name, uint32* id) {
  const auto utf8 = zervane::ReadText(zervane::TextsOfThisThread(), name, ZR3_LEN_TAG_NAME);
  if (!utf8) return {ZR3_ERR_INVALID_TEXT, {}};
  return Deliver(session.FindTagId(*utf8), id);
}

constexpr int64 kEveryMatch = std::numeric_limits<int64>::max();

PropertyMask CommonOnly(int64 mask) { return {.common = mask, .extension = 0}; }

// Makes an iterator of at most `limit` of the matches with identifiers from `from` on.
Status SearchTags(Session& session, int64 class_mask, const ZR3FilterItemSet& filter,
                  int64 property_mask, TagId from, int64 limit, ZR3HANDLE* iterator) {
  Result<TagQuery> query = zervane::ReadTagQuery(class_mask, filter, zervane::TextsOfThisThread());
  if (!query.ok()) return query.status();
  FindTags search{.query = *std::move(query), .mask = CommonOnly(property_mask), .from = from};
  return zervane::IterateTags(session, std::move(search), limit, iterator);
}

}  // namespace

int32 tag3_delete_tag(uint32 nTagID) {
  return Call(__func__, Arguments(),
              [&](Session& session) { return session.Do(DeleteTag{nTagID}).status(); });
}

int32 tag3_query_tags_cond(int64 nTagClassMask, const ZR3FilterItemSet* pItemSet, int64 nPropMask,
                           ZR3HANDLE* pIterator) {
  Arguments arguments = ArgumentsWithTexts();
  arguments.Given(pItemSet, pIterator);
  zervane::CheckFilter(arguments, pItemSet);
  zervane::CheckClassMask(arguments, nTagClassMask);
  return Query(__func__, arguments, pIterator, [&](Session& session) {
    return SearchTags(session, nTagClassMask, *pItemSet, nPropMask, 0, kEveryMatch, pIterator);
  });
}

// Of the page's mask, the part for extensions is not looked at: common properties have none.
int32 tag3_query_specify_page_tags_cond(int64 nTagClassMask, const ZR3PageQueryTagParam* pParam,
                                        ZR3HANDLE* pIterator) {
  Arguments arguments = ArgumentsWithTexts();
  arguments.Given(pParam, pIterator);
  if (arguments.ok()) arguments.Require(pParam->nCapacity >= 1, ZR3_ERR_INVALID_COUNT);
  if (arguments.ok()) zervane::CheckFilter(arguments, &pParam->itemSet);
  zervane::CheckClassMask(arguments, nTagClassMask);
  return Query(__func__, arguments, pIterator, [&](Session& session) {
    return SearchTags(session, nTagClassMask, pParam->itemSet, pParam->mask.nCommMask,
                      pParam->nStartID, pParam->nCapacity, pIterator);
  });
}

int32 tag3_query_tag_num_cond(int32 nTagClass, const ZR3FilterItemSet* pItemSet, int32* pNum) {
  Arguments arguments = ArgumentsWithTexts();
  arguments.Given(pItemSet, pNum);
  zervane::CheckFilter(arguments, pItemSet)
      .InRange(nTagClass, ZR3_TAG_CLASS_BASIC, ZR3_TAG_CLASS_ALL, ZR3_ERR_INVALID_TAG_CLASS);
  return Call(__func__, arguments, [&](Session& session) -> Status {
    Result<TagQuery> query =
        zervane::ReadTagQuery(int64{1} << nTagClass, *pItemSet, zervane::TextsOfThisThread());
    if (!query.ok()) return query.status();
    return Deliver(session.Do(CountTags{*std::move(query)}), pNum);
  });
}

int32 tag3_query_all_tags_prop(int64 nTagClassMask, int32* pNum, int64 nPropMask,
                               ZR3CommTagProp** ppProps, int32 nReserved) {
  Arguments arguments;
  arguments.Given(pNum, ppProps);
  zervane::CheckClassMask(arguments, nTagClassMask).InRange(nReserved, 0, 0);
  return Call(__func__, arguments, [&](Session& session) {
    return zervane::HandOutAllTags(session, {.class_mask = nTagClassMask, .mask = nPropMask}, pNum,
                                   ppProps);
  });
}

int32 tag3_free_all_tags_prop(ZR3CommTagProp* pProps) {
  std::free(pProps);
  return ZR3_OK;
}

int32 tag3_query_id_by_name(const char* szTagName, uint32* pTagID) {
  return Call(__func__, ArgumentsWithTexts().Given(szTagName, pTagID),
              [&](Session& session) { return FindName(session, szTagName, pTagID); });
}

int32 tag3_query_ids_by_names(int32 nNum, const char* pTagNames, uint32* pTagIDs,
                              int32* pErrCodes) {
  const Arguments arguments = ArgumentsWithTexts().Batch(nNum, pTagNames, pTagIDs);
  return Call(__func__, arguments, [&](Session& session) {
    return ForEach(nNum, pErrCodes, ZR3_ERR_SOME_NAMES_FAILED, [&](int32 i) {
      const char* name = pTagNames + std::size_t{ZR3_LEN_TAG_NAME} * i;
      return FindName(session, name, &pTagIDs[i]);
    });
  });
}
