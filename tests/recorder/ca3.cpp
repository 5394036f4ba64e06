#include "recorder.h"
#include "tag_property_calls.h"

using namespace zervane::recorder;

int32 ca3_add_tag(const ZR3CalcTagProp* pProp, const ZR3Mask* pMask, const char* szNode,
                  uint32* pTagID) {
  return AddTag("ca3_add_tag", pProp, pMask, szNode, pTagID);
}

int32 ca3_modify_tag_prop(uint32 nTagID, const ZR3CalcTagProp* pProp, const ZR3Mask* pMask) {
  return ModifyTag("ca3_modify_tag_prop", nTagID, pProp, pMask);
}

int32 ca3_query_tag_prop(uint32 nTagID, ZR3CalcTagProp* pProp) {
  return QueryTag("ca3_query_tag_prop", nTagID, pProp);
}
