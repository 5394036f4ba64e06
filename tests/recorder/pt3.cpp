#include "recorder.h"
#include "tag_property_calls.h"

using namespace zervane::recorder;

int32 pt3_add_tag(const ZR3PtTagProp* pProp, const ZR3Mask* pMask, const char* szNode,
                  uint32* pTagID) {
  return AddTag("pt3_add_tag", pProp, pMask, szNode, pTagID);
}

int32 pt3_modify_tag_prop(uint32 nTagID, const ZR3PtTagProp* pProp, const ZR3Mask* pMask) {
  return ModifyTag("pt3_modify_tag_prop", nTagID, pProp, pMask);
}

int32 pt3_query_tag_prop(uint32 nTagID, ZR3PtTagProp* pProp) {
  return QueryTag("pt3_query_tag_prop", nTagID, pProp);
}

int32 pt3_query_tag_type(uint32 nTagID, ZR3_TAG_TYPE* pTagType) {
  return Call("pt3_query_tag_type").In("nTagID", nTagID).Out("pTagType", pTagType).Status();
}

int32 pt3_query_tags_cond(const ZR3FilterItemSet* pItemSet, const ZR3Mask* pMask,
                          ZR3HANDLE* pIterator) {
  return Call("pt3_query_tags_cond")
      .In("pItemSet.nSize", pItemSet->nSize)
      .InArray("pItemSet.pItem", pItemSet->pItem, pItemSet->nSize)
      .InRecord("pMask", pMask)
      .Out("pIterator", pIterator)
      .Status();
}
