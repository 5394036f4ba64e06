// sn3: current values.

#include <cstddef>
#include <memory>
#include <utility>
#include <vector>

#include "engine/assert.h"
#include "os/thread_owned.h"
#include "vask/api.h"
#include "vask/batch.h"
#include "vask/call.h"
#include "vask/changes.h"
#include "vask/handed_out.h"
#include "vask/records.h"

using zervane::Arguments;
using zervane::ArgumentsWithTexts;
using zervane::Call;
using zervane::ForEach;
using zervane::PollChanges;
using zervane::ReadCurrent;
using zervane::ReadCurrentValues;
using zervane::Result;
using zervane::Sample;
using zervane::SampleBatch;
using zervane::SampleView;
using zervane::Session;
using zervane::StandardText;
using zervane::Status;
using zervane::StatusOfWork;
using zervane::SubscribeFields;
using zervane::SubscribeTags;
using zervane::TagField;
using zervane::TagId;
using zervane::UnsubscribeFields;
using zervane::UnsubscribeTags;
using zervane::ViewOf;
using zervane::WriteAnswer;
using zervane::WriteOrder;
using zervane::WriteSamples;

namespace {

// The caller's nTagType tells whether the record has a buffer: in a record prepared for a number,
// where the tag holds text by now, there may stand anything.
Status FillSnapshot(const SampleView& sample, ZR3Record* record) {
  if (!zervane::IsText(sample.type)) return zervane::FillNumber(sample, record);
  if (!zervane::NeedsBuffer(record->nTagType)) {
    return {ZR3_ERR_TYPE_MISMATCH, "a record without a buffer for a STRING or BLOB"};
  }
  return zervane::FillRecord(sample, zervane::TextsOfThisThread(), record);
}

// What a thread needs for a batch. It keeps the memory, up to so many records and bytes of their
// texts, for the next one.
struct Scratch {
  SampleBatch batch;
};
constexpr std::size_t kKeptRecords = 65'536;
constexpr std::size_t kKeptTextBytes = std::size_t{1} << 20;

bool IsWorthKeeping(const SampleBatch& batch) {
  return batch.tags.capacity() <= kKeptRecords && batch.samples.texts().size() <= kKeptTextBytes;
}

// Not inline, or the compiler would look the thread's own up for every record.
[[gnu::noinline]] Scratch& ScratchOfThread() {
  static zervane::os::ThreadOwned<Scratch> scratches;
  return scratches.OfThisThread([] { return std::make_unique<Scratch>(); });
}

// Hands the database's codes of the records that were samples to those records.
void SpreadCodes(const WriteSamples::Reply& reply, int32 count, int32* codes) {
  if (reply.codes.empty()) return;
  auto next = reply.codes.begin();
  for (int32 i = 0; i < count; ++i) {
    if (codes[i] == ZR3_OK) codes[i] = *next++;
  }
  ZERVANE_ASSERT(next == reply.codes.end());
}

// Writes record i for tag tag_of(i). Records that are no samples get their codes here, the others
// the database's.
template <typename TagOf>
Status WriteRecords(Session& session, int32 count, TagOf&& tag_of, const ZR3Record* records,
                    WriteOrder order, WriteAnswer answer, int32* codes) {
  Scratch& scratch = ScratchOfThread();
  WriteSamples write{.batch = std::move(scratch.batch), .order = order, .answer = answer};
  SampleBatch& batch = write.batch;
  StandardText& texts = zervane::TextsOfThisThread();
  batch.Clear();
  batch.tags.reserve(static_cast<std::size_t>(count));
  batch.samples.Reserve(static_cast<std::size_t>(count));
  Status all_read = ForEach(count, codes, ZR3_ERR_SOME_RECORDS_FAILED, [&](int32 i) {
    Status status = zervane::AddRecord(records[i], texts, &batch.samples);
    if (status.ok()) batch.tags.push_back(tag_of(i));
    return status;
  });
  if (batch.empty()) return all_read;

  const Result<WriteSamples::Reply> reply = session.Do(write);
  // The batch's memory is kept for the next one.
  if (IsWorthKeeping(batch)) scratch.batch = std::move(batch);
  if (!reply.ok()) return reply.status();
  if (codes != nullptr) SpreadCodes(*reply, count, codes);
  return reply->status == ZR3_OK ? all_read : Status(reply->status, {});
}

// The batch functions that name a tag for each record.
int32 SaveSnapshots(const char* function, int32 count, const uint32* ids, const ZR3Record* records,
                    WriteOrder order, WriteAnswer answer, int32* codes) {
  return Call(function, ArgumentsWithTexts().Batch(count, ids, records), [&](Session& session) {
    return WriteRecords(
        session, count, [=](int32 i) { return ids[i]; }, records, order, answer, codes);
  });
}

// The arrays of a registration; `elements` may be null when there are none.
template <typename Element>
std::vector<Element> Copied(int32 count, const Element* elements) {
  if (count == 0) return {};
  return {elements, elements + count};
}

std::vector<TagField> ReadPairs(int32 count, const ZRRegInfo* pairs) {
  std::vector<TagField> fields;
  fields.reserve(static_cast<std::size_t>(count));
  for (int32 i = 0; i < count; ++i) fields.push_back({pairs[i].nTagID, pairs[i].nFieldID});
  return fields;
}

}  // namespace

