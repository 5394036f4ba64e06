#pragma once

#include <cstdint>

#include "api/words/status.h"
#include "api/words/tag.h"
#include "vask/texts.h"
#include "zr3Struct.h"

// The C records of tag properties, to and from the domain. Every tag record begins with the members
// of ZR3CommTagProp.

namespace zervane {

PropertyMask ReadMask(const ZR3Mask& mask);

// The mask of a tag that is added: its name always counts.
PropertyMask ReadMaskToAdd(const ZR3Mask& mask);

// The selected properties of a tag of the class, from the record of its class; nothing else of the
// record is looked at, so that may be garbage. The others have their defaults. ZR3_ERR_INVALID_TEXT
// when a selected text does not end within its array, or does not convert. Bits for which there is
// no property are ignored here.
Result<Tag> ReadTag(const void* record, std::int32_t tag_class, PropertyMask mask,
                    StandardText& texts);

// These fill the whole record, padding included: that of the tag's class, or the one of common
// properties, which tags of every class have.
void FillTag(const Tag& tag, StandardText& texts, void* record);
void FillCommonProperties(const Tag& tag, StandardText& texts, ZR3CommTagProp* record);

}  // namespace zervane
