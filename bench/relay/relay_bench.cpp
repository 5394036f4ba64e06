// relay_bench: current values relayed to a Redis on the same machine.
//
//   relay_bench PORT [SECONDS [RATE]]    a Redis on 127.0.0.1, 10 seconds, 100,000 values a second
//
// 10,000 tags, a batch of 1,000 values each hundredth of a second (at 100,000). Tells how many were
// written, how long after the last write the last value had arrived, how many entries the stream
// has taken, the processor time of this process with the relay and without it, and how long writes
// took with and without: nobody is to wait for Redis.

#include <hiredis/hiredis.h>
#include <spdlog/fmt/fmt.h>

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <memory>
#include <string>
#include <string_view>
#include <thread>
#include <vector>

#include "api/operation_table.h"
#include "engine/embedded.h"

namespace zervane {
namespace {

using SteadyClock = std::chrono::steady_clock;
constexpr TagId kTags = 10'000;
constexpr TagId kBatch = 1'000;
constexpr const char* kRoute = "zervane_relay_bench";

[[noreturn]] void Fail(std::string_view what) {
  fmt::print(stderr, "{}\n", what);
  std::exit(1);
}

void Require(const Status& status, std::string_view what) {
  if (!status.ok()) Fail(fmt::format("{}: {} {}", what, status.code(), status.message()));
}

double SecondsSince(SteadyClock::time_point begin) {
  return std::chrono::duration<double>(SteadyClock::now() - begin).count();
}

double ProcessorSeconds() {
  timespec time{};
  clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &time);
  return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) / 1e9;
}

// The Redis, by a client of its own.
class Redis {
 public:
  explicit Redis(int port) : context_(redisConnect("127.0.0.1", port), redisFree) {
    if (context_ == nullptr || context_->err != 0) Fail("no Redis answers there");
  }
  std::string Ask(const char* command) {
    const std::unique_ptr<redisReply, void (*)(void*)> reply(
        static_cast<redisReply*>(redisCommand(context_.get(), command, kRoute)), freeReplyObject);
    if (reply == nullptr || reply->type == REDIS_REPLY_ERROR) Fail("the Redis refuses a command");
    return TextOf(*reply);
  }

 private:
  static std::string TextOf(const redisReply& reply) {
    if (reply.type == REDIS_REPLY_INTEGER) return std::to_string(reply.integer);
    std::string text = reply.str == nullptr ? std::string() : std::string(reply.str, reply.len);
    for (std::size_t i = 0; i < reply.elements; ++i) text += " " + TextOf(*reply.element[i]);
    return text;
  }

  std::unique_ptr<redisContext, void (*)(redisContext*)> context_;
};

std::unique_ptr<Database> OpenWithTags() {
  Result<std::unique_ptr<Database>> database = OpenVolatile();
  Require(database.status(), "opening");
  for (TagId id = 1; id <= kTags; ++id) {
    Tag tag;
    tag.name = fmt::format("UNIT{}.FIC{}.PV", id % 100, id);
    tag.type = ZR3_TAG_TYPE_FLOAT64;
    tag.archiving = false;  // so that it is the way to Redis that is measured
    Require((*database)->Do(Caller(), AddTag{tag, {}}).status(), "adding a tag");
  }
  return *std::move(database);
}

struct Run {
  std::int64_t written = 0;
  double seconds = 0;
  double processor_seconds = 0;
  double median_us = 0;  // of a write of a batch
  double longest_us = 0;
};

Run WriteSteadily(Database& database, std::int64_t* time_ms, double seconds, double rate) {
  Run run;
  std::vector<double> times;
  const auto begin = SteadyClock::now();
  const double processor_begin = ProcessorSeconds();
  TagId first = 1;
  while (SecondsSince(begin) < seconds) {
    WriteSamples write{.batch = {}, .order = WriteOrder::kInOrder, .answer = WriteAnswer::kQueued};
    ++*time_ms;
    for (TagId i = 0; i < kBatch; ++i) {
      const double value = static_cast<double>(*time_ms % 100'000) / 7;
      write.batch.Add(first + i, {.time_ms = *time_ms, .value = value});
    }
    first = first + kBatch > kTags ? 1 : first + kBatch;
    const auto write_begin = SteadyClock::now();
    Require(database.Do(Caller(), write).status(), "writing");
    times.push_back(SecondsSince(write_begin) * 1e6);
    run.written += kBatch;
    std::this_thread::sleep_until(
        begin + std::chrono::duration_cast<SteadyClock::duration>(
                    std::chrono::duration<double>(static_cast<double>(run.written) / rate)));
  }
  run.seconds = SecondsSince(begin);
  run.processor_seconds = ProcessorSeconds() - processor_begin;
  std::ranges::sort(times);
  run.median_us = times[times.size() / 2];
  run.longest_us = times.back();
  return run;
}

void Print(std::string_view what, const Run& run) {
  fmt::print(
      "{}: {:.0f} values a second for {:.1f} s; {:.2f} processors; a batch of {} takes {:.0f} us "
      "(median), {:.0f} us (longest)\n",
      what, static_cast<double>(run.written) / run.seconds, run.seconds,
      run.processor_seconds / run.seconds, kBatch, run.median_us, run.longest_us);
}

// How long until the newest entry of the stream has this time.
double AwaitArrival(Redis& redis, std::int64_t time_ms) {
  const auto begin = SteadyClock::now();
  const std::string newest = fmt::format("\"time\":{},", time_ms);
  while (redis.Ask("XREVRANGE %s + - COUNT 1").find(newest) == std::string::npos) {
    if (SecondsSince(begin) > 60) Fail("the last value does not arrive");
    std::this_thread::sleep_for(std::chrono::milliseconds(1));
  }
  return SecondsSince(begin);
}

void Measure(int port, double seconds, double rate) {
  Redis redis(port);
  (void)redis.Ask("DEL %s");
  const std::unique_ptr<Database> database = OpenWithTags();
  std::int64_t time_ms = 1'600'000'000'000;
  Print("without the relay", WriteSteadily(*database, &time_ms, seconds, rate));
  RelaySettings settings;
  settings.host = "127.0.0.1";
  settings.port = std::to_string(port);
  settings.values_route = kRoute;
  Require(database->Do(Caller(), ConfigureRelay{settings}).status(), "setting the relay");
  AwaitArrival(redis, time_ms);  // the current values, which come first
  const Run run = WriteSteadily(*database, &time_ms, seconds, rate);
  const double behind = AwaitArrival(redis, time_ms);
  Print("with the relay", run);
  fmt::print("the last value arrives {:.3f} s after it was written\n", behind);
  fmt::print("the stream (of {} values and {} current ones before):{}\n", run.written, kTags,
             redis.Ask("XINFO STREAM %s").substr(0, 400));
  (void)redis.Ask("DEL %s");
}

}  // namespace
}  // namespace zervane

int main(int count, char** arguments) {
  if (count < 2) zervane::Fail("relay_bench PORT [SECONDS [RATE]]");
  zervane::Measure(std::atoi(arguments[1]), count > 2 ? std::atof(arguments[2]) : 10,
                   count > 3 ? std::atof(arguments[3]) : 100'000);
}
