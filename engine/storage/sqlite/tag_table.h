#pragma once

#include <string>
#include <vector>

#include "api/words/status.h"
#include "api/words/tag.h"
#include "engine/storage/sqlite/sqlite.h"

// The table of tags: one column for each property of CommonColumns() and PointColumns(), so that
// they alone say what a tag has. Texts stand as blobs, since their encoding is the caller's.
namespace zervane::storage {

// The statement that creates it.
std::string CreateTagTable();

// Adds the tag, or replaces the one of its identifier.
Status PutTagRow(Connection& connection, const Tag& properties);

// All tags, in order of identifier.
Result<std::vector<Tag>> LoadTagRows(Connection& connection);

}  // namespace zervane::storage
