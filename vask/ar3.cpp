// ar3: the archive.

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <string>
#include <utility>
#include <vector>

#include "engine/assert.h"
#include "vask/api.h"
#include "vask/batch.h"
#include "vask/call.h"
#include "vask/records.h"

using zervane::Arguments;
using zervane::ArgumentsWithTexts;
using zervane::Call;
using zervane::CorrectRecord;
using zervane::CountRecords;
using zervane::Direction;
using zervane::Interpolated;
using zervane::InterpolateTag;
using zervane::InterpolateTags;
using zervane::InterpolationMode;
using zervane::ReadRecords;
using zervane::Result;
using zervane::SampleColumns;
using zervane::Session;
using zervane::StandardText;
using zervane::Status;
using zervane::TagId;
using zervane::TimeRange;

namespace {

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

// What every query at instants is checked for, once its pointers are.
Status CheckInstants(int32 count, ZR3_REC_INTERP_QUERY_MODE mode) {
  if (std::cmp_greater(count, zervane::kMaxInstants))
    return {ZR3_ERR_INVALID_COUNT, std::to_string(count) + " instants"};
  if (mode > ZR3_REC_INTERP_QUERY_MODE_PREV) {
    return {ZR3_ERR_INVALID_ARGUMENT, "mode " + std::to_string(mode)};
  }
  return {};
}

// The times of the records; kNoTime for one that is none, so that the database says so of it.
std::vector<std::int64_t> InstantsOf(const ZR3Record* records, int32 count) {
  std::vector<std::int64_t> times;
  times.reserve(static_cast<std::size_t>(count));
  for (int32 i = 0; i < count; ++i) {
    const Result<std::int64_t> time_ms = zervane::ReadTime(records[i].nSec, records[i].nMsec);
    times.push_back(time_ms.ok() ? *time_ms : zervane::kNoTime);
  }
  return times;
}

// Fills the records of the instants that have a value. The others stay as they are.
Status FillInstants(const Result<Interpolated>& values, int32 count, ZR3Record* records,
                    int32* codes) {
  if (!values.ok()) return values.status();
  ZERVANE_ASSERT(values->codes.size() == static_cast<std::size_t>(count));
  ZERVANE_ASSERT(values->samples.size() == values->codes.size());
  StandardText& texts = zervane::TextsOfThisThread();
  return zervane::ForEach(count, codes, ZR3_ERR_SOME_INSTANTS_FAILED, [&](int32 i) -> Status {
    const auto at = static_cast<std::size_t>(i);
    if (values->codes[at] != ZR3_OK) return {values->codes[at], {}};
    return zervane::FillRecord(zervane::ViewOf(values->samples, at), texts, &records[i]);
  });
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

int32 ar3_query_interp_records_by_mode(ZR3_REC_INTERP_QUERY_MODE nMode, uint32 nTagID, int32 nNum,
                                       ZR3Record* pRecords, int32* pErrCodes) {
  return Call(__func__, Arguments().Batch(nNum, pRecords), [&](Session& session) -> Status {
    Status status = CheckInstants(nNum, nMode);
    if (!status.ok() || nNum == 0) return status;
    return FillInstants(session.Do(InterpolateTag{.id = nTagID,
                                                  .mode = static_cast<InterpolationMode>(nMode),
                                                  .times_ms = InstantsOf(pRecords, nNum)}),
                        nNum, pRecords, pErrCodes);
  });
}

int32 ar3_query_tags_interp_records_by_mode(ZR3_REC_INTERP_QUERY_MODE nMode, int32 nNum,
                                            const uint32* pTagIDs, ZR3Record* pRecords,
                                            int32* pErrCodes) {
  const Arguments arguments = Arguments().Batch(nNum, pTagIDs, pRecords);
  return Call(__func__, arguments, [&](Session& session) -> Status {
    Status status = CheckInstants(nNum, nMode);
    if (!status.ok() || nNum == 0) return status;
    return FillInstants(session.Do(InterpolateTags{.mode = static_cast<InterpolationMode>(nMode),
                                                   .ids = {pTagIDs, pTagIDs + nNum},
                                                   .times_ms = InstantsOf(pRecords, nNum)}),
                        nNum, pRecords, pErrCodes);
  });
}

int32 ar3_modify_record(uint32 nTagID, const ZR3Record* pRecord) {
  return Call(__func__, ArgumentsWithTexts().Given(pRecord), [&](Session& session) -> Status {
    SampleColumns samples;
    Status read = zervane::AddRecord(*pRecord, zervane::TextsOfThisThread(), &samples);
    if (!read.ok()) return read;
    return session.Do(CorrectRecord{.id = nTagID, .sample = samples.At(0)}).status();
  });
}
