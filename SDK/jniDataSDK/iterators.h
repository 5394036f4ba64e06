// One step of an iterator, as every item-step method takes it.
#ifndef ZERVANE_BRIDGE_ITERATORS_H
#define ZERVANE_BRIDGE_ITERATORS_H

#include "binding.h"

namespace zervane::bridge {

// Looks the class up, fetches the next item into the caller's record, and on status 0 writes the
// record into the object. The iterator is never released here, not even at its end.
jint StepItem(JNIEnv* env, jlong iterator, const ClassTable& table, void* item, jobject object);

}  // namespace zervane::bridge

#endif
