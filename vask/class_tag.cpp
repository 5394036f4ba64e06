#include "vask/class_tag.h"

#include "vask/call.h"
#include "vask/tag_properties.h"

namespace zervane {

int32 AddClassTag(const char* function, std::int32_t tag_class, const void* record,
                  const ZR3Mask* mask, uint32* id) noexcept {
  const Arguments arguments = ArgumentsWithTexts().Given(record, mask, id);
  return Call(function, arguments, [&](Session& session) -> Status {
    const PropertyMask selected = ReadMaskToAdd(*mask);
    const Result<Tag> properties = ReadTag(record, tag_class, selected, TextsOfThisThread());
    if (!properties.ok()) return properties.status();
    return Deliver(session.Do(AddTag{*properties, selected}), id);
  });
}

int32 ModifyClassTag(const char* function, std::int32_t tag_class, uint32 id, const void* record,
                     const ZR3Mask* mask) noexcept {
  const Arguments arguments = ArgumentsWithTexts().Given(record, mask);
  return Call(function, arguments, [&](Session& session) -> Status {
    const PropertyMask selected = ReadMask(*mask);
    const Result<Tag> properties = ReadTag(record, tag_class, selected, TextsOfThisThread());
    if (!properties.ok()) return properties.status();
    return session.Do(ModifyTag{id, tag_class, *properties, selected}).status();
  });
}

int32 QueryClassTag(const char* function, std::int32_t tag_class, uint32 id,
                    void* record) noexcept {
  return Call(function, Arguments().Given(record), [&](Session& session) -> Status {
    const Result<Tag> properties = session.Do(GetTag{id});
    if (!properties.ok()) return properties.status();
    if (properties->tag_class != tag_class) return {ZR3_ERR_INVALID_TAG_CLASS, {}};
    FillTag(*properties, TextsOfThisThread(), record);
    return {};
  });
}

}  // namespace zervane
