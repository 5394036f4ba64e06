#include "api/words/value.h"

#include <utility>

namespace zervane {
namespace {

template <typename Integer>
ValueFault CheckInteger(const Value& value) {
  const bool suits =
      value.kind() == Value::Kind::kInteger && std::in_range<Integer>(value.integer());
  return suits ? ValueFault::kNone : ValueFault::kWrongType;
}

ValueFault CheckKind(const Value& value, Value::Kind kind) {
  return value.kind() == kind ? ValueFault::kNone : ValueFault::kWrongType;
}

ValueFault CheckBytes(const Value& value, std::size_t max_bytes) {
  if (value.kind() != Value::Kind::kText) return ValueFault::kWrongType;
  return value.text_size() > max_bytes ? ValueFault::kTooLong : ValueFault::kNone;
}

ValueFault CheckString(const Value& value) {
  const ValueFault fault = CheckBytes(value, kMaxStringBytes);
  if (fault != ValueFault::kNone) return fault;
  const bool has_nul = value.text().str().find('\0') != std::string::npos;
  return has_nul ? ValueFault::kEmbeddedNul : ValueFault::kNone;
}

}  // namespace

const TextValue& Value::NoText() {
  static const TextValue none;
  return none;
}

bool operator==(const Value& a, const Value& b) {
  if (a.kind_ != b.kind_) return false;
  switch (a.kind_) {
    case Value::Kind::kInteger:
      return a.integer() == b.integer();
    case Value::Kind::kFloat32:
      return a.float32() == b.float32();
    case Value::Kind::kFloat64:
      return a.float64() == b.float64();
    case Value::Kind::kText:
      return a.text_ == b.text_;
  }
  return false;
}

ValueFault CheckInDetail(TagType type, const Value& value) {
  switch (type) {
    case TagType::kInt8:
    case TagType::kDigital:
      return CheckInteger<std::int8_t>(value);
    case TagType::kInt16:
      return CheckInteger<std::int16_t>(value);
    case TagType::kInt32:
      return CheckInteger<std::int32_t>(value);
    case TagType::kFloat32:
      return CheckKind(value, Value::Kind::kFloat32);
    case TagType::kFloat64:
      return CheckKind(value, Value::Kind::kFloat64);
    case TagType::kString:
      return CheckString(value);
    case TagType::kBlob:
      return CheckBytes(value, kMaxBlobBytes);
  }
  return ValueFault::kWrongType;
}

}  // namespace zervane
