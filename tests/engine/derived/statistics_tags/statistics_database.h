#pragma once

#include <gtest/gtest.h>
#include <spdlog/fmt/fmt.h>

#include <cstdint>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "api/operations/history.h"
#include "api/operations/tags.h"
#include "api/operations/values.h"
#include "engine/engine.h"
#include "tests/engine/test_disk.h"

namespace zervane {

// A database on a clock that the test sets, in which nothing is computed before the test says so.
class StatisticsDatabase {
 public:
  static constexpr std::int64_t kStart = 1'700'000'000'000 / 3'600'000 * 3'600'000;
  static constexpr auto kStartDate = static_cast<std::int32_t>(kStart / 1000);

  StatisticsDatabase() { Open(); }

  void Close() { engine_.reset(); }
  void Open() {
    const auto clock = [now_ms = now_ms_] { return *now_ms; };
    auto opened = Engine::Open(disk_->Open(disk_), clock, {}, Engine::OwnWork::kByCaller);
    ASSERT_TRUE(opened.ok()) << opened.status().message();
    engine_ = *std::move(opened);
  }

  // The sum over every ten seconds from the start on.
  static StatisticsProperties Sums() {
    StatisticsProperties properties;
    properties.source_tag = "source";
    properties.stats_type = ZR3_STATS_TYPE_SUM;
    properties.sample_start_date = kStartDate;
    properties.sample_interval = 10;
    return properties;
  }
  static Tag TagOf(const StatisticsProperties& properties, const std::string& name = "statistic",
                   TagType type = TagType::kFloat64) {
    Tag tag;
    tag.name = name;
    tag.type = static_cast<std::int32_t>(type);
    tag.tag_class = ZR3_TAG_CLASS_STATS;
    tag.own = properties;
    return tag;
  }

  TagId Add(const Tag& tag) {
    const Result<TagId> id = Do(AddTag{.tag = tag, .mask = {}});
    EXPECT_TRUE(id.ok()) << id.status().message();
    return id.ok() ? *id : 0;
  }
  ZR3_STATUS CodeOfAdding(const Tag& tag) { return Do(AddTag{.tag = tag, .mask = {}}).code(); }
  TagId AddPoint(const std::string& name, TagType type = TagType::kFloat64) {
    Tag tag;
    tag.name = name;
    tag.type = static_cast<std::int32_t>(type);
    return Add(tag);
  }
  Tag Read(TagId id) {
    Result<Tag> tag = Do(GetTag{.id = id});
    EXPECT_TRUE(tag.ok()) << tag.status().message();
    return tag.ok() ? *std::move(tag) : Tag();
  }
  std::string SourceOf(TagId id) { return std::get<StatisticsProperties>(Read(id).own).source_tag; }
  ZR3_STATUS Save(TagId id, const Tag& tag, PropertyMask mask = {}) {
    return Do(ModifyTag{.id = id, .tag_class = tag.tag_class, .tag = tag, .mask = mask}).code();
  }
  ZR3_STATUS Save(TagId id, const StatisticsProperties& properties, PropertyMask mask) {
    return Save(id, TagOf(properties), mask);
  }
  ZR3_STATUS Rename(TagId id, const std::string& name) {
    Tag tag = Read(id);
    tag.name = name;
    return Save(id, tag, {.common = 1 << ZR3_TAG_COL_COMM_PROP_TAG_NAME, .extension = 0});
  }
  void Delete(TagId id) { EXPECT_EQ(Do(DeleteTag{.id = id}).code(), ZR3_OK); }

  void Write(const std::vector<TagSample>& records) {
    WriteSamples write{
        .batch = {}, .order = WriteOrder::kAnyOrder, .answer = WriteAnswer::kDurable};
    for (const TagSample& record : records) write.batch.Add(record.tag, record.sample);
    const auto reply = Do(write);
    ASSERT_TRUE(reply.ok()) << reply.status().message();
    EXPECT_EQ(reply->status, ZR3_OK);
  }
  // A FLOAT64 at so many seconds behind the start.
  void Write(TagId tag, std::int64_t at_s, double number, std::uint16_t quality = 192) {
    Write({{tag, At(at_s, number, quality)}});
  }
  static Sample At(std::int64_t at_s, double number, std::uint16_t quality = 192) {
    return {.time_ms = kStart + at_s * 1000,
            .quality = quality,
            .type = TagType::kFloat64,
            .value = Value(number)};
  }

  void Work() {
    const Status status = engine_->Work();
    EXPECT_TRUE(status.ok()) << status.message();
  }
  void WorkAt(std::int64_t at_s) {
    SetClock(at_s);
    Work();
  }

  std::vector<Sample> RecordsOf(TagId tag) {
    const auto records = Do(ReadRecords{.id = tag, .range = {}, .limit = 1'000'000});
    EXPECT_TRUE(records.ok()) << records.status().message();
    std::vector<Sample> samples;
    for (std::size_t at = 0; records.ok() && at < records->size(); ++at) {
      samples.push_back(records->At(at));
    }
    return samples;
  }
  // All records of a tag in order: "seconds=value" or, of a bad one, "seconds=value!".
  std::string Records(TagId tag) {
    std::string text;
    for (const Sample& sample : RecordsOf(tag)) {
      text += fmt::format("{}{}={}{}", text.empty() ? "" : " ", (sample.time_ms - kStart) / 1000,
                          NumberIn(sample), sample.quality == 192 ? "" : "!");
    }
    return text;
  }

  template <typename Op>
  Result<typename Op::Reply> Do(const Op& operation) {
    return engine_->Handle(Caller(), operation);
  }

  TestDisk& disk() { return *disk_; }
  Engine& engine() { return *engine_; }
  // So many seconds behind the start.
  void SetClock(std::int64_t at_s) { *now_ms_ = kStart + at_s * 1000; }
  std::int64_t now_ms() const { return *now_ms_; }

  static double NumberIn(const Sample& sample) {
    return sample.type == TagType::kFloat64   ? sample.value.float64()
           : sample.type == TagType::kFloat32 ? static_cast<double>(sample.value.float32())
                                              : sample.value.integer();
  }

 private:
  const std::shared_ptr<TestDisk> disk_ = std::make_shared<TestDisk>();
  // The queue's thread looks at it; it is set between calls that wait for their answers.
  const std::shared_ptr<std::int64_t> now_ms_ = std::make_shared<std::int64_t>(kStart);
  std::unique_ptr<Engine> engine_;
};

}  // namespace zervane
