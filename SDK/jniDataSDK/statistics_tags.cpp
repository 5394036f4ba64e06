// Creating, changing, reading and finding statistics tags.
#include "native.h"
#include "tag_lookup.h"
#include "tag_methods.h"

using namespace zervane::bridge;

namespace {

constexpr std::array<FieldRow, 26> kStatisticsRows{{
    TextRow("m_sourceTagName", offsetof(ZR3StatsTagProp, szSourceTagName)),
    Row("m_statsType", "B", Conv::kEnum, offsetof(ZR3StatsTagProp, nStatsType)),
    Row("m_sampleStartDate", "I", Conv::kInt, offsetof(ZR3StatsTagProp, nSampleStartDate)),
    Row("m_sampleMode", "B", Conv::kEnum, offsetof(ZR3StatsTagProp, nSampleMode)),
    Row("m_sampleInterval", "I", Conv::kInt, offsetof(ZR3StatsTagProp, nSampleInterval)),
    Row("m_sampleBeginOffset", "I", Conv::kInt, offsetof(ZR3StatsTagProp, nSampleBeginOffset)),
    Row("m_sampleEndOffset", "I", Conv::kInt, offsetof(ZR3StatsTagProp, nSampleEndOffset)),
    Row("m_sampleMonthBeginDay", "B", Conv::kByte, offsetof(ZR3StatsTagProp, nSampleMonthBeginDay)),
    Row("m_sampleMonthEndDay", "B", Conv::kByte, offsetof(ZR3StatsTagProp, nSampleMonthEndDay)),
    Row("m_beginTimeStamp", "Z", Conv::kBool, offsetof(ZR3StatsTagProp, bBeginTimeStamp)),
    Row("m_timeStampOffset", "I", Conv::kInt, offsetof(ZR3StatsTagProp, nTimeStampOffset)),
    Row("m_scanPeriod", "I", Conv::kInt, offsetof(ZR3StatsTagProp, nScanPeriod)),
    Row("m_pctGood", "F", Conv::kFloat, offsetof(ZR3StatsTagProp, fPctGood)),
    TextRow("m_filterExpr", offsetof(ZR3StatsTagProp, szFilterExpr)),
    Row("m_dropBadMode", "B", Conv::kEnum, offsetof(ZR3StatsTagProp, nDropBadMode)),
    Row("m_countParam1", "D", Conv::kDouble, offsetof(ZR3StatsTagProp, dCountParam1)),
    Row("m_countParam2", "D", Conv::kDouble, offsetof(ZR3StatsTagProp, dCountParam2)),
    Row("m_sampleType", "B", Conv::kEnum, offsetof(ZR3StatsTagProp, nSampleType)),
    Row("m_interpOffset", "I", Conv::kInt, offsetof(ZR3StatsTagProp, nInterpOffset)),
    Row("m_interpPeriod", "I", Conv::kInt, offsetof(ZR3StatsTagProp, nInterpPeriod)),
    Row("m_conversionType", "B", Conv::kEnum, offsetof(ZR3StatsTagProp, nConversionType)),
    Row("m_conversion", "D", Conv::kDouble, offsetof(ZR3StatsTagProp, dConversion)),
    Row("m_filterFailMode", "B", Conv::kEnum, offsetof(ZR3StatsTagProp, nFilterFailMode)),
    Row("m_calcPeriod", "I", Conv::kInt, offsetof(ZR3StatsTagProp, nCalcPeriod)),
    Row("m_reset", "Z", Conv::kBool, offsetof(ZR3StatsTagProp, bReset)),
    Row("m_useBadValue", "Z", Conv::kBool, offsetof(ZR3StatsTagProp, bUseBadValue)),
}};

constexpr auto kStatisticsTagRows = JoinRows(kCommonTagRows, kStatisticsRows);
static_assert(kStatisticsTagRows.size() == 52);
constexpr ClassTable kStatisticsTag{"com/talvoro/zrjni/ZRJniStatsTag", kStatisticsTagRows};

}  // namespace

ZR_NATIVE(jint, addStatsTag)
(JNIEnv* env, jclass, jobject tagprop, jlong tag_mask, jlong ext_mask) {
  return AddTag(env, kStatisticsTag, st3_add_tag, tagprop, Mask(tag_mask, ext_mask));
}

ZR_NATIVE(jint, modifyStatsTag)
(JNIEnv* env, jclass, jobject tagprop, jlong tag_mask, jlong ext_mask) {
  return ModifyTag(env, kStatisticsTag, st3_modify_tag_prop, tagprop, sizeof(ZR3StatsTagProp),
                   Mask(tag_mask, ext_mask));
}

ZR_NATIVE(jint, queryStatsTag)(JNIEnv* env, jclass, jint tag_id, jobject tagprop) {
  return QueryTag(env, kStatisticsTag, st3_query_tag_prop, tag_id, tagprop);
}

// kept: the tag of that name is found whatever its class.
ZR_NATIVE(jint, queryStatsTagID)(JNIEnv* env, jclass, jstring tag_name) {
  return FindTagId(env, tag_name);
}
