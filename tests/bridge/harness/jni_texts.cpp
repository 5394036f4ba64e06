// The closed list, second part: strings and byte arrays.
#include <algorithm>
#include <string>

#include "fake_java.h"

namespace zervane::bridge_test {
namespace {

JavaObject* Object(jobject object) { return reinterpret_cast<JavaObject*>(object); }

void Add(const std::string& function, const JavaObject* object, const std::string& rest = "") {
  Log().Add(Kind::kText, function + " " + object->label + rest);
}

jsize JNICALL GetStringLength(JNIEnv*, jstring string) {
  Add("GetStringLength", Object(string));
  return Object(string)->length;
}

const char* JNICALL GetStringUTFChars(JNIEnv*, jstring string, jboolean* is_copy) {
  Add("GetStringUTFChars", Object(string));
  EXPECT_EQ(is_copy, nullptr) << "no copy flag is asked for";
  ++Java().open_texts;
  return Object(string)->utf8.c_str();
}

void JNICALL ReleaseStringUTFChars(JNIEnv*, jstring string, const char* chars) {
  Add("ReleaseStringUTFChars", Object(string));
  EXPECT_EQ(chars, Object(string)->utf8.c_str()) << "not what GetStringUTFChars returned";
  --Java().open_texts;
}

jstring JNICALL NewStringUTF(JNIEnv*, const char* utf8) {
  JavaObject* const string = Java().String(utf8).operator->();
  Add("NewStringUTF", string);
  return reinterpret_cast<jstring>(string);
}

jsize JNICALL GetArrayLength(JNIEnv*, jarray array) {
  Add("GetArrayLength", Object(array));
  return static_cast<jsize>(Object(array)->bytes.size());
}

void JNICALL GetByteArrayRegion(JNIEnv*, jbyteArray array, jsize start, jsize count,
                                jbyte* buffer) {
  Add("GetByteArrayRegion", Object(array),
      " " + std::to_string(start) + " " + std::to_string(count));
  std::copy_n(Object(array)->bytes.begin() + start, count, buffer);
}

jbyteArray JNICALL NewByteArray(JNIEnv*, jsize length) {
  JavaObject* const array = Java().Make(std::to_string(length) + " bytes");
  array->bytes.resize(static_cast<size_t>(length));
  Add("NewByteArray", array);
  return reinterpret_cast<jbyteArray>(array);
}

void JNICALL SetByteArrayRegion(JNIEnv*, jbyteArray array, jsize start, jsize count,
                                const jbyte* buffer) {
  Add("SetByteArrayRegion", Object(array),
      " " + std::to_string(start) + " " + std::to_string(count));
  std::copy_n(buffer, count, Object(array)->bytes.begin() + start);
}

}  // namespace

void AddTextFunctions(JNINativeInterface_* functions) {
  functions->GetStringLength = GetStringLength;
  functions->GetStringUTFChars = GetStringUTFChars;
  functions->ReleaseStringUTFChars = ReleaseStringUTFChars;
  functions->NewStringUTF = NewStringUTF;
  functions->GetArrayLength = GetArrayLength;
  functions->GetByteArrayRegion = GetByteArrayRegion;
  functions->NewByteArray = NewByteArray;
  functions->SetByteArrayRegion = SetByteArrayRegion;
}

}  // namespace zervane::bridge_test
