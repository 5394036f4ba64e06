#pragma once

#include <functional>
#include <optional>

#include "api/words/status.h"
#include "api/words/value.h"
#include "engine/storage/codec/text_decoder.h"
#include "engine/storage/sqlite/sqlite.h"

// The tables that have one record of a tag each, as a chunk of its own.
namespace zervane::storage {

enum class RecordTable {
  kCurrent,  // the current value
  kHeld,     // the record that is held back from the archive
};

// Adds the tag's record or replaces it.
Status PutRecord(Connection& connection, RecordTable table, TagId tag, const Sample& record);

Status DeleteRecord(Connection& connection, RecordTable table, TagId tag);

// Hands the records of the tags from `first` to `last` to `take`, in order of tag. One that does
// not decode, or stands where the table cannot be read any more, is logged and left out.
Status VisitRecords(Connection& connection, RecordTable table, TagId first, TagId last,
                    const TextDecoder& decoder, const std::function<void(TagId, Sample)>& take);

// None when the tag has none, or when it does not decode, which is logged.
Result<std::optional<Sample>> LoadRecord(Connection& connection, RecordTable table, TagId tag,
                                         const TextDecoder& decoder);

}  // namespace zervane::storage
