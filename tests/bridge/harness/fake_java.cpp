#include "fake_java.h"

namespace zervane::bridge_test {
namespace {

const auto& FieldValue(const JavaObject* object, const std::string& field) {
  static const std::variant<jlong, double, JavaObject*> kUnset;
  const auto found = object->fields.find(field);
  if (found != object->fields.end()) return found->second;
  ADD_FAILURE() << object->label << "." << field << " was never set";
  return kUnset;
}

JavaObject* Referred(const JavaObject* object, const std::string& field) {
  JavaObject* const* value = std::get_if<JavaObject*>(&FieldValue(object, field));
  if (value != nullptr && *value != nullptr) return *value;
  ADD_FAILURE() << object->label << "." << field << " holds no object";
  static JavaObject nothing;
  return &nothing;
}

}  // namespace

jlong Ref::Int(const std::string& field) const {
  return std::get<jlong>(FieldValue(object_, field));
}

double Ref::Real(const std::string& field) const {
  return std::get<double>(FieldValue(object_, field));
}

std::string Ref::Text(const std::string& field) const { return Referred(object_, field)->utf8; }

std::vector<jbyte> Ref::Bytes(const std::string& field) const {
  return Referred(object_, field)->bytes;
}

FakeJava::FakeJava() : functions_(TrapEveryFunction()) {
  AddObjectFunctions(&functions_);
  AddTextFunctions(&functions_);
  env_.functions = &functions_;
}

JavaObject* FakeJava::Make(const std::string& label) {
  objects_.emplace_back();
  objects_.back().label = label;
  return &objects_.back();
}

Ref FakeJava::New(const JavaClass& java_class, const std::string& label) {
  JavaObject* const object = Make(label);
  object->java_class = &java_class;
  return Ref(object);
}

Ref FakeJava::String(const std::string& utf8) {
  return String(utf8, static_cast<jsize>(utf8.size()));
}

Ref FakeJava::String(const std::string& utf8, jsize length) {
  JavaObject* const string = Make("\"" + utf8 + "\"");
  string->utf8 = utf8;
  string->length = length;
  return Ref(string);
}

Ref FakeJava::Ints(const std::string& label, std::vector<jint> values) {
  JavaObject* const array = Make(label);
  array->ints = std::move(values);
  return Ref(array);
}

Ref FakeJava::Bytes(const std::string& label, std::vector<jbyte> values) {
  JavaObject* const array = Make(label);
  array->bytes = std::move(values);
  return Ref(array);
}

Ref FakeJava::Array(const std::string& label, const std::vector<Ref>& elements) {
  JavaObject* const array = Make(label);
  for (const Ref& element : elements) array->elements.push_back(element.operator->());
  return Ref(array);
}

void FakeJava::BeginCall() {
  ++call_;
  allocated_ = 0;
  open_texts = 0;
}

void FakeJava::EndCall() {
  EXPECT_EQ(open_texts, 0) << "texts taken with GetStringUTFChars and not released";
}

void FakeJava::Reset() {
  objects_.clear();
  classes_.clear();
  fields_.clear();
  fail_pinning_ = false;
}

jclass FakeJava::Find(const char* path) {
  const JavaClass* const java_class = FindJavaClass(path);
  EXPECT_NE(java_class, nullptr) << "there is no class " << path;
  classes_.push_back({java_class, call_});
  return reinterpret_cast<jclass>(&classes_.back());
}

const FakeJava::FoundClass& FakeJava::Alive(jclass clazz) {
  const auto* const found = reinterpret_cast<const FoundClass*>(clazz);
  EXPECT_EQ(found->call, call_) << "class " << found->java_class->path << " of an earlier call";
  return *found;
}

jfieldID FakeJava::FindField(jclass clazz, const char* name, const char* signature) {
  const FoundClass& found = Alive(clazz);
  bool declared = false;
  for (const JavaField& field : found.java_class->fields) {
    declared = declared || (field.name == name && field.signature == signature);
  }
  EXPECT_TRUE(declared) << found.java_class->path << " has no field " << name << " " << signature;
  fields_.push_back({found.java_class, {name, signature}, call_});
  return reinterpret_cast<jfieldID>(&fields_.back());
}

JavaObject* FakeJava::Allocate(jclass clazz) {
  const JavaClass* const java_class = Alive(clazz).java_class;
  return New(*java_class, java_class->name() + "#" + std::to_string(++allocated_)).operator->();
}

const JavaField& FakeJava::FieldOf(jfieldID field) {
  const auto* const found = reinterpret_cast<const FoundField*>(field);
  EXPECT_EQ(found->call, call_) << "field " << found->field.name << " of an earlier call";
  return found->field;
}

FakeJava& Java() {
  static FakeJava java;
  return java;
}

}  // namespace zervane::bridge_test
