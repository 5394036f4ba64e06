// A Java class looked up for the length of one native call.
//
// Nothing is cached: every call finds its classes and all their fields anew. The results of the
// look-ups are not checked, and an object's own class is never asked for.
#ifndef ZERVANE_BRIDGE_BINDING_H
#define ZERVANE_BRIDGE_BINDING_H

#include <jni.h>

#include "class_table.h"
#include "data_types.h"

namespace zervane::bridge {

// A class whose fields are not looked up yet.
struct FoundClass {
  const ClassTable& table;
  jclass found;
};

inline FoundClass Find(JNIEnv* env, const ClassTable& table) {
  return {table, env->FindClass(table.path)};
}

class Binding {
 public:
  // Finds the class, then looks its fields up, row by row.
  Binding(JNIEnv* env, const ClassTable& table) : Binding(env, Find(env, table)) {}

  // Looks the fields up in a class that was found earlier.
  Binding(JNIEnv* env, const FoundClass& found);

  // Reads the object into the record: every row that travels in, in the order of the rows.
  void Read(jobject object, void* record) const { ReadRows(0, table_.rows.size(), object, record); }

  // Writes the record into the object: every row that travels out, in the table's write order.
  void Write(const void* record, jobject object) const;

  // The same for `count` rows from row `first` on, in the order of the rows.
  void ReadRows(size_t first, size_t count, jobject object, void* record) const;
  void WriteRows(size_t first, size_t count, const void* record, jobject object) const;

  // A new object of the class; no constructor runs, so what is not written keeps its Java default.
  jobject Allocate() const { return env_->AllocObject(class_); }

  JNIEnv* env() const { return env_; }

 private:
  void ReadRow(const FieldRow& row, jfieldID field, jobject object, void* member) const;
  void WriteRow(const FieldRow& row, jfieldID field, const void* member, jobject object) const;

  JNIEnv* const env_;
  const ClassTable& table_;
  const jclass class_;
  jfieldID fields_[kMaxRows];
};

// Writes the record into the object when the status is 0, and returns the status. On any other
// status the object stays as it was.
inline jint StoreOnSuccess(int32 status, const Binding& fields, const void* record,
                           jobject object) {
  if (status == 0) fields.Write(record, object);
  return status;
}

// Stores a new object, made from the record, at `index` of an array, whatever stood there.
inline void StoreNew(const Binding& fields, const void* record, jobjectArray array, jint index) {
  const jobject object = fields.Allocate();
  fields.Write(record, object);
  fields.env()->SetObjectArrayElement(array, index, object);
}

}  // namespace zervane::bridge

#endif
