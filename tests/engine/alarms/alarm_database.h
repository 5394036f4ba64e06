#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "api/operations/alarms.h"
#include "api/operations/history.h"
#include "api/operations/tags.h"
#include "api/operations/values.h"
#include "engine/engine.h"

namespace zervane {

// An alarm tag that has these tests.
inline Tag AlarmTagOf(const std::string& name, const std::string& source,
                      const std::vector<std::string>& tests) {
  AlarmProperties alarm;
  alarm.source_tag = source;
  std::string* const texts[] = {&alarm.test1, &alarm.test2, &alarm.test3, &alarm.test4};
  for (std::size_t at = 0; at < tests.size(); ++at) *texts[at] = tests[at];
  Tag tag;
  tag.name = name;
  tag.tag_class = ZR3_TAG_CLASS_ALARM;
  tag.own = alarm;
  return tag;
}

// A database on a clock that the test sets, in which nothing happens by itself: what alarms ask for
// is done when the test says so.
class AlarmDatabase {
 public:
  using OpenStore = std::function<std::unique_ptr<Store>()>;

  explicit AlarmDatabase(OpenStore open_store) : open_store_(std::move(open_store)) { Open(); }

  // Opens it again; `before` runs while it is shut.
  void Reopen() {
    engine_.reset();
    Open();
  }

  TagId Add(const Tag& tag) {
    const Result<TagId> id = Do(AddTag{.tag = tag, .mask = {}});
    EXPECT_TRUE(id.ok()) << id.status().message();
    return id.ok() ? *id : 0;
  }
  TagId AddPoint(const std::string& name, TagType type = TagType::kFloat64) {
    Tag tag;
    tag.name = name;
    tag.type = static_cast<std::int32_t>(type);
    return Add(tag);
  }
  Status Modify(TagId id, const Tag& tag) {
    return Do(ModifyTag{.id = id, .tag_class = tag.tag_class, .tag = tag, .mask = {}}).status();
  }

  void Write(const std::vector<TagSample>& records, WriteOrder order) {
    WriteSamples write{.batch = {}, .order = order, .answer = WriteAnswer::kDurable};
    for (const TagSample& record : records) write.batch.Add(record.tag, record.sample);
    const auto reply = Do(write);
    ASSERT_TRUE(reply.ok()) << reply.status().message();
    EXPECT_EQ(reply->status, ZR3_OK);
  }
  void Write(TagId tag, const Sample& sample) { Write({{tag, sample}}, WriteOrder::kInOrder); }
  void Work() {
    const Status status = engine_->Work();
    EXPECT_TRUE(status.ok()) << status.message();
  }

  // All records of the alarm tag, by their starts.
  std::vector<AlarmRecord> Records(TagId tag) {
    FindAlarmsOfTags find;
    find.ids = {tag};
    std::vector<AlarmRecord> records;
    for (;;) {
      Result<AlarmPage> page = Do(find);
      EXPECT_TRUE(page.ok()) << page.status().message();
      if (!page.ok()) return records;
      records.insert(records.end(), page->items.begin(), page->items.end());
      if (!page->next) return records;
      find.from = *page->next;
    }
  }

  template <typename Op>
  Result<typename Op::Reply> Do(const Op& operation) {
    return engine_->Handle(Caller(), operation);
  }

  Engine& engine() { return *engine_; }
  void SetClock(std::int64_t now_ms) { *now_ms_ = now_ms; }
  std::int64_t now_ms() const { return *now_ms_; }

 private:
  void Open() {
    const auto clock = [now_ms = now_ms_] { return *now_ms; };
    auto opened = Engine::Open(open_store_(), clock, {}, Engine::OwnWork::kByCaller);
    ASSERT_TRUE(opened.ok()) << opened.status().message();
    engine_ = *std::move(opened);
  }

  const OpenStore open_store_;
  // The queue's thread looks at it; it is set between calls that wait for their answers.
  const std::shared_ptr<std::int64_t> now_ms_ = std::make_shared<std::int64_t>(1'700'000'000'000);
  std::unique_ptr<Engine> engine_;
};

}  // namespace zervane
