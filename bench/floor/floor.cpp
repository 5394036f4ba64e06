// A client library that does nothing: what a call costs on it is what the virtual machine and the
// bridge cost, the floor that no database behind them can beat.
//
// Every function answers 0 and leaves its arguments alone, but for what the bridge has to see to do
// the conversions that it does for a real database: identifiers that follow from the names, tags
// that are FLOAT64, and reads that find as many records as there is room for. Such a record has its
// type and is zero otherwise.
#include <cstddef>
#include <cstdlib>
#include <cstring>

#include "zervane.h"

namespace {

// The number that a name ends with, plus 1, so that "TAG.0" has the first valid identifier.
uint32 IdOfName(const char* name) {
  const char* const dot = strrchr(name, '.');
  return dot == nullptr ? 1 : static_cast<uint32>(strtoul(dot + 1, nullptr, 10)) + 1;
}

void SetTypes(int32 count, ZR3Record* records) {
  for (int32 i = 0; i < count; ++i) records[i].nTagType = ZR3_TAG_TYPE_FLOAT64;
}

}  // namespace

// ==== nt3 ====
int32 nt3_connect(const ZR3Connection*) { return 0; }
int32 nt3_disconnect() { return 0; }

// ==== ut3 ====
// There is nothing to iterate over, and a caller that loops has to end.
int32 ut3_get_item_step(ZR3HANDLE, void*) { return ZR3_ERR_END_OF_ITERATION; }
int32 ut3_free_handle(ZR3HANDLE) { return 0; }
int32 ut3_set_request_timeout(int32) { return 0; }
int32 ut3_set_api_option(int64) { return 0; }
int32 ut3_set_request_cache_capacity(int32) { return 0; }
int32 ut3_get_server_ms_time(int64*) { return 0; }
int32 ut3_send_rest_info(ZRRestCfg) { return 0; }

// ==== pt3 ====
int32 pt3_add_tag(const ZR3PtTagProp* pProp, const ZR3Mask*, const char*, uint32* pTagID) {
  *pTagID = IdOfName(pProp->szTagName);
  return 0;
}
int32 pt3_modify_tag_prop(uint32, const ZR3PtTagProp*, const ZR3Mask*) { return 0; }
int32 pt3_query_tag_prop(uint32, ZR3PtTagProp*) { return 0; }
int32 pt3_query_tag_type(uint32, ZR3_TAG_TYPE* pTagType) {
  *pTagType = ZR3_TAG_TYPE_FLOAT64;
  return 0;
}
int32 pt3_query_tags_cond(const ZR3FilterItemSet*, const ZR3Mask*, ZR3HANDLE*) { return 0; }

// ==== tag3 ====
int32 tag3_delete_tag(uint32) { return 0; }
int32 tag3_query_tags_cond(int64, const ZR3FilterItemSet*, int64, ZR3HANDLE*) { return 0; }
int32 tag3_query_specify_page_tags_cond(int64, const ZR3PageQueryTagParam*, ZR3HANDLE*) {
  return 0;
}
int32 tag3_query_tag_num_cond(int32, const ZR3FilterItemSet*, int32*) { return 0; }
int32 tag3_query_all_tags_prop(int64, int32*, int64, ZR3CommTagProp**, int32) { return 0; }
int32 tag3_free_all_tags_prop(ZR3CommTagProp*) { return 0; }
int32 tag3_query_id_by_name(const char* szTagName, uint32* pTagID) {
  *pTagID = IdOfName(szTagName);
  return 0;
}
int32 tag3_query_ids_by_names(int32 nNum, const char* pTagNames, uint32* pTagIDs, int32*) {
  for (std::ptrdiff_t i = 0; i < nNum; ++i) pTagIDs[i] = IdOfName(pTagNames + i * ZR3_LEN_TAG_NAME);
  return 0;
}

// ==== cc3 ====
int32 cc3_cmd(const char*, char**) { return 0; }
int32 cc3_cmd_free(char*) { return 0; }

// ==== sn3 ====
int32 sn3_query_snapshot(uint32, ZR3Record* pRecord) {
  pRecord->nTagType = ZR3_TAG_TYPE_FLOAT64;
  return 0;
}
int32 sn3_query_snapshots(int32 nNum, const uint32*, ZR3Record* pRecords, int32*) {
  SetTypes(nNum, pRecords);
  return 0;
}
int32 sn3_save_snapshot(uint32, const ZR3Record*) { return 0; }
int32 sn3_save_snapshots(int32, const uint32*, const ZR3Record*, int32*) { return 0; }
int32 sn3_save_snapshots_nowait(int32, const uint32*, const ZR3Record*, int32*) { return 0; }
int32 sn3_save_disorder_snapshots(int32, uint32, const ZR3Record*, int32*) { return 0; }
int32 sn3_save_tags_disorder_snapshots(int32, const uint32*, const ZR3Record*, int32*) { return 0; }
int32 sn3_register_callback(int32, const uint32*, void*) { return 0; }
int32 sn3_unregister_callback_of_sometag(int32, const uint32*) { return 0; }
int32 sn3_register_rest(int32, const ZRRegInfo*) { return 0; }
int32 sn3_unregister_callback_rest(int32, const ZRRegInfo*) { return 0; }
int32 sn3_get_callback_sn(int32*, uint32**, ZR3Record**) { return 0; }
int32 sn3_free_callback_sn(int32, uint32*, ZR3Record*) { return 0; }

