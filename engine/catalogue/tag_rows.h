#pragma once

#include <cstdint>
#include <functional>

#include "api/words/status.h"
#include "api/words/tag.h"
#include "engine/storage/store.h"

// How tags stand in the store: every tag has a row of the table of tags, and one of a class with a
// table of its own a row of that, too.
namespace zervane {

// Has the batch put all of the tag, or what its class alone has.
void PutTagRows(const Tag& tag, StoreBatch& batch);
void PutOwnRow(const Tag& tag, StoreBatch& batch);
void RemoveTagRows(TagId id, std::int32_t tag_class, StoreBatch& batch);

// Hands all tags to `take`, in order of identifier, until it answers false.
// ZR3_ERR_STORAGE_DAMAGED when a row is none of its table, or one of a tag's rows is missing.
Status VisitTags(Store& store, const std::function<bool(const Tag&)>& take);

}  // namespace zervane
