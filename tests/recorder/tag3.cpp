#include "recorder.h"

using zervane::recorder::Call;

int32 tag3_delete_tag(uint32 nTagID) {
  return Call("tag3_delete_tag").In("nTagID", nTagID).Status();
}

int32 tag3_query_tags_cond(int64 nTagClassMask, const ZR3FilterItemSet* pItemSet, int64 nPropMask,
                           ZR3HANDLE* pIterator) {
  return Call("tag3_query_tags_cond")
      .In("nTagClassMask", nTagClassMask)
      .In("pItemSet.nSize", pItemSet->nSize)
      .InArray("pItemSet.pItem", pItemSet->pItem, pItemSet->nSize)
      .In("nPropMask", nPropMask)
      .Out("pIterator", pIterator)
      .Status();
}

int32 tag3_query_specify_page_tags_cond(int64 nTagClassMask, const ZR3PageQueryTagParam* pParam,
                                        ZR3HANDLE* pIterator) {
  return Call("tag3_query_specify_page_tags_cond")
      .In("nTagClassMask", nTagClassMask)
      .In("pParam.nSize", pParam->itemSet.nSize)
      .InArray("pParam.pItem", pParam->itemSet.pItem, pParam->itemSet.nSize)
      .InRecord("pParam.mask", &pParam->mask)
      .In("pParam.nStartID", pParam->nStartID)
      .In("pParam.nCapacity", pParam->nCapacity)
      .Out("pIterator", pIterator)
      .Status();
}

int32 tag3_query_tag_num_cond(int32 nTagClass, const ZR3FilterItemSet* pItemSet, int32* pNum) {
  return Call("tag3_query_tag_num_cond")
      .In("nTagClass", nTagClass)
      .In("pItemSet.nSize", pItemSet->nSize)
      .InArray("pItemSet.pItem", pItemSet->pItem, pItemSet->nSize)
      .Out("pNum", pNum)
      .Status();
}

int32 tag3_query_all_tags_prop(int64 nTagClassMask, int32* pNum, int64 nPropMask,
                               ZR3CommTagProp** ppProps, int32 nReserved) {
  return Call("tag3_query_all_tags_prop")
      .In("nTagClassMask", nTagClassMask)
      .InOut("pNum", pNum)
      .In("nPropMask", nPropMask)
      .In("*ppProps", reinterpret_cast<intptr_t>(*ppProps))
      .In("nReserved", nReserved)
      .OutLent("ppProps", ppProps)
      .Status();
}

int32 tag3_free_all_tags_prop(ZR3CommTagProp* pProps) {
  return Call("tag3_free_all_tags_prop").InLent("pProps", pProps).Status();
}

int32 tag3_query_id_by_name(const char* szTagName, uint32* pTagID) {
  return Call("tag3_query_id_by_name")
      .InText("szTagName", szTagName)
      .Out("pTagID", pTagID)
      .Status();
}

int32 tag3_query_ids_by_names(int32 nNum, const char* pTagNames, uint32* pTagIDs,
                              int32* pErrCodes) {
  return Call("tag3_query_ids_by_names")
      .In("nNum", nNum)
      .InArray("pTagNames", reinterpret_cast<const char(*)[ZR3_LEN_TAG_NAME]>(pTagNames), nNum)
      .InOutArray("pTagIDs", pTagIDs, nNum)
      .InOutArray("pErrCodes", pErrCodes, nNum)
      .Status();
}
