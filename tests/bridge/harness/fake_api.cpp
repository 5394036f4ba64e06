#include "fake_api.h"

#include "api_arguments.h"
#include "call_log.h"

namespace zervane::bridge_test {
namespace {

void LogCall(const char* function, std::initializer_list<std::string> arguments) {
  std::string line = std::string(function) + "(";
  for (const std::string& argument : arguments) {
    if (line.back() != '(') line += ", ";
    line += argument;
  }
  Log().Add(Kind::kApi, line + ")");
}

template <auto kFunction, typename... Arguments>
int32 AnswerFor(const char* function, Arguments... arguments) {
  if (const auto status = Api().AnswerOf(function)) return *status;
  const auto& hook = Api().Hook<kFunction>();
  return hook ? hook(arguments...) : 0;
}

}  // namespace

bool FakeApi::Resettable(std::function<void()> reset) {
  resets_.push_back(std::move(reset));
  return true;
}

void FakeApi::Reset() {
  answers_.clear();
  for (const auto& reset : resets_) reset();
}

FakeApi& Api() {
  static FakeApi api;
  return api;
}

void TagsHaveType(ZR3_TAG_TYPE type) {
  Api().On<pt3_query_tag_type>([type](uint32, ZR3_TAG_TYPE* answer) {
    *answer = type;
    return 0;
  });
}

void TagsHaveTypes(const std::map<uint32, ZR3_TAG_TYPE>& types) {
  Api().On<pt3_query_tag_type>([types](uint32 tag, ZR3_TAG_TYPE* answer) {
    if (!types.contains(tag)) return kSomeError;
    *answer = types.at(tag);
    return 0;
  });
}

}  // namespace zervane::bridge_test

using namespace zervane::bridge_test;

