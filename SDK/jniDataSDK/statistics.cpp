// One statistic of a tag's archived values over one interval, computed by the server. The result is
// stored on status 0.
#include <cstring>

#include "holders.h"
#include "memory.h"
#include "native.h"
#include "records.h"
#include "text.h"

using namespace zervane::bridge;

namespace {

// Which ends belong to the interval.
enum class Ends {
  // kept: both ends count for getTagMax, getTagMin and getTagPercentGood, too, though none of their
  // arguments says so; left unset, one and the same call could answer now this, now that.
  kBothClosed,
  kLeftClosed,
};

// Parameters of raw samples over one region; everything else is 0.
ZR3StRelatedParam Parameters(ZR3_STATS_TYPE type, float32 percent_good) {
  ZR3StRelatedParam param;
  memset(&param, 0, sizeof param);
  param.nStatsType = type;
  param.fPercentGood = percent_good;
  param.nSampleType = ZR3_STATS_SAMPLE_TYPE_RAW;
  return param;
}

// Looks the classes up, adds the interval to the parameters and has the statistic computed.
jint Calculate(JNIEnv* env, jint tag_id, ZR3StRelatedParam* param, jobject start, jobject end,
               Ends ends, jobject value_wrapper) {
  const FoundClass time_class = Find(env, kTime);
  const Binding wrapper(env, kDoubleWrapper);
  const Binding time_fields(env, time_class);
  const ZR3Time left = ReadTime(time_fields, start);
  const ZR3Time right = ReadTime(time_fields, end);
  // kept: the region is neither checked for memory nor cleared.
  const auto region = MallocArray<ZR3TimeRegion>(1);
  region[0].left = left;
  region[0].right = right;
  region[0].bLeftClosed = 1;
  region[0].bRightClosed = ends == Ends::kBothClosed ? 1 : 0;
  param->nTimeRegionNum = 1;
  param->pTimeRegions = region.get();
  float64 value = 0;
  const int32 status = st3_tag_stats_calc(tag_id, param, &value);
  return StoreOnSuccess(status, wrapper, &value, value_wrapper);
}

}  // namespace

ZR_NATIVE(jint, getTagMean)
(JNIEnv* env, jclass, jint tag_id, jobject start, jobject end, jint /*quality_mode*/,
 jint /*weight_mode*/, jfloat percent_good, jobject value) {
  // kept: both modes are ignored; it is the arithmetic mean of raw samples, whatever they are.
  ZR3StRelatedParam param = Parameters(ZR3_STATS_TYPE_ARITH_MEAN, percent_good);
  return Calculate(env, tag_id, &param, start, end, Ends::kBothClosed, value);
}

ZR_NATIVE(jint, getTagMax)
(JNIEnv* env, jclass, jint tag_id, jobject start, jobject end, jfloat percent_good, jobject value) {
  ZR3StRelatedParam param = Parameters(ZR3_STATS_TYPE_MAX, percent_good);
  return Calculate(env, tag_id, &param, start, end, Ends::kBothClosed, value);
}

ZR_NATIVE(jint, getTagMin)
(JNIEnv* env, jclass, jint tag_id, jobject start, jobject end, jfloat percent_good, jobject value) {
  ZR3StRelatedParam param = Parameters(ZR3_STATS_TYPE_MIN, percent_good);
  return Calculate(env, tag_id, &param, start, end, Ends::kBothClosed, value);
}

ZR_NATIVE(jint, getTagSum)
(JNIEnv* env, jclass, jint tag_id, jobject start, jobject end, jfloat percent_good, jobject value) {
  ZR3StRelatedParam param = Parameters(ZR3_STATS_TYPE_SUM, percent_good);
  return Calculate(env, tag_id, &param, start, end, Ends::kBothClosed, value);
}

ZR_NATIVE(jint, getTagPercentGood)
(JNIEnv* env, jclass, jint tag_id, jobject start, jobject end, jobject value) {
  ZR3StRelatedParam param = Parameters(ZR3_STATS_TYPE_PCT_GOOD, 0);
  return Calculate(env, tag_id, &param, start, end, Ends::kBothClosed, value);
}

// Any statistic, of samples that a filter may choose. Nothing is checked here.
ZR_NATIVE(jint, getTagStats)
(JNIEnv* env, jclass, jint tag_id, jint type, jobject start, jobject end, jint sample_type,
 jint sample_period, jint sample_offset, jdouble ext_param1, jdouble ext_param2,
 jstring filter_expr, jint filter_fail_mode, jint use_bad_value, jobject value) {
  // kept: the converted filter is never freed.
  const char* const filter = LeakOnPurpose(ToSystem(env, filter_expr));
  ZR3StRelatedParam param = Parameters(type, 0);
  param.nSampleType = sample_type;
  param.nPeriod = sample_period;
  param.nOffset = sample_offset;
  param.dExtParam1 = ext_param1;
  param.dExtParam2 = ext_param2;
  // kept: no bound, and no terminator but the cleared record's; a filter of 256 bytes or more runs
  // over the parameters set above.
  memcpy(param.szFilterExpr, filter, strlen(filter));
  param.nFilterFailMode = filter_fail_mode;
  param.bUseBadValue = use_bad_value != 0 ? 1 : 0;
  return Calculate(env, tag_id, &param, start, end, Ends::kLeftClosed, value);
}
