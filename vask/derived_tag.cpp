#include "vask/derived_tag.h"

#include "api/words/tag_columns.h"
#include "vask/call.h"
#include "vask/tag_properties.h"

namespace zervane {
namespace {

Status CheckTag(std::int32_t tag_class, const void* record, PropertyMask mask) {
  const Result<Tag> tag = ReadTag(record, tag_class, mask, TextsOfThisThread());
  if (!tag.ok()) return tag.status();
  const bool has_columns = IsMaskOf(mask.common, CommonColumns().size()) &&
                           IsMaskOf(mask.extension, OwnColumns(tag_class).size());
  return {has_columns ? ZR3_ERR_NOT_SUPPORTED : ZR3_ERR_INVALID_MASK, {}};
}

}  // namespace

int32 UnsupportedAdd(const char* function, std::int32_t tag_class, const void* record,
                     const ZR3Mask* mask, const uint32* id) noexcept {
  return Call(function, ArgumentsWithTexts().Given(record, mask, id),
              [&](Session&) { return CheckTag(tag_class, record, ReadMaskToAdd(*mask)); });
}

int32 UnsupportedModify(const char* function, std::int32_t tag_class, const void* record,
                        const ZR3Mask* mask) noexcept {
  return Call(function, ArgumentsWithTexts().Given(record, mask),
              [&](Session&) { return CheckTag(tag_class, record, ReadMask(*mask)); });
}

}  // namespace zervane
