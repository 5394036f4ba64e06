// The natives of the test class com.talvoro.zrjni.bridge.Recorder.
#include <jni.h>

#include <string>
#include <utility>

#include "recorder.h"

using namespace zervane::recorder;

namespace {

std::string Text(JNIEnv* env, jstring text) {
  const char* chars = env->GetStringUTFChars(text, nullptr);
  std::string result(chars);
  env->ReleaseStringUTFChars(text, chars);
  return result;
}

std::string Bytes(JNIEnv* env, jbyteArray array) {
  std::string result(static_cast<size_t>(env->GetArrayLength(array)), '\0');
  env->GetByteArrayRegion(array, 0, static_cast<jsize>(result.size()),
                          reinterpret_cast<jbyte*>(result.data()));
  return result;
}

// The log as the Java side reads it: numbers are 32-bit little-endian, texts and bytes have their
// length before them. calls { name, fields { name, kind, bytes } }.
class LogWriter {
 public:
  void Number(size_t value) {
    const auto number = static_cast<uint32>(value);
    out_.append(reinterpret_cast<const char*>(&number), sizeof(number));
  }

  void Sized(const std::string& bytes) {
    Number(bytes.size());
    out_ += bytes;
  }

  void Write(const RecordedCall& call) {
    Sized(call.function);
    Number(call.fields.size());
    for (const Field& field : call.fields) {
      Sized(field.name);
      Number(static_cast<size_t>(field.kind));
      Sized(field.bytes);
    }
  }

  const std::string& bytes() const { return out_; }

 private:
  std::string out_;
};

}  // namespace

extern "C" {

JNIEXPORT void JNICALL Java_com_talvoro_zrjni_bridge_Recorder_reset(JNIEnv*, jclass) {
  Recorder::Get().Reset();
}

JNIEXPORT void JNICALL Java_com_talvoro_zrjni_bridge_Recorder_script(JNIEnv* env, jclass,
                                                                     jstring function, jint status,
                                                                     jobjectArray names,
                                                                     jobjectArray values) {
  Answer answer;
  answer.status = status;
  for (jsize i = 0; i < env->GetArrayLength(names); ++i) {
    const auto name = static_cast<jstring>(env->GetObjectArrayElement(names, i));
    const auto value = static_cast<jbyteArray>(env->GetObjectArrayElement(values, i));
    answer.outputs[Text(env, name)] = Bytes(env, value);
  }
  Recorder::Get().Script(Text(env, function), std::move(answer));
}

JNIEXPORT jint JNICALL Java_com_talvoro_zrjni_bridge_Recorder_pendingAnswers(JNIEnv*, jclass) {
  return Recorder::Get().PendingAnswers();
}

JNIEXPORT jbyteArray JNICALL Java_com_talvoro_zrjni_bridge_Recorder_takeLog(JNIEnv* env, jclass) {
  const std::vector<RecordedCall> calls = Recorder::Get().TakeCalls();
  LogWriter log;
  log.Number(calls.size());
  for (const RecordedCall& call : calls) log.Write(call);
  const auto size = static_cast<jsize>(log.bytes().size());
  const jbyteArray result = env->NewByteArray(size);
  env->SetByteArrayRegion(result, 0, size, reinterpret_cast<const jbyte*>(log.bytes().data()));
  return result;
}

}  // extern "C"
