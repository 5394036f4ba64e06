// Java as the bridge sees it: objects, strings, arrays, and a recording JNIEnv.
//
// Every entry of the JNIEnv outside the closed list of functions that the bridge may use fails the
// test by its name. Classes and field identifiers die with the native call that looked them up, so
// one that was cached fails the test at its first use.
#ifndef ZERVANE_TESTS_BRIDGE_FAKE_JAVA_H
#define ZERVANE_TESTS_BRIDGE_FAKE_JAVA_H

#include <jni.h>

#include <concepts>
#include <deque>
#include <map>
#include <string>
#include <variant>
#include <vector>

#include "contract.h"

namespace zervane::bridge_test {

// An object, string or array of the fake; `label` is how the log names it.
struct JavaObject {
  std::string label;
  const JavaClass* java_class = nullptr;  // null for strings and arrays

  // Fields that were set. Integers and flags are kept as jlong, floats as double.
  std::map<std::string, std::variant<jlong, double, JavaObject*>> fields;

  std::string utf8;  // of a string, in modified UTF-8
  jsize length = 0;  // of a string, in UTF-16 units
  std::vector<jint> ints;
  std::vector<jbyte> bytes;
  std::vector<JavaObject*> elements;
};

// A reference as tests handle it: passed to native methods, filled and inspected by field name.
class Ref {
 public:
  explicit Ref(JavaObject* object = nullptr) : object_(object) {}

  template <typename T>
  requires std::derived_from<T, _jobject>
  operator T*() const {  // NOLINT(google-explicit-constructor): native methods take references
    return reinterpret_cast<T*>(object_);
  }

  Ref Set(const std::string& field, std::integral auto value) const {
    object_->fields[field] = static_cast<jlong>(value);
    return *this;
  }
  Ref Set(const std::string& field, std::floating_point auto value) const {
    object_->fields[field] = static_cast<double>(value);
    return *this;
  }
  Ref Set(const std::string& field, Ref value) const {
    object_->fields[field] = value.object_;
    return *this;
  }

  // A field's value; fails the test when nothing was ever set there.
  jlong Int(const std::string& field) const;
  double Real(const std::string& field) const;
  std::string Text(const std::string& field) const;
  std::vector<jbyte> Bytes(const std::string& field) const;
  bool Has(const std::string& field) const { return object_->fields.contains(field); }

  JavaObject* operator->() const { return object_; }
  bool null() const { return object_ == nullptr; }

 private:
  JavaObject* object_;
};

class FakeJava {
 public:
  FakeJava();

  JNIEnv* env() { return &env_; }
  jclass native_class() { return reinterpret_cast<jclass>(this); }

  Ref New(const JavaClass& java_class, const std::string& label);
  Ref String(const std::string& utf8);  // ASCII, or given with its UTF-16 length:
  Ref String(const std::string& utf8, jsize length);
  Ref Ints(const std::string& label, std::vector<jint> values);
  Ref Bytes(const std::string& label, std::vector<jbyte> values);
  Ref Array(const std::string& label, const std::vector<Ref>& elements);

  // A native call begins: what earlier ones looked up is dead.
  void BeginCall();
  // A native call ends: every text it took has been given back.
  void EndCall();

  // Makes GetIntArrayElements return null.
  void FailPinning() { fail_pinning_ = true; }
  bool fail_pinning() const { return fail_pinning_; }

  // Forgets every object.
  void Reset();

  // For the entries of the JNIEnv.
  JavaObject* Make(const std::string& label);
  jclass Find(const char* path);
  const JavaClass& ClassOf(jclass clazz) { return *Alive(clazz).java_class; }
  jfieldID FindField(jclass clazz, const char* name, const char* signature);
  JavaObject* Allocate(jclass clazz);
  const JavaField& FieldOf(jfieldID field);
  int open_texts = 0;

 private:
  struct FoundClass {
    const JavaClass* java_class;
    int call;
  };
  struct FoundField {
    const JavaClass* java_class;
    JavaField field;
    int call;
  };

  const FoundClass& Alive(jclass clazz);

  JNINativeInterface_ functions_;
  JNIEnv env_;
  int call_ = 0;
  int allocated_ = 0;
  bool fail_pinning_ = false;
  std::deque<JavaObject> objects_;
  std::deque<FoundClass> classes_;
  std::deque<FoundField> fields_;
};

FakeJava& Java();

// Fills every entry with a trap, then the closed list with what records and answers.
JNINativeInterface_ TrapEveryFunction();
void AddObjectFunctions(JNINativeInterface_* functions);
void AddTextFunctions(JNINativeInterface_* functions);

}  // namespace zervane::bridge_test

#endif
