#include "recorder.h"

using zervane::recorder::Buffers;
using zervane::recorder::Call;

namespace {

// Records with a tag for each: the shape of the three batches that are written.
int32 SaveBatch(const char* function, int32 count, const uint32* tag_ids, const ZR3Record* records,
                int32* codes) {
  return Call(function)
      .In("nNum", count)
      .InArray("pTagIDs", tag_ids, count)
      .InRecords("pRecords", records, count, Buffers::kByPointer)
      .InOutArray("pErrCodes", codes, count)
      .Status();
}

int32 NamedTags(const char* function, int32 count, const uint32* tag_ids) {
  return Call(function).In("nNum", count).InArray("pTagIDs", tag_ids, count).Status();
}

int32 NamedFields(const char* function, int32 count, const ZRRegInfo* infos) {
  return Call(function).In("nNum", count).InArray("pInfos", infos, count).Status();
}

}  // namespace

int32 sn3_query_snapshot(uint32 nTagID, ZR3Record* pRecord) {
  return Call("sn3_query_snapshot")
      .In("nTagID", nTagID)
      .InOutRecords("pRecord", pRecord, 1)
      .Status();
}

int32 sn3_query_snapshots(int32 nNum, const uint32* pTagIDs, ZR3Record* pRecords,
                          int32* pErrCodes) {
  return Call("sn3_query_snapshots")
      .In("nNum", nNum)
      .InArray("pTagIDs", pTagIDs, nNum)
      .InOutRecords("pRecords", pRecords, nNum)
      .InOutArray("pErrCodes", pErrCodes, nNum)
      .Status();
}

int32 sn3_save_snapshot(uint32 nTagID, const ZR3Record* pRecord) {
  return Call("sn3_save_snapshot")
      .In("nTagID", nTagID)
      .InRecords("pRecord", pRecord, 1, Buffers::kByType)
      .Status();
}

int32 sn3_save_snapshots(int32 nNum, const uint32* pTagIDs, const ZR3Record* pRecords,
                         int32* pErrCodes) {
  return SaveBatch("sn3_save_snapshots", nNum, pTagIDs, pRecords, pErrCodes);
}

int32 sn3_save_snapshots_nowait(int32 nNum, const uint32* pTagIDs, const ZR3Record* pRecords,
                                int32* pErrCodes) {
  return SaveBatch("sn3_save_snapshots_nowait", nNum, pTagIDs, pRecords, pErrCodes);
}

int32 sn3_save_disorder_snapshots(int32 nNum, uint32 nTagID, const ZR3Record* pRecords,
                                  int32* pErrCodes) {
  return Call("sn3_save_disorder_snapshots")
      .In("nNum", nNum)
      .In("nTagID", nTagID)
      .InRecords("pRecords", pRecords, nNum, Buffers::kByPointer)
      .InOutArray("pErrCodes", pErrCodes, nNum)
      .Status();
}

int32 sn3_save_tags_disorder_snapshots(int32 nNum, const uint32* pTagIDs, const ZR3Record* pRecords,
                                       int32* pErrCodes) {
  return SaveBatch("sn3_save_tags_disorder_snapshots", nNum, pTagIDs, pRecords, pErrCodes);
}

int32 sn3_register_callback(int32 nNum, const uint32* pTagIDs, void* pReserved) {
  return Call("sn3_register_callback")
      .In("nNum", nNum)
      .InArray("pTagIDs", pTagIDs, nNum)
      .In("pReserved", reinterpret_cast<intptr_t>(pReserved))
      .Status();
}

int32 sn3_unregister_callback_of_sometag(int32 nNum, const uint32* pTagIDs) {
  return NamedTags("sn3_unregister_callback_of_sometag", nNum, pTagIDs);
}

int32 sn3_register_rest(int32 nNum, const ZRRegInfo* pInfos) {
  return NamedFields("sn3_register_rest", nNum, pInfos);
}

int32 sn3_unregister_callback_rest(int32 nNum, const ZRRegInfo* pInfos) {
  return NamedFields("sn3_unregister_callback_rest", nNum, pInfos);
}

int32 sn3_get_callback_sn(int32* pNum, uint32** ppTagIDs, ZR3Record** ppRecords) {
  return Call("sn3_get_callback_sn")
      .Out("pNum", pNum)
      .OutLent("ppTagIDs", ppTagIDs)
      .OutLentRecords("ppRecords", ppRecords)
      .Status();
}

int32 sn3_free_callback_sn(int32 nNum, uint32* pTagIDs, ZR3Record* pRecords) {
  return Call("sn3_free_callback_sn")
      .In("nNum", nNum)
      .InLent("pTagIDs", pTagIDs)
      .InLent("pRecords", pRecords)
      .Status();
}