// ==== ar3 ====
int32 ar3_query_raw_records_number(uint32, const ZR3TimeRegion*, int32*) { return 0; }
int32 ar3_query_raw_records(uint32, const ZR3TimeRegion*, int32* pNum, ZR3Record* pRecords) {
  SetTypes(*pNum, pRecords);
  return 0;
}
int32 ar3_query_specify_num_raw_recs(uint32, const ZR3Time*, bool8, int32* pNum,
                                     ZR3Record* pRecords) {
  SetTypes(*pNum, pRecords);
  return 0;
}
int32 ar3_query_interp_records_by_mode(ZR3_REC_INTERP_QUERY_MODE, uint32, int32, ZR3Record*,
                                       int32*) {
  return 0;
}
int32 ar3_query_tags_interp_records_by_mode(ZR3_REC_INTERP_QUERY_MODE, int32, const uint32*,
                                            ZR3Record*, int32*) {
  return 0;
}
int32 ar3_modify_record(uint32, const ZR3Record*) { return 0; }

// ==== st3 ====
int32 st3_tag_stats_calc(uint32, const ZR3StRelatedParam*, float64*) { return 0; }
int32 st3_add_tag(const ZR3StatsTagProp*, const ZR3Mask*, const char*, uint32*) { return 0; }
int32 st3_modify_tag_prop(uint32, const ZR3StatsTagProp*, const ZR3Mask*) { return 0; }
int32 st3_query_tag_prop(uint32, ZR3StatsTagProp*) { return 0; }

// ==== ca3 ====
int32 ca3_add_tag(const ZR3CalcTagProp*, const ZR3Mask*, const char*, uint32*) { return 0; }
int32 ca3_modify_tag_prop(uint32, const ZR3CalcTagProp*, const ZR3Mask*) { return 0; }
int32 ca3_query_tag_prop(uint32, ZR3CalcTagProp*) { return 0; }

// ==== am3 ====
int32 am3_add_tag(ZR3AlarmTagProp*, const ZR3Mask*, const char*, uint32*) { return 0; }
int32 am3_modify_tag_prop(uint32, const ZR3AlarmTagProp*, const ZR3Mask*) { return 0; }
int32 am3_query_tag_prop(uint32, ZR3AlarmTagProp*) { return 0; }
int32 am3_query_tags_all_records(int32, const uint32*, const ZR3AlarmQuery*, int64, ZR3HANDLE*) {
  return 0;
}
int32 am3_query_tag_records(uint32, const ZR3AlarmQuery*, int64, ZR3HANDLE*) { return 0; }
int32 am3_query_group_records(uint32, const ZR3AlarmQuery*, int64, ZR3HANDLE*) { return 0; }
int32 am3_query_snapshots(int32, const uint32*, int64, ZR3AlarmRecord*, int32*) { return 0; }
int32 am3_acknowledge_alarms(int32, const uint32*, const ZR3Time*, int32*) { return 0; }
int32 am3_comment_alarms(int32, const uint32*, const ZR3Time*, const char*, int32*) { return 0; }
int32 am3_add_group(const ZR3AlarmGroup*, uint32*) { return 0; }
int32 am3_delete_group(uint32) { return 0; }
int32 am3_modify_group(uint32, const ZR3AlarmGroup*) { return 0; }
int32 am3_query_group_id(const char*, uint32, uint32*) { return 0; }
int32 am3_query_group_props(int32, const uint32*, ZR3AlarmGroup*, int32*) { return 0; }
int32 am3_query_group_child_groups(uint32, ZR3HANDLE*) { return 0; }
int32 am3_query_group_child_tags(uint32, ZR3HANDLE*) { return 0; }
int32 am3_register_alarm_record_info(void*) { return 0; }
int32 am3_get_callback_am(int32*, ZR3AlarmRecord**) { return 0; }
int32 am3_free_callback_am(int32, ZR3AlarmRecord*) { return 0; }

// ==== sc3 ====
int32 sc3_login(const char*, const char*) { return 0; }
int32 sc3_add_user(const ZR3SecUser*) { return 0; }
int32 sc3_delete_user(const char*) { return 0; }
int32 sc3_modify_password(const char*, const char*, const char*) { return 0; }
int32 sc3_modify_user_desc(const char*, const char*) { return 0; }
int32 sc3_reset_password(const char*, const char*) { return 0; }
int32 sc3_query_current_user_name(int32, char*) { return 0; }
int32 sc3_query_all_users(ZR3HANDLE*) { return 0; }
int32 sc3_add_group(const ZR3SecGroup*) { return 0; }
int32 sc3_delete_group(const char*) { return 0; }
int32 sc3_modify_group_desc(const char*, const char*) { return 0; }
int32 sc3_add_user_to_group(const char*, const char*) { return 0; }
int32 sc3_delete_user_from_group(const char*, const char*) { return 0; }
int32 sc3_query_members_of_group(const char*, ZR3HANDLE*) { return 0; }
int32 sc3_query_all_groups(ZR3HANDLE*) { return 0; }
int32 sc3_query_groups_of_user(const char*, ZR3HANDLE*) { return 0; }
int32 sc3_query_all_auth_items(ZR3HANDLE*) { return 0; }
int32 sc3_query_auth_of_user(const char*, const char*, int32*) { return 0; }
