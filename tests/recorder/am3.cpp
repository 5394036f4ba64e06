#include "recorder.h"
#include "tag_property_calls.h"

using namespace zervane::recorder;

// ---- alarm tags ----

int32 am3_add_tag(ZR3AlarmTagProp* pProp, const ZR3Mask* pMask, const char* szNode,
                  uint32* pTagID) {
  return AddTag("am3_add_tag", pProp, pMask, szNode, pTagID);
}

int32 am3_modify_tag_prop(uint32 nTagID, const ZR3AlarmTagProp* pProp, const ZR3Mask* pMask) {
  return ModifyTag("am3_modify_tag_prop", nTagID, pProp, pMask);
}

int32 am3_query_tag_prop(uint32 nTagID, ZR3AlarmTagProp* pProp) {
  return QueryTag("am3_query_tag_prop", nTagID, pProp);
}

// ---- alarm records ----

int32 am3_query_tags_all_records(int32 nTagNum, const uint32* pTagIDs, const ZR3AlarmQuery* pQuery,
                                 int64 nPropMask, ZR3HANDLE* pIterator) {
  return Call("am3_query_tags_all_records")
      .In("nTagNum", nTagNum)
      .InArray("pTagIDs", pTagIDs, nTagNum)
      .InRecord("pQuery", pQuery)
      .In("nPropMask", nPropMask)
      .Out("pIterator", pIterator)
      .Status();
}

int32 am3_query_tag_records(uint32 nTagID, const ZR3AlarmQuery* pQuery, int64 nPropMask,
                            ZR3HANDLE* pIterator) {
  return Call("am3_query_tag_records")
      .In("nTagID", nTagID)
      .InRecord("pQuery", pQuery)
      .In("nPropMask", nPropMask)
      .Out("pIterator", pIterator)
      .Status();
}

int32 am3_query_group_records(uint32 nGroupID, const ZR3AlarmQuery* pQuery, int64 nPropMask,
                              ZR3HANDLE* pIterator) {
  return Call("am3_query_group_records")
      .In("nGroupID", nGroupID)
      .InRecord("pQuery", pQuery)
      .In("nPropMask", nPropMask)
      .Out("pIterator", pIterator)
      .Status();
}

int32 am3_query_snapshots(int32 nTagNum, const uint32* pTagIDs, int64 nPropMask,
                          ZR3AlarmRecord* pRecords, int32* pErrCodes) {
  return Call("am3_query_snapshots")
      .In("nTagNum", nTagNum)
      .InArray("pTagIDs", pTagIDs, nTagNum)
      .In("nPropMask", nPropMask)
      .InOutArray("pRecords", pRecords, nTagNum)
      .InOutArray("pErrCodes", pErrCodes, nTagNum)
      .Status();
}

// ---- alarm handling ----

int32 am3_acknowledge_alarms(int32 nNum, const uint32* pTagIDs, const ZR3Time* pTimes,
                             int32* pErrCodes) {
  return Call("am3_acknowledge_alarms")
      .In("nNum", nNum)
      .InArray("pTagIDs", pTagIDs, nNum)
      .InArray("pTimes", pTimes, nNum)
      .OutArray("pErrCodes", pErrCodes, nNum)
      .Status();
}

int32 am3_comment_alarms(int32 nNum, const uint32* pTagIDs, const ZR3Time* pTimes,
                         const char* pComments, int32* pErrCodes) {
  return Call("am3_comment_alarms")
      .In("nNum", nNum)
      .InArray("pTagIDs", pTagIDs, nNum)
      .InArray("pTimes", pTimes, nNum)
      .InArray("pComments", reinterpret_cast<const char(*)[ZR3_LEN_ALARM_COMMENT]>(pComments), nNum)
      .OutArray("pErrCodes", pErrCodes, nNum)
      .Status();
}

// ---- alarm groups ----

// "pGroupID" is logged as its place within the record.
int32 am3_add_group(const ZR3AlarmGroup* pGroup, uint32* pGroupID) {
  return Call("am3_add_group")
      .InRecord("pGroup", pGroup)
      .InPlace("pGroupID", pGroupID, pGroup)
      .Out("pGroupID", pGroupID)
      .Status();
}

int32 am3_delete_group(uint32 nGroupID) {
  return Call("am3_delete_group").In("nGroupID", nGroupID).Status();
}

int32 am3_modify_group(uint32 nGroupID, const ZR3AlarmGroup* pGroup) {
  return Call("am3_modify_group").In("nGroupID", nGroupID).InRecord("pGroup", pGroup).Status();
}

int32 am3_query_group_id(const char* szName, uint32 nParentID, uint32* pGroupID) {
  return Call("am3_query_group_id")
      .InText("szName", szName)
      .In("nParentID", nParentID)
      .Out("pGroupID", pGroupID)
      .Status();
}

int32 am3_query_group_props(int32 nNum, const uint32* pGroupIDs, ZR3AlarmGroup* pGroups,
                            int32* pErrCodes) {
  return Call("am3_query_group_props")
      .In("nNum", nNum)
      .InArray("pGroupIDs", pGroupIDs, nNum)
      .InOutArray("pErrCodes", pErrCodes, nNum)
      .OutArray("pGroups", pGroups, nNum)
      .Status();
}

int32 am3_query_group_child_groups(uint32 nGroupID, ZR3HANDLE* pIterator) {
  return Call("am3_query_group_child_groups")
      .In("nGroupID", nGroupID)
      .Out("pIterator", pIterator)
      .Status();
}

int32 am3_query_group_child_tags(uint32 nGroupID, ZR3HANDLE* pIterator) {
  return Call("am3_query_group_child_tags")
      .In("nGroupID", nGroupID)
      .Out("pIterator", pIterator)
      .Status();
}

// ---- alarm subscription ----

int32 am3_register_alarm_record_info(void* pReserved) {
  return Call("am3_register_alarm_record_info")
      .In("pReserved", reinterpret_cast<intptr_t>(pReserved))
      .Status();
}

int32 am3_get_callback_am(int32* pNum, ZR3AlarmRecord** ppRecords) {
  return Call("am3_get_callback_am").Out("pNum", pNum).OutLent("ppRecords", ppRecords).Status();
}

int32 am3_free_callback_am(int32 nNum, ZR3AlarmRecord* pRecords) {
  return Call("am3_free_callback_am").In("nNum", nNum).InLent("pRecords", pRecords).Status();
}
