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
#include "engine/derived/calculations/notify_rows.h"
#include "engine/engine.h"
#include "tests/engine/test_disk.h"

namespace zervane {

// A database on a clock that the test sets, in which nothing is computed before the test says so.
class CalculationDatabase {
 public:
  // A multiple of all periods that tests have.
  static constexpr std::int64_t kStart = 1'700'000'000'000 / 3'600'000 * 3'600'000;

  CalculationDatabase() { Open(); }

  void Close() { engine_.reset(); }
  void Open() {
    const auto clock = [now_ms = now_ms_] { return *now_ms; };
    auto opened = Engine::Open(disk_->Open(disk_), clock, {}, Engine::OwnWork::kByCaller);
    ASSERT_TRUE(opened.ok()) << opened.status().message();
    engine_ = *std::move(opened);
  }

  static Tag Polled(const std::string& name, const std::string& expression,
                    std::int32_t period_s = 1, TagType type = TagType::kFloat64) {
    CalculationProperties properties;
    properties.calc_mode = ZR3_CALC_MODE_POLL;
    properties.calc_period = period_s;
    properties.calc_expr = expression;
    return TagOf(name, properties, type);
  }
  static Tag Notified(const std::string& name, const std::string& expression,
                      const std::string& source = "", TagType type = TagType::kFloat64) {
    CalculationProperties properties;
    properties.calc_mode = ZR3_CALC_MODE_NOTIFY;
    properties.calc_expr = expression;
    properties.source_tag = source;
    return TagOf(name, properties, type);
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
  std::string ExpressionOf(TagId id) {
    return std::get<CalculationProperties>(Read(id).own).calc_expr;
  }
  std::string SourceOf(TagId id) {
    return std::get<CalculationProperties>(Read(id).own).source_tag;
  }
  ZR3_STATUS Save(TagId id, const Tag& tag, PropertyMask mask = {}) {
    return Do(ModifyTag{.id = id, .tag_class = tag.tag_class, .tag = tag, .mask = mask}).code();
  }
  ZR3_STATUS Rename(TagId id, const std::string& name) {
    Tag tag = Read(id);
    tag.name = name;
    return Save(id, tag, {.common = 1 << ZR3_TAG_COL_COMM_PROP_TAG_NAME, .extension = 0});
  }
  void Delete(TagId id) { EXPECT_EQ(Do(DeleteTag{.id = id}).code(), ZR3_OK); }

  void Write(const std::vector<TagSample>& records, WriteOrder order = WriteOrder::kAnyOrder) {
    WriteSamples write{.batch = {}, .order = order, .answer = WriteAnswer::kDurable};
    for (const TagSample& record : records) write.batch.Add(record.tag, record.sample);
    const auto reply = Do(write);
    ASSERT_TRUE(reply.ok()) << reply.status().message();
    EXPECT_EQ(reply->status, ZR3_OK);
  }
  // A good FLOAT64 at so many milliseconds behind the start.
  void Write(TagId tag, std::int64_t at_ms, double number) { Write({{tag, At(at_ms, number)}}); }
  static Sample At(std::int64_t at_ms, double number, std::uint16_t quality = 192) {
    return {.time_ms = kStart + at_ms,
            .quality = quality,
            .type = TagType::kFloat64,
            .value = Value(number)};
  }

  void Work() {
    const Status status = engine_->Work();
    EXPECT_TRUE(status.ok()) << status.message();
  }

  // All records of a tag in order: "seconds=value" or, of a bad one, "seconds=value!".
  std::string Records(TagId tag) {
    const auto records = Do(ReadRecords{.id = tag, .range = {}, .limit = 100'000});
    EXPECT_TRUE(records.ok()) << records.status().message();
    std::string text;
    for (std::size_t at = 0; records.ok() && at < records->size(); ++at) {
      const Sample sample = records->At(at);
      text += fmt::format("{}{}={}{}", text.empty() ? "" : " ",
                          static_cast<double>(sample.time_ms - kStart) / 1000, NumberIn(sample),
                          sample.quality == 192 ? "" : "!");
    }
    return text;
  }

  template <typename Op>
  Result<typename Op::Reply> Do(const Op& operation) {
    return engine_->Handle(Caller(), operation);
  }

  std::int64_t LastCommit() {
    const Result<LeaseAnswer> lease = disk_->Open(disk_)->Lease(LeaseWish::kLook);
    EXPECT_TRUE(lease.ok());
    return lease.ok() ? lease->last_commit : 0;
  }

  // The tags whose values the store says are still to be followed.
  std::vector<TagId> Unfollowed() {
    std::vector<TagId> tags;
    const RowRange range = {.table = TableId::kProgress,
                            .from = RowFormat<NotifyReason>::AllKeys(),
                            .to = RowFormat<NotifyReason>::AllKeys()};
    const Status status = disk_->Open(disk_)->Rows(range, 1'000'000, [&](RowView row) {
      const auto reason = RowFormat<NotifyReason>::FromRow(row);
      EXPECT_TRUE(reason);
      if (reason) tags.push_back(reason->tag);
      return true;
    });
    EXPECT_TRUE(status.ok());
    return tags;
  }

  TestDisk& disk() { return *disk_; }
  Engine& engine() { return *engine_; }
  // So many milliseconds behind the start.
  void SetClock(std::int64_t at_ms) { *now_ms_ = kStart + at_ms; }

 private:
  static double NumberIn(const Sample& sample) {
    return sample.type == TagType::kFloat64   ? sample.value.float64()
           : sample.type == TagType::kFloat32 ? static_cast<double>(sample.value.float32())
                                              : static_cast<double>(sample.value.integer());
  }

  static Tag TagOf(const std::string& name, const CalculationProperties& properties, TagType type) {
    Tag tag;
    tag.name = name;
    tag.type = static_cast<std::int32_t>(type);
    tag.tag_class = ZR3_TAG_CLASS_CALC;
    tag.own = properties;
    return tag;
  }

  const std::shared_ptr<TestDisk> disk_ = std::make_shared<TestDisk>();
  // The queue's thread looks at it; it is set between calls that wait for their answers.
  const std::shared_ptr<std::int64_t> now_ms_ = std::make_shared<std::int64_t>(kStart);
  std::unique_ptr<Engine> engine_;
};

}  // namespace zervane
