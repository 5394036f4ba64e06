// records_bench: how long it takes to ask for alarm records among a million, on one core: a day of
// one tag out of a year, the unacknowledged ones of a group, and the latest ones. The medians of
// seven runs each.
//
//   records_bench FOLDER    (made when missing; filled when it has no records yet)

#include <spdlog/fmt/fmt.h>

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <functional>
#include <memory>
#include <optional>
#include <random>
#include <utility>
#include <vector>

#include "engine/alarms/alarm_records.h"
#include "engine/alarms/alarm_rows.h"
#include "engine/storage/store.h"

namespace zervane {
namespace {

constexpr int kRuns = 7;
constexpr TagId kTags = 1'000;
constexpr std::int64_t kRecordsOfATag = 1'000;
constexpr std::int64_t kDayMs = 86'400'000;
constexpr std::int64_t kYearMs = 365 * kDayMs;
constexpr std::int64_t kBeginMs = 1'672'531'200'000;

template <typename Answer>
Answer OrDie(Result<Answer> answer) {
  if (answer.ok()) return *std::move(answer);
  fmt::print(stderr, "{}: {}\n", zr3_status_text(answer.code()), answer.status().message());
  std::exit(1);
}

// One record in a hundred is not acknowledged, and the last one of each tag stands.
AlarmRecord RecordOf(TagId tag, std::int64_t start_ms, bool is_acknowledged, bool is_last) {
  AlarmRecord record;
  record.tag = tag;
  record.start_ms = start_ms;
  record.is_restored = !is_last;
  record.end_ms = is_last ? 0 : start_ms + 60'000;
  record.is_acknowledged = is_acknowledged;
  if (is_acknowledged) {
    record.acknowledged_ms = start_ms + 30'000;
    record.acknowledged_by = "operator";
  }
  record.priority = 2;
  record.type = ZR3_AM_REC_TYPE_HIGH;
  record.source_value = "95.0625";
  record.test = "HIGH > 95 PRIORITY 2";
  return record;
}

// In order of time, as they would come.
void Fill(Store& store) {
  std::mt19937 random(1);
  std::int64_t commit = OrDie(store.Lease(LeaseWish::kLook)).last_commit;
  const std::int64_t step_ms = kYearMs / kRecordsOfATag;
  for (std::int64_t round = 0; round < kRecordsOfATag; ++round) {
    StoreBatch batch;
    batch.commit = ++commit;
    for (TagId tag = 1; tag <= kTags; ++tag) {
      const std::int64_t start_ms = kBeginMs + round * step_ms + tag;
      Table<AlarmRecord>::Put(
          RecordOf(tag, start_ms, random() % 100 != 0, round + 1 == kRecordsOfATag), batch);
    }
    const CommitAnswer answer = store.Commit(batch);
    if (answer.fate != CommitAnswer::Fate::kStored) std::exit(1);
  }
}

// What a query finds, page by page.
std::size_t CountAll(Store& store, const std::vector<TagId>& tags, const AlarmQuery& query) {
  std::size_t count = 0;
  for (std::optional<AlarmKey> from = AlarmKey(); from;) {
    const AlarmPage page =
        OrDie(FindAlarms(store, {.tags = tags, .query = query, .from = *from, .limit = 1'000}));
    count += page.items.size();
    from = page.next;
  }
  return count;
}

double CpuMs() {
  timespec time{};
  clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
  return static_cast<double>(time.tv_sec) * 1e3 + static_cast<double>(time.tv_nsec) / 1e6;
}

double Median(std::vector<double> times) {
  std::ranges::sort(times);
  return times[times.size() / 2];
}

// By the clock on the wall, and of this thread's core, which tells more beside others' work.
void Measure(const char* what, const std::function<std::size_t()>& ask) {
  std::vector<double> wall;
  std::vector<double> cpu;
  std::size_t found = 0;
  for (int run = 0; run < kRuns; ++run) {
    const auto start = std::chrono::steady_clock::now();
    const double cpu_start = CpuMs();
    found = ask();
    cpu.push_back(CpuMs() - cpu_start);
    const std::chrono::duration<double, std::milli> passed =
        std::chrono::steady_clock::now() - start;
    wall.push_back(passed.count());
  }
  fmt::print("{:<36} {:>7} records {:>9.2f} ms {:>9.2f} ms of CPU\n", what, found,
             Median(std::move(wall)), Median(std::move(cpu)));
}

std::vector<TagId> TagsFrom(TagId first, TagId count) {
  std::vector<TagId> tags(count);
  for (TagId at = 0; at < count; ++at) tags[at] = first + at;
  return tags;
}

void Run(const char* folder) {
  const std::unique_ptr<Store> store = OrDie(OpenSqliteStore(folder));
  if (!OrDie(LatestAlarm(*store, 1))) Fill(*store);
  const AlarmQuery day = {.start_ms = kBeginMs + 100 * kDayMs, .end_ms = kBeginMs + 101 * kDayMs};
  const AlarmQuery unacknowledged = {.acknowledged_mask = 1};
  const AlarmQuery standing = {.restored_mask = 1};
  Measure("a day of one tag", [&] { return CountAll(*store, TagsFrom(500, 1), day); });
  Measure("a day of all tags", [&] { return CountAll(*store, TagsFrom(1, kTags), day); });
  Measure("a year of one tag", [&] { return CountAll(*store, TagsFrom(500, 1), {}); });
  Measure("unacknowledged of a group of 20",
          [&] { return CountAll(*store, TagsFrom(300, 20), unacknowledged); });
  Measure("unacknowledged of a group of 100",
          [&] { return CountAll(*store, TagsFrom(300, 100), unacknowledged); });
  Measure("unacknowledged of all",
          [&] { return CountAll(*store, TagsFrom(1, kTags), unacknowledged); });
  Measure("standing of all", [&] { return CountAll(*store, TagsFrom(1, kTags), standing); });
  Measure("latest of 100 tags", [&] {
    std::size_t found = 0;
    for (const TagId tag : TagsFrom(300, 100)) {
      found += OrDie(LatestAlarm(*store, tag)).has_value() ? 1 : 0;
    }
    return found;
  });
}

}  // namespace
}  // namespace zervane

int main(int count, char** arguments) {
  if (count != 2) {
    fmt::print(stderr, "usage: records_bench FOLDER\n");
    return 2;
  }
  zervane::Run(arguments[1]);
  return 0;
}
