#include "tests/vask/api_function.h"

#include <cstring>
#include <set>
#include <utility>

namespace zervane {
namespace {

// What the arguments point to. Records are zero but for what makes them valid.
struct Records {
  ZR3Connection connection{};
  ZR3Record record{};
  ZR3Time time{};
  ZR3TimeRegion region{};
  ZR3Mask mask{};
  ZR3PtTagProp point_tag{};
  ZR3StatsTagProp stats_tag{};
  ZR3CalcTagProp calc_tag{};
  ZR3AlarmTagProp alarm_tag{};
  ZR3FilterItem item{};
  ZR3FilterItemSet filter{};
  ZR3PageQueryTagParam page{};
  ZR3StRelatedParam statistics{};
  ZRRegInfo pair{};
  ZR3AlarmRecord alarm{};
  ZR3AlarmQuery alarm_query{};
  ZR3AlarmGroup group{};
  ZR3SecUser user{};
  ZR3SecGroup user_group{};
  ZRRestCfg relay{};
  ZR3CommTagProp* properties = nullptr;
  ZR3Record* changes = nullptr;
  ZR3AlarmRecord* alarms = nullptr;
  ZR3HANDLE handle = nullptr;
  char name_slot[ZR3_LEN_TAG_NAME] = "tag";
  char comment_slot[ZR3_LEN_ALARM_COMMENT] = "comment";
  char user_name[ZR3_LEN_NAME] = "";
  char* reply = nullptr;
  uint32 id = 1;
  uint32 out_id = 0;
  uint32* ids = nullptr;
  int32 code = 0;
  int32 number = 0;
  int32 capacity = 1;
  int64 time_ms = 0;
  float64 result = 0;
  ZR3_TAG_TYPE type = ZR3_TAG_TYPE_FLOAT64;

