// Creating, changing and reading calculation tags.
#include "native.h"
#include "tag_fields.h"

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
  ZR3CalcTagProp prop;
  ReadTag(env, kCalculationTag, tagprop, sizeof prop, &prop);
  const ZR3Mask mask{tag_mask, ext_mask};
  uint32 tag_id;  // kept: the new identifier is not handed out; the caller looks it up by name.
  return ca3_add_tag(&prop, &mask, nullptr, &tag_id);
}

// Changes the properties that the masks select, of the tag that m_tagID names.
ZR_NATIVE(jint, modifyCalcTag)
(JNIEnv* env, jclass, jobject tagprop, jlong tag_mask, jlong ext_mask) {
  ZR3CalcTagProp prop;
  ReadTag(env, kCalculationTag, tagprop, sizeof prop, &prop);
  const ZR3Mask mask{tag_mask, ext_mask};
  return ca3_modify_tag_prop(prop.nTagID, &prop, &mask);
}

// Writes every field but m_tagClass on status 0.
ZR_NATIVE(jint, queryCalcTag)(JNIEnv* env, jclass, jint tag_id, jobject tagprop) {
  const Binding fields(env, kCalculationTag);
  ZR3CalcTagProp prop;
  const int32 status = ca3_query_tag_prop(tag_id, &prop);
  return StoreOnSuccess(status, fields, &prop, tagprop);
}
