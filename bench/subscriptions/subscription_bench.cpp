// subscription_bench: what following current values costs.
//
// - Following: 1,000 tags, 200,000 changes a second in all, polled every 100 ms, for so many
// seconds
//   (the argument, else 10): whether every change came once and in order, and how long polls took.
// - Writing: the same records written as fast as they are taken, without a subscriber and with one
//   that never polls, in turn; the medians and their ratio.
// - Polling: what a poll takes when nothing is new.

#include <spdlog/fmt/fmt.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "api/operation_table.h"
#include "engine/embedded.h"

namespace zervane {
namespace {

using Clock = std::chrono::steady_clock;
constexpr TagId kTags = 1'000;

double SecondsSince(Clock::time_point begin) {
  return std::chrono::duration<double>(Clock::now() - begin).count();
}

void Require(const Status& status, const char* what) {
  if (status.ok()) return;
  fmt::print(stderr, "{}: {} {}\n", what, status.code(), status.message());
  std::exit(1);
}

std::unique_ptr<Database> OpenWithTags() {
  Result<std::unique_ptr<Database>> database = OpenVolatile();
  Require(database.status(), "opening");
  for (TagId id = 1; id <= kTags; ++id) {
    Tag tag;
    tag.name = fmt::format("T{}", id);
    tag.type = ZR3_TAG_TYPE_FLOAT64;
    tag.archiving = false;  // so that it is the way of a change that is measured
    Require((*database)->Do(Caller(), AddTag{tag, {}}).status(), "adding a tag");
  }
  return *std::move(database);
}

void SubscribeAll(Database& database) {
  SubscribeTags subscribe;
  for (TagId id = 1; id <= kTags; ++id) subscribe.ids.push_back(id);
  Require(database.Do(Caller(), subscribe).status(), "subscribing");
}

// A record of each of so many tags, at the time, which is also their value.
WriteSamples RecordsAt(std::int64_t time_ms, TagId tags) {
  WriteSamples write{.batch = {}, .order = WriteOrder::kInOrder, .answer = WriteAnswer::kQueued};
  write.batch.samples.Reserve(tags);
  for (TagId id = 1; id <= tags; ++id) {
    write.batch.Add(id, {.time_ms = time_ms, .value = static_cast<double>(time_ms)});
  }
  return write;
}

void Write(Database& database, const WriteSamples& write) {
  const Result<WriteSamples::Reply> reply = database.Do(Caller(), write);
  Require(reply.status(), "writing");
  Require(Status(reply->status, {}), "writing");
}

// ---- following ----

struct Seen {
  std::vector<std::int64_t> newest = std::vector<std::int64_t>(kTags + 1);  // time of each tag
  std::size_t changes = 0;
  std::size_t out_of_place = 0;  // not the one after the tag's one before
  double slowest_poll = 0;
};

void PollOnce(Database& database, Seen* seen) {
  const Clock::time_point begin = Clock::now();
  const Result<SampleBatch> batch = database.Do(Caller(), PollChanges{});
  seen->slowest_poll = std::max(seen->slowest_poll, SecondsSince(begin));
  Require(batch.status(), "polling");
  for (std::size_t at = 0; at < batch->size(); ++at) {
    std::int64_t& newest = seen->newest[batch->tags[at]];
    if (batch->samples.times()[at] != newest + 1) ++seen->out_of_place;
    newest = batch->samples.times()[at];
  }
  seen->changes += batch->size();
}

void Follow(int seconds) {
  constexpr int kBatchesASecond = 200;
  const std::unique_ptr<Database> database = OpenWithTags();
  SubscribeAll(*database);
  std::atomic<bool> is_over = false;
  Seen seen;
  std::thread poller([&] {
    while (!is_over) {
      std::this_thread::sleep_for(std::chrono::milliseconds(100));
      PollOnce(*database, &seen);
    }
  });
  const Clock::time_point begin = Clock::now();
  for (int i = 0; i < seconds * kBatchesASecond; ++i) {
    std::this_thread::sleep_until(begin + i * std::chrono::milliseconds(1000) / kBatchesASecond);
    Write(*database, RecordsAt(i + 1, kTags));
  }
  const double taken = SecondsSince(begin);
  WriteSamples last = RecordsAt(seconds * kBatchesASecond + 1, 1);
  last.answer = WriteAnswer::kDurable;  // behind all that was queued
  Write(*database, last);
  is_over = true;
  poller.join();
  PollOnce(*database, &seen);
  const std::size_t written = static_cast<std::size_t>(seconds) * kBatchesASecond * kTags + 1;
  fmt::print(
      "following: {} changes written in {:.2f} s, {} delivered, {} not in their place; slowest "
      "poll "
      "{:.2f} ms\n",
      written, taken, seen.changes, seen.out_of_place, seen.slowest_poll * 1e3);
}

// ---- writing ----

constexpr int kBatches = 1'000;

// Nanoseconds a record of so many batches, which are stamped from the time on.
double WriteFast(Database& database, std::int64_t from_ms) {
  std::vector<WriteSamples> batches;
  for (int i = 0; i < kBatches; ++i) batches.push_back(RecordsAt(from_ms + i, kTags));
  batches.back().answer = WriteAnswer::kDurable;
  const Clock::time_point begin = Clock::now();
  for (const WriteSamples& batch : batches) Write(database, batch);
  return SecondsSince(begin) * 1e9 / kBatches / kTags;
}

struct Rates {
  std::vector<double> filling;  // while the ring has room, if there is one
  std::vector<double> full;
};

void WriteBoth(bool with_subscriber, Rates* rates) {
  const std::unique_ptr<Database> database = OpenWithTags();
  if (with_subscriber) SubscribeAll(*database);
  rates->filling.push_back(WriteFast(*database, 1));
  (void)WriteFast(*database, 1 + kBatches);  // fills it for certain
  rates->full.push_back(WriteFast(*database, 1 + 2 * kBatches));
}

double MedianOf(std::vector<double> times) {
  std::ranges::sort(times);
  return times[times.size() / 2];
}

void Compare(const char* when, const std::vector<double>& without,
             const std::vector<double>& with) {
  std::vector<double> ratios;
  for (std::size_t i = 0; i < with.size(); ++i) ratios.push_back(with[i] / without[i]);
  fmt::print("writing, {}: {:.1f} ns a record, {:.1f} ns with one who never polls; ratio {:.3f}\n",
             when, MedianOf(without), MedianOf(with), MedianOf(ratios));
}

void CompareWriting() {
  constexpr int kRuns = 9;
  Rates without;
  Rates with;
  for (int run = 0; run < kRuns; ++run) {
    WriteBoth(false, &without);
    WriteBoth(true, &with);
  }
  Compare("the ring filling", without.filling, with.filling);
  Compare("the ring full", without.full, with.full);
}

// ---- polling ----

void PollNothing() {
  constexpr int kPolls = 1'000'000;
  const std::unique_ptr<Database> database = OpenWithTags();
  SubscribeAll(*database);
  const Clock::time_point begin = Clock::now();
  for (int i = 0; i < kPolls; ++i) {
    const Result<SampleBatch> batch = database->Do(Caller(), PollChanges{});
    if (!batch.ok() || !batch->empty()) std::exit(1);
  }
  fmt::print("polling: {:.0f} ns when nothing is new\n", SecondsSince(begin) * 1e9 / kPolls);
}

}  // namespace
}  // namespace zervane

int main(int argc, char** argv) {
  const int seconds = argc > 1 ? std::atoi(argv[1]) : 10;
  zervane::Follow(seconds);
  zervane::CompareWriting();
  zervane::PollNothing();
}
