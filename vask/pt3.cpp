// pt3: point tags and tag types.

#include <utility>

#include "vask/api.h"
#include "vask/call.h"
#include "vask/class_tag.h"
#include "vask/search_arguments.h"
#include "vask/tag_iteration.h"
#include "vask/tag_properties.h"

using zervane::Arguments;
using zervane::ArgumentsWithTexts;
using zervane::Call;
using zervane::Deliver;
using zervane::Result;
using zervane::Session;
using zervane::Status;
using zervane::TagQuery;
using zervane::TextsOfThisThread;

// The node's name is accepted as it is: the embedded database has one node.
int32 pt3_add_tag(const ZR3PtTagProp* pProp, const ZR3Mask* pMask, const char* /*szNode*/,
                  uint32* pTagID) {
  return zervane::AddClassTag(__func__, ZR3_TAG_CLASS_BASIC, pProp, pMask, pTagID);
}

int32 pt3_modify_tag_prop(uint32 nTagID, const ZR3PtTagProp* pProp, const ZR3Mask* pMask) {
  return zervane::ModifyClassTag(__func__, ZR3_TAG_CLASS_BASIC, nTagID, pProp, pMask);
}

int32 pt3_query_tag_prop(uint32 nTagID, ZR3PtTagProp* pProp) {
  return zervane::QueryClassTag(__func__, ZR3_TAG_CLASS_BASIC, nTagID, pProp);
}

// A writer of a batch asks it for each record, converts that record's text, and gives the batch up
// when one of the tags is not there.
int32 pt3_query_tag_type(uint32 nTagID, ZR3_TAG_TYPE* pTagType) {
  const auto query = [&](Session& session) -> Status {
    return Deliver(session.GetTagType(nTagID), pTagType);
  };
  const int32 status = Call(__func__, Arguments().Given(pTagType), query);
  if (status != ZR3_OK) zervane::ForgetUnconvertedTexts();
  return status;
}

int32 pt3_query_tags_cond(const ZR3FilterItemSet* pItemSet, const ZR3Mask* pMask,
                          ZR3HANDLE* pIterator) {
  constexpr int64 kPointTags = int64{1} << ZR3_TAG_CLASS_BASIC;
  Arguments arguments = ArgumentsWithTexts();
  arguments.Given(pItemSet, pMask, pIterator);
  zervane::CheckFilter(arguments, pItemSet);
  return zervane::Query(__func__, arguments, pIterator, [&](Session& session) -> Status {
    Result<TagQuery> query = zervane::ReadTagQuery(kPointTags, *pItemSet, TextsOfThisThread());
    if (!query.ok()) return query.status();
    return zervane::IteratePointTags(
        session, {.query = *std::move(query), .mask = zervane::ReadMask(*pMask)}, pIterator);
  });
}
