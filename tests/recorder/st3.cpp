#include "recorder.h"
#include "tag_property_calls.h"

using namespace zervane::recorder;

int32 st3_tag_stats_calc(uint32 nTagID, const ZR3StRelatedParam* pParam, float64* pValue) {
  ZR3StRelatedParam param = *pParam;  // without the address of the regions, which stand beside it
  param.pTimeRegions = nullptr;
  return Call("st3_tag_stats_calc")
      .In("nTagID", nTagID)
      .InRecord("pParam", &param)
      .InArray("pParam.pTimeRegions", pParam->pTimeRegions, pParam->nTimeRegionNum)
      .Out("pValue", pValue)
      .Status();
}

int32 st3_add_tag(const ZR3StatsTagProp* pProp, const ZR3Mask* pMask, const char* szNode,
                  uint32* pTagID) {
  return AddTag("st3_add_tag", pProp, pMask, szNode, pTagID);
}

int32 st3_modify_tag_prop(uint32 nTagID, const ZR3StatsTagProp* pProp, const ZR3Mask* pMask) {
  return ModifyTag("st3_modify_tag_prop", nTagID, pProp, pMask);
}

int32 st3_query_tag_prop(uint32 nTagID, ZR3StatsTagProp* pProp) {
  return QueryTag("st3_query_tag_prop", nTagID, pProp);
}
