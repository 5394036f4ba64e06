#include "engine/value.h"

#include <limits>

namespace zervane {
namespace {

template <typename Integer>
ValueFault CheckInteger(const Value& value) {
  const auto* number = std::get_if<std::int32_t>(&value);
  if (number == nullptr || *number < std::numeric_limits<Integer>::min() ||
      *number > std::numeric_limits<Integer>::max()) {
    return ValueFault::kWrongType;
  }
  return ValueFault::kNone;
}

template <typename Alternative>
ValueFault CheckAlternative(const Value& value) {
  return std::holds_alternative<Alternative>(value) ? ValueFault::kNone : ValueFault::kWrongType;
}

ValueFault CheckBytes(const Value& value, std::size_t max_bytes) {
  const auto* bytes = std::get_if<TextValue>(&value);
  if (bytes == nullptr) return ValueFault::kWrongType;
  return bytes->size() > max_bytes ? ValueFault::kTooLong : ValueFault::kNone;
}

ValueFault CheckString(const Value& value) {
  const ValueFault fault = CheckBytes(value, kMaxStringBytes);
  if (fault != ValueFault::kNone) return fault;
  const bool has_nul = std::get<TextValue>(value).str().find('\0') != std::string::npos;
  return has_nul ? ValueFault::kEmbeddedNul : ValueFault::kNone;
}

}  // namespace

ValueFault CheckValue(TagType type, const Value& value) {
  switch (type) {
    case TagType::kInt8:
    case TagType::kDigital:
      return CheckInteger<std::int8_t>(value);
    case TagType::kInt16:
      return CheckInteger<std::int16_t>(value);
    case TagType::kInt32:
      return CheckInteger<std::int32_t>(value);
    case TagType::kFloat32:
      return CheckAlternative<float>(value);
    case TagType::kFloat64:
      return CheckAlternative<double>(value);
    case TagType::kString:
      return CheckString(value);
    case TagType::kBlob:
      return CheckBytes(value, kMaxBlobBytes);
  }
  return ValueFault::kWrongType;
}

}  // namespace zervane
