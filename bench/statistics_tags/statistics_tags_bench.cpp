// statistics_tags_bench: what statistics tags cost a database in a folder.
//
// 10,000 tags of means over one minute, of 1,000 sources with a value a second: the processor time
// of the whole process over three minutes, as a share of one core, without them and with them, and
// the difference. And the past of one tag of means over ten seconds: windows a second.
//
//   statistics_tags_bench FOLDER    (in which a folder of its own is made, and removed again)

#include <spdlog/fmt/fmt.h>
#include <sys/resource.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "api/operation_table.h"
#include "engine/clock.h"
#include "engine/embedded.h"

namespace zervane {
namespace {

using std::chrono::steady_clock;

constexpr int kStatistics = 10'000;
constexpr int kSources = 1'000;
constexpr std::int64_t kPastWindows = 100'000;
constexpr std::chrono::seconds kWatched{180};
constexpr auto kPatience = std::chrono::minutes(5);

void Require(const Status& status, const char* what) {
  if (status.ok()) return;
  fmt::print(stderr, "{}: {} {}\n", what, status.code(), status.message());
  std::exit(1);
}

TagId AddPoint(Database& database, const std::string& name) {
  Tag tag;
  tag.name = name;
  const Result<TagId> id = database.Do(Caller(), AddTag{tag, {}});
  Require(id.status(), "adding a tag");
  return *id;
}

TagId AddMean(Database& database, const std::string& name, const std::string& source,
              std::int64_t start_ms, std::int32_t interval_s) {
  StatisticsProperties statistics;
  statistics.source_tag = source;
  statistics.stats_type = ZR3_STATS_TYPE_TIME_WEIGHTED_MEAN;
  statistics.sample_start_date = static_cast<std::int32_t>(start_ms / 1000);
  statistics.sample_interval = interval_s;
  Tag tag;
  tag.name = name;
  tag.tag_class = ZR3_TAG_CLASS_STATS;
  tag.own = statistics;
  const Result<TagId> id = database.Do(Caller(), AddTag{tag, {}});
  Require(id.status(), "adding a statistics tag");
  return *id;
}

void Write(Database& database, const WriteSamples& write) {
  const Result<WriteSamples::Reply> reply = database.Do(Caller(), write);
  Require(reply.status(), "writing");
  Require(Status(reply->status, {}), "writing");
}

double ProcessorSeconds() {
  rusage usage{};
  getrusage(RUSAGE_SELF, &usage);
  const auto seconds = [](const timeval& time) {
    return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_usec) / 1e6;
  };
  return seconds(usage.ru_utime) + seconds(usage.ru_stime);
}

// While every source gets a value a second.
double ShareOfACore(Database& database, const std::vector<TagId>& sources) {
  const double before = ProcessorSeconds();
  const auto begin = steady_clock::now();
  for (auto next = begin; next - begin < kWatched; next += std::chrono::seconds(1)) {
    std::this_thread::sleep_until(next);
    WriteSamples write{.batch = {}, .order = WriteOrder::kInOrder, .answer = WriteAnswer::kDurable};
    for (const TagId tag : sources) write.batch.Add(tag, {.time_ms = 0, .value = 1.5});  // now
    Write(database, write);
  }
  const std::chrono::duration<double> passed = steady_clock::now() - begin;
  return (ProcessorSeconds() - before) / passed.count();
}

std::int64_t CountOf(Database& database, TagId tag) {
  const Result<std::int64_t> count = database.Do(Caller(), CountRecords{.id = tag, .range = {}});
  Require(count.status(), "counting");
  return *count;
}

void MeasureMinutes(Database& database) {
  std::vector<TagId> sources;
  for (int i = 0; i < kSources; ++i) sources.push_back(AddPoint(database, fmt::format("P{}", i)));
  const double without = ShareOfACore(database, sources);
  const std::int64_t start_ms = SystemClock()() / 60'000 * 60'000;
  TagId last = 0;
  for (int i = 0; i < kStatistics; ++i) {
    last = AddMean(database, fmt::format("S{}", i), fmt::format("P{}", i % kSources), start_ms, 60);
  }
  const double with = ShareOfACore(database, sources);
  fmt::print(
      "{} tags of one minute            {:5.1f} % of a core ({:.1f} % with {} writes a "
      "second, {:.1f} % these alone)\n",
      kStatistics, 100 * (with - without), 100 * with, kSources, 100 * without);
  fmt::print("windows computed of the last one     {}\n", CountOf(database, last));
}

void MeasurePast(Database& database) {
  const TagId source = AddPoint(database, "P");
  const std::int64_t start_ms = (SystemClock()() / 10'000 - kPastWindows) * 10'000;
  WriteSamples write{.batch = {}, .order = WriteOrder::kInOrder, .answer = WriteAnswer::kDurable};
  for (std::int64_t at = 0; at < 10 * kPastWindows; ++at) {
    write.batch.Add(source,
                    {.time_ms = start_ms + at * 1'000, .value = static_cast<double>(at % 97)});
  }
  Write(database, write);
  const auto begin = steady_clock::now();
  const TagId mean = AddMean(database, "S", "P", start_ms, 10);
  while (CountOf(database, mean) < kPastWindows) {
    if (steady_clock::now() - begin > kPatience) Require({ZR3_ERR_INTERNAL, "late"}, "waiting");
    std::this_thread::sleep_for(std::chrono::milliseconds(10));
  }
  const std::chrono::duration<double> passed = steady_clock::now() - begin;
  fmt::print("past windows of ten records          {:.0f} a second\n",
             static_cast<double>(kPastWindows) / passed.count());
}

void Run(const std::filesystem::path& folder, void (*measure)(Database&)) {
  std::filesystem::remove_all(folder);
  Result<std::unique_ptr<Database>> database = OpenEmbeddedFolder(folder);
  Require(database.status(), "opening");
  measure(**database);
  Require((*database)->Close(), "closing");
  std::filesystem::remove_all(folder);
}

}  // namespace
}  // namespace zervane

int main(int count, char** arguments) {
  if (count != 2) {
    fmt::print(stderr, "usage: statistics_tags_bench FOLDER\n");
    return 2;
  }
  const std::filesystem::path folder =
      std::filesystem::path(arguments[1]) / "statistics_tags_bench";
  zervane::Run(folder, zervane::MeasurePast);
  zervane::Run(folder, zervane::MeasureMinutes);
}
