// Times the calls that every program makes on one client library, and prints them in nanoseconds, a
// record or a call: durable and no-wait batches of 10,000 records over 1,000 tags, single durable
// records, current values, raw reads.
//
// pair_round LIBRARY FOLDER     (the folder is empty or missing)
#include <dlfcn.h>

#include <chrono>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#include "zervane.h"

namespace {

constexpr int kTags = 1'000;
constexpr int kBatch = 10'000;
constexpr int kBatches = 60;
constexpr int kSingles = 200;
constexpr int kCurrentReads = 2'000'000;
constexpr int kRawReads = 3;

void* library = nullptr;

template <typename Function>
Function* Load(const char* name, Function*) {
  void* const function = dlsym(library, name);
  if (function == nullptr) {
    std::fprintf(stderr, "pair_round: no %s\n", name);
    std::exit(1);
  }
  return reinterpret_cast<Function*>(function);
}
#define API(name) Load(#name, &name)

void Check(int32 status, const char* what) {
  if (status == ZR3_OK) return;
  std::fprintf(stderr, "pair_round: %s: %d\n", what, status);
  std::exit(1);
}

// How many nanoseconds each of `count` things took that the body did.
template <typename Body>
double Time(double count, Body body) {
  const auto begin = std::chrono::steady_clock::now();
  body();
  const std::chrono::duration<double, std::nano> taken = std::chrono::steady_clock::now() - begin;
  return taken.count() / count;
}

// Records that come in order, each tag once a second.
class Records {
 public:
  explicit Records(const std::vector<uint32>& tags) : tags_(tags), ids(kBatch), records(kBatch) {}

  void Next() {
    for (std::size_t i = 0; i < records.size(); ++i) {
      if (i % tags_.size() == 0) ++second_;
      ids[i] = tags_[i % tags_.size()];
      records[i] = {};
      records[i].nSec = second_;
      records[i].nQuality = ZR3_QUALITY_GOOD;
      records[i].nTagType = ZR3_TAG_TYPE_FLOAT64;
      records[i].value.fFloat64 = static_cast<double>(i % 997) * 0.25 + second_ % 7919 * 0.001;
    }
  }

 private:
  const std::vector<uint32>& tags_;
  int32 second_ = 1'700'000'000;

 public:
  std::vector<uint32> ids;
  std::vector<ZR3Record> records;
  std::vector<int32> codes = std::vector<int32>(kBatch);
};

std::vector<uint32> AddTags() {
  auto* const add = API(pt3_add_tag);
  std::vector<uint32> ids(kTags);
  for (int i = 0; i < kTags; ++i) {
    ZR3PtTagProp tag{};
    std::snprintf(tag.szTagName, sizeof tag.szTagName, "T%d", i);
    tag.nTagType = ZR3_TAG_TYPE_FLOAT64;
    ZR3Mask mask{};
    mask.nCommMask =
        int64{1} << ZR3_TAG_COL_COMM_PROP_TAG_NAME | int64{1} << ZR3_TAG_COL_COMM_PROP_TAG_TYPE;
    Check(add(&tag, &mask, "", &ids[static_cast<std::size_t>(i)]), "adding");
  }
  return ids;
}

template <typename Save>
double TimeBatches(Save save, Records& records, const char* what) {
  double total = 0;
  for (int batch = 0; batch < kBatches; ++batch) {
    records.Next();
    total += Time(double{kBatch} * kBatches, [&] {
      Check(save(kBatch, records.ids.data(), records.records.data(), records.codes.data()), what);
    });
  }
  return total;
}

double TimeSingles(Records& records) {
  auto* const save = API(sn3_save_snapshot);
  double total = 0;
  for (int i = 0; i < kSingles; ++i) {
    records.Next();
    total += Time(kSingles, [&] { Check(save(records.ids[0], &records.records[0]), "single"); });
  }
  return total;
}

double TimeCurrent(const std::vector<uint32>& tags) {
  auto* const query = API(sn3_query_snapshot);
  return Time(kCurrentReads, [&] {
    ZR3Record record{};
    for (int i = 0; i < kCurrentReads; ++i) {
      Check(query(tags[static_cast<std::size_t>(i) % tags.size()], &record), "current");
    }
  });
}

double TimeRaw(const std::vector<uint32>& tags) {
  auto* const query = API(ar3_query_raw_records);
  std::vector<ZR3Record> records(2'000);
  const ZR3TimeRegion all{{0, 0}, {-1, 999}, 1, 1};
  std::int64_t read = 0;
  const double total = Time(1, [&] {
    for (int round = 0; round < kRawReads; ++round) {
      for (const uint32 tag : tags) {
        auto count = static_cast<int32>(records.size());
        Check(query(tag, &all, &count, records.data()), "raw");
        read += count;
      }
    }
  });
  return total / static_cast<double>(read);
}

}  // namespace

int main(int, char** arguments) {
  library = dlopen(arguments[1], RTLD_NOW | RTLD_LOCAL);
  if (library == nullptr) {
    std::fprintf(stderr, "pair_round: %s\n", dlerror());
    return 1;
  }
  ZR3Connection connection{};
  std::snprintf(connection.szAddress, sizeof connection.szAddress, "embedded:%s", arguments[2]);
  Check(API(nt3_connect)(&connection), "connecting");
  const std::vector<uint32> tags = AddTags();
  Records records(tags);
  std::printf("durable %.2f\n", TimeBatches(API(sn3_save_snapshots), records, "durable"));
  std::printf("no-wait %.2f\n", TimeBatches(API(sn3_save_snapshots_nowait), records, "no-wait"));
  std::printf("single %.2f\n", TimeSingles(records));
  std::printf("current %.2f\n", TimeCurrent(tags));
  std::printf("raw %.2f\n", TimeRaw(tags));
  Check(API(nt3_disconnect)(), "disconnecting");
}
