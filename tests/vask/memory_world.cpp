#include "tests/vask/memory_world.h"

#include <gtest/gtest.h>
#include <stdlib.h>

#include <algorithm>
#include <cstring>
#include <utility>

#include "engine/clock.h"
#include "engine/embedded.h"
#include "engine/guard.h"
#include "engine/storage/sqlite/sqlite_store.h"
#include "vask/records.h"
#include "vask/session.h"

namespace zervane {
namespace {

constexpr ZR3TimeRegion kAllTime{{0, 0}, {-1, 999}, 1, 1};

// Chunks of 4 records, some 16 records at a time.
Result<std::unique_ptr<Database>> OpenSmall(const Target& target) {
  Result<std::unique_ptr<Store>> store = OpenSqliteStore(
      target.folder, {.pending_bytes = 16 * kPendingRecordBytes, .chunk_records = 4});
  if (!store.ok()) return store.status();
  return OpenEmbedded(*std::move(store), SystemClock());
}

std::filesystem::path MakeFolder() {
  const char* parent = getenv("TMPDIR");
  std::string pattern = std::string(parent == nullptr ? "/tmp" : parent) + "/zervane-memory-XXXXXX";
  EXPECT_NE(mkdtemp(pattern.data()), nullptr);
  return pattern;
}

std::vector<Sample> ReadArchive(uint32 id) {
  auto block = std::make_unique<RecordBlock>();
  block->Empty();
  block->count = RecordBlock::kRecords;
  EXPECT_EQ(ar3_query_raw_records(id, &kAllTime, &block->count, block->records), ZR3_OK);
  std::vector<Sample> samples;
  for (int32 i = 0; i < block->count; ++i) samples.push_back(block->Read(std::size_t(i)));
  return samples;
}

}  // namespace

// ---- records ----

void RecordBlock::Add(uint32 id, const Sample& sample) {
  const auto i = std::size_t(count);
  AddEmpty(id, sample.type);
  EXPECT_TRUE(FillRecord(ViewOf(sample), TextsOfThisThread(), &records[i]).ok());
}

void RecordBlock::AddEmpty(uint32 id, TagType type) {
  const auto i = std::size_t(count++);
  ids[i] = id;
  records[i].nTagType = static_cast<ZR3_TAG_TYPE>(type);
  records[i].value.strBlob = {texts[i], ZR3_LEN_VALUE};
}

void RecordBlock::Empty() {
  count = 0;
  for (std::size_t i = 0; i < kRecords; ++i) AddEmpty(0, TagType::kFloat64);
}

Sample RecordBlock::Read(std::size_t i) const {
  SampleColumns samples;
  EXPECT_TRUE(AddRecord(records[i], TextsOfThisThread(), &samples).ok());
  return samples.empty() ? Sample() : samples.At(0);
}

// ---- the world ----

void ExpectedTag::Wrote(const Sample& sample) {
  archive[sample.time_ms] = sample;
  if (!current || sample.time_ms >= current->time_ms) current = sample;
}

World::World(Kind kind) : kind_(kind) {
  if (IsKept()) folder_ = MakeFolder();
  Connect();
}

World::~World() {
  (void)nt3_disconnect();
  for (const std::filesystem::path& folder : {folder_, copy_}) {
    if (!folder.empty()) std::filesystem::remove_all(folder);
  }
}

void World::KeepCopy() {
  copy_ = MakeFolder();
  std::filesystem::copy(folder_, copy_, std::filesystem::copy_options::recursive);
}

void World::Restore() {
  std::filesystem::remove_all(folder_);
  std::filesystem::create_directory(folder_);
  if (!copy_.empty()) std::filesystem::copy(copy_, folder_);
}

int32 World::TryConnect() {
  if (kind_ == Kind::kSmallFolder) {
    return Guarded([&] {
             const Target target = {.kind = Target::Kind::kFolder, .folder = folder_};
             return ProcessSession().Connect({.primary = target, .standby = {}}, OpenSmall);
           })
        .code();
  }
  ZR3Connection connection{};
  const char* folder = kind_ == Kind::kVolatile ? "" : folder_.c_str();
  std::strcpy(connection.szAddress, kind_ == Kind::kVolatile ? "memory:" : "embedded:");
  std::strcat(connection.szAddress, folder);
  return nt3_connect(&connection);
}

void World::Connect() { EXPECT_EQ(TryConnect(), ZR3_OK); }
void World::Disconnect() { EXPECT_EQ(nt3_disconnect(), ZR3_OK); }

std::string World::NewName() {
  return "a name that is too long for a string itself, number " + std::to_string(++names_);
}

void World::Added(uint32 id, const std::string& name, TagType type) {
  EXPECT_EQ(id, last_id_ + 1);
  last_id_ = id;
  tags_[id] = {.name = name, .type = type, .archive = {}, .perhaps = {}, .current = {}};
}

uint32 World::AddTag(TagType type) {
  ZR3PtTagProp tag{};
  std::strcpy(tag.szTagName, NewName().c_str());
  tag.nTagType = static_cast<ZR3_TAG_TYPE>(type);
  const ZR3Mask mask{.nCommMask = int64{1} << ZR3_TAG_COL_COMM_PROP_TAG_TYPE, .nExtMask = 0};
  uint32 id = 0;
  EXPECT_EQ(pt3_add_tag(&tag, &mask, nullptr, &id), ZR3_OK);
  Added(id, tag.szTagName, type);
  return id;
}

std::vector<Sample> World::HeldRecords() {
  return {{.time_ms = 1000, .value = 0.0},
          {.time_ms = 2000, .value = 9.0},
          {.time_ms = 3000, .value = 9.5}};
}

uint32 World::AddHoldingTag() {
  ZR3PtTagProp tag{};
  std::strcpy(tag.szTagName, NewName().c_str());
  tag.fExcDev = 1;
  tag.nCompType = ZR3_COMP_TYPE_SDT;
  tag.fCompDev = 1;
  const ZR3Mask mask{.nCommMask = int64{1} << ZR3_TAG_COL_COMM_PROP_EXC_DEV |
                                  int64{1} << ZR3_TAG_COL_COMM_PROP_COMP_TYPE |
                                  int64{1} << ZR3_TAG_COL_COMM_PROP_COMP_DEV,
                     .nExtMask = 0};
  uint32 id = 0;
  EXPECT_EQ(pt3_add_tag(&tag, &mask, nullptr, &id), ZR3_OK);
  Added(id, tag.szTagName, TagType::kFloat64);
  Write(id, HeldRecords());
  tags_[id].archive = {{1000, HeldRecords()[0]}};
  return id;
}

void World::Write(uint32 id, const std::vector<Sample>& samples) {
  auto block = std::make_unique<RecordBlock>();
  for (const Sample& sample : samples) block->Add(id, sample);
  EXPECT_EQ(sn3_save_snapshots(block->count, block->ids, block->records, block->codes), ZR3_OK);
  for (const Sample& sample : samples) tags_[id].Wrote(sample);
}

void World::ForgetAll() {
  tags_.clear();
  last_id_ = 0;
}

void World::Check(uint32 id) const {
  SCOPED_TRACE("tag " + std::to_string(id));
  ZR3_TAG_TYPE type = -1;
  const auto expected = tags_.find(id);
  if (expected == tags_.end()) {
    EXPECT_EQ(pt3_query_tag_type(id, &type), ZR3_ERR_TAG_NOT_FOUND);
    return;
  }
  const ExpectedTag& tag = expected->second;
  uint32 found = 0;
  EXPECT_EQ(tag3_query_id_by_name(tag.name.c_str(), &found), ZR3_OK);
  EXPECT_EQ(found, id);
  EXPECT_EQ(pt3_query_tag_type(id, &type), ZR3_OK);
  EXPECT_EQ(type, static_cast<ZR3_TAG_TYPE>(tag.type));

  std::map<std::int64_t, Sample> missing = tag.archive;
  const std::vector<Sample> archive = ReadArchive(id);
  for (const Sample& sample : archive) {
    if (const auto must = missing.find(sample.time_ms); must != missing.end()) {
      EXPECT_EQ(sample, must->second) << "at " << sample.time_ms;
      missing.erase(must);
    } else {
      const auto may = tag.perhaps.find(sample.time_ms);
      ASSERT_NE(may, tag.perhaps.end()) << "a record at " << sample.time_ms << " that nobody wrote";
      EXPECT_EQ(sample, may->second);
    }
  }
  EXPECT_TRUE(missing.empty()) << missing.size() << " records lost, from "
                               << missing.begin()->first;
  int32 count = 0;
  EXPECT_EQ(ar3_query_raw_records_number(id, &kAllTime, &count), ZR3_OK);
  EXPECT_EQ(count, std::ssize(archive));

  auto block = std::make_unique<RecordBlock>();
  block->AddEmpty(id, tag.type);
  const int32 status = sn3_query_snapshot(id, block->records);
  if (!tag.current) {
    EXPECT_TRUE(status == ZR3_ERR_NO_RECORD || !tag.perhaps.empty());
    return;
  }
  ASSERT_EQ(status, ZR3_OK);
  const Sample current = block->Read(0);
  const auto may = tag.perhaps.find(current.time_ms);
  EXPECT_TRUE(current == *tag.current || (may != tag.perhaps.end() && current == may->second))
      << "current value at " << current.time_ms << " instead of " << tag.current->time_ms;
}

void World::CheckAll() const {
  for (const auto& [id, tag] : tags_) Check(id);
}

}  // namespace zervane
