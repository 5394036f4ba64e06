#include "vask/derived_tag.h"

#include "api/words/tag_columns.h"
#include "vask/call.h"
#include "vask/tag_properties.h"

namespace zervane {
namespace {

Status CheckTag(const Extension& extension, const void* record, PropertyMask mask) {
  const Result<Tag> common = ReadCommonProperties(record, mask);
  if (!common.ok()) return common.status();

  Arguments arguments;
  for (const ExtensionText& text : extension.texts) {
    if ((mask.extension >> (text.column - extension.min_column) & 1) == 0) continue;
    arguments.Text(static_cast<const char*>(record) + text.offset, text.capacity);
  }
  const auto extension_columns =
      static_cast<std::size_t>(extension.max_column - extension.min_column + 1);
  arguments.Require(IsMaskOf(mask.common, ZR3_TAG_COL_COMM_PROP_MAX + 1) &&
                        IsMaskOf(mask.extension, extension_columns),
                    ZR3_ERR_INVALID_MASK);
  return {arguments.ok() ? ZR3_ERR_NOT_SUPPORTED : arguments.fault(), {}};
}

}  // namespace

int32 UnsupportedAdd(const char* function, const Extension& extension, const void* record,
                     const ZR3Mask* mask, const uint32* id) noexcept {
  return Call(function, ArgumentsWithTexts().Given(record, mask, id),
              [&](Session&) { return CheckTag(extension, record, ReadMaskToAdd(*mask)); });
}

int32 UnsupportedModify(const char* function, const Extension& extension, const void* record,
                        const ZR3Mask* mask) noexcept {
  return Call(function, ArgumentsWithTexts().Given(record, mask),
              [&](Session&) { return CheckTag(extension, record, ReadMask(*mask)); });
}

}  // namespace zervane
