#include "engine/catalogue/filter_settings.h"

namespace zervane {
namespace {

bool HoldsNumbers(const Tag& tag) {
  switch (static_cast<TagType>(tag.type)) {
    case TagType::kInt8:
    case TagType::kInt16:
    case TagType::kInt32:
    case TagType::kFloat32:
    case TagType::kFloat64:
      return true;
    case TagType::kDigital:
    case TagType::kString:
    case TagType::kBlob:
      return false;
  }
  return false;
}

std::int64_t MillisecondsOf(std::int32_t seconds) { return std::int64_t{seconds} * 1000; }

}  // namespace

FilterSettings FilterSettingsOf(const Tag& tag) {
  if (!tag.archiving || !HoldsNumbers(tag)) return {};
  FilterSettings settings = {.exception_deviation = tag.exc_dev,
                             .exception_max_ms = MillisecondsOf(tag.exc_max_time)};
  if (tag.comp_type == ZR3_COMP_TYPE_SDT) {
    settings.compression_deviation = tag.comp_dev;
    settings.compression_max_ms = MillisecondsOf(tag.comp_max_time);
  }
  return settings;
}

}  // namespace zervane
