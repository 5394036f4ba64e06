// tag3: tags of all classes.

#include <cstring>
#include <string_view>

#include "vask/api.h"
#include "vask/batch.h"
#include "vask/call.h"
#include "vask/search_arguments.h"

using zervane::Arguments;
using zervane::ArgumentsWithTexts;
using zervane::Call;
using zervane::DeleteTag;
using zervane::Deliver;
using zervane::ForEach;
using zervane::Session;
using zervane::Status;
using zervane::Unsupported;
using zervane::UnsupportedQuery;

namespace {

// The name in a slot of ZR3_LEN_TAG_NAME bytes.
Status FindName(Session& session, const char* name, uint32* id) {
  const std::size_t size = strnlen(name, ZR3_LEN_TAG_NAME);
  if (size == ZR3_LEN_TAG_NAME) return {ZR3_ERR_INVALID_TEXT, {}};
  return Deliver(session.FindTagId(std::string_view(name, size)), id);
}

}  // namespace

int32 tag3_delete_tag(uint32 nTagID) {
  return Call(__func__, Arguments(),
              [&](Session& session) { return session.Do(DeleteTag{nTagID}).status(); });
}

int32 tag3_query_tags_cond(int64 nTagClassMask, const ZR3FilterItemSet* pItemSet,
                           int64 /*nPropMask*/, ZR3HANDLE* pIterator) {
  Arguments arguments = ArgumentsWithTexts();
  arguments.Given(pItemSet, pIterator);
  zervane::CheckFilter(arguments, pItemSet);
  return UnsupportedQuery(__func__, zervane::CheckClassMask(arguments, nTagClassMask), pIterator);
}

int32 tag3_query_specify_page_tags_cond(int64 nTagClassMask, const ZR3PageQueryTagParam* pParam,
                                        ZR3HANDLE* pIterator) {
  Arguments arguments = ArgumentsWithTexts();
  arguments.Given(pParam, pIterator);
  if (arguments.ok()) arguments.Batch(pParam->nCapacity);
  if (arguments.ok()) zervane::CheckFilter(arguments, &pParam->itemSet);
  return UnsupportedQuery(__func__, zervane::CheckClassMask(arguments, nTagClassMask), pIterator);
}

int32 tag3_query_tag_num_cond(int32 nTagClass, const ZR3FilterItemSet* pItemSet, int32* pNum) {
  Arguments arguments = ArgumentsWithTexts();
  arguments.Given(pItemSet, pNum);
  zervane::CheckFilter(arguments, pItemSet)
      .InRange(nTagClass, ZR3_TAG_CLASS_BASIC, ZR3_TAG_CLASS_ALL, ZR3_ERR_INVALID_TAG_CLASS);
  return Unsupported(__func__, arguments);
}

int32 tag3_query_all_tags_prop(int64 nTagClassMask, int32* pNum, int64 /*nPropMask*/,
                               ZR3CommTagProp** ppProps, int32 nReserved) {
  Arguments arguments;
  arguments.Given(pNum, ppProps);
  zervane::CheckClassMask(arguments, nTagClassMask).InRange(nReserved, 0, 0);
  return Unsupported(__func__, arguments);
}

// Nothing is handed out yet, so there is nothing to release.
int32 tag3_free_all_tags_prop(ZR3CommTagProp* /*pProps*/) { return ZR3_OK; }

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
