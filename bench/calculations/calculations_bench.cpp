// calculations_bench: what calculation tags cost a database in a folder.
//
// 10,000 polled tags of three operands each, at a period of one second: the processor time of the
// whole process over some seconds in which nothing else happens, as a share of one core. And one
// operand of 1,000 tags: the time from before it is written, durably, to when the last of them has
// its value; the median and the worst of some rounds.
//
//   calculations_bench FOLDER    (in which a folder of its own is made, and removed again)

#include <spdlog/fmt/fmt.h>
#include <sys/resource.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "api/operation_table.h"
#include "engine/embedded.h"

namespace zervane {
namespace {

using std::chrono::steady_clock;

constexpr int kPolled = 10'000;
constexpr int kPoints = 1'000;
constexpr int kNotified = 1'000;
constexpr int kRounds = 101;
constexpr std::chrono::seconds kWatched{20};
constexpr auto kPatience = std::chrono::seconds(10);

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

TagId AddCalculation(Database& database, const std::string& name, std::int32_t mode,
                     const std::string& expression) {
  CalculationProperties calculation;
  calculation.calc_mode = mode;
  calculation.calc_period = 1;
  calculation.calc_expr = expression;
  Tag tag;
  tag.name = name;
  tag.tag_class = ZR3_TAG_CLASS_CALC;
  tag.own = calculation;
  const Result<TagId> id = database.Do(Caller(), AddTag{tag, {}});
  Require(id.status(), "adding a calculation tag");
  return *id;
}

void Write(Database& database, const std::vector<TagId>& tags, double number) {
  WriteSamples write{.batch = {}, .order = WriteOrder::kInOrder, .answer = WriteAnswer::kDurable};
  for (const TagId tag : tags) write.batch.Add(tag, {.time_ms = 0, .value = number});  // now
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

double ShareOfACore() {
  const double before = ProcessorSeconds();
  const auto begin = steady_clock::now();
  std::this_thread::sleep_for(kWatched);
  const std::chrono::duration<double> passed = steady_clock::now() - begin;
  return (ProcessorSeconds() - before) / passed.count();
}

std::int64_t CountOf(Database& database, TagId tag) {
  const Result<std::int64_t> count = database.Do(Caller(), CountRecords{.id = tag, .range = {}});
  Require(count.status(), "counting");
  return *count;
}

void MeasurePolled(Database& database) {
  std::vector<TagId> points;
  for (int i = 0; i < kPoints; ++i) points.push_back(AddPoint(database, fmt::format("P{}", i)));
  Write(database, points, 1.5);
  const double idle = ShareOfACore();
  TagId last = 0;
  for (int i = 0; i < kPolled; ++i) {
    const std::string expression = fmt::format("('P{}' + 'P{}') * 'P{}' / 3", i % kPoints,
                                               (i + 1) % kPoints, (i + 2) % kPoints);
    last = AddCalculation(database, fmt::format("C{}", i), ZR3_CALC_MODE_POLL, expression);
  }
  const std::int64_t before = CountOf(database, last);
  const double share = ShareOfACore();
  fmt::print("{} polled tags of three operands     {:5.1f} % of a core (idle {:.1f} %)\n", kPolled,
             100 * share, 100 * idle);
  fmt::print("instants computed in {} s               {}\n", kWatched.count(),
             CountOf(database, last) - before);
}

// Milliseconds until the last of them has the value; it is computed by the order of identifiers.
double MillisecondsTo(Database& database, TagId point, TagId last, double number) {
  const auto begin = steady_clock::now();
  Write(database, {point}, number);
  for (;;) {
    const Result<Sample> sample = database.Do(Caller(), ReadCurrent{.id = last});
    if (sample.ok() && sample->value.float64() == number) break;
    if (steady_clock::now() - begin > kPatience) Require({ZR3_ERR_INTERNAL, "late"}, "waiting");
    std::this_thread::yield();
  }
  return std::chrono::duration<double, std::milli>(steady_clock::now() - begin).count();
}

void MeasureNotified(Database& database) {
  const TagId point = AddPoint(database, "X");
  TagId last = 0;
  for (int i = 0; i < kNotified; ++i) {
    last = AddCalculation(database, fmt::format("N{}", i), ZR3_CALC_MODE_NOTIFY, "'X'");
  }
  std::vector<double> taken;
  for (int round = 1; round <= kRounds; ++round) {
    taken.push_back(MillisecondsTo(database, point, last, round));
  }
  std::ranges::sort(taken);
  fmt::print("one operand of {} tags, written durably  {:.2f} ms, at worst {:.2f} ms\n", kNotified,
             taken[taken.size() / 2], taken.back());
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
    fmt::print(stderr, "usage: calculations_bench FOLDER\n");
    return 2;
  }
  const std::filesystem::path folder = std::filesystem::path(arguments[1]) / "calculations_bench";
  zervane::Run(folder, zervane::MeasureNotified);
  zervane::Run(folder, zervane::MeasurePolled);
}
