// Connection, settings, and tags.

#include <gtest/gtest.h>

#include "tests/vask/whole_stack.h"

namespace zervane {
namespace {

using Stack = WholeStack;

ZR3PtTagProp PointNamed(const char* name) {
  ZR3PtTagProp point{};
  Put(name, point.szTagName);
  return point;
}

struct NameCondition {
  explicit NameCondition(const char* name) { Put(name, item.szValue); }

  ZR3FilterItem item{
      .nItemID = ZR3_TAG_COL_COMM_PROP_TAG_NAME, .nRelation = ZR3_RELATION_EQUAL, .szValue = {}};
  ZR3FilterItemSet set{.nSize = 1, .pItem = &item};
};

// One with a single tag to come.
ZR3HANDLE PointIterator() {
  ZR3HANDLE iterator = nullptr;
  NameCondition condition("source");
  EXPECT_EQ(pt3_query_tags_cond(&condition.set, &kAllSelected, &iterator), ZR3_OK);
  return iterator;
}

std::vector<Deed> Session() {
  return {
      {"nt3_connect",
       [](const Stack& stack) {
         EXPECT_EQ(nt3_disconnect(), ZR3_OK);
         const int32 status = stack.Connect();
         uint32 id = 0;
         EXPECT_EQ(tag3_query_id_by_name("source", &id), ZR3_OK);
         return status;
       },
       [](const Stack&) { return Stack::ConnectElsewhere(); }, ZR3_ERR_ALREADY_CONNECTED},
      {"nt3_disconnect", [](const Stack&) { return nt3_disconnect(); },
       [](const Stack& stack) {
         EXPECT_EQ(nt3_disconnect(), ZR3_OK);
         const int32 status = nt3_disconnect();
         EXPECT_EQ(stack.Connect(), ZR3_OK);
         return status;
       },
       ZR3_ERR_NOT_CONNECTED},
  };
}

std::vector<Deed> Settings() {
  return {
      {"ut3_get_item_step",
       [](const Stack&) {
         ZR3PtTagProp point{};
         const ZR3HANDLE iterator = PointIterator();
         const int32 status = ut3_get_item_step(iterator, &point);
         EXPECT_EQ(point.nTagID, Stack::kSource);
         EXPECT_EQ(ut3_free_handle(iterator), ZR3_OK);
         return status;
       },
       [](const Stack&) {
         ZR3PtTagProp point{};
         const ZR3HANDLE iterator = PointIterator();
         EXPECT_EQ(ut3_get_item_step(iterator, &point), ZR3_OK);
         const int32 status = ut3_get_item_step(iterator, &point);
         EXPECT_EQ(ut3_free_handle(iterator), ZR3_OK);
         return status;
       },
       ZR3_ERR_END_OF_ITERATION},
      {"ut3_free_handle", [](const Stack&) { return ut3_free_handle(PointIterator()); },
       [](const Stack&) {
         const ZR3HANDLE iterator = PointIterator();
         EXPECT_EQ(ut3_free_handle(iterator), ZR3_OK);
         return ut3_free_handle(iterator);
       },
       ZR3_ERR_INVALID_HANDLE},
      {"ut3_set_request_timeout", [](const Stack&) { return ut3_set_request_timeout(3); },
       [](const Stack&) { return ut3_set_request_timeout(0); }, ZR3_ERR_INVALID_ARGUMENT},
      {"ut3_set_api_option", [](const Stack&) { return ut3_set_api_option(0); },
       [](const Stack&) { return ut3_set_api_option(1); }, ZR3_ERR_INVALID_ARGUMENT},
      {"ut3_set_request_cache_capacity",
       [](const Stack&) { return ut3_set_request_cache_capacity(100'000); },
       [](const Stack&) { return ut3_set_request_cache_capacity(-1); }, ZR3_ERR_INVALID_COUNT},
      {"ut3_get_server_ms_time",
       [](const Stack&) {
         int64 time_ms = 0;
         const int32 status = ut3_get_server_ms_time(&time_ms);
         EXPECT_GT(time_ms, 0);
         return status;
       },
       [](const Stack&) { return ut3_get_server_ms_time(nullptr); }, ZR3_ERR_NULL_ARGUMENT},
      {"ut3_send_rest_info",
       [](const Stack&) {
         const ZRRestCfg off{};
         return ut3_send_rest_info(off);
       },
       [](const Stack&) {
         ZRRestCfg relay{};
         Put("127.0.0.1", relay.szHostIP);
         Put("a port", relay.szPort);
         return ut3_send_rest_info(relay);
       },
       ZR3_ERR_INVALID_RELAY},
  };
}

std::vector<Deed> PointTags() {
  return {
      {"pt3_add_tag",
       [](const Stack&) {
         uint32 id = 0;
         const ZR3PtTagProp point = PointNamed("new");
         const int32 status = pt3_add_tag(&point, &kNothingSelected, nullptr, &id);
         EXPECT_GT(id, Stack::kAlarm);
         return status;
       },
       [](const Stack&) {
         uint32 id = 0;
         const ZR3PtTagProp point = PointNamed("SOURCE");
         return pt3_add_tag(&point, &kNothingSelected, nullptr, &id);
       },
       ZR3_ERR_TAG_EXISTS},
      {"pt3_modify_tag_prop",
       [](const Stack&) {
         ZR3PtTagProp point = PointNamed("renamed");
         const ZR3Mask name = {int64{1} << ZR3_TAG_COL_COMM_PROP_TAG_NAME, 0};
         const int32 status = pt3_modify_tag_prop(Stack::kSource, &point, &name);
         EXPECT_EQ(pt3_query_tag_prop(Stack::kSource, &point), ZR3_OK);
         EXPECT_STREQ(point.szTagName, "renamed");
         return status;
       },
       [](const Stack&) {
         const ZR3PtTagProp point{};
         return pt3_modify_tag_prop(Stack::kNoTag, &point, &kNothingSelected);
       },
       ZR3_ERR_TAG_NOT_FOUND},
      {"pt3_query_tag_prop",
       [](const Stack&) {
         ZR3PtTagProp point{};
         const int32 status = pt3_query_tag_prop(Stack::kSource, &point);
         EXPECT_STREQ(point.szTagName, "source");
         return status;
       },
       [](const Stack&) {
         ZR3PtTagProp point{};
         return pt3_query_tag_prop(Stack::kAlarm, &point);
       },
       ZR3_ERR_INVALID_TAG_CLASS},
      {"pt3_query_tag_type",
       [](const Stack&) {
         ZR3_TAG_TYPE type = -1;
         const int32 status = pt3_query_tag_type(Stack::kSource, &type);
         EXPECT_EQ(type, ZR3_TAG_TYPE_FLOAT64);
         return status;
       },
       [](const Stack&) {
         ZR3_TAG_TYPE type = -1;
         return pt3_query_tag_type(Stack::kNoTag, &type);
       },
       ZR3_ERR_TAG_NOT_FOUND},
      {"pt3_query_tags_cond",
       [](const Stack&) {
         ZR3HANDLE iterator = nullptr;
         NameCondition condition("source");
         const int32 status = pt3_query_tags_cond(&condition.set, &kAllSelected, &iterator);
         EXPECT_EQ(CountItems(iterator), 1);
         return status;
       },
       [](const Stack&) {
         ZR3HANDLE iterator = nullptr;
         NameCondition condition("source");
         condition.item.nItemID = 77;
         return pt3_query_tags_cond(&condition.set, &kAllSelected, &iterator);
       },
       ZR3_ERR_INVALID_ARGUMENT},
  };
}

std::vector<Deed> TagSearches() {
  return {
      {"tag3_delete_tag",
       [](const Stack&) {
         const int32 status = tag3_delete_tag(Stack::kAlarm);
         uint32 id = 0;
         EXPECT_EQ(tag3_query_id_by_name("alarm", &id), ZR3_ERR_NAME_NOT_FOUND);
         return status;
       },
       [](const Stack&) { return tag3_delete_tag(Stack::kNoTag); }, ZR3_ERR_TAG_NOT_FOUND},
      {"tag3_query_tags_cond",
       [](const Stack&) {
         ZR3HANDLE iterator = nullptr;
         NameCondition condition("alarm");
         const int32 status = tag3_query_tags_cond(-1, &condition.set, -1, &iterator);
         EXPECT_EQ(CountItems(iterator), 1);
         return status;
       },
       [](const Stack&) {
         ZR3HANDLE iterator = nullptr;
         NameCondition condition("alarm");
         return tag3_query_tags_cond(0, &condition.set, -1, &iterator);
       },
       ZR3_ERR_INVALID_MASK},
      {"tag3_query_specify_page_tags_cond",
       [](const Stack&) {
         ZR3HANDLE iterator = nullptr;
         ZR3PageQueryTagParam page{};
         page.nCapacity = 1;
         const int32 status = tag3_query_specify_page_tags_cond(-1, &page, &iterator);
         EXPECT_EQ(CountItems(iterator), 1);
         return status;
       },
       [](const Stack&) {
         ZR3HANDLE iterator = nullptr;
         const ZR3PageQueryTagParam page{};
         return tag3_query_specify_page_tags_cond(-1, &page, &iterator);
       },
       ZR3_ERR_INVALID_COUNT},
      {"tag3_query_tag_num_cond",
       [](const Stack&) {
         int32 count = 0;
         const ZR3FilterItemSet all{};
         const int32 status = tag3_query_tag_num_cond(ZR3_TAG_CLASS_ALL, &all, &count);
         EXPECT_EQ(count, 2);
         return status;
       },
       [](const Stack&) {
         int32 count = 0;
         const ZR3FilterItemSet all{};
         return tag3_query_tag_num_cond(7, &all, &count);
       },
       ZR3_ERR_INVALID_TAG_CLASS},
      {"tag3_query_all_tags_prop",
       [](const Stack&) {
         int32 count = 0;
         ZR3CommTagProp* tags = nullptr;
         const int32 status = tag3_query_all_tags_prop(-1, &count, -1, &tags, 0);
         EXPECT_EQ(count, 2);
         EXPECT_EQ(tag3_free_all_tags_prop(tags), ZR3_OK);
         return status;
       },
       [](const Stack&) {
         int32 count = 0;
         ZR3CommTagProp* tags = nullptr;
         return tag3_query_all_tags_prop(-1, &count, -1, &tags, 1);
       },
       ZR3_ERR_INVALID_ARGUMENT},
      {"tag3_free_all_tags_prop",
       [](const Stack&) {
         int32 count = 0;
         ZR3CommTagProp* tags = nullptr;
         EXPECT_EQ(tag3_query_all_tags_prop(-1, &count, -1, &tags, 0), ZR3_OK);
         return tag3_free_all_tags_prop(tags);
       },
       nullptr, ZR3_OK, "null does nothing, and what was not handed out cannot be told"},
  };
}

std::vector<Deed> NamesAndCommands() {
  return {
      {"tag3_query_id_by_name",
       [](const Stack&) {
         uint32 id = 0;
         const int32 status = tag3_query_id_by_name("Source", &id);
         EXPECT_EQ(id, Stack::kSource);
         return status;
       },
       [](const Stack&) {
         uint32 id = 0;
         return tag3_query_id_by_name("nobody", &id);
       },
       ZR3_ERR_NAME_NOT_FOUND},
      {"tag3_query_ids_by_names",
       [](const Stack&) {
         char names[2][ZR3_LEN_TAG_NAME] = {"alarm", "source"};
         uint32 ids[2] = {};
         const int32 status = tag3_query_ids_by_names(2, names[0], ids, nullptr);
         EXPECT_EQ(ids[0], Stack::kAlarm);
         EXPECT_EQ(ids[1], Stack::kSource);
         return status;
       },
       [](const Stack&) {
         char names[2][ZR3_LEN_TAG_NAME] = {"alarm", "nobody"};
         uint32 ids[2] = {};
         int32 codes[2] = {};
         const int32 status = tag3_query_ids_by_names(2, names[0], ids, codes);
         EXPECT_EQ(codes[0], ZR3_OK);
         EXPECT_EQ(codes[1], ZR3_ERR_NAME_NOT_FOUND);
         return status;
       },
       ZR3_ERR_SOME_NAMES_FAILED},
      {"cc3_cmd",
       [](const Stack&) {
         char* reply = nullptr;
         const int32 status = cc3_cmd("cmdtype=read_version;", &reply);
         EXPECT_EQ(std::string(reply).substr(0, 12), "tag_version=");
         EXPECT_EQ(cc3_cmd_free(reply), ZR3_OK);
         return status;
       },
       [](const Stack&) {
         char* reply = nullptr;
         return cc3_cmd("cmdtype=make_coffee;", &reply);
       },
       ZR3_ERR_UNKNOWN_COMMAND},
      {"cc3_cmd_free",
       [](const Stack&) {
         char* reply = nullptr;
         EXPECT_EQ(cc3_cmd("cmdtype=read_version;", &reply), ZR3_OK);
         return cc3_cmd_free(reply);
       },
       nullptr, ZR3_OK, "null does nothing, and what was not handed out cannot be told"},
  };
}

}  // namespace

std::vector<Deed> DeedsOfSessionAndTags() {
  std::vector<Deed> all;
  for (const auto deeds : {Session, Settings, PointTags, TagSearches, NamesAndCommands}) {
    for (const Deed& deed : deeds()) all.push_back(deed);
  }
  return all;
}

}  // namespace zervane
