#include "tests/vask/memory_deeds.h"

#include <gtest/gtest.h>

#include <cstring>
#include <span>
#include <string>
#include <utility>

namespace zervane {
namespace {

using Block = std::shared_ptr<RecordBlock>;

constexpr ZR3TimeRegion kAllTime{{0, 0}, {-1, 999}, 1, 1};

constexpr int64 Bit(int column) { return int64{1} << column; }

Sample Number(std::int64_t time_ms, double value = 1.5) {
  return {.time_ms = time_ms, .type = TagType::kFloat64, .value = value};
}

Sample Text(std::int64_t time_ms) {
  return {.time_ms = time_ms, .type = TagType::kString, .value = std::string(900, 't')};
}

// ---- tags ----

struct TagArguments {
  ZR3PtTagProp properties{};
  ZR3Mask mask{};
  uint32 id = 0;
};

Attempt AddTag(World& world) {
  auto tag = std::make_shared<TagArguments>();
  std::strcpy(tag->properties.szTagName, world.NewName().c_str());
  std::strcpy(tag->properties.szDescriptor, world.NewName().c_str());
  tag->mask.nCommMask = Bit(ZR3_TAG_COL_COMM_PROP_DESCRIPTOR);
  return {.call = [tag] { return pt3_add_tag(&tag->properties, &tag->mask, nullptr, &tag->id); },
          .done = [tag,
                   &world] { world.Added(tag->id, tag->properties.szTagName, TagType::kFloat64); }};
}

Attempt AddTagOfATakenName(World& world) {
  auto tag = std::make_shared<TagArguments>();
  const uint32 id = world.AddTag();
  std::strcpy(tag->properties.szTagName, world.Tag(id).name.c_str());
  return {.call = [tag] { return pt3_add_tag(&tag->properties, &tag->mask, nullptr, &tag->id); },
          .expected = ZR3_ERR_TAG_EXISTS,
          .done = [] {},
          .tags = {id}};
}

Attempt Modify(uint32 id, std::shared_ptr<TagArguments> tag, std::function<void()> done) {
  return {.call = [=] { return pt3_modify_tag_prop(id, &tag->properties, &tag->mask); },
          .done = std::move(done),
          .tags = {id}};
}

Attempt RenameTag(World& world) {
  const uint32 id = world.AddTag();
  auto tag = std::make_shared<TagArguments>();
  std::strcpy(tag->properties.szTagName, world.NewName().c_str());
  tag->mask.nCommMask = Bit(ZR3_TAG_COL_COMM_PROP_TAG_NAME);
  return Modify(id, tag, [=, &world] { world.Tag(id).name = tag->properties.szTagName; });
}

Attempt ChangeType(World& world) {
  const uint32 id = world.AddTag();
  auto tag = std::make_shared<TagArguments>();
  tag->properties.nTagType = ZR3_TAG_TYPE_STRING;
  tag->mask.nCommMask = Bit(ZR3_TAG_COL_COMM_PROP_TAG_TYPE);
  return Modify(id, tag, [=, &world] { world.Tag(id).type = TagType::kString; });
}

// What the filters hold is archived first; when the change fails afterwards, it stays so.
Attempt TakeFiltersAway(World& world) {
  const uint32 id = world.AddHoldingTag();
  for (const Sample& held : World::HeldRecords()) world.Tag(id).perhaps[held.time_ms] = held;
  auto tag = std::make_shared<TagArguments>();
  tag->mask.nCommMask = Bit(ZR3_TAG_COL_COMM_PROP_EXC_DEV);
  return Modify(id, tag, [=, &world] {
    for (const Sample& held : World::HeldRecords()) world.Tag(id).archive[held.time_ms] = held;
  });
}

Attempt DeleteTag(World& world) {
  const uint32 id = world.AddHoldingTag();
  return {.call = [=] { return tag3_delete_tag(id); },
          .done = [=, &world] { world.Forget(id); },
          .tags = {id}};
}

Attempt QueryProperties(World& world) {
  const uint32 id = world.AddTag();
  auto tag = std::make_shared<TagArguments>();
  return {.call = [=] { return pt3_query_tag_prop(id, &tag->properties); },
          .done = [=, &world] { EXPECT_EQ(world.Tag(id).name, tag->properties.szTagName); }};
}

Attempt QueryType(World& world) {
  const uint32 id = world.AddTag(TagType::kString);
  auto type = std::make_shared<ZR3_TAG_TYPE>(-1);
  return {.call = [=] { return pt3_query_tag_type(id, type.get()); },
          .done = [=] { EXPECT_EQ(*type, ZR3_TAG_TYPE_STRING); }};
}

Attempt QueryTypeOfNoTag(World& world) {
  const uint32 id = world.last_id() + 1000;
  auto type = std::make_shared<ZR3_TAG_TYPE>(-1);
  return {.call = [=] { return pt3_query_tag_type(id, type.get()); },
          .expected = ZR3_ERR_TAG_NOT_FOUND,
          .done = [] {}};
}

// ---- searches ----

struct SearchArguments {
  ZR3FilterItem item{ZR3_TAG_COL_COMM_PROP_TAG_NAME, ZR3_RELATION_EQUAL, ""};
  ZR3FilterItemSet set{.nSize = 1, .pItem = &item};
  ZR3HANDLE iterator = nullptr;
  ZR3CommTagProp found{};
  int32 count = -1;
};

std::shared_ptr<SearchArguments> ForTag(World& world, uint32 id) {
  auto search = std::make_shared<SearchArguments>();
  std::strcpy(search->item.szValue, world.Tag(id).name.c_str());
  return search;
}

Attempt SearchTag(World& world) {
  const uint32 id = world.AddTag();
  const auto search = ForTag(world, id);
  return {.call = [=] { return tag3_query_tags_cond(-1, &search->set, -1, &search->iterator); },
          .done =
              [=] {
                EXPECT_EQ(ut3_get_item_step(search->iterator, &search->found), ZR3_OK);
                EXPECT_EQ(search->found.nTagID, id);
                EXPECT_EQ(ut3_free_handle(search->iterator), ZR3_OK);
              },
          .tags = {id}};
}

Attempt StepToTag(World& world) {
  const uint32 id = world.AddTag();
  const auto search = ForTag(world, id);
  EXPECT_EQ(tag3_query_tags_cond(-1, &search->set, -1, &search->iterator), ZR3_OK);
  return {.call = [=] { return ut3_get_item_step(search->iterator, &search->found); },
          .done =
              [=] {
                EXPECT_EQ(search->found.nTagID, id);
                EXPECT_EQ(ut3_free_handle(search->iterator), ZR3_OK);
              },
          .tags = {id}};
}

Attempt CountTag(World& world) {
  const auto search = ForTag(world, world.AddTag());
  return {.call =
              [=] {
                return tag3_query_tag_num_cond(ZR3_TAG_CLASS_BASIC, &search->set, &search->count);
              },
          .done = [=] { EXPECT_EQ(search->count, 1); }};
}

struct AllTags {
  int32 count = -1;
  ZR3CommTagProp* tags = nullptr;
};

Attempt ListAllTags(World& world) {
  const uint32 last = world.last_id();
  auto all = std::make_shared<AllTags>();
  return {.call = [=] { return tag3_query_all_tags_prop(-1, &all->count, -1, &all->tags, 0); },
          .done =
              [=] {
                ASSERT_GT(all->count, 0);
                EXPECT_EQ(all->tags[all->count - 1].nTagID, last);
                EXPECT_EQ(tag3_free_all_tags_prop(all->tags), ZR3_OK);
              }};
}

// ---- names ----

struct Names {
  static constexpr int32 kCount = 2;
  char names[kCount][ZR3_LEN_TAG_NAME] = {};
  uint32 ids[kCount] = {};
  int32 codes[kCount] = {};
};

Attempt FindName(World& world) {
  const uint32 id = world.AddTag();
  auto names = std::make_shared<Names>();
  std::strcpy(names->names[0], world.Tag(id).name.c_str());
  return {.call = [=] { return tag3_query_id_by_name(names->names[0], names->ids); },
          .done = [=] { EXPECT_EQ(names->ids[0], id); }};
}

Attempt FindNames(World& world) {
  const uint32 id = world.AddTag();
  auto names = std::make_shared<Names>();
  std::strcpy(names->names[0], world.Tag(id).name.c_str());
  std::strcpy(names->names[1], world.NewName().c_str());
  return {.call =
              [=] {
                return tag3_query_ids_by_names(Names::kCount, names->names[0], names->ids,
                                               names->codes);
              },
          .expected = ZR3_ERR_SOME_NAMES_FAILED,
          .done =
              [=] {
                EXPECT_EQ(names->ids[0], id);
                EXPECT_EQ(names->codes[0], ZR3_OK);
                EXPECT_EQ(names->codes[1], ZR3_ERR_NAME_NOT_FOUND);
              }};
}

Attempt ReadVersion(World&) {
  auto reply = std::make_shared<char*>(nullptr);
  return {.call = [=] { return cc3_cmd("cmdtype=read_version;", reply.get()); },
          .done =
              [=] {
                EXPECT_EQ(std::strncmp(*reply, "tag_version=", 12), 0);
                cc3_cmd_free(*reply);
              }};
}

// ---- writing ----

using Save = int32 (*)(int32, const uint32*, const ZR3Record*, int32*);

// Saves samples, one or more, of which all are accepted.
Attempt SaveAll(World& world, Save save, std::vector<std::pair<uint32, Sample>> samples) {
  auto block = std::make_shared<RecordBlock>();
  Attempt attempt;
  for (const auto& [id, sample] : samples) {
    block->Add(id, sample);
    attempt.tags.push_back(id);
  }
  attempt.call = [=] { return save(block->count, block->ids, block->records, block->codes); };
  attempt.done = [=, &world] {
    for (std::size_t i = 0; i < samples.size(); ++i) {
      EXPECT_EQ(block->codes[i], ZR3_OK);
      world.Tag(samples[i].first).Wrote(samples[i].second);
    }
  };
  return attempt;
}

int32 SaveOne(int32, const uint32* ids, const ZR3Record* records, int32* codes) {
  return codes[0] = sn3_save_snapshot(ids[0], records);
}

int32 SaveOfOneTag(int32 count, const uint32* ids, const ZR3Record* records, int32* codes) {
  return sn3_save_disorder_snapshots(count, ids[0], records, codes);
}

Attempt SaveFirstNumber(World& world) {
  return SaveAll(world, SaveOne, {{world.AddTag(), Number(1000)}});
}

Attempt SaveFirstText(World& world) {
  return SaveAll(world, SaveOne, {{world.AddTag(TagType::kString), Text(1000)}});
}

Attempt SaveNextNumber(World& world) {
  const uint32 id = world.AddTag();
  world.Write(id, {Number(1000), Number(2000)});
  return SaveAll(world, SaveOne, {{id, Number(3000)}});
}

std::vector<std::pair<uint32, Sample>> MixedBatch(World& world) {
  const uint32 number = world.AddTag();
  const uint32 other = world.AddTag();
  const uint32 text = world.AddTag(TagType::kString);
  std::vector<std::pair<uint32, Sample>> batch;
  for (std::int64_t time_ms = 1000; time_ms <= 6000; time_ms += 1000) {
    batch.emplace_back(number, Number(time_ms));
    batch.emplace_back(other, Number(time_ms, 7));
    batch.emplace_back(text, Text(time_ms));
  }
  return batch;
}

Attempt SaveBatch(World& world) { return SaveAll(world, sn3_save_snapshots, MixedBatch(world)); }

Attempt SaveLateBatch(World& world) {
  auto batch = MixedBatch(world);
  for (const auto& [id, sample] : MixedBatch(world)) batch.emplace_back(id, sample);
  batch.resize(RecordBlock::kRecords - 2);
  world.Write(batch[0].first, {Number(500), Number(3500), Number(9000)});
  return SaveAll(world, sn3_save_tags_disorder_snapshots, batch);
}

Attempt SaveLateOfOneTag(World& world) {
  const uint32 id = world.AddTag();
  world.Write(id, {Number(9000)});
  return SaveAll(world, SaveOfOneTag, {{id, Number(5000)}, {id, Number(1000)}, {id, Number(7000)}});
}

// Whoever queues is answered before anything is stored; a durable write after it waits for that.
Attempt QueueBatch(World& world) {
  const uint32 side = world.AddTag();
  auto written = std::make_shared<std::int64_t>(0);
  Attempt attempt = SaveAll(world, sn3_save_snapshots_nowait, MixedBatch(world));
  attempt.done = [=, &world, done = attempt.done] {
    world.Write(side, {Number(*written += 1000)});
    done();
  };
  return attempt;
}

Attempt SaveBatchPartlyRefused(World& world) {
  const uint32 id = world.AddTag();
  auto block = std::make_shared<RecordBlock>();
  block->Add(id, Number(2000));
  block->Add(id, Number(1000));
  block->Add(id, Text(3000));
  return {.call =
              [=] {
                return sn3_save_snapshots(block->count, block->ids, block->records, block->codes);
              },
          .expected = ZR3_ERR_SOME_RECORDS_FAILED,
          .done =
              [=, &world] {
                EXPECT_EQ(block->codes[0], ZR3_OK);
                EXPECT_EQ(block->codes[1], ZR3_ERR_OUT_OF_ORDER);
                EXPECT_EQ(block->codes[2], ZR3_ERR_TYPE_MISMATCH);
                world.Tag(id).Wrote(Number(2000));
              },
          .tags = {id}};
}

// It leaves the band: what was held is archived, and it is held instead.
Attempt SaveFiltered(World& world) {
  const uint32 id = world.AddHoldingTag();
  Attempt attempt = SaveAll(world, SaveOne, {{id, Number(4000, 70)}});
  attempt.done = [=, &world] {
    for (const Sample& held : World::HeldRecords()) world.Tag(id).archive[held.time_ms] = held;
    world.Tag(id).current = Number(4000, 70);
  };
  return attempt;
}

Attempt Correct(uint32 id, const Sample& sample, std::function<void()> done) {
  auto block = std::make_shared<RecordBlock>();
  block->Add(id, sample);
  return {.call = [=] { return ar3_modify_record(id, block->records); },
          .done = std::move(done),
          .tags = {id}};
}

Attempt CorrectCurrentText(World& world) {
  const uint32 id = world.AddTag(TagType::kString);
  world.Write(id, {Text(1000), Text(2000), Text(3000)});
  Sample corrected = Text(3000);
  corrected.value = std::string(950, 'u');
  return Correct(id, corrected, [=, &world] { world.Tag(id).Wrote(corrected); });
}

// What the filters hold is archived before it.
Attempt CorrectHeldBack(World& world) {
  const uint32 id = world.AddHoldingTag();
  const Sample corrected = Number(3000, 70);
  return Correct(id, corrected, [=, &world] {
    for (const Sample& held : World::HeldRecords()) world.Tag(id).archive[held.time_ms] = held;
    world.Tag(id).Wrote(corrected);
  });
}

// ---- reading ----

// A tag with records in chunks and behind them, in their order.
uint32 AddTagWithRecords(World& world, std::vector<Sample>* samples) {
  const uint32 id = world.AddTag(TagType::kString);
  for (std::int64_t time_ms = 1000; time_ms <= 20'000; time_ms += 1000) {
    samples->push_back(Text(time_ms));
  }
  world.Write(id, *samples);
  return id;
}

void ExpectRead(const RecordBlock& block, const std::vector<Sample>& samples) {
  ASSERT_EQ(block.count, std::ssize(samples));
  for (std::size_t i = 0; i < samples.size(); ++i) EXPECT_EQ(block.Read(i), samples[i]);
}

Attempt ReadCurrent(World& world) {
  std::vector<Sample> samples;
  const uint32 id = AddTagWithRecords(world, &samples);
  auto block = std::make_shared<RecordBlock>();
  block->AddEmpty(id, TagType::kString);
  return {.call = [=] { return sn3_query_snapshot(id, block->records); },
          .done = [=] { ExpectRead(*block, {samples.back()}); }};
}

Attempt ReadCurrentOfNoTag(World& world) {
  const uint32 id = world.last_id() + 1000;
  auto block = std::make_shared<RecordBlock>();
  block->AddEmpty(id, TagType::kString);
  return {.call = [=] { return sn3_query_snapshot(id, block->records); },
          .expected = ZR3_ERR_TAG_NOT_FOUND,
          .done = [] {}};
}

Attempt ReadCurrentOfMany(World& world) {
  std::vector<Sample> samples;
  const uint32 id = AddTagWithRecords(world, &samples);
  const uint32 other = world.AddTag();
  world.Write(other, {Number(1000)});
  auto block = std::make_shared<RecordBlock>();
  block->AddEmpty(id, TagType::kString);
  block->AddEmpty(other, TagType::kFloat64);
  return {.call = [=] { return sn3_query_snapshots(2, block->ids, block->records, block->codes); },
          .done =
              [=] {
                ExpectRead(*block, {samples.back(), Number(1000)});
              }};
}

Attempt CountRecords(World& world) {
  std::vector<Sample> samples;
  const uint32 id = AddTagWithRecords(world, &samples);
  auto region = std::make_shared<ZR3TimeRegion>(ZR3TimeRegion{{2, 500}, {9, 0}, 1, 0});
  auto count = std::make_shared<int32>(0);
  return {.call = [=] { return ar3_query_raw_records_number(id, region.get(), count.get()); },
          .done = [=] { EXPECT_EQ(*count, 6); }};
}

Attempt ReadRecords(World& world) {
  std::vector<Sample> samples;
  const uint32 id = AddTagWithRecords(world, &samples);
  auto block = std::make_shared<RecordBlock>();
  block->Empty();
  return {
      .call = [=] { return ar3_query_raw_records(id, &kAllTime, &block->count, block->records); },
      .done = [=] { ExpectRead(*block, samples); }};
}

Attempt ReadRecordsBackward(World& world) {
  std::vector<Sample> samples;
  const uint32 id = AddTagWithRecords(world, &samples);
  auto block = std::make_shared<RecordBlock>();
  auto start = std::make_shared<ZR3Time>(ZR3Time{15, 0});
  block->Empty();
  block->count = 3;
  return {.call =
              [=] {
                return ar3_query_specify_num_raw_recs(id, start.get(), 1, &block->count,
                                                      block->records);
              },
          .done =
              [=] {
                ExpectRead(*block, {samples[14], samples[13], samples[12]});
              }};
}

Attempt ReadAtInstants(World& world) {
  std::vector<Sample> samples;
  const uint32 id = AddTagWithRecords(world, &samples);
  auto block = std::make_shared<RecordBlock>();
  block->Empty();
  for (int32 i = 0; i < 20; ++i) block->records[i].nSec = 20 - i;
  return {
      .call =
          [=] { return ar3_query_interp_records_by_mode(0, id, 20, block->records, block->codes); },
      .done =
          [=] {
            for (std::size_t i = 0; i < 20; ++i) {
              EXPECT_EQ(block->codes[i], ZR3_OK);
              EXPECT_EQ(block->Read(i), samples[19 - i]);
            }
          }};
}

// A tag for which there was no memory fails alone.
int32 StatusOfInstants(int32 status, const RecordBlock& block, std::size_t count) {
  if (status != ZR3_ERR_SOME_INSTANTS_FAILED) return status;
  for (const int32 code : std::span(block.codes).first(count)) {
    if (code != ZR3_OK && code != ZR3_ERR_OUT_OF_MEMORY) return status;
  }
  return ZR3_ERR_OUT_OF_MEMORY;
}

Attempt ReadManyAtInstants(World& world) {
  std::vector<Sample> samples;
  const uint32 text = AddTagWithRecords(world, &samples);
  const uint32 number = world.AddTag();
  world.Write(number, {Number(1000, 1), Number(3000, 3)});
  auto block = std::make_shared<RecordBlock>();
  block->Empty();
  for (int32 i = 0; i < 10; ++i) {
    block->ids[i] = i % 2 == 0 ? text : number;
    block->records[i].nSec = 2;
  }
  return {.call =
              [=] {
                const int32 status = ar3_query_tags_interp_records_by_mode(
                    0, 10, block->ids, block->records, block->codes);
                return StatusOfInstants(status, *block, 10);
              },
          .done =
              [=] {
                for (std::size_t i = 0; i < 10; ++i) {
                  EXPECT_EQ(block->codes[i], ZR3_OK);
                  EXPECT_EQ(block->Read(i), i % 2 == 0 ? samples[1] : Number(2000, 2));
                }
              }};
}

Attempt CalculateStatistic(World& world) {
  const uint32 id = world.AddTag();
  world.Write(id, {Number(1000, 1), Number(2000, 2), Number(3000, 6), Number(4000, 9)});
  auto region = std::make_shared<ZR3TimeRegion>(ZR3TimeRegion{{1, 0}, {4, 0}, 1, 1});
  auto param = std::make_shared<ZR3StRelatedParam>();
  param->nStatsType = ZR3_STATS_TYPE_ARITH_MEAN;
  param->nTimeRegionNum = 1;
  param->pTimeRegions = region.get();
  std::strcpy(param->szFilterExpr, "value < max(3, 6, 5) + 1");
  auto value = std::make_shared<float64>(0);
  return {.call = [=] { return st3_tag_stats_calc(id, param.get(), value.get()); },
          .done = [=, region = region] { EXPECT_EQ(*value, 3); }};
}

// ---- the rest ----

Attempt ReadServerTime(World&) {
  auto time_ms = std::make_shared<int64>(0);
  return {.call = [=] { return ut3_get_server_ms_time(time_ms.get()); },
          .done = [=] { EXPECT_GT(*time_ms, 0); }};
}

Attempt SetCacheCapacity(World&) {
  return {.call = [] { return ut3_set_request_cache_capacity(1000); }, .done = [] {}};
}

Attempt AskForAnUnknownHandle(World&) {
  auto block = std::make_shared<RecordBlock>();
  return {.call = [=] { return ut3_get_item_step(reinterpret_cast<ZR3HANDLE>(7), block.get()); },
          .expected = ZR3_ERR_INVALID_HANDLE,
          .done = [] {}};
}

Attempt ConnectAgain(World& world) {
  return {.call = [&world] { return world.TryConnect(); }, .done = [] {}};
}

Attempt ConnectElsewhere(World&) {
  auto connection = std::make_shared<ZR3Connection>();
  std::strcpy(connection->szAddress, "embedded:/a/folder/that/nobody/has/made");
  return {.call = [=] { return nt3_connect(connection.get()); },
          .expected = ZR3_ERR_ALREADY_CONNECTED,
          .done = [] {}};
}

// ---- users ----

// Every one that stays would have the next call ask for more memory.
Attempt AddUserGroup(World& world) {
  auto group = std::make_shared<ZR3SecGroup>();
  std::strcpy(group->szGroupName, world.NewName().c_str());
  std::strcpy(group->szGroupDesc, "a description that is longer than a text without memory");
  return {.call = [group] { return sc3_add_group(group.get()); },
          .done = [group] { EXPECT_EQ(sc3_delete_group(group->szGroupName), ZR3_OK); }};
}

Attempt DescribeUser(World& world) {
  auto text = std::make_shared<std::string>(world.NewName() + std::string(64, 'd'));
  return {.call = [text] { return sc3_modify_user_desc("admin", text->c_str()); },
          .done =
              [text] {
                ZR3HANDLE handle = nullptr;
                ZR3SecUser user{};
                EXPECT_EQ(sc3_query_all_users(&handle), ZR3_OK);
                EXPECT_EQ(ut3_get_item_step(handle, &user), ZR3_OK);
                EXPECT_EQ(user.szUserDesc, *text);
                EXPECT_EQ(ut3_free_handle(handle), ZR3_OK);
              }};
}

// A new group with admin in it.
std::shared_ptr<ZR3SecGroup> GroupOfAdmin(World& world) {
  auto group = std::make_shared<ZR3SecGroup>();
  std::strcpy(group->szGroupName, world.NewName().c_str());
  EXPECT_EQ(sc3_add_group(group.get()), ZR3_OK);
  EXPECT_EQ(sc3_add_user_to_group("admin", group->szGroupName), ZR3_OK);
  return group;
}

Attempt LeaveUserGroup(World& world) {
  auto group = GroupOfAdmin(world);
  return {.call = [=] { return sc3_delete_user_from_group("admin", group->szGroupName); },
          .done = [=] { EXPECT_EQ(sc3_delete_group(group->szGroupName), ZR3_OK); }};
}

Attempt DeleteUserGroup(World& world) {
  auto group = GroupOfAdmin(world);
  return {
      .call = [=] { return sc3_delete_group(group->szGroupName); },
      .done =
          [=] { EXPECT_EQ(sc3_delete_group(group->szGroupName), ZR3_ERR_USER_GROUP_NOT_FOUND); }};
}

Attempt ListMembers(World&) {
  auto handle = std::make_shared<ZR3HANDLE>(nullptr);
  return {.call = [=] { return sc3_query_members_of_group("administrators", handle.get()); },
          .done =
              [=] {
                ZR3SecUser user{};
                EXPECT_EQ(ut3_get_item_step(*handle, &user), ZR3_OK);
                EXPECT_STREQ(user.szUserName, "admin");
                EXPECT_EQ(ut3_free_handle(*handle), ZR3_OK);
              }};
}

Attempt ListAuthorityItems(World&) {
  auto handle = std::make_shared<ZR3HANDLE>(nullptr);
  return {.call = [=] { return sc3_query_all_auth_items(handle.get()); },
          .done =
              [=] {
                ZR3SecAuthItem item{};
                EXPECT_EQ(ut3_get_item_step(*handle, &item), ZR3_OK);
                EXPECT_EQ(item.nAuth, 3);
                EXPECT_EQ(ut3_free_handle(*handle), ZR3_OK);
              }};
}

Attempt LogInAsAdmin(World&) {
  return {.call = [] { return sc3_login("admin", ""); },
          .done =
              [] {
                char name[ZR3_LEN_NAME] = {};
                EXPECT_EQ(sc3_query_current_user_name(sizeof name, name), ZR3_OK);
                EXPECT_STREQ(name, "admin");
              }};
}

}  // namespace

std::vector<Deed> AllDeeds() {
  return {
      {"AddTag", AddTag},
      {"AddTagOfATakenName", AddTagOfATakenName},
      {"RenameTag", RenameTag},
      {"ChangeType", ChangeType},
      {"TakeFiltersAway", TakeFiltersAway},
      {"DeleteTag", DeleteTag},
      {"QueryProperties", QueryProperties},
      {"QueryType", QueryType},
      {"QueryTypeOfNoTag", QueryTypeOfNoTag},
      {"SearchTag", SearchTag},
      {"StepToTag", StepToTag},
      {"CountTag", CountTag},
      {"ListAllTags", ListAllTags},
      {"FindName", FindName},
      {"FindNames", FindNames},
      {"ReadVersion", ReadVersion},
      {"SaveFirstNumber", SaveFirstNumber},
      {"SaveFirstText", SaveFirstText},
      {"SaveNextNumber", SaveNextNumber},
      {"SaveBatch", SaveBatch},
      {"SaveLateBatch", SaveLateBatch},
      {"SaveLateOfOneTag", SaveLateOfOneTag},
      {"QueueBatch", QueueBatch},
      {"SaveBatchPartlyRefused", SaveBatchPartlyRefused},
      {"SaveFiltered", SaveFiltered},
      {"CorrectCurrentText", CorrectCurrentText},
      {"CorrectHeldBack", CorrectHeldBack},
      {"ReadCurrent", ReadCurrent},
      {"ReadCurrentOfNoTag", ReadCurrentOfNoTag},
      {"ReadCurrentOfMany", ReadCurrentOfMany},
      {"CountRecords", CountRecords},
      {"ReadRecords", ReadRecords},
      {"ReadRecordsBackward", ReadRecordsBackward},
      {"ReadAtInstants", ReadAtInstants},
      {"ReadManyAtInstants", ReadManyAtInstants},
      {"CalculateStatistic", CalculateStatistic},
      {"ReadServerTime", ReadServerTime},
      {"AddUserGroup", AddUserGroup},
      {"DescribeUser", DescribeUser},
      {"LeaveUserGroup", LeaveUserGroup},
      {"DeleteUserGroup", DeleteUserGroup},
      {"ListMembers", ListMembers},
      {"ListAuthorityItems", ListAuthorityItems},
      {"LogInAsAdmin", LogInAsAdmin},
      {"SetCacheCapacity", SetCacheCapacity},
      {"SetRelay", SetRelay},
      {"AskForAnUnknownHandle", AskForAnUnknownHandle},
      {"ConnectAgain", ConnectAgain},
      {"ConnectElsewhere", ConnectElsewhere},
  };
}

}  // namespace zervane
