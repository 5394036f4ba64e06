// ar3: the archive.

#include <algorithm>
#include <cstddef>
#include <limits>

#include "engine/assert.h"
#include "vask/api.h"
#include "vask/call.h"
#include "vask/records.h"

using zervane::Arguments;
using zervane::ArgumentsWithTexts;
using zervane::Call;
using zervane::CountRecords;
using zervane::Direction;
using zervane::ReadRecords;
using zervane::Result;
using zervane::SampleColumns;
using zervane::Session;
using zervane::StandardText;
using zervane::Status;
using zervane::TagId;
using zervane::TimeRange;
using zervane::Unsupported;

namespace {

constexpr ZR3_REC_INTERP_QUERY_MODE kFirstMode = ZR3_REC_INTERP_QUERY_MODE_LINEAR;
constexpr ZR3_REC_INTERP_QUERY_MODE kLastMode = ZR3_REC_INTERP_QUERY_MODE_PREV;

// *num: in, the capacity of `records`; out, how many were filled. Whether a record has a buffer is
// told by the buffer alone here.
Status ReadArchive(Session& session, TagId id, TimeRange range, Direction direction, int32* num,
                   ZR3Record* records) {
  ZERVANE_ASSERT(*num >= 0);
  const auto capacity = static_cast<std::size_t>(*num);
  const Result<SampleColumns> samples = session.Do(ReadRecords{id, range, direction, capacity});
  if (!samples.ok()) return samples.status();
  ZERVANE_ASSERT(samples->size() <= capacity);
  StandardText& texts = zervane::TextsOfThisThread();
  for (std::size_t at = 0; at < samples->size(); ++at) {
    Status status = zervane::FillRecord(zervane::ViewOf(*samples, at), texts, records++);
    if (!status.ok()) return status;
  }
  *num = static_cast<int32>(samples->size());
  return {};
}

}  // namespace

int32 ar3_query_raw_records_number(uint32 nTagID, const ZR3TimeRegion* pRegion, int32* pNum) {
  return Call(__func__, Arguments().Given(pRegion, pNum), [&](Session& session) -> Status {
    const Result<TimeRange> range = zervane::ReadRegion(*pRegion);
    if (!range.ok()) return range.status();
    const Result<std::int64_t> number = session.Do(CountRecords{nTagID, *range});
    if (!number.ok()) return number.status();
    *pNum = static_cast<int32>(
        std::min<std::int64_t>(*number, std::numeric_limits<int32>::max()));  // more do not fit
    return {};
  });
}

int32 ar3_query_raw_records(uint32 nTagID, const ZR3TimeRegion* pRegion, int32* pNum,
                            ZR3Record* pRecords) {
  const Arguments arguments = Arguments().Given(pRegion, pNum).Batch(pNum, pRecords);
  return Call(__func__, arguments, [&](Session& session) -> Status {
    const Result<TimeRange> range = zervane::ReadRegion(*pRegion);
    if (!range.ok()) return range.status();
    return ReadArchive(session, nTagID, *range, Direction::kForward, pNum, pRecords);
  });
}

int32 ar3_query_specify_num_raw_recs(uint32 nTagID, const ZR3Time* pStart, bool8 bBackward,
                                     int32* pNum, ZR3Record* pRecords) {
  const Arguments arguments = Arguments().Given(pStart, pNum).Batch(pNum, pRecords);
  return Call(__func__, arguments, [&](Session& session) -> Status {
    const Result<std::int64_t> start_ms = zervane::ReadTime(pStart->nSec, pStart->nMsec);
    if (!start_ms.ok()) return start_ms.status();
    const bool backward = bBackward != 0;
    TimeRange range;
    (backward ? range.to_ms : range.from_ms) = *start_ms;
    return ReadArchive(session, nTagID, range,
                       backward ? Direction::kBackward : Direction::kForward, pNum, pRecords);
  });
}

int32 ar3_query_interp_records_by_mode(ZR3_REC_INTERP_QUERY_MODE nMode, uint32 /*nTagID*/,
                                       int32 nNum, ZR3Record* pRecords, int32* /*pErrCodes*/) {
  return Unsupported(__func__,
                     Arguments().Batch(nNum, pRecords).InRange(nMode, kFirstMode, kLastMode));
}

int32 ar3_query_tags_interp_records_by_mode(ZR3_REC_INTERP_QUERY_MODE nMode, int32 nNum,
                                            const uint32* pTagIDs, ZR3Record* pRecords,
                                            int32* /*pErrCodes*/) {
  return Unsupported(
      __func__, Arguments().Batch(nNum, pTagIDs, pRecords).InRange(nMode, kFirstMode, kLastMode));
}

int32 ar3_modify_record(uint32 /*nTagID*/, const ZR3Record* pRecord) {
  return Call(__func__, ArgumentsWithTexts().Given(pRecord), [&](Session&) -> Status {
    SampleColumns sample;
    const Status read = zervane::AddRecord(*pRecord, zervane::TextsOfThisThread(), &sample);
    return read.ok() ? Status(ZR3_ERR_NOT_SUPPORTED, {}) : read;
  });
}
