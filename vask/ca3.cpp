// ca3: calculation tags.

#include "vask/api.h"
#include "vask/call.h"
#include "vask/derived_tag.h"

namespace {

constexpr zervane::ExtensionText kTexts[] = {
    {ZR3_TAG_COL_CA_EXT_PROP_CALC_EXPR, offsetof(ZR3CalcTagProp, szCalcExpr),
     sizeof ZR3CalcTagProp::szCalcExpr},
    {ZR3_TAG_COL_CA_EXT_PROP_SRC_TAG_NAME, offsetof(ZR3CalcTagProp, szSourceTagName),
     sizeof ZR3CalcTagProp::szSourceTagName},
};
constexpr zervane::Extension kCalcTag = {ZR3_TAG_COL_CA_EXT_PROP_MIN, ZR3_TAG_COL_CA_EXT_PROP_MAX,
                                         kTexts};

}  // namespace

int32 ca3_add_tag(const ZR3CalcTagProp* pProp, const ZR3Mask* pMask, const char* /*szNode*/,
                  uint32* pTagID) {
  return zervane::UnsupportedAdd(__func__, kCalcTag, pProp, pMask, pTagID);
}

int32 ca3_modify_tag_prop(uint32 /*nTagID*/, const ZR3CalcTagProp* pProp, const ZR3Mask* pMask) {
  return zervane::UnsupportedModify(__func__, kCalcTag, pProp, pMask);
}

int32 ca3_query_tag_prop(uint32 /*nTagID*/, ZR3CalcTagProp* pProp) {
  return zervane::Unsupported(__func__, zervane::Arguments().Given(pProp));
}
