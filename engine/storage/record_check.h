#pragma once

#include "api/words/samples.h"
#include "api/words/status.h"
#include "engine/storage/store.h"

namespace zervane::storage {

// Whether every record of the batch has a tag, a time and a value that can be stored: else the
// refusal of the first that has not, ZR3_ERR_INVALID_ARGUMENT.
Status CheckRecords(const RecordBatch& batch);

// Whether all values of the samples are such as their types allow.
bool ValuesAreValid(const SampleColumns& samples);

}  // namespace zervane::storage
