#include "binding.h"

#include <cstring>

#include "text.h"
#include "zr3Struct.h"

namespace zervane::bridge {
namespace {

template <typename T>
void Store(T value, void* member) {
  memcpy(member, &value, sizeof value);
}

template <typename T>
T Load(const void* member) {
  T value;
  memcpy(&value, member, sizeof value);
  return value;
}

jstring StringField(JNIEnv* env, jobject object, jfieldID field) {
  return static_cast<jstring>(env->GetObjectField(object, field));
}

// Points *blob at a new buffer with the converted text; the terminator is counted.
void ReadTextBuffer(JNIEnv* env, jstring string, ZR3StrBlob* blob) {
  blob->pBuf = jstringToWindows(env, string);
  blob->nLenBuf = static_cast<uint16>(strlen(blob->pBuf) + 1);
}

// The helpers of text.h take their texts without const, and change none.
char* Chars(const void* member) { return const_cast<char*>(static_cast<const char*>(member)); }

}  // namespace

Binding::Binding(JNIEnv* env, const FoundClass& found)
    : env_(env), table_(found.table), class_(found.found) {
  jfieldID* field = fields_;
  for (const FieldRow& row : table_.rows) {
    *field++ = env->GetFieldID(class_, row.name, row.signature);
  }
}

void Binding::Write(const void* record, jobject object) const {
  if (table_.write_order.empty()) {
    WriteRows(0, table_.rows.size(), record, object);
  }
  for (const uint8_t row : table_.write_order) WriteRows(row, 1, record, object);
}

void Binding::ReadRows(size_t first, size_t count, jobject object, void* record) const {
  for (size_t i = first; i < first + count; ++i) {
    const FieldRow& row = table_.rows[i];
    const size_t source = row.in.from_row == kOwnField ? i : static_cast<size_t>(row.in.from_row);
    ReadRow(row, fields_[source], object, static_cast<char*>(record) + row.offset);
  }
}

void Binding::WriteRows(size_t first, size_t count, const void* record, jobject object) const {
  for (size_t i = first; i < first + count; ++i) {
    const FieldRow& row = table_.rows[i];
    WriteRow(row, fields_[i], static_cast<const char*>(record) + row.offset, object);
  }
}

void Binding::ReadRow(const FieldRow& row, jfieldID field, jobject object, void* member) const {
  switch (row.in.conv) {
    case Conv::kNone:
    case Conv::kLong:
    case Conv::kTextIsNotEmpty:
      return;
    case Conv::kBool:
      return Store(env_->GetBooleanField(object, field), member);
    case Conv::kByte:
      return Store(env_->GetByteField(object, field), member);
    case Conv::kShort:
      return Store(env_->GetShortField(object, field), member);
    case Conv::kInt:
      return Store(env_->GetIntField(object, field), member);
    case Conv::kFloat:
      return Store(env_->GetFloatField(object, field), member);
    case Conv::kDouble:
      return Store(env_->GetDoubleField(object, field), member);
    case Conv::kEnum:
    case Conv::kByteOfInt:
      return Store<int32>(env_->GetByteField(object, field), member);
    case Conv::kUnsignedEnum:
      return Store<int32>(static_cast<uint8>(env_->GetByteField(object, field)), member);
    case Conv::kMask:
      return Store<int64>(env_->GetByteField(object, field), member);
    case Conv::kQuality:
      return Store(static_cast<uint16>(env_->GetIntField(object, field)), member);
    case Conv::kIntOfByte:
      return Store(static_cast<uint8>(env_->GetIntField(object, field)), member);
    case Conv::kText:
      return CopyText(env_, StringField(env_, object, field), static_cast<char*>(member));
    case Conv::kTextLeakedIn:
      return CopyTextLeaking(env_, StringField(env_, object, field), static_cast<char*>(member));
    case Conv::kTextBuffer:
      return ReadTextBuffer(env_, StringField(env_, object, field),
                            static_cast<ZR3StrBlob*>(member));
    case Conv::kBytesBuffer: {
      auto* const blob = static_cast<ZR3StrBlob*>(member);
      const auto array = static_cast<jbyteArray>(env_->GetObjectField(object, field));
      return jbyteArrayToChar(env_, array, &blob->pBuf, &blob->nLenBuf);
    }
  }
}

void Binding::WriteRow(const FieldRow& row, jfieldID field, const void* member,
                       jobject object) const {
  switch (row.out) {
    case Conv::kBool:
      return env_->SetBooleanField(object, field, Load<jboolean>(member));
    case Conv::kByte:
      return env_->SetByteField(object, field, Load<jbyte>(member));
    case Conv::kShort:
      return env_->SetShortField(object, field, Load<jshort>(member));
    case Conv::kInt:
      return env_->SetIntField(object, field, Load<jint>(member));
    case Conv::kLong:
      return env_->SetLongField(object, field, Load<jlong>(member));
    case Conv::kFloat:
      return env_->SetFloatField(object, field, Load<jfloat>(member));
    case Conv::kDouble:
      return env_->SetDoubleField(object, field, Load<jdouble>(member));
    case Conv::kEnum:
      return env_->SetByteField(object, field, static_cast<jbyte>(Load<int32>(member)));
    case Conv::kQuality:
      return env_->SetIntField(object, field, Load<uint16>(member));
    case Conv::kText:
      return env_->SetObjectField(object, field, WindowsTojstring(env_, Chars(member)));
    case Conv::kTextBuffer:
      return env_->SetObjectField(object, field,
                                  WindowsTojstring(env_, Load<ZR3StrBlob>(member).pBuf));
    case Conv::kBytesBuffer: {
      const auto blob = Load<ZR3StrBlob>(member);
      return env_->SetObjectField(object, field, charTojbyteArray(env_, blob.pBuf, blob.nLenBuf));
    }
    case Conv::kTextIsNotEmpty:
      return env_->SetByteField(object, field, *Chars(member) == '\0' ? 0 : 1);
    default:  // the field does not travel out
      return;
  }
}

}  // namespace zervane::bridge
