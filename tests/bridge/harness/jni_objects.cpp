// The closed list, first part: classes, fields, objects and arrays of objects and ints.
#include <algorithm>
#include <sstream>

#include "allocation_probe.h"
#include "fake_java.h"

namespace zervane::bridge_test {
namespace {

JavaObject* Object(jobject object) { return reinterpret_cast<JavaObject*>(object); }

std::string LabelOf(const JavaObject* object) { return object == nullptr ? "null" : object->label; }

// A number as the log has it; the address of a live block is named by the block's size.
template <typename T>
std::string Number(T value) {
  std::ostringstream text;
  text << +value;
  if constexpr (std::is_same_v<T, jlong>) {
    const auto size = Probe().SizeAt(reinterpret_cast<const void*>(value));
    if (size) return "a block of " + std::to_string(*size);
  }
  return text.str();
}

std::string List(const jint* values, jsize count) {
  std::string text = "{";
  for (jsize i = 0; i < count; ++i) text += (i == 0 ? "" : ", ") + std::to_string(values[i]);
  return text + "}";
}

jclass JNICALL FindClass(JNIEnv*, const char* path) {
  Log().Add(Kind::kLookup, std::string("FindClass ") + path);
  return Java().Find(path);
}

jfieldID JNICALL GetFieldID(JNIEnv*, jclass clazz, const char* name, const char* signature) {
  const jfieldID field = Java().FindField(clazz, name, signature);
  Log().Add(Kind::kLookup,
            "GetFieldID " + Java().ClassOf(clazz).name() + "." + name + " " + signature);
  return field;
}

// What the memory of the object holds there: a field that was never set is 0, and a byte field has
// neighbours, which an access of another width sees.
constexpr jlong kNeighbours = 0x5A5A5A00;

jlong RawInt(const JavaObject* object, const JavaField& field, char accessed) {
  const auto found = object->fields.find(field.name);
  const jlong value = found == object->fields.end() ? 0 : std::get<jlong>(found->second);
  const bool byte_read_as_int = accessed == 'I' && field.signature == "B";
  return byte_read_as_int ? kNeighbours | static_cast<uint8_t>(value) : value;
}

// Two accesses of another width than the field's are part of the contract; every other is a fault.
bool MayRead(const JavaField& field, char accessed) {
  if (field.signature == std::string(1, accessed)) return true;
  if (accessed == 'I') return field.name == "m_instrumentPointType";
  return accessed == 'B' && (field.name == "m_nTagID" || field.name == "m_nFieldID");
}

template <typename T>
T Get(const char* type, char signature, jobject object, jfieldID id) {
  const JavaField& field = Java().FieldOf(id);
  EXPECT_TRUE(MayRead(field, signature)) << "Get" << type << "Field of " << field.name;
  Log().Add(Kind::kObject,
            std::string("Get") + type + "Field " + LabelOf(Object(object)) + "." + field.name);
  if constexpr (std::is_floating_point_v<T>) {
    const auto found = Object(object)->fields.find(field.name);
    return found == Object(object)->fields.end() ? T()
                                                 : static_cast<T>(std::get<double>(found->second));
  } else {
    return static_cast<T>(RawInt(Object(object), field, signature));
  }
}

template <typename T>
void Set(const char* type, char signature, jobject object, jfieldID id, T value) {
  const JavaField& field = Java().FieldOf(id);
  EXPECT_EQ(field.signature, std::string(1, signature)) << "Set" << type << "Field " << field.name;
  Log().Add(Kind::kObject, std::string("Set") + type + "Field " + LabelOf(Object(object)) + "." +
                               field.name + " = " + Number(value));
  using Kept = std::conditional_t<std::is_floating_point_v<T>, double, jlong>;
  Object(object)->fields[field.name] = static_cast<Kept>(value);
}

#define ZR_FIELD_TYPES(X)   \
  X(Boolean, jboolean, 'Z') \
  X(Byte, jbyte, 'B')       \
  X(Short, jshort, 'S')     \
  X(Int, jint, 'I')         \
  X(Long, jlong, 'J')       \
  X(Float, jfloat, 'F')     \
  X(Double, jdouble, 'D')

#define ZR_FIELD_ACCESS(Type, type, signature)                                         \
  type JNICALL Get##Type##Field(JNIEnv*, jobject object, jfieldID field) {             \
    return Get<type>(#Type, signature, object, field);                                 \
  }                                                                                    \
  void JNICALL Set##Type##Field(JNIEnv*, jobject object, jfieldID field, type value) { \
    Set<type>(#Type, signature, object, field, value);                                 \
  }
ZR_FIELD_TYPES(ZR_FIELD_ACCESS)
#undef ZR_FIELD_ACCESS

jobject JNICALL GetObjectField(JNIEnv*, jobject object, jfieldID id) {
  const JavaField& field = Java().FieldOf(id);
  EXPECT_GT(field.signature.size(), 1U) << "GetObjectField of " << field.name;
  Log().Add(Kind::kObject, "GetObjectField " + LabelOf(Object(object)) + "." + field.name);
  const auto found = Object(object)->fields.find(field.name);
  if (found == Object(object)->fields.end()) return nullptr;
  return reinterpret_cast<jobject>(std::get<JavaObject*>(found->second));
}

void JNICALL SetObjectField(JNIEnv*, jobject object, jfieldID id, jobject value) {
  const JavaField& field = Java().FieldOf(id);
  EXPECT_GT(field.signature.size(), 1U) << "SetObjectField " << field.name;
  Log().Add(Kind::kObject, "SetObjectField " + LabelOf(Object(object)) + "." + field.name + " = " +
                               LabelOf(Object(value)));
  Object(object)->fields[field.name] = Object(value);
}

jobject JNICALL AllocObject(JNIEnv*, jclass clazz) {
  JavaObject* const object = Java().Allocate(clazz);
  Log().Add(Kind::kObject, "AllocObject " + object->label);
  return reinterpret_cast<jobject>(object);
}

std::string ElementLabel(jobjectArray array, jsize index) {
  return LabelOf(Object(array)) + "[" + std::to_string(index) + "]";
}

bool Holds(size_t size, jsize start, jsize count) {
  return start >= 0 && count >= 0 &&
         static_cast<size_t>(start) + static_cast<size_t>(count) <= size;
}

jobject JNICALL GetObjectArrayElement(JNIEnv*, jobjectArray array, jsize index) {
  Log().Add(Kind::kObject, "GetObjectArrayElement " + ElementLabel(array, index));
  const auto& elements = Object(array)->elements;
  EXPECT_TRUE(Holds(elements.size(), index, 1)) << ElementLabel(array, index);
  return reinterpret_cast<jobject>(elements.at(static_cast<size_t>(index)));
}

void JNICALL SetObjectArrayElement(JNIEnv*, jobjectArray array, jsize index, jobject value) {
  Log().Add(Kind::kObject,
            "SetObjectArrayElement " + ElementLabel(array, index) + " = " + LabelOf(Object(value)));
  auto& elements = Object(array)->elements;
  EXPECT_TRUE(Holds(elements.size(), index, 1)) << ElementLabel(array, index);
  elements.at(static_cast<size_t>(index)) = Object(value);
}

void JNICALL GetIntArrayRegion(JNIEnv*, jintArray array, jsize start, jsize count, jint* buffer) {
  const auto& ints = Object(array)->ints;
  Log().Add(Kind::kObject, "GetIntArrayRegion " + LabelOf(Object(array)) + " " +
                               std::to_string(start) + " " + std::to_string(count));
  EXPECT_TRUE(Holds(ints.size(), start, count)) << LabelOf(Object(array));
  std::copy_n(ints.begin() + start, count, buffer);
}

void JNICALL SetIntArrayRegion(JNIEnv*, jintArray array, jsize start, jsize count,
                               const jint* buffer) {
  auto& ints = Object(array)->ints;
  Log().Add(Kind::kObject, "SetIntArrayRegion " + LabelOf(Object(array)) + " " +
                               std::to_string(start) + " " + List(buffer, count));
  EXPECT_TRUE(Holds(ints.size(), start, count)) << LabelOf(Object(array));
  std::copy_n(buffer, count, ints.begin() + start);
}

jint* JNICALL GetIntArrayElements(JNIEnv*, jintArray array, jboolean* is_copy) {
  Log().Add(Kind::kObject, "GetIntArrayElements " + LabelOf(Object(array)));
  EXPECT_EQ(is_copy, nullptr) << "no copy flag is asked for";
  return Java().fail_pinning() ? nullptr : Object(array)->ints.data();
}

}  // namespace

void AddObjectFunctions(JNINativeInterface_* functions) {
  functions->FindClass = FindClass;
  functions->GetFieldID = GetFieldID;
#define ZR_FIELD_ENTRIES(Type, type, signature)   \
  functions->Get##Type##Field = Get##Type##Field; \
  functions->Set##Type##Field = Set##Type##Field;
  ZR_FIELD_TYPES(ZR_FIELD_ENTRIES)
#undef ZR_FIELD_ENTRIES
  functions->GetObjectField = GetObjectField;
  functions->SetObjectField = SetObjectField;
  functions->AllocObject = AllocObject;
  functions->GetObjectArrayElement = GetObjectArrayElement;
  functions->SetObjectArrayElement = SetObjectArrayElement;
  functions->GetIntArrayRegion = GetIntArrayRegion;
  functions->SetIntArrayRegion = SetIntArrayRegion;
  functions->GetIntArrayElements = GetIntArrayElements;
}

}  // namespace zervane::bridge_test
