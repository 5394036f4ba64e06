// The common properties of all tags of selected classes, in one request.
#include "holders.h"
#include "native.h"
#include "tag_fields.h"

using namespace zervane::bridge;

// Stores the number of tags and the address of their properties, which getPropArray consumes; on
// status 0 alone.
ZR_NATIVE(jint, queryAllTagsProps)
(JNIEnv* env, jclass, jlong class_mask, jlong prop_mask, jobject count_holder,
 jobject array_holder) {
  const Binding count_fields(env, kIntWrapper);
  const Binding array_fields(env, kLongWrapper);
  int32 count = 0;
  ZR3CommTagProp* props = nullptr;
  const int32 status = tag3_query_all_tags_prop(class_mask, &count, prop_mask, &props, 0);
  if (status == 0) {
    count_fields.Write(&count, count_holder);
    array_fields.Write(&props, array_holder);
  } else {
    tag3_free_all_tags_prop(props);
  }
  return status;
}

// Stores a new object for each of the first `count` tags and releases the properties.
// kept: handle and count are trusted, and the result is always 0.
ZR_NATIVE(jint, getPropArray)
(JNIEnv* env, jclass, jint count, jlong props_handle, jobjectArray objects) {
  const Binding fields(env, kCommonTag);
  auto* const props = reinterpret_cast<ZR3CommTagProp*>(props_handle);
  for (jint i = 0; i < count; ++i) StoreNew(fields, &props[i], objects, i);
  tag3_free_all_tags_prop(props);
  return 0;
}
