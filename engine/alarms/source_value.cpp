#include "engine/alarms/source_value.h"

#include <spdlog/fmt/fmt.h>

#include <bit>
#include <cmath>

#include "engine/assert.h"

namespace zervane {

SourceValue SourceValueAt(const SampleColumns& samples, std::size_t at) {
  const TagType type = samples.types()[at];
  const std::uint64_t bits = samples.values()[at];
  switch (type) {
    case TagType::kString:
    case TagType::kBlob:
      return {.type = type, .text = samples.TextAt(at)};
    case TagType::kFloat64:
      return {.type = type, .number = std::bit_cast<double>(bits)};
    case TagType::kFloat32:
      return {.type = type, .number = std::bit_cast<float>(static_cast<std::uint32_t>(bits))};
    default:
      return {.type = type, .number = static_cast<double>(static_cast<std::int32_t>(bits))};
  }
}

bool IsChange(const AlarmTest& test, const SourceValue& before, const SourceValue& value) {
  ZERVANE_ASSERT(test.is_change());
  if (IsText(value.type) || IsText(before.type)) {
    return IsText(value.type) != IsText(before.type) || value.text != before.text;
  }
  if (test.limit == 0) return value.number != before.number;
  return std::abs(value.number - before.number) >= test.limit;
}

std::string SourceValueText(const SourceValue& value) {
  switch (value.type) {
    case TagType::kString:
      return std::string(value.text);
    case TagType::kBlob:
      return fmt::format("BLOB of {} bytes", value.text.size());
    case TagType::kFloat32:
      return fmt::format("{}", static_cast<float>(value.number));
    default:
      return fmt::format("{}", value.number);
  }
}

}  // namespace zervane