  Records() {
    std::strcpy(connection.szAddress, "memory:");
    record.nSec = 1;
    record.nTagType = ZR3_TAG_TYPE_FLOAT64;
    mask = {.nCommMask = -1, .nExtMask = -1};
    std::strcpy(point_tag.szTagName, "new point");
    std::strcpy(stats_tag.szTagName, "new statistic");
    std::strcpy(calc_tag.szTagName, "new calculation");
    std::strcpy(alarm_tag.szTagName, "new alarm");
    filter = {.nSize = 1, .pItem = &item};
    page.itemSet = filter;
    page.nCapacity = 10;
    statistics.nTimeRegionNum = 1;
    statistics.pTimeRegions = &region;
  }
};

// Those that the functions are described with.
Records& ProcessRecords() {
  static Records records;
  return records;
}

#define ZR3_DESCRIBE(function, ...) Describe(#function, function __VA_OPT__(, ) __VA_ARGS__)

std::vector<ApiFunction> DescribeConnectionAndTags(Records& r) {
  return {
      ZR3_DESCRIBE(nt3_connect, Given(&r.connection)),
      ZR3_DESCRIBE(nt3_disconnect),

      ZR3_DESCRIBE(ut3_get_item_step, Any(ZR3HANDLE{}), Given(static_cast<void*>(&r.point_tag))),
      ZR3_DESCRIBE(ut3_free_handle, Any(ZR3HANDLE{})),
      ZR3_DESCRIBE(ut3_set_request_timeout, Any(3)),
      ZR3_DESCRIBE(ut3_set_api_option, Any(int64{0})),
      ZR3_DESCRIBE(ut3_set_request_cache_capacity, Count(100'000)),
      ZR3_DESCRIBE(ut3_get_server_ms_time, Given(&r.time_ms)),
      ZR3_DESCRIBE(ut3_send_rest_info, Any(r.relay)),

      ZR3_DESCRIBE(pt3_add_tag, Given(&r.point_tag), Given(&r.mask), Any(nullptr),
                   Given(&r.out_id)),
      ZR3_DESCRIBE(pt3_modify_tag_prop, Any(1U), Given(&r.point_tag), Given(&r.mask)),
      ZR3_DESCRIBE(pt3_query_tag_prop, Any(1U), Given(&r.point_tag)),
      ZR3_DESCRIBE(pt3_query_tag_type, Any(1U), Given(&r.type)),
      ZR3_DESCRIBE(pt3_query_tags_cond, Given(&r.filter), Given(&r.mask), Given(&r.handle)),

      ZR3_DESCRIBE(tag3_delete_tag, Any(1U)),
      ZR3_DESCRIBE(tag3_query_tags_cond, Any(int64{1}), Given(&r.filter), Any(int64{-1}),
                   Given(&r.handle)),
      ZR3_DESCRIBE(tag3_query_specify_page_tags_cond, Any(int64{1}), Given(&r.page),
                   Given(&r.handle)),
      ZR3_DESCRIBE(tag3_query_tag_num_cond, Any(0), Given(&r.filter), Given(&r.number)),
      ZR3_DESCRIBE(tag3_query_all_tags_prop, Any(int64{1}), Given(&r.number), Any(int64{-1}),
                   Given(&r.properties), Any(0)),
      ZR3_DESCRIBE(tag3_free_all_tags_prop, Any(nullptr)),
      ZR3_DESCRIBE(tag3_query_id_by_name, Text("tag"), Given(&r.out_id)),
      ZR3_DESCRIBE(tag3_query_ids_by_names, Count(1), Given(+r.name_slot), Given(&r.out_id),
                   Any(&r.code)),

      ZR3_DESCRIBE(cc3_cmd, Given("cmdtype=read_version;"), Given(&r.reply)),
      ZR3_DESCRIBE(cc3_cmd_free, Any(nullptr)),
  };
}

std::vector<ApiFunction> DescribeValues(Records& r) {
  return {
      ZR3_DESCRIBE(sn3_query_snapshot, Any(1U), Given(&r.record)),
      ZR3_DESCRIBE(sn3_query_snapshots, Count(1), Given(&r.id), Given(&r.record), Any(&r.code)),
      ZR3_DESCRIBE(sn3_save_snapshot, Any(1U), Given(&r.record)),
      ZR3_DESCRIBE(sn3_save_snapshots, Count(1), Given(&r.id), Given(&r.record), Any(&r.code)),
      ZR3_DESCRIBE(sn3_save_snapshots_nowait, Count(1), Given(&r.id), Given(&r.record),
                   Any(&r.code)),
      ZR3_DESCRIBE(sn3_save_disorder_snapshots, Count(1), Any(1U), Given(&r.record), Any(&r.code)),
      ZR3_DESCRIBE(sn3_save_tags_disorder_snapshots, Count(1), Given(&r.id), Given(&r.record),
                   Any(&r.code)),
      ZR3_DESCRIBE(sn3_register_callback, Count(1), Given(&r.id), Any(nullptr)),
      ZR3_DESCRIBE(sn3_unregister_callback_of_sometag, Count(1), Given(&r.id)),
      ZR3_DESCRIBE(sn3_register_rest, Count(1), Given(&r.pair)),
      ZR3_DESCRIBE(sn3_unregister_callback_rest, Count(1), Given(&r.pair)),
      ZR3_DESCRIBE(sn3_get_callback_sn, Given(&r.number), Given(&r.ids), Given(&r.changes)),
      ZR3_DESCRIBE(sn3_free_callback_sn, Any(0), Any(nullptr), Any(nullptr)),

      ZR3_DESCRIBE(ar3_query_raw_records_number, Any(1U), Given(&r.region), Given(&r.number)),
      ZR3_DESCRIBE(ar3_query_raw_records, Any(1U), Given(&r.region), Given(&r.capacity),
                   Given(&r.record)),
      ZR3_DESCRIBE(ar3_query_specify_num_raw_recs, Any(1U), Given(&r.time), Any(bool8{0}),
                   Given(&r.capacity), Given(&r.record)),
      ZR3_DESCRIBE(ar3_query_interp_records_by_mode, Any(ZR3_REC_INTERP_QUERY_MODE{0}), Any(1U),
                   Count(1), Given(&r.record), Any(&r.code)),
      ZR3_DESCRIBE(ar3_query_tags_interp_records_by_mode, Any(ZR3_REC_INTERP_QUERY_MODE{0}),
                   Count(1), Given(&r.id), Given(&r.record), Any(&r.code)),
      ZR3_DESCRIBE(ar3_modify_record, Any(1U), Given(&r.record)),
  };
}

std::vector<ApiFunction> DescribeDerivedTags(Records& r) {
  return {
      ZR3_DESCRIBE(st3_tag_stats_calc, Any(1U), Given(&r.statistics), Given(&r.result)),
      ZR3_DESCRIBE(st3_add_tag, Given(&r.stats_tag), Given(&r.mask), Any(nullptr),
                   Given(&r.out_id)),
      ZR3_DESCRIBE(st3_modify_tag_prop, Any(1U), Given(&r.stats_tag), Given(&r.mask)),
      ZR3_DESCRIBE(st3_query_tag_prop, Any(1U), Given(&r.stats_tag)),

      ZR3_DESCRIBE(ca3_add_tag, Given(&r.calc_tag), Given(&r.mask), Any(nullptr), Given(&r.out_id)),
      ZR3_DESCRIBE(ca3_modify_tag_prop, Any(1U), Given(&r.calc_tag), Given(&r.mask)),
      ZR3_DESCRIBE(ca3_query_tag_prop, Any(1U), Given(&r.calc_tag)),
  };
}

std::vector<ApiFunction> DescribeAlarms(Records& r) {
  return {
      ZR3_DESCRIBE(am3_add_tag, Given(&r.alarm_tag), Given(&r.mask), Any(nullptr),
                   Given(&r.alarm_tag.nTagID)),
      ZR3_DESCRIBE(am3_modify_tag_prop, Any(1U), Given(&r.alarm_tag), Given(&r.mask)),
      ZR3_DESCRIBE(am3_query_tag_prop, Any(1U), Given(&r.alarm_tag)),
      ZR3_DESCRIBE(am3_query_tags_all_records, Count(1), Given(&r.id), Given(&r.alarm_query),
                   Any(int64{-1}), Given(&r.handle)),
      ZR3_DESCRIBE(am3_query_tag_records, Any(1U), Given(&r.alarm_query), Any(int64{-1}),
                   Given(&r.handle)),
      ZR3_DESCRIBE(am3_query_group_records, Any(1U), Given(&r.alarm_query), Any(int64{-1}),
                   Given(&r.handle)),
      ZR3_DESCRIBE(am3_query_snapshots, Count(1), Given(&r.id), Any(int64{-1}), Given(&r.alarm),
                   Any(&r.code)),
      ZR3_DESCRIBE(am3_acknowledge_alarms, Count(1), Given(&r.id), Given(&r.time), Any(&r.code)),
      ZR3_DESCRIBE(am3_comment_alarms, Count(1), Given(&r.id), Given(&r.time),
                   Given(+r.comment_slot), Any(&r.code)),
      ZR3_DESCRIBE(am3_add_group, Given(&r.group), Given(&r.group.nParentID)),
      ZR3_DESCRIBE(am3_delete_group, Any(1U)),
      ZR3_DESCRIBE(am3_modify_group, Any(1U), Given(&r.group)),
      ZR3_DESCRIBE(am3_query_group_id, Text("group"), Any(0U), Given(&r.out_id)),
      ZR3_DESCRIBE(am3_query_group_props, Count(1), Given(&r.id), Given(&r.group), Any(&r.code)),
      ZR3_DESCRIBE(am3_query_group_child_groups, Any(0U), Given(&r.handle)),
      ZR3_DESCRIBE(am3_query_group_child_tags, Any(0U), Given(&r.handle)),
      ZR3_DESCRIBE(am3_register_alarm_record_info, Any(nullptr)),
      ZR3_DESCRIBE(am3_get_callback_am, Given(&r.number), Given(&r.alarms)),
      ZR3_DESCRIBE(am3_free_callback_am, Any(0), Any(nullptr)),
  };
}

std::vector<ApiFunction> DescribeSecurity(Records& r) {
  return {
      ZR3_DESCRIBE(sc3_login, Text("user"), Text("password")),
      ZR3_DESCRIBE(sc3_add_user, Given(&r.user)),
      ZR3_DESCRIBE(sc3_delete_user, Text("user")),
      ZR3_DESCRIBE(sc3_modify_password, Text("user"), Text("old"), Text("new")),
      ZR3_DESCRIBE(sc3_modify_user_desc, Text("user"), Text("description")),
      ZR3_DESCRIBE(sc3_reset_password, Text("user"), Text("new")),
      ZR3_DESCRIBE(sc3_query_current_user_name, Count(32), Given(+r.user_name)),
      ZR3_DESCRIBE(sc3_query_all_users, Given(&r.handle)),
      ZR3_DESCRIBE(sc3_add_group, Given(&r.user_group)),
      ZR3_DESCRIBE(sc3_delete_group, Text("group")),
      ZR3_DESCRIBE(sc3_modify_group_desc, Text("group"), Text("description")),
      ZR3_DESCRIBE(sc3_add_user_to_group, Text("user"), Text("group")),
      ZR3_DESCRIBE(sc3_delete_user_from_group, Text("user"), Text("group")),
      ZR3_DESCRIBE(sc3_query_members_of_group, Text("group"), Given(&r.handle)),
      ZR3_DESCRIBE(sc3_query_all_groups, Given(&r.handle)),
      ZR3_DESCRIBE(sc3_query_groups_of_user, Text("user"), Given(&r.handle)),
      ZR3_DESCRIBE(sc3_query_all_auth_items, Given(&r.handle)),
      ZR3_DESCRIBE(sc3_query_auth_of_user, Text("user"), Text("tags"), Given(&r.number)),
  };
}

#undef ZR3_DESCRIBE

std::vector<ApiFunction> DescribeAll() {
  Records& records = ProcessRecords();
  std::vector<ApiFunction> all;
  for (const auto describe : {DescribeConnectionAndTags, DescribeValues, DescribeDerivedTags,
                              DescribeAlarms, DescribeSecurity}) {
    for (ApiFunction& function : describe(records)) all.push_back(std::move(function));
  }
  return all;
}

}  // namespace

const std::vector<ApiFunction>& AllFunctions() {
  static const std::vector<ApiFunction> functions = DescribeAll();
  return functions;
}

bool TakesTexts(const std::string& name) {
  static const std::set<std::string> with_texts = {
      "nt3_connect",
      "ut3_send_rest_info",
      "pt3_add_tag",
      "pt3_modify_tag_prop",
      "pt3_query_tags_cond",
      "tag3_query_tags_cond",
      "tag3_query_specify_page_tags_cond",
      "tag3_query_tag_num_cond",
      "tag3_query_id_by_name",
      "tag3_query_ids_by_names",
      "cc3_cmd",
      "sn3_save_snapshot",
      "sn3_save_snapshots",
      "sn3_save_snapshots_nowait",
      "sn3_save_disorder_snapshots",
      "sn3_save_tags_disorder_snapshots",
      "ar3_modify_record",
      "st3_tag_stats_calc",
      "st3_add_tag",
      "st3_modify_tag_prop",
      "ca3_add_tag",
      "ca3_modify_tag_prop",
      "am3_add_tag",
      "am3_modify_tag_prop",
      "am3_comment_alarms",
      "am3_add_group",
      "am3_modify_group",
      "am3_query_group_id",
      "sc3_login",
      "sc3_add_user",
      "sc3_delete_user",
      "sc3_modify_password",
      "sc3_modify_user_desc",
      "sc3_reset_password",
      "sc3_add_group",
      "sc3_delete_group",
      "sc3_modify_group_desc",
      "sc3_add_user_to_group",
      "sc3_delete_user_from_group",
      "sc3_query_members_of_group",
      "sc3_query_groups_of_user",
      "sc3_query_auth_of_user",
  };
  return with_texts.contains(name);
}

void ReleaseHandedOut() {
  Records& records = ProcessRecords();
  (void)tag3_free_all_tags_prop(std::exchange(records.properties, nullptr));
  (void)cc3_cmd_free(std::exchange(records.reply, nullptr));
}

bool Frees(const std::string& name) {
  static const std::set<std::string> freeing = {"tag3_free_all_tags_prop", "cc3_cmd_free",
                                                "sn3_free_callback_sn", "am3_free_callback_am"};
  return freeing.contains(name);
}

}  // namespace zervane
