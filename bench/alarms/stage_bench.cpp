// stage_bench: what a value costs more for being watched by an alarm tag that it does not move.
//
// The same batches, 10,000 records over 1,000 tags, are written to a database in memory whose tags
// nobody watches and to one in which each has an alarm tag with a limit above, one below and a dead
// band, in turn; the medians, and what lies between them.

#include <spdlog/fmt/fmt.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <vector>

#include "api/operation_table.h"
#include "engine/embedded.h"

namespace zervane {
namespace {

constexpr TagId kTags = 1'000;
constexpr std::int64_t kRecordsOfATag = 10;
constexpr int kRounds = 201;

void Require(const Status& status, const char* what) {
  if (status.ok()) return;
  fmt::print(stderr, "{}: {} {}\n", what, status.code(), status.message());
  std::exit(1);
}

void AddWatcher(Database& database, TagId id) {
  AlarmProperties alarm;
  alarm.source_tag = fmt::format("T{}", id);
  alarm.test1 = "HIGH > 90";
  alarm.test2 = "LOW < 10";
  alarm.value_dead_band = 2;
  Tag tag;
  tag.name = fmt::format("T{}.ALARM", id);
  tag.tag_class = ZR3_TAG_CLASS_ALARM;
  tag.own = alarm;
  Require(database.Do(Caller(), AddTag{tag, {}}).status(), "adding an alarm tag");
}

std::unique_ptr<Database> OpenWithTags(bool are_watched) {
  Result<std::unique_ptr<Database>> database = OpenVolatile();
  Require(database.status(), "opening");
  for (TagId id = 1; id <= kTags; ++id) {
    Tag tag;
    tag.name = fmt::format("T{}", id);
    tag.archiving = false;  // so that it is the way of a value that is measured
    Require((*database)->Do(Caller(), AddTag{tag, {}}).status(), "adding a tag");
  }
  for (TagId id = 1; are_watched && id <= kTags; ++id) AddWatcher(**database, id);
  return *std::move(database);
}

// Values between the limits.
WriteSamples BatchFrom(std::int64_t first_ms) {
  WriteSamples write{.batch = {}, .order = WriteOrder::kInOrder, .answer = WriteAnswer::kDurable};
  for (std::int64_t record = 0; record < kRecordsOfATag; ++record) {
    for (TagId id = 1; id <= kTags; ++id) {
      const auto value = static_cast<double>(20 + (record * 7 + id) % 60);
      write.batch.Add(id, {.time_ms = first_ms + record, .value = value});
    }
  }
  return write;
}

double NanosecondsOfARecord(Database& database, const WriteSamples& write) {
  const auto begin = std::chrono::steady_clock::now();
  const Result<WriteSamples::Reply> reply = database.Do(Caller(), write);
  const std::chrono::duration<double, std::nano> taken = std::chrono::steady_clock::now() - begin;
  Require(reply.status(), "writing");
  Require(Status(reply->status, {}), "writing");
  return taken.count() / static_cast<double>(write.batch.size());
}

double MedianOf(std::vector<double> values) {
  std::ranges::sort(values);
  return values[values.size() / 2];
}

void Run() {
  const std::unique_ptr<Database> unwatched = OpenWithTags(false);
  const std::unique_ptr<Database> watched = OpenWithTags(true);
  std::vector<double> without;
  std::vector<double> with;
  std::vector<double> more;
  for (int round = 0; round < kRounds; ++round) {
    const WriteSamples write = BatchFrom(1 + round * kRecordsOfATag);
    without.push_back(NanosecondsOfARecord(*unwatched, write));
    with.push_back(NanosecondsOfARecord(*watched, write));
    more.push_back(with.back() - without.back());
  }
  FindAlarmsOfGroup all;
  const Result<AlarmPage> raised = watched->Do(Caller(), all);
  Require(raised.status(), "looking for alarms");
  fmt::print("a record of a tag that nobody watches  {:6.1f} ns\n", MedianOf(without));
  fmt::print("a record of a tag with an alarm tag    {:6.1f} ns\n", MedianOf(with));
  fmt::print("more for being watched                 {:6.1f} ns ({} alarms)\n", MedianOf(more),
             raised->items.size());
}

}  // namespace
}  // namespace zervane

int main() { zervane::Run(); }
