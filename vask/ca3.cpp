// ca3: calculation tags.

#include "vask/api.h"
#include "vask/class_tag.h"

int32 ca3_add_tag(const ZR3CalcTagProp* pProp, const ZR3Mask* pMask, const char* /*szNode*/,
                  uint32* pTagID) {
  return zervane::AddClassTag(__func__, ZR3_TAG_CLASS_CALC, pProp, pMask, pTagID);
}

int32 ca3_modify_tag_prop(uint32 nTagID, const ZR3CalcTagProp* pProp, const ZR3Mask* pMask) {
  return zervane::ModifyClassTag(__func__, ZR3_TAG_CLASS_CALC, nTagID, pProp, pMask);
}

int32 ca3_query_tag_prop(uint32 nTagID, ZR3CalcTagProp* pProp) {
  return zervane::QueryClassTag(__func__, ZR3_TAG_CLASS_CALC, nTagID, pProp);
}
