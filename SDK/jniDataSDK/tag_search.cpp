// Searching the tag catalogue, counting matches, and reading matches one at a time.
#include "holders.h"
#include "iterators.h"
#include "memory.h"
#include "native.h"
#include "records.h"
#include "tag_fields.h"
#include "text.h"

using namespace zervane::bridge;

namespace {

using Conditions = MallocPtr<ZR3FilterItem[]>;

constexpr FieldRow kConditionRows[] = {
    InRow("tagPropID", "B", Conv::kUnsignedEnum, offsetof(ZR3FilterItem, nItemID)),
    InRow("queryRelation", "B", Conv::kUnsignedEnum, offsetof(ZR3FilterItem, nRelation)),
    // kept: the converted value of a condition is never freed.
    InRow("queryValue", kString, Conv::kTextLeakedIn, offsetof(ZR3FilterItem, szValue)),
};
constexpr ClassTable kCondition{"com/talvoro/zrsdk/common/ZRQueryTagCondition", kConditionRows};

// Reads `count` conditions; null when there is no memory for them.
Conditions ReadConditions(const Binding& fields, jobjectArray conditions, jint count) {
  Conditions items = MallocCleared<ZR3FilterItem>(count);
  if (!items) return items;
  for (jint i = 0; i < count; ++i) fields.Read(TakeElement(fields, conditions, i), &items[i]);
  return items;
}

void SetPattern(int32 column, const Text& pattern, ZR3FilterItem* item) {
  item->nItemID = column;
  item->nRelation = ZR3_RELATION_LIKE;
  CopyText(pattern, item->szValue);
}

// The two conditions of a search by name and description.
void SetPatterns(JNIEnv* env, jstring name, jstring description, ZR3FilterItem* items) {
  const Text name_pattern = ToSystem(env, name);
  const Text description_pattern = ToSystem(env, description);
  SetPattern(ZR3_TAG_COL_COMM_PROP_TAG_NAME, name_pattern, &items[0]);
  SetPattern(ZR3_TAG_COL_COMM_PROP_DESCRIPTOR, description_pattern, &items[1]);
}

int32 QueryByPatterns(JNIEnv* env, jstring name, jstring description, const ZR3Mask& mask,
                      ZR3HANDLE* iterator) {
  ZR3FilterItem items[2];
  SetPatterns(env, name, description, items);
  const ZR3FilterItemSet set{std::size(items), items};
  return pt3_query_tags_cond(&set, &mask, iterator);
}

}  // namespace

// Point tags by patterns of name and description; the iterator's handle, or -1.
ZR_NATIVE(jint, queryTagsCond)
(JNIEnv* env, jclass, jstring name, jstring description, jlong prop_mask, jlong ext_mask) {
  ZR3HANDLE iterator;
  const int32 status = QueryByPatterns(env, name, description, {prop_mask, ext_mask}, &iterator);
  return NarrowHandle(status, iterator);
}

// The same with the handle in a holder.
ZR_NATIVE(jint, queryTagsCondEx)
(JNIEnv* env, jclass, jstring name, jstring description, jlong prop_mask, jlong ext_mask,
 jobject iterator_holder) {
  const Binding holder(env, kLongWrapper);
  ZR3HANDLE iterator;
  const int32 status = QueryByPatterns(env, name, description, {prop_mask, ext_mask}, &iterator);
  return StoreHandleAlways(status, holder, iterator, iterator_holder);
}

// Point tags by conditions; the handle is stored on status 0.
ZR_NATIVE(jint, queryBasicTagsByConds)
(JNIEnv* env, jclass, jobjectArray conditions, jint count, jlong prop_mask, jlong ext_mask,
 jobject iterator_holder) {
  const Binding holder(env, kLongWrapper);
  const Binding fields(env, kCondition);
  const Conditions items = ReadConditions(fields, conditions, count);
  if (!items) return kFailed;
  const ZR3FilterItemSet set{count, items.get()};
  const ZR3Mask mask{prop_mask, ext_mask};
  ZR3HANDLE iterator;
  const int32 status = pt3_query_tags_cond(&set, &mask, &iterator);
  return StoreOnSuccess(status, holder, &iterator, iterator_holder);
}

// Tags of the selected classes by conditions; the handle is stored on status 0.
ZR_NATIVE(jint, queryTagsByConds)
(JNIEnv* env, jclass, jobjectArray conditions, jint count, jlong class_mask, jlong prop_mask,
 jobject iterator_holder) {
  const Binding holder(env, kLongWrapper);
  const Binding fields(env, kCondition);
  const Conditions items = ReadConditions(fields, conditions, count);
  if (!items) return kFailed;
  const ZR3FilterItemSet set{count, items.get()};
  ZR3HANDLE iterator;
  const int32 status = tag3_query_tags_cond(class_mask, &set, prop_mask, &iterator);
  return StoreOnSuccess(status, holder, &iterator, iterator_holder);
}

// One page of the tags of the selected classes; the handle is stored on status 0.
ZR_NATIVE(jint, querySpecifyPageTagsCond)
(JNIEnv* env, jclass, jlong class_mask, jobjectArray conditions, jint count, jlong prop_mask,
 jlong ext_mask, jint start_id, jint capacity, jobject iterator_holder) {
  const Binding holder(env, kLongWrapper);
  const Binding fields(env, kCondition);
  const Conditions items = ReadConditions(fields, conditions, count);
  if (!items) return kFailed;
  const ZR3PageQueryTagParam page{.itemSet = {count, items.get()},
                                  .mask = {prop_mask, ext_mask},
                                  .nStartID = static_cast<uint32>(start_id),
                                  .nCapacity = capacity};
  ZR3HANDLE iterator;
  const int32 status = tag3_query_specify_page_tags_cond(class_mask, &page, &iterator);
  return StoreOnSuccess(status, holder, &iterator, iterator_holder);
}

// The number of tags of one class that match; stored on status 0.
ZR_NATIVE(jint, queryTagNumCond)
(JNIEnv* env, jclass, jint tag_class, jobjectArray conditions, jint count, jobject number_holder) {
  const Binding holder(env, kIntWrapper);
  const Binding fields(env, kCondition);
  const Conditions items = ReadConditions(fields, conditions, count);
  if (!items) return kFailed;
  const ZR3FilterItemSet set{count, items.get()};
  int32 number = 0;
  const int32 status = tag3_query_tag_num_cond(tag_class, &set, &number);
  return StoreOnSuccess(status, holder, &number, number_holder);
}

// The next point tag of an iterator: every field but m_tagClass.
ZR_NATIVE(jint, getItemStep)(JNIEnv* env, jclass, jlong iterator, jobject tagprop) {
  ZR3PtTagProp item;
  return StepItem(env, iterator, kPointTag, &item, tagprop);
}

// The next tag of any class: every field.
ZR_NATIVE(jint, getCommItemStep)(JNIEnv* env, jclass, jlong iterator, jobject tagprop) {
  ZR3CommTagProp item;
  return StepItem(env, iterator, kCommonTag, &item, tagprop);
}
