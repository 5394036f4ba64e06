#pragma once

#include <cstdint>

#include "api/words/status.h"
#include "api/words/value.h"
#include "zr3Struct.h"

// The C records of times and values, to and from the domain. Nothing a caller hands in is trusted
// beyond what the record promises: a buffer has the length that stands beside it.

namespace zervane {

// Milliseconds since 1970: ZR3_ERR_INVALID_TIME.
Result<std::int64_t> ReadTime(int32 seconds, int16 milliseconds);

// The closed range of the times that belong to a region: ZR3_ERR_INVALID_TIME,
// ZR3_ERR_INVALID_REGION.
Result<TimeRange> ReadRegion(const ZR3TimeRegion& region);

// The record that a caller writes, into `sample`: ZR3_ERR_INVALID_TIME, ZR3_ERR_TYPE_MISMATCH when
// the type is none, ZR3_ERR_NULL_ARGUMENT, ZR3_ERR_INVALID_TEXT, ZR3_ERR_VALUE_TOO_LONG.
Status ReadRecord(const ZR3Record& record, Sample* sample);

// Whether values of the type travel in the caller's buffer.
bool NeedsBuffer(ZR3_TAG_TYPE type);

// Fills the caller's record: its header and the slot of the sample's type; a STRING is terminated.
// STRING and BLOB go into the buffer of record->value.strBlob: ZR3_ERR_TYPE_MISMATCH when that is
// null, ZR3_ERR_BUFFER_TOO_SMALL. A record that is refused is untouched.
Status FillRecord(const Sample& sample, ZR3Record* record);

}  // namespace zervane
