// Creating, changing and reading calculation tags.
#include "native.h"
#include "tag_methods.h"

using namespace zervane::bridge;

namespace {

constexpr std::array<FieldRow, 8> kCalculationRows{{
    Row("m_calcMode", "B", Conv::kEnum, offsetof(ZR3CalcTagProp, nCalcMode)),
    Row("m_calcPeriod", "I", Conv::kInt, offsetof(ZR3CalcTagProp, nCalcPeriod)),
    TextRow("m_calcExpr", offsetof(ZR3CalcTagProp, szCalcExpr)),
    Row("m_calcHistory", "Z", Conv::kBool, offsetof(ZR3CalcTagProp, bCalcHistory)),
    Row("m_calcStartDate", "I", Conv::kInt, offsetof(ZR3CalcTagProp, nCalcStartDate)),
    Row("m_calcEndDate", "I", Conv::kInt, offsetof(ZR3CalcTagProp, nCalcEndDate)),
    Row("m_haveEndTime", "Z", Conv::kBool, offsetof(ZR3CalcTagProp, bHaveEndTime)),
    TextRow("m_sourceTagName", offsetof(ZR3CalcTagProp, szSourceTagName)),
}};

constexpr auto kCalculationTagRows = JoinRows(kCommonTagRows, kCalculationRows);
static_assert(kCalculationTagRows.size() == 34);
constexpr ClassTable kCalculationTag{"com/talvoro/zrjni/ZRJniCalcTag", kCalculationTagRows};

}  // namespace

ZR_NATIVE(jint, addCalcTag)
(JNIEnv* env, jclass, jobject tagprop, jlong tag_mask, jlong ext_mask) {
  return AddTag(env, kCalculationTag, ca3_add_tag, tagprop, Mask(tag_mask, ext_mask));
}

ZR_NATIVE(jint, modifyCalcTag)
(JNIEnv* env, jclass, jobject tagprop, jlong tag_mask, jlong ext_mask) {
  return ModifyTag(env, kCalculationTag, ca3_modify_tag_prop, tagprop, sizeof(ZR3CalcTagProp),
                   Mask(tag_mask, ext_mask));
}

ZR_NATIVE(jint, queryCalcTag)(JNIEnv* env, jclass, jint tag_id, jobject tagprop) {
  return QueryTag(env, kCalculationTag, ca3_query_tag_prop, tag_id, tagprop);
}
