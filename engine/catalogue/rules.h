#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "api/words/status.h"
#include "api/words/tag.h"
#include "api/words/value.h"

// The rules of the catalogue, each a function of its arguments alone.
namespace zervane {

// ZR3_ERR_INVALID_TAG_NAME unless the name has 1 byte to as many as its column allows, and no
// control characters (0x00 to 0x1F and 0x7F); ZR3_ERR_INVALID_TEXT unless it is UTF-8.
Status CheckName(std::string_view name);

// ZR3_ERR_INVALID_MASK when a bit is set for which a tag of the class has no property. -1 selects
// all.
Status CheckMask(const PropertyMask& mask, std::int32_t tag_class);

// Whether every property is in its range: ZR3_ERR_INVALID_TAG_NAME, ZR3_ERR_INVALID_TEXT for a text
// that is not UTF-8, ZR3_ERR_INVALID_TAG_TYPE, ZR3_ERR_INVALID_TAG_CLASS for another class than
// that of the own properties, or ZR3_ERR_INVALID_PROPERTY: an enumeration out of bounds, a text too
// long or with a NUL inside, a float that is not finite, a negative deviation or time.
Status CheckProperties(const Tag& tag);

// Who changes the catalogue, and when.
struct Stamp {
  std::uint32_t date = 0;  // seconds
  std::string user;
};
Stamp MakeStamp(std::int64_t now_ms, std::string user);

// The tag that is added: the name and the selected properties as given, the others at the defaults
// of the class whose own properties are given; creation and change are stamped where they came as 0
// or empty. The identifier is 0.
Tag NewTag(const Tag& given, const PropertyMask& mask, const Stamp& stamp);

// The tag after a change: the selected properties as given, the others as they were. The identifier
// stays. Creation given as 0 or empty stays too; change is then stamped. Own properties are taken
// only from those of the tag's class.
Tag ChangedTag(const Tag& tag, const Tag& given, const PropertyMask& mask, const Stamp& stamp);

// The status of an operation on a tag that does not exist: ZR3_ERR_TAG_NOT_FOUND.
Status NoSuchTag(TagId id);

}  // namespace zervane