// ZR_FAKE(function, parameters, arguments to hand on, arguments as the log has them...)
#define ZR_HAND_ON(...) __VA_OPT__(, ) __VA_ARGS__
#define ZR_FAKE(function, parameters, arguments, ...)           \
  int32 function parameters {                                   \
    LogCall(#function, {__VA_ARGS__});                          \
    return AnswerFor<function>(#function ZR_HAND_ON arguments); \
  }

// clang-format off
ZR_FAKE(nt3_connect, (const ZR3Connection* c), (c), Kept("ZR3Connection", c))
ZR_FAKE(nt3_disconnect, (void), ())

ZR_FAKE(ut3_get_item_step, (ZR3HANDLE h, void* item), (h, item), Handle(h), Given(item))
ZR_FAKE(ut3_free_handle, (ZR3HANDLE h), (h), Handle(h))
ZR_FAKE(ut3_set_request_timeout, (int32 t), (t), Number(t))
ZR_FAKE(ut3_set_api_option, (int64 o), (o), Number(o))
ZR_FAKE(ut3_set_request_cache_capacity, (int32 n), (n), Number(n))
ZR_FAKE(ut3_get_server_ms_time, (int64* t), (t), Given(t))
ZR_FAKE(ut3_send_rest_info, (ZRRestCfg c), (c), Kept("ZRRestCfg", &c))

ZR_FAKE(pt3_add_tag, (const ZR3PtTagProp* p, const ZR3Mask* m, const char* node, uint32* id),
        (p, m, node, id), Kept("ZR3PtTagProp", p), Mask(m), Quoted(node), Given(id))
ZR_FAKE(pt3_modify_tag_prop, (uint32 id, const ZR3PtTagProp* p, const ZR3Mask* m), (id, p, m),
        Number(id), Kept("ZR3PtTagProp", p), Mask(m))
ZR_FAKE(pt3_query_tag_prop, (uint32 id, ZR3PtTagProp* p), (id, p), Number(id), Given(p))
ZR_FAKE(pt3_query_tag_type, (uint32 id, ZR3_TAG_TYPE* t), (id, t), Number(id), Given(t))
ZR_FAKE(pt3_query_tags_cond, (const ZR3FilterItemSet* s, const ZR3Mask* m, ZR3HANDLE* h),
        (s, m, h), Kept("ZR3FilterItem", s->pItem, s->nSize), Mask(m), Given(h))

ZR_FAKE(tag3_delete_tag, (uint32 id), (id), Number(id))
ZR_FAKE(tag3_query_tags_cond,
        (int64 classes, const ZR3FilterItemSet* s, int64 mask, ZR3HANDLE* h),
        (classes, s, mask, h),
        Number(classes), Kept("ZR3FilterItem", s->pItem, s->nSize), Number(mask), Given(h))
ZR_FAKE(tag3_query_specify_page_tags_cond,
        (int64 classes, const ZR3PageQueryTagParam* p, ZR3HANDLE* h), (classes, p, h),
        Number(classes), Kept("ZR3FilterItem", p->itemSet.pItem, p->itemSet.nSize), Mask(&p->mask),
        Number(p->nStartID), Number(p->nCapacity), Given(h))
ZR_FAKE(tag3_query_tag_num_cond, (int32 c, const ZR3FilterItemSet* s, int32* n), (c, s, n),
        Number(c), Kept("ZR3FilterItem", s->pItem, s->nSize), Given(n))
ZR_FAKE(tag3_query_all_tags_prop,
        (int64 classes, int32* n, int64 mask, ZR3CommTagProp** p, int32 reserved),
        (classes, n, mask, p, reserved),
        Number(classes), Number(*n), Number(mask), Quoted(*p == nullptr ? nullptr : "preset"),
        Number(reserved))
ZR_FAKE(tag3_free_all_tags_prop, (ZR3CommTagProp* p), (p), Given(p))
ZR_FAKE(tag3_query_id_by_name, (const char* name, uint32* id), (name, id), Quoted(name), Given(id))
ZR_FAKE(tag3_query_ids_by_names, (int32 n, const char* names, uint32* ids, int32* codes),
        (n, names, ids, codes), Number(n), Given(names), List(ids, n), List(codes, n))

ZR_FAKE(cc3_cmd, (const char* command, char** reply), (command, reply), Quoted(command),
        Given(reply))
ZR_FAKE(cc3_cmd_free, (char* reply), (reply), Quoted(reply))

ZR_FAKE(sn3_query_snapshot, (uint32 id, ZR3Record* r), (id, r), Number(id), Kept("ZR3Record", r))
ZR_FAKE(sn3_query_snapshots, (int32 n, const uint32* ids, ZR3Record* r, int32* codes),
        (n, ids, r, codes), Number(n), List(ids, n), Kept("ZR3Record", r, n), Given(codes))
ZR_FAKE(sn3_save_snapshot, (uint32 id, const ZR3Record* r), (id, r), Number(id),
        Kept("ZR3Record", r))
ZR_FAKE(sn3_save_snapshots, (int32 n, const uint32* ids, const ZR3Record* r, int32* codes),
        (n, ids, r, codes), Number(n), List(ids, n), Kept("ZR3Record", r, n), List(codes, n))
ZR_FAKE(sn3_save_snapshots_nowait, (int32 n, const uint32* ids, const ZR3Record* r, int32* codes),
        (n, ids, r, codes), Number(n), List(ids, n), Kept("ZR3Record", r, n), List(codes, n))
ZR_FAKE(sn3_save_disorder_snapshots, (int32 n, uint32 id, const ZR3Record* r, int32* codes),
        (n, id, r, codes), Number(n), Number(id), Kept("ZR3Record", r, n), Given(codes))
ZR_FAKE(sn3_save_tags_disorder_snapshots,
        (int32 n, const uint32* ids, const ZR3Record* r, int32* codes), (n, ids, r, codes),
        Number(n), List(ids, n), Kept("ZR3Record", r, n), Given(codes))
ZR_FAKE(sn3_register_callback, (int32 n, const uint32* ids, void* reserved), (n, ids, reserved),
        Number(n), List(ids, n), Given(reserved))
ZR_FAKE(sn3_unregister_callback_of_sometag, (int32 n, const uint32* ids), (n, ids), Number(n),
        List(ids, n))
ZR_FAKE(sn3_register_rest, (int32 n, const ZRRegInfo* i), (n, i), Number(n),
        Kept("ZRRegInfo", i, n))
ZR_FAKE(sn3_unregister_callback_rest, (int32 n, const ZRRegInfo* i), (n, i), Number(n),
        Kept("ZRRegInfo", i, n))
ZR_FAKE(sn3_get_callback_sn, (int32* n, uint32** ids, ZR3Record** r), (n, ids, r), Given(n),
        Given(ids), Given(r))
ZR_FAKE(sn3_free_callback_sn, (int32 n, uint32* ids, ZR3Record* r), (n, ids, r), Number(n),
        List(ids, n), Given(r))

ZR_FAKE(ar3_query_raw_records_number, (uint32 id, const ZR3TimeRegion* t, int32* n), (id, t, n),
        Number(id), In(t), Number(*n))
ZR_FAKE(ar3_query_raw_records, (uint32 id, const ZR3TimeRegion* t, int32* n, ZR3Record* r),
        (id, t, n, r), Number(id), In(t), Kept("ZR3Record", r, *n))
ZR_FAKE(ar3_query_specify_num_raw_recs,
        (uint32 id, const ZR3Time* t, bool8 backward, int32* n, ZR3Record* r),
        (id, t, backward, n, r),
        Number(id), At(t), Number(backward), Kept("ZR3Record", r, *n))
ZR_FAKE(ar3_query_interp_records_by_mode,
        (ZR3_REC_INTERP_QUERY_MODE mode, uint32 id, int32 n, ZR3Record* r, int32* codes),
        (mode, id, n, r, codes),
        Number(mode), Number(id), Kept("ZR3Record", r, n), List(codes, n))
ZR_FAKE(ar3_query_tags_interp_records_by_mode,
        (ZR3_REC_INTERP_QUERY_MODE mode, int32 n, const uint32* ids, ZR3Record* r, int32* codes),
        (mode, n, ids, r, codes),
        Number(mode), List(ids, n), Kept("ZR3Record", r, n), List(codes, n))
ZR_FAKE(ar3_modify_record, (uint32 id, const ZR3Record* r), (id, r), Number(id),
        Kept("ZR3Record", r))

ZR_FAKE(st3_tag_stats_calc, (uint32 id, const ZR3StRelatedParam* p, float64* v), (id, p, v),
        Number(id), Kept("ZR3StRelatedParam", p), In(p->pTimeRegions), Given(v))
ZR_FAKE(st3_add_tag, (const ZR3StatsTagProp* p, const ZR3Mask* m, const char* node, uint32* id),
        (p, m, node, id), Kept("ZR3StatsTagProp", p), Mask(m), Quoted(node), Given(id))
ZR_FAKE(st3_modify_tag_prop, (uint32 id, const ZR3StatsTagProp* p, const ZR3Mask* m), (id, p, m),
        Number(id), Kept("ZR3StatsTagProp", p), Mask(m))
ZR_FAKE(st3_query_tag_prop, (uint32 id, ZR3StatsTagProp* p), (id, p), Number(id), Given(p))

ZR_FAKE(ca3_add_tag, (const ZR3CalcTagProp* p, const ZR3Mask* m, const char* node, uint32* id),
        (p, m, node, id), Kept("ZR3CalcTagProp", p), Mask(m), Quoted(node), Given(id))
ZR_FAKE(ca3_modify_tag_prop, (uint32 id, const ZR3CalcTagProp* p, const ZR3Mask* m), (id, p, m),
        Number(id), Kept("ZR3CalcTagProp", p), Mask(m))
ZR_FAKE(ca3_query_tag_prop, (uint32 id, ZR3CalcTagProp* p), (id, p), Number(id), Given(p))

ZR_FAKE(am3_add_tag, (ZR3AlarmTagProp* p, const ZR3Mask* m, const char* node, uint32* id),
        (p, m, node, id), Kept("ZR3AlarmTagProp", p), Mask(m), Quoted(node),
        id == &p->nTagID ? "its own nTagID" : Given(id))
ZR_FAKE(am3_modify_tag_prop, (uint32 id, const ZR3AlarmTagProp* p, const ZR3Mask* m), (id, p, m),
        Number(id), Kept("ZR3AlarmTagProp", p), Mask(m))
ZR_FAKE(am3_query_tag_prop, (uint32 id, ZR3AlarmTagProp* p), (id, p), Number(id), Given(p))
ZR_FAKE(am3_query_tags_all_records,
        (int32 n, const uint32* ids, const ZR3AlarmQuery* q, int64 mask, ZR3HANDLE* h),
        (n, ids, q, mask, h),
        Number(n), List(ids, n), Kept("ZR3AlarmQuery", q), Number(mask), Given(h))
ZR_FAKE(am3_query_tag_records, (uint32 id, const ZR3AlarmQuery* q, int64 mask, ZR3HANDLE* h),
        (id, q, mask, h), Number(id), Kept("ZR3AlarmQuery", q), Number(mask), Given(h))
ZR_FAKE(am3_query_group_records, (uint32 id, const ZR3AlarmQuery* q, int64 mask, ZR3HANDLE* h),
        (id, q, mask, h), Number(id), Kept("ZR3AlarmQuery", q), Number(mask), Given(h))
ZR_FAKE(am3_query_snapshots,
        (int32 n, const uint32* ids, int64 mask, ZR3AlarmRecord* r, int32* codes),
        (n, ids, mask, r, codes),
        Number(n), List(ids, n), Number(mask), Kept("ZR3AlarmRecord", r, n), List(codes, n))
ZR_FAKE(am3_acknowledge_alarms, (int32 n, const uint32* ids, const ZR3Time* t, int32* codes),
        (n, ids, t, codes), Number(n), List(ids, n), At(t), Given(codes))
ZR_FAKE(am3_comment_alarms,
        (int32 n, const uint32* ids, const ZR3Time* t, const char* comments, int32* codes),
        (n, ids, t, comments, codes),
        Number(n), List(ids, n), At(t), Quoted(comments), Given(codes))
ZR_FAKE(am3_add_group, (const ZR3AlarmGroup* g, uint32* id), (g, id), Kept("ZR3AlarmGroup", g),
        id == &g->nParentID ? "its own nParentID" : Given(id))
ZR_FAKE(am3_delete_group, (uint32 id), (id), Number(id))
ZR_FAKE(am3_modify_group, (uint32 id, const ZR3AlarmGroup* g), (id, g), Number(id),
        Kept("ZR3AlarmGroup", g))
ZR_FAKE(am3_query_group_id, (const char* name, uint32 parent, uint32* id), (name, parent, id),
        Quoted(name), Number(parent), Given(id))
ZR_FAKE(am3_query_group_props, (int32 n, const uint32* ids, ZR3AlarmGroup* g, int32* codes),
        (n, ids, g, codes), Number(n), List(ids, n), Given(g), Given(codes))
ZR_FAKE(am3_query_group_child_groups, (uint32 id, ZR3HANDLE* h), (id, h), Number(id), Given(h))
ZR_FAKE(am3_query_group_child_tags, (uint32 id, ZR3HANDLE* h), (id, h), Number(id), Given(h))
ZR_FAKE(am3_register_alarm_record_info, (void* reserved), (reserved), Given(reserved))
ZR_FAKE(am3_get_callback_am, (int32* n, ZR3AlarmRecord** r), (n, r), Given(n), Given(r))
ZR_FAKE(am3_free_callback_am, (int32 n, ZR3AlarmRecord* r), (n, r), Number(n), Given(r))

ZR_FAKE(sc3_login, (const char* user, const char* password), (user, password), Quoted(user),
        Quoted(password))
ZR_FAKE(sc3_add_user, (const ZR3SecUser* u), (u), Kept("ZR3SecUser", u))
ZR_FAKE(sc3_delete_user, (const char* user), (user), Quoted(user))
ZR_FAKE(sc3_modify_password, (const char* user, const char* old, const char* next),
        (user, old, next), Quoted(user), Quoted(old), Quoted(next))
ZR_FAKE(sc3_modify_user_desc, (const char* user, const char* desc), (user, desc), Quoted(user),
        Quoted(desc))
ZR_FAKE(sc3_reset_password, (const char* user, const char* next), (user, next), Quoted(user),
        Quoted(next))
ZR_FAKE(sc3_query_current_user_name, (int32 size, char* user), (size, user), Number(size),
        Given(user))
ZR_FAKE(sc3_query_all_users, (ZR3HANDLE* h), (h), Given(h))
ZR_FAKE(sc3_add_group, (const ZR3SecGroup* g), (g), Kept("ZR3SecGroup", g))
ZR_FAKE(sc3_delete_group, (const char* group), (group), Quoted(group))
ZR_FAKE(sc3_modify_group_desc, (const char* group, const char* desc), (group, desc), Quoted(group),
        Quoted(desc))
ZR_FAKE(sc3_add_user_to_group, (const char* user, const char* group), (user, group), Quoted(user),
        Quoted(group))
ZR_FAKE(sc3_delete_user_from_group, (const char* user, const char* group), (user, group),
        Quoted(user), Quoted(group))
ZR_FAKE(sc3_query_members_of_group, (const char* group, ZR3HANDLE* h), (group, h), Quoted(group),
        Given(h))
ZR_FAKE(sc3_query_all_groups, (ZR3HANDLE* h), (h), Given(h))
ZR_FAKE(sc3_query_groups_of_user, (const char* user, ZR3HANDLE* h), (user, h), Quoted(user),
        Given(h))
ZR_FAKE(sc3_query_all_auth_items, (ZR3HANDLE* h), (h), Given(h))
ZR_FAKE(sc3_query_auth_of_user, (const char* user, const char* item, int32* level),
        (user, item, level), Quoted(user), Quoted(item), Number(*level))
// clang-format on
