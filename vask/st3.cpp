// st3: statistics and statistics tags.

#include "vask/api.h"
#include "vask/call.h"
#include "vask/derived_tag.h"
#include "vask/records.h"

using zervane::Arguments;
using zervane::ArgumentsWithTexts;
using zervane::Call;
using zervane::ReadRegion;
using zervane::Session;
using zervane::Status;
using zervane::Unsupported;

namespace {

Arguments CheckParam(const ZR3StRelatedParam* param, const float64* value) {
  Arguments arguments = ArgumentsWithTexts();
  arguments.Given(param, value);
  if (!arguments.ok()) return arguments;
  return arguments.Batch(param->nTimeRegionNum, param->pTimeRegions)
      .Text(param, &ZR3StRelatedParam::szFilterExpr)
      .InRange(param->nStatsType, ZR3_STATS_TYPE_LIMIT_MIN, ZR3_STATS_TYPE_LIMIT_MAX)
      .InRange(param->nSampleType, ZR3_STATS_SAMPLE_TYPE_RAW, ZR3_STATS_SAMPLE_TYPE_PREV_INTERP)
      .InRange(param->nFilterFailMode, ZR3_STATS_FILTER_FAIL_MODE_FIL,
               ZR3_STATS_FILTER_FAIL_MODE_NO_FIL);
}

}  // namespace

int32 st3_tag_stats_calc(uint32 /*nTagID*/, const ZR3StRelatedParam* pParam, float64* pValue) {
  return Call(__func__, CheckParam(pParam, pValue), [&](Session&) -> Status {
    for (int32 i = 0; i < pParam->nTimeRegionNum; ++i) {
      const auto region = ReadRegion(pParam->pTimeRegions[i]);
      if (!region.ok()) return region.status();
    }
    return {ZR3_ERR_NOT_SUPPORTED, {}};
  });
}

int32 st3_add_tag(const ZR3StatsTagProp* pProp, const ZR3Mask* pMask, const char* /*szNode*/,
                  uint32* pTagID) {
  return zervane::UnsupportedAdd(__func__, ZR3_TAG_CLASS_STATS, pProp, pMask, pTagID);
}

int32 st3_modify_tag_prop(uint32 /*nTagID*/, const ZR3StatsTagProp* pProp, const ZR3Mask* pMask) {
  return zervane::UnsupportedModify(__func__, ZR3_TAG_CLASS_STATS, pProp, pMask);
}

int32 st3_query_tag_prop(uint32 /*nTagID*/, ZR3StatsTagProp* pProp) {
  return Unsupported(__func__, Arguments().Given(pProp));
}
