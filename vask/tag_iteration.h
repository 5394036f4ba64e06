#pragma once

#include <cstdint>

#include "api/operation_table.h"
#include "api/words/status.h"
#include "api/words/tag_query.h"
#include "vask/session.h"
#include "vask/texts.h"
#include "zr3Struct.h"

// Searches of tags, and what they answer, as C records.

namespace zervane {

// The query for tags of the classes that meet the filter's conditions, which CheckFilter has looked
// at. ZR3_ERR_INVALID_TEXT when a value does not convert.
Result<TagQuery> ReadTagQuery(std::int64_t class_mask, const ZR3FilterItemSet& filter,
                              StandardText& texts);

// Makes an iterator of ZR3PtTagProp over the point tags that are found, or of ZR3CommTagProp over
// tags of any class; `limit`, from 1, is how many it hands out at most.
Status IteratePointTags(Session& session, FindTags search, ZR3HANDLE* handle);
Status IterateTags(Session& session, FindTags search, std::int64_t limit, ZR3HANDLE* handle);

// Hands out the common properties of all tags of the classes in an array of malloc's.
Status HandOutAllTags(Session& session, ListTags list, int32* count, ZR3CommTagProp** properties);

}  // namespace zervane
