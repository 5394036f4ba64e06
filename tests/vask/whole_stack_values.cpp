// Current values, subscriptions and the archive.

#include <gtest/gtest.h>

#include "tests/vask/whole_stack.h"

namespace zervane {
namespace {

using Stack = WholeStack;

constexpr uint32 kTags[] = {Stack::kSource, Stack::kSource};
constexpr uint32 kOneOfThemIsNone[] = {Stack::kSource, Stack::kNoTag};
constexpr ZR3TimeRegion kReversed = {{9, 0}, {8, 0}, 1, 1};

float64 CurrentOf(uint32 tag) {
  ZR3Record record = NumberAt(0);
  EXPECT_EQ(sn3_query_snapshot(tag, &record), ZR3_OK);
  return record.value.fFloat64;
}

int32 ArchivedOfSource() {
  int32 count = 0;
  EXPECT_EQ(ar3_query_raw_records_number(Stack::kSource, &kAllTime, &count), ZR3_OK);
  return count;
}

std::vector<Deed> Reading() {
  return {
      {"sn3_query_snapshot",
       [](const Stack&) {
         ZR3Record record = NumberAt(0);
         const int32 status = sn3_query_snapshot(Stack::kSource, &record);
         EXPECT_EQ(record.nSec, 4);
         EXPECT_EQ(record.value.fFloat64, 4);
         return status;
       },
       [](const Stack&) {
         ZR3Record record = NumberAt(0);
         return sn3_query_snapshot(Stack::kAlarm, &record);
       },
       ZR3_ERR_NO_RECORD},
      {"sn3_query_snapshots",
       [](const Stack&) {
         ZR3Record records[2] = {NumberAt(0), NumberAt(0)};
         int32 codes[2] = {-1, -1};
         const int32 status = sn3_query_snapshots(2, kTags, records, codes);
         EXPECT_EQ(records[1].value.fFloat64, 4);
         EXPECT_EQ(codes[1], ZR3_OK);
         return status;
       },
       [](const Stack&) {
         ZR3Record records[2] = {NumberAt(0), NumberAt(0)};
         int32 codes[2] = {-1, -1};
         const int32 status = sn3_query_snapshots(2, kOneOfThemIsNone, records, codes);
         EXPECT_EQ(codes[0], ZR3_OK);
         EXPECT_EQ(codes[1], ZR3_ERR_TAG_NOT_FOUND);
         return status;
       },
       ZR3_ERR_SOME_RECORDS_FAILED},
  };
}

using Save = int32 (*)(int32, const uint32*, const ZR3Record*, int32*);

// Two records, of which the second becomes current.
template <Save kSave>
int32 SaveTwo(const Stack&) {
  const ZR3Record records[] = {NumberAt(10, 10), NumberAt(11, 11)};
  const int32 before = ArchivedOfSource();
  int32 codes[2] = {-1, -1};
  const int32 status = kSave(2, kTags, records, codes);
  EXPECT_EQ(codes[0], ZR3_OK);
  EXPECT_EQ(codes[1], ZR3_OK);
  const ZR3Record later = NumberAt(12, 12);  // comes after what was queued
  EXPECT_EQ(sn3_save_snapshot(Stack::kSource, &later), ZR3_OK);
  EXPECT_EQ(ArchivedOfSource(), before + 3);
  return status;
}

// Of which the second has a tag that is none.
template <Save kSave>
int32 SaveOneOfTwo(const Stack&) {
  const ZR3Record records[] = {NumberAt(5, 5), NumberAt(5, 5)};
  int32 codes[2] = {-1, -1};
  const int32 status = kSave(2, kOneOfThemIsNone, records, codes);
  EXPECT_EQ(codes[0], ZR3_OK);
  EXPECT_EQ(codes[1], ZR3_ERR_TAG_NOT_FOUND);
  const ZR3Record later = NumberAt(6, 6);
  EXPECT_EQ(sn3_save_snapshot(Stack::kSource, &later), ZR3_OK);
  return status;
}

int32 SaveOfOneTag(int32 count, const uint32* tags, const ZR3Record* records, int32* codes) {
  return sn3_save_disorder_snapshots(count, tags[0], records, codes);
}

std::vector<Deed> Writing() {
  return {
      {"sn3_save_snapshot",
       [](const Stack&) {
         const ZR3Record record = NumberAt(9, 9);
         const int32 status = sn3_save_snapshot(Stack::kSource, &record);
         EXPECT_EQ(CurrentOf(Stack::kSource), 9);
         return status;
       },
       [](const Stack&) {
         const ZR3Record record = NumberAt(1, 9);
         const int32 status = sn3_save_snapshot(Stack::kSource, &record);
         EXPECT_EQ(CurrentOf(Stack::kSource), 4);
         return status;
       },
       ZR3_ERR_OUT_OF_ORDER},
      {"sn3_save_snapshots", SaveTwo<sn3_save_snapshots>, SaveOneOfTwo<sn3_save_snapshots>,
       ZR3_ERR_SOME_RECORDS_FAILED},
      {"sn3_save_snapshots_nowait", SaveTwo<sn3_save_snapshots_nowait>,
       SaveOneOfTwo<sn3_save_snapshots_nowait>, ZR3_ERR_SOME_RECORDS_FAILED},
      {"sn3_save_disorder_snapshots", SaveTwo<SaveOfOneTag>,
       [](const Stack&) {
         ZR3Record records[] = {NumberAt(2, 5), NumberAt(2, 5)};
         records[1].nMsec = 1000;
         int32 codes[2] = {-1, -1};
         const int32 status = sn3_save_disorder_snapshots(2, Stack::kSource, records, codes);
         EXPECT_EQ(codes[0], ZR3_OK);
         EXPECT_EQ(codes[1], ZR3_ERR_INVALID_TIME);
         return status;
       },
       ZR3_ERR_SOME_RECORDS_FAILED},
      {"sn3_save_tags_disorder_snapshots", SaveTwo<sn3_save_tags_disorder_snapshots>,
       SaveOneOfTwo<sn3_save_tags_disorder_snapshots>, ZR3_ERR_SOME_RECORDS_FAILED},
  };
}

// How many changes come; they are released.
int TakenChanges() {
  int32 count = 0;
  uint32* tags = nullptr;
  ZR3Record* records = nullptr;
  EXPECT_EQ(sn3_get_callback_sn(&count, &tags, &records), ZR3_OK);
  EXPECT_EQ(sn3_free_callback_sn(count, tags, records), ZR3_OK);
  return count;
}

void WriteChange() {
  const ZR3Record record = NumberAt(9, 9);
  EXPECT_EQ(sn3_save_snapshot(Stack::kSource, &record), ZR3_OK);
}

const ZRRegInfo kPair = {.nTagID = Stack::kSource, .nFieldID = 1};
const ZRRegInfo kPairOfNoTag = {.nTagID = Stack::kNoTag, .nFieldID = 1};

std::vector<Deed> Subscriptions() {
  return {
      {"sn3_register_callback",
       [](const Stack&) {
         const int32 status = sn3_register_callback(1, kTags, nullptr);
         WriteChange();
         EXPECT_EQ(TakenChanges(), 1);
         return status;
       },
       [](const Stack&) { return sn3_register_callback(2, kOneOfThemIsNone, nullptr); },
       ZR3_ERR_TAG_NOT_FOUND},
      {"sn3_unregister_callback_of_sometag",
       [](const Stack&) {
         EXPECT_EQ(sn3_register_callback(1, kTags, nullptr), ZR3_OK);
         const int32 status = sn3_unregister_callback_of_sometag(1, kTags);
         WriteChange();
         EXPECT_EQ(TakenChanges(), 0);
         return status;
       },
       [](const Stack&) { return sn3_unregister_callback_of_sometag(-1, kTags); },
       ZR3_ERR_INVALID_COUNT},
      {"sn3_register_rest",
       [](const Stack&) {
         const int32 status = sn3_register_rest(1, &kPair);
         WriteChange();
         EXPECT_EQ(TakenChanges(), 1);
         return status;
       },
       [](const Stack&) { return sn3_register_rest(1, &kPairOfNoTag); }, ZR3_ERR_TAG_NOT_FOUND},
      {"sn3_unregister_callback_rest",
       [](const Stack&) {
         EXPECT_EQ(sn3_register_rest(1, &kPair), ZR3_OK);
         const int32 status = sn3_unregister_callback_rest(1, &kPair);
         WriteChange();
         EXPECT_EQ(TakenChanges(), 0);
         return status;
       },
       [](const Stack&) { return sn3_unregister_callback_rest(1, nullptr); },
       ZR3_ERR_NULL_ARGUMENT},
      {"sn3_get_callback_sn",
       [](const Stack&) {
         EXPECT_EQ(sn3_register_callback(1, kTags, nullptr), ZR3_OK);
         WriteChange();
         int32 count = 0;
         uint32* tags = nullptr;
         ZR3Record* records = nullptr;
         const int32 status = sn3_get_callback_sn(&count, &tags, &records);
         EXPECT_EQ(count, 1);
         EXPECT_EQ(tags[0], Stack::kSource);
         EXPECT_EQ(records[0].value.fFloat64, 9);
         EXPECT_EQ(sn3_free_callback_sn(count, tags, records), ZR3_OK);
         return status;
       },
       [](const Stack&) {
         int32 count = 0;
         uint32* tags = nullptr;
         return sn3_get_callback_sn(&count, &tags, nullptr);
       },
       ZR3_ERR_NULL_ARGUMENT},
      {"sn3_free_callback_sn",
       [](const Stack&) { return sn3_free_callback_sn(0, nullptr, nullptr); },
       [](const Stack&) {
         uint32 tag = 0;
         ZR3Record record{};
         return sn3_free_callback_sn(1, &tag, &record);
       },
       ZR3_ERR_INVALID_HANDLE},
  };
}

std::vector<Deed> History() {
  return {
      {"ar3_query_raw_records_number",
       [](const Stack&) {
         int32 count = 0;
         const int32 status = ar3_query_raw_records_number(Stack::kSource, &kAllTime, &count);
         EXPECT_EQ(count, 4);
         return status;
       },
       [](const Stack&) {
         int32 count = 0;
         return ar3_query_raw_records_number(Stack::kSource, &kReversed, &count);
       },
       ZR3_ERR_INVALID_REGION},
      {"ar3_query_raw_records",
       [](const Stack&) {
         ZR3Record records[9] = {};
         int32 count = 9;
         const int32 status = ar3_query_raw_records(Stack::kSource, &kAllTime, &count, records);
         EXPECT_EQ(count, 4);
         EXPECT_EQ(records[2].value.fFloat64, 95);
         return status;
       },
       [](const Stack&) {
         ZR3Record records[1] = {};
         int32 count = 1;
         return ar3_query_raw_records(Stack::kNoTag, &kAllTime, &count, records);
       },
       ZR3_ERR_TAG_NOT_FOUND},
      {"ar3_query_specify_num_raw_recs",
       [](const Stack&) {
         const ZR3Time from = {3, 0};
         ZR3Record records[2] = {};
         int32 count = 2;
         const int32 status =
             ar3_query_specify_num_raw_recs(Stack::kSource, &from, 1, &count, records);
         EXPECT_EQ(count, 2);
         EXPECT_EQ(records[1].value.fFloat64, 2);
         return status;
       },
       [](const Stack&) {
         const ZR3Time from = {3, 1000};
         ZR3Record records[2] = {};
         int32 count = 2;
         return ar3_query_specify_num_raw_recs(Stack::kSource, &from, 1, &count, records);
       },
       ZR3_ERR_INVALID_TIME},
      {"ar3_query_interp_records_by_mode",
       [](const Stack&) {
         ZR3Record instant = NumberAt(1);
         instant.nMsec = 500;
         int32 code = -1;
         const int32 status = ar3_query_interp_records_by_mode(ZR3_REC_INTERP_QUERY_MODE_LINEAR,
                                                               Stack::kSource, 1, &instant, &code);
         EXPECT_EQ(instant.value.fFloat64, 1.5);
         return status;
       },
       [](const Stack&) {
         ZR3Record instants[] = {NumberAt(1), NumberAt(0)};
         int32 codes[2] = {-1, -1};
         const int32 status = ar3_query_interp_records_by_mode(ZR3_REC_INTERP_QUERY_MODE_LINEAR,
                                                               Stack::kSource, 2, instants, codes);
         EXPECT_EQ(codes[0], ZR3_OK);
         EXPECT_EQ(codes[1], ZR3_ERR_NO_RECORD);
         return status;
       },
       ZR3_ERR_SOME_INSTANTS_FAILED},
      {"ar3_query_tags_interp_records_by_mode",
       [](const Stack&) {
         ZR3Record instants[] = {NumberAt(1), NumberAt(3)};
         int32 codes[2] = {-1, -1};
         const int32 status = ar3_query_tags_interp_records_by_mode(ZR3_REC_INTERP_QUERY_MODE_PREV,
                                                                    2, kTags, instants, codes);
         EXPECT_EQ(instants[1].value.fFloat64, 95);
         return status;
       },
       [](const Stack&) {
         ZR3Record instants[] = {NumberAt(1), NumberAt(3)};
         int32 codes[2] = {-1, -1};
         const int32 status = ar3_query_tags_interp_records_by_mode(
             ZR3_REC_INTERP_QUERY_MODE_PREV, 2, kOneOfThemIsNone, instants, codes);
         EXPECT_EQ(codes[1], ZR3_ERR_TAG_NOT_FOUND);
         return status;
       },
       ZR3_ERR_SOME_INSTANTS_FAILED},
      {"ar3_modify_record",
       [](const Stack&) {
         const ZR3Record record = NumberAt(4, 44);
         const int32 status = ar3_modify_record(Stack::kSource, &record);
         EXPECT_EQ(CurrentOf(Stack::kSource), 44);
         return status;
       },
       [](const Stack&) {
         const ZR3Record record = NumberAt(5, 44);
         return ar3_modify_record(Stack::kSource, &record);
       },
       ZR3_ERR_NO_RECORD},
  };
}

}  // namespace

std::vector<Deed> DeedsOfValues() {
  std::vector<Deed> all;
  for (const auto deeds : {Reading, Writing, Subscriptions, History}) {
    for (const Deed& deed : deeds()) all.push_back(deed);
  }
  return all;
}

}  // namespace zervane
