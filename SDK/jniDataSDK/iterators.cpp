// Iterators: one step, the step to the next tag identifier, and the release.
#include "iterators.h"

#include "holders.h"
#include "native.h"

using namespace zervane::bridge;

namespace zervane::bridge {

jint StepItem(JNIEnv* env, jlong iterator, const ClassTable& table, void* item, jobject object) {
  const Binding fields(env, table);
  const int32 status = ut3_get_item_step(AsHandle(iterator), item);
  return StoreOnSuccess(status, fields, item, object);
}

}  // namespace zervane::bridge

// The next tag identifier; the holder is untouched unless the status is 0.
ZR_NATIVE(jint, getIDItemStep)(JNIEnv* env, jclass, jlong iterator, jobject id) {
  uint32 tag_id = 0;
  return StepItem(env, iterator, kIntWrapper, &tag_id, id);
}

ZR_NATIVE(jint, freeIterator)(JNIEnv*, jclass, jlong iterator) {
  ut3_free_handle(AsHandle(iterator));  // kept: a release that failed is not reported.
  return 0;
}