int32 sn3_query_snapshot(uint32 nTagID, ZR3Record* pRecord) {
  return Call(__func__, Arguments().Given(pRecord), [&](Session& session) -> Status {
    const Result<Sample> sample = session.Do(ReadCurrent{nTagID});
    return sample.ok() ? FillSnapshot(ViewOf(*sample), pRecord) : sample.status();
  });
}

int32 sn3_query_snapshots(int32 nNum, const uint32* pTagIDs, ZR3Record* pRecords,
                          int32* pErrCodes) {
  return Call(__func__, Arguments().Batch(nNum, pTagIDs, pRecords),
              [&](Session& session) -> Status {
                const Result<ReadCurrentValues::Reply> read =
                    session.Do(ReadCurrentValues{.ids = {pTagIDs, pTagIDs + nNum}});
                if (!read.ok()) return read.status();
                return ForEach(nNum, pErrCodes, ZR3_ERR_SOME_RECORDS_FAILED, [&](int32 i) {
                  const auto at = static_cast<std::size_t>(i);
                  if (read->codes[at] != ZR3_OK) return Status(read->codes[at], {});
                  return FillSnapshot(ViewOf(read->samples, at), &pRecords[i]);
                });
              });
}

int32 sn3_save_snapshot(uint32 nTagID, const ZR3Record* pRecord) {
  return Call(__func__, ArgumentsWithTexts().Given(pRecord), [&](Session& session) {
    int32 code = ZR3_OK;
    Status status = WriteRecords(
        session, 1, [=](int32) { return nTagID; }, pRecord, WriteOrder::kInOrder,
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
        session, nNum, [=](int32) { return nTagID; }, pRecords, WriteOrder::kAnyOrder,
        WriteAnswer::kDurable, pErrCodes);
  });
}

int32 sn3_save_tags_disorder_snapshots(int32 nNum, const uint32* pTagIDs, const ZR3Record* pRecords,
                                       int32* pErrCodes) {
  return SaveSnapshots(__func__, nNum, pTagIDs, pRecords, WriteOrder::kAnyOrder,
                       WriteAnswer::kDurable, pErrCodes);
}

int32 sn3_register_callback(int32 nNum, const uint32* pTagIDs, void* pReserved) {
  const Arguments arguments =
      Arguments().Batch(nNum, pTagIDs).Require(pReserved == nullptr, ZR3_ERR_INVALID_ARGUMENT);
  return Call(__func__, arguments, [&](Session& session) {
    return session.Do(SubscribeTags{.ids = Copied(nNum, pTagIDs)}).status();
  });
}

int32 sn3_unregister_callback_of_sometag(int32 nNum, const uint32* pTagIDs) {
  return Call(__func__, Arguments().Batch(nNum, pTagIDs), [&](Session& session) {
    return session.Do(UnsubscribeTags{.ids = Copied(nNum, pTagIDs)}).status();
  });
}

int32 sn3_register_rest(int32 nNum, const ZRRegInfo* pInfos) {
  return Call(__func__, Arguments().Batch(nNum, pInfos), [&](Session& session) {
    return session.Do(SubscribeFields{.fields = ReadPairs(nNum, pInfos)}).status();
  });
}

int32 sn3_unregister_callback_rest(int32 nNum, const ZRRegInfo* pInfos) {
  return Call(__func__, Arguments().Batch(nNum, pInfos), [&](Session& session) {
    return session.Do(UnsubscribeFields{.fields = ReadPairs(nNum, pInfos)}).status();
  });
}

int32 sn3_get_callback_sn(int32* pNum, uint32** ppTagIDs, ZR3Record** ppRecords) {
  return Call(__func__, Arguments().Given(pNum, ppTagIDs, ppRecords), [&](Session& session) {
    const auto hand_out = [&](const SampleBatch& changes) {
      return zervane::HandOutChanges(changes, zervane::TextsOfThisThread(), pNum, ppTagIDs,
                                     ppRecords);
    };
    return session.polled_changes().HandOver([&] { return session.Do(PollChanges{}); }, hand_out);
  });
}

int32 sn3_free_callback_sn(int32 nNum, uint32* pTagIDs, ZR3Record* pRecords) {
  if (pTagIDs == nullptr && pRecords == nullptr) return ZR3_OK;
  return StatusOfWork(__func__, [&]() -> Status {
    // A batch without tags is one of alarms, which is not freed here.
    if (pTagIDs == nullptr) return {ZR3_ERR_INVALID_HANDLE, "one of a pair of arrays"};
    return zervane::ProcessHandedOut().Free({.records = pRecords, .tags = pTagIDs, .count = nNum});
  });
}
