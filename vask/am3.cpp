// am3: alarms.

#include "vask/api.h"
#include "vask/call.h"
#include "vask/class_tag.h"
#include "vask/records.h"

using zervane::Arguments;
using zervane::ArgumentsWithTexts;
using zervane::Call;
using zervane::Session;
using zervane::Status;
using zervane::Unsupported;
using zervane::UnsupportedQuery;

namespace {

// A query of alarm records, given by now, whose times must be times and in order.
int32 QueryRecords(const char* function, const Arguments& arguments, const ZR3AlarmQuery* query,
                   ZR3HANDLE* iterator) {
  if (iterator != nullptr) *iterator = nullptr;
  return Call(function, arguments, [&](Session&) -> Status {
    const auto region = zervane::ReadRegion(
        {.left = query->tvStart, .right = query->tvEnd, .bLeftClosed = 1, .bRightClosed = 1});
    return region.ok() ? Status(ZR3_ERR_NOT_SUPPORTED, {}) : region.status();
  });
}

Arguments CheckTexts(Arguments arguments, const ZR3AlarmGroup* group) {
  return arguments.Text(group, &ZR3AlarmGroup::szName).Text(group, &ZR3AlarmGroup::szDesc);
}

}  // namespace

int32 am3_add_tag(ZR3AlarmTagProp* pProp, const ZR3Mask* pMask, const char* /*szNode*/,
                  uint32* pTagID) {
  return zervane::AddClassTag(__func__, ZR3_TAG_CLASS_ALARM, pProp, pMask, pTagID);
}

int32 am3_modify_tag_prop(uint32 nTagID, const ZR3AlarmTagProp* pProp, const ZR3Mask* pMask) {
  return zervane::ModifyClassTag(__func__, ZR3_TAG_CLASS_ALARM, nTagID, pProp, pMask);
}

int32 am3_query_tag_prop(uint32 nTagID, ZR3AlarmTagProp* pProp) {
  return zervane::QueryClassTag(__func__, ZR3_TAG_CLASS_ALARM, nTagID, pProp);
}

int32 am3_query_tags_all_records(int32 nTagNum, const uint32* pTagIDs, const ZR3AlarmQuery* pQuery,
                                 int64 /*nPropMask*/, ZR3HANDLE* pIterator) {
  return QueryRecords(__func__, Arguments().Given(pQuery, pIterator).Batch(nTagNum, pTagIDs),
                      pQuery, pIterator);
}

int32 am3_query_tag_records(uint32 /*nTagID*/, const ZR3AlarmQuery* pQuery, int64 /*nPropMask*/,
                            ZR3HANDLE* pIterator) {
  return QueryRecords(__func__, Arguments().Given(pQuery, pIterator), pQuery, pIterator);
}

int32 am3_query_group_records(uint32 /*nGroupID*/, const ZR3AlarmQuery* pQuery, int64 /*nPropMask*/,
                              ZR3HANDLE* pIterator) {
  return QueryRecords(__func__, Arguments().Given(pQuery, pIterator), pQuery, pIterator);
}

int32 am3_query_snapshots(int32 nTagNum, const uint32* pTagIDs, int64 /*nPropMask*/,
                          ZR3AlarmRecord* pRecords, int32* /*pErrCodes*/) {
  return Unsupported(__func__, Arguments().Batch(nTagNum, pTagIDs, pRecords));
}

int32 am3_acknowledge_alarms(int32 nNum, const uint32* pTagIDs, const ZR3Time* pTimes,
                             int32* /*pErrCodes*/) {
  return Unsupported(__func__, Arguments().Batch(nNum, pTagIDs, pTimes));
}

int32 am3_comment_alarms(int32 nNum, const uint32* pTagIDs, const ZR3Time* pTimes,
                         const char* pComments, int32* /*pErrCodes*/) {
  return Unsupported(__func__, ArgumentsWithTexts().Batch(nNum, pTagIDs, pTimes, pComments));
}

int32 am3_add_group(const ZR3AlarmGroup* pGroup, uint32* pGroupID) {
  return Unsupported(__func__, CheckTexts(ArgumentsWithTexts().Given(pGroup, pGroupID), pGroup));
}

int32 am3_delete_group(uint32 /*nGroupID*/) { return Unsupported(__func__, Arguments()); }

int32 am3_modify_group(uint32 /*nGroupID*/, const ZR3AlarmGroup* pGroup) {
  return Unsupported(__func__, CheckTexts(ArgumentsWithTexts().Given(pGroup), pGroup));
}

int32 am3_query_group_id(const char* szName, uint32 /*nParentID*/, uint32* pGroupID) {
  return Unsupported(__func__,
                     ArgumentsWithTexts().Given(szName, pGroupID).Text(szName, ZR3_LEN_TAG_NAME));
}

int32 am3_query_group_props(int32 nNum, const uint32* pGroupIDs, ZR3AlarmGroup* pGroups,
                            int32* /*pErrCodes*/) {
  return Unsupported(__func__, Arguments().Batch(nNum, pGroupIDs, pGroups));
}

int32 am3_query_group_child_groups(uint32 /*nGroupID*/, ZR3HANDLE* pIterator) {
  return UnsupportedQuery(__func__, Arguments().Given(pIterator), pIterator);
}

int32 am3_query_group_child_tags(uint32 /*nGroupID*/, ZR3HANDLE* pIterator) {
  return UnsupportedQuery(__func__, Arguments().Given(pIterator), pIterator);
}

int32 am3_register_alarm_record_info(void* pReserved) {
  return Unsupported(__func__, Arguments().Require(pReserved == nullptr, ZR3_ERR_INVALID_ARGUMENT));
}

int32 am3_get_callback_am(int32* pNum, ZR3AlarmRecord** ppRecords) {
  return Unsupported(__func__, Arguments().Given(pNum, ppRecords));
}

// Nothing is handed out yet, so there is nothing to release.
int32 am3_free_callback_am(int32 /*nNum*/, ZR3AlarmRecord* /*pRecords*/) { return ZR3_OK; }
