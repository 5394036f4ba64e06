// sn3: current values.

#include <cstddef>
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
using zervane::Database;
using zervane::ForEach;
using zervane::Result;
using zervane::Sample;
using zervane::Session;
using zervane::Status;
using zervane::TagId;
using zervane::TagSample;
using zervane::Unsupported;
using zervane::WriteAnswer;
using zervane::WriteOrder;

namespace {

// The caller's nTagType tells whether the record has a buffer: in a record prepared for a number,
// where the tag holds text by now, there may stand anything.
Status ReadSnapshot(Database& database, TagId id, ZR3Record* record) {
  const Result<Sample> sample = database.ReadCurrent(id);
  if (!sample.ok()) return sample.status();
  const auto type = static_cast<ZR3_TAG_TYPE>(sample->type);
  if (zervane::NeedsBuffer(type) && !zervane::NeedsBuffer(record->nTagType)) {
    return {ZR3_ERR_TYPE_MISMATCH, "a record without a buffer for a STRING or BLOB"};
  }
  return zervane::FillRecord(*sample, record);
}

// What a thread needs for a batch. It keeps the memory, up to so many records, for the next one.
struct Scratch {
  std::vector<TagSample> batch;
  std::vector<int32> written;  // a code for each
};
constexpr std::size_t kKeptRecords = 65'536;

// Not inline, or the compiler would look the thread's own up for every record.
[[gnu::noinline]] Scratch& ScratchOfThread() {
  thread_local Scratch scratch;
  return scratch;
}

// Writes record i for tag tag_of(i). Records that are no samples get their codes here, the others
// the database's.
template <typename TagOf>
Status WriteRecords(Database& database, int32 count, TagOf&& tag_of, const ZR3Record* records,
                    WriteOrder order, WriteAnswer answer, int32* codes) {
  Scratch& scratch = ScratchOfThread();
  std::vector<TagSample>& batch = scratch.batch;
  std::vector<int32>& written = scratch.written;
  batch.clear();
  batch.reserve(static_cast<std::size_t>(count));
  Status all_read = ForEach(count, codes, ZR3_ERR_SOME_RECORDS_FAILED, [&](int32 i) {
    TagSample& next = batch.emplace_back();
    next.tag = tag_of(i);
    Status status = zervane::ReadRecord(records[i], &next.sample);
    if (!status.ok()) batch.pop_back();
    return status;
  });
  if (batch.empty()) return all_read;

  written.resize(batch.size());
  Status status = database.Write(std::move(batch), order, answer, written);
  auto next = written.begin();
  for (int32 i = 0; codes != nullptr && i < count; ++i) {
    if (codes[i] == ZR3_OK) codes[i] = *next++;
  }
  ZERVANE_ASSERT(codes == nullptr || next == written.end());
  // The database has the samples; their memory is still the batch's.
  if (batch.capacity() > kKeptRecords) scratch = {};  // NOLINT(bugprone-use-after-move)
  return status.ok() ? all_read : status;
}

// The batch functions that name a tag for each record.
int32 SaveSnapshots(const char* function, int32 count, const uint32* ids, const ZR3Record* records,
                    WriteOrder order, WriteAnswer answer, int32* codes) {
  return Call(function, ArgumentsWithTexts().Batch(count, ids, records), [&](Session& session) {
    return WriteRecords(
        session.database(), count, [=](int32 i) { return ids[i]; }, records, order, answer, codes);
  });
}

}  // namespace

int32 sn3_query_snapshot(uint32 nTagID, ZR3Record* pRecord) {
  return Call(__func__, Arguments().Given(pRecord),
              [&](Session& session) { return ReadSnapshot(session.database(), nTagID, pRecord); });
}

int32 sn3_query_snapshots(int32 nNum, const uint32* pTagIDs, ZR3Record* pRecords,
                          int32* pErrCodes) {
  return Call(__func__, Arguments().Batch(nNum, pTagIDs, pRecords), [&](Session& session) {
    return ForEach(nNum, pErrCodes, ZR3_ERR_SOME_RECORDS_FAILED, [&](int32 i) {
      return ReadSnapshot(session.database(), pTagIDs[i], &pRecords[i]);
    });
  });
}

int32 sn3_save_snapshot(uint32 nTagID, const ZR3Record* pRecord) {
  return Call(__func__, ArgumentsWithTexts().Given(pRecord), [&](Session& session) {
    int32 code = ZR3_OK;
    Status status = WriteRecords(
        session.database(), 1, [=](int32) { return nTagID; }, pRecord, WriteOrder::kInOrder,
        WriteAnswer::kDurable, &code);
    return status.code() == ZR3_ERR_SOME_RECORDS_FAILED ? Status(code, {}) : status;
  });
}

int32 sn3_save_snapshots(int32 nNum, const uint32* pTagIDs, const ZR3Record* pRecords,
                         int32* pErrCodes) {
  return SaveSnapshots(__func__, nNum, pTagIDs, pRecords, WriteOrder::kInOrder,
                       WriteAnswer::kDurable, pErrCodes);
}

int32 sn3_save_snapshots_nowait(int32 nNum, const uint32* pTagIDs, const ZR3Record* pRecords,
                                int32* pErrCodes) {
  return SaveSnapshots(__func__, nNum, pTagIDs, pRecords, WriteOrder::kInOrder,
                       WriteAnswer::kQueued, pErrCodes);
}

int32 sn3_save_disorder_snapshots(int32 nNum, uint32 nTagID, const ZR3Record* pRecords,
                                  int32* pErrCodes) {
  return Call(__func__, ArgumentsWithTexts().Batch(nNum, pRecords), [&](Session& session) {
    return WriteRecords(
        session.database(), nNum, [=](int32) { return nTagID; }, pRecords, WriteOrder::kAnyOrder,
        WriteAnswer::kDurable, pErrCodes);
  });
}

int32 sn3_save_tags_disorder_snapshots(int32 nNum, const uint32* pTagIDs, const ZR3Record* pRecords,
                                       int32* pErrCodes) {
  return SaveSnapshots(__func__, nNum, pTagIDs, pRecords, WriteOrder::kAnyOrder,
                       WriteAnswer::kDurable, pErrCodes);
}

int32 sn3_register_callback(int32 nNum, const uint32* pTagIDs, void* pReserved) {
  return Unsupported(
      __func__,
      Arguments().Batch(nNum, pTagIDs).Require(pReserved == nullptr, ZR3_ERR_INVALID_ARGUMENT));
}

int32 sn3_unregister_callback_of_sometag(int32 nNum, const uint32* pTagIDs) {
  return Unsupported(__func__, Arguments().Batch(nNum, pTagIDs));
}

int32 sn3_register_rest(int32 nNum, const ZRRegInfo* pInfos) {
  return Unsupported(__func__, Arguments().Batch(nNum, pInfos));
}

int32 sn3_unregister_callback_rest(int32 nNum, const ZRRegInfo* pInfos) {
  return Unsupported(__func__, Arguments().Batch(nNum, pInfos));
}

int32 sn3_get_callback_sn(int32* pNum, uint32** ppTagIDs, ZR3Record** ppRecords) {
  return Unsupported(__func__, Arguments().Given(pNum, ppTagIDs, ppRecords));
}

// Nothing is handed out yet, so there is nothing to release.
int32 sn3_free_callback_sn(int32 /*nNum*/, uint32* /*pTagIDs*/, ZR3Record* /*pRecords*/) {
  return ZR3_OK;
}
