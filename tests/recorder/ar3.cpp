#include "recorder.h"

using zervane::recorder::Buffers;
using zervane::recorder::Call;

int32 ar3_query_raw_records_number(uint32 nTagID, const ZR3TimeRegion* pRegion, int32* pNum) {
  return Call("ar3_query_raw_records_number")
      .In("nTagID", nTagID)
      .InRecord("pRegion", pRegion)
      .InOut("pNum", pNum)
      .Status();
}

int32 ar3_query_raw_records(uint32 nTagID, const ZR3TimeRegion* pRegion, int32* pNum,
                            ZR3Record* pRecords) {
  return Call("ar3_query_raw_records")
      .In("nTagID", nTagID)
      .InRecord("pRegion", pRegion)
      .InOut("pNum", pNum)
      .InOutRecords("pRecords", pRecords, *pNum)
      .Status();
}

int32 ar3_query_specify_num_raw_recs(uint32 nTagID, const ZR3Time* pStart, bool8 bBackward,
                                     int32* pNum, ZR3Record* pRecords) {
  return Call("ar3_query_specify_num_raw_recs")
      .In("nTagID", nTagID)
      .InRecord("pStart", pStart)
      .In("bBackward", bBackward)
      .InOut("pNum", pNum)
      .InOutRecords("pRecords", pRecords, *pNum)
      .Status();
}

int32 ar3_query_interp_records_by_mode(ZR3_REC_INTERP_QUERY_MODE nMode, uint32 nTagID, int32 nNum,
                                       ZR3Record* pRecords, int32* pErrCodes) {
  return Call("ar3_query_interp_records_by_mode")
      .In("nMode", nMode)
      .In("nTagID", nTagID)
      .In("nNum", nNum)
      .InOutRecords("pRecords", pRecords, nNum)
      .InOutArray("pErrCodes", pErrCodes, nNum)
      .Status();
}

int32 ar3_query_tags_interp_records_by_mode(ZR3_REC_INTERP_QUERY_MODE nMode, int32 nNum,
                                            const uint32* pTagIDs, ZR3Record* pRecords,
                                            int32* pErrCodes) {
  return Call("ar3_query_tags_interp_records_by_mode")
      .In("nMode", nMode)
      .In("nNum", nNum)
      .InArray("pTagIDs", pTagIDs, nNum)
      .InOutRecords("pRecords", pRecords, nNum)
      .InOutArray("pErrCodes", pErrCodes, nNum)
      .Status();
}

int32 ar3_modify_record(uint32 nTagID, const ZR3Record* pRecord) {
  return Call("ar3_modify_record")
      .In("nTagID", nTagID)
      .InRecords("pRecord", pRecord, 1, Buffers::kByType)
      .Status();
}
