// catalogue_bench [tags]: what the catalogue costs with that many tags (100,000 if none are named).
// One line for each figure. The database stands in TMPDIR and is removed.

#include <malloc.h>
#include <spdlog/fmt/fmt.h>
#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <filesystem>
#include <string>
#include <utility>
#include <vector>

#include "engine/catalogue/catalogue_family.h"
#include "engine/storage/table.h"
#include "engine/storage/tables.h"

namespace zervane {
namespace {

[[noreturn]] void Fail(const Status& status) {
  fmt::print(stderr, "{}: {}\n", static_cast<int>(status.code()), status.message());
  std::exit(1);
}

template <typename T>
T Must(Result<T> result) {
  if (!result.ok()) Fail(result.status());
  return *std::move(result);
}

void Must(const Status& status) {
  if (!status.ok()) Fail(status);
}

double ProcessorMs() {
  timespec time{};
  clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
  return static_cast<double>(time.tv_sec) * 1e3 + static_cast<double>(time.tv_nsec) / 1e6;
}

// Milliseconds of the processor that a body takes: what else runs on the machine does not count.
template <typename Body>
double Time(Body body) {
  const double begin = ProcessorMs();
  body();
  return ProcessorMs() - begin;
}

// The median of a number of runs.
template <typename Body>
double MedianTime(int runs, Body body) {
  std::vector<double> times;
  for (int i = 0; i < runs; ++i) times.push_back(Time(body));
  std::ranges::nth_element(times, times.begin() + runs / 2);
  return times[static_cast<std::size_t>(runs / 2)];
}

void Print(const char* what, double value, const char* unit) {
  fmt::print("{:<60} {:>12.3f} {}\n", what, value, unit);
}

// As in a plant: a name of about 20 bytes, a descriptor of about 30, units.
Tag TypicalTag(TagId number) {
  static const char* const kKinds[] = {"PV", "SP", "OUT", "ALM"};
  Tag tag;
  tag.name = fmt::format("UNIT{:02}.FIC{:07}.{}", number / 1'000 % 100, number, kKinds[number % 4]);
  tag.descriptor = fmt::format("Flow of the feed, train {:05}", number % 100'000);
  tag.eng_units = "m3/h";
  tag.type = static_cast<std::int32_t>(number % 6);
  return tag;
}

CommitAnswer Commit(Store& store, StoreBatch& batch) {
  batch.commit = Must(store.Lease(LeaseWish::kLook)).last_commit + 1;
  return store.Commit(batch);
}

void Fill(Store& store, TagId count) {
  const Stamp stamp = MakeStamp(1'700'000'000'000, "admin");
  for (TagId first = 1; first <= count; first += 10'000) {
    StoreBatch batch;
    for (TagId id = first; id < first + 10'000 && id <= count; ++id) {
      Tag tag = NewTag(TypicalTag(id), {-1, -1}, stamp);
      tag.id = id;
      Table<Tag>::Put(tag, batch);
    }
    const TagId last = std::min(first + 9'999, count);
    Table<Setting>::Put({.name = std::string(kLastIdSetting), .value = std::int64_t{last}}, batch);
    Must(Commit(store, batch).status);
  }
}

// Adds tags the way of all changes; microseconds for each, of the catalogue and of the store.
void AddTags(Catalogue& catalogue, Store& store, TagId first, TagId count, const char* what) {
  const Stamp stamp = MakeStamp(1'700'000'000'000, "admin");
  double catalogue_ms = 0;
  double store_ms = 0;
  for (TagId number = first; number < first + count; ++number) {
    const double begin = ProcessorMs();
    StoreBatch batch;
    const auto change = Must(catalogue.PlanAdd(TypicalTag(number), {-1, -1}, stamp, batch));
    const double planned = ProcessorMs();
    Must(Commit(store, batch).status);
    const double committed = ProcessorMs();
    catalogue.Adopt(change);
    store_ms += committed - planned;
    catalogue_ms += planned - begin + ProcessorMs() - committed;
  }
  if (what == nullptr) return;
  Print(fmt::format("adding, {}: the catalogue", what).c_str(), catalogue_ms * 1e3 / count,
        "us/tag");
  Print(fmt::format("adding, {}: the store in memory", what).c_str(), store_ms * 1e3 / count,
        "us/tag");
}

TagQuery Where(std::int32_t column, std::int32_t relation, std::string value) {
  return {-1, {{column, relation, std::move(value)}}};
}

void MeasureSearches(const Catalogue& catalogue, TagId count) {
  CatalogueFamily family(catalogue);
  const Caller caller;
  const auto name_like = [](const char* pattern) {
    return Where(ZR3_TAG_COL_COMM_PROP_TAG_NAME, ZR3_RELATION_LIKE, pattern);
  };
  const auto count_time = [&](const char* what, const TagQuery& query) {
    Print(what, MedianTime(5, [&] { Must(family.Handle(caller, CountTags{query})); }), "ms");
  };
  const auto page_time = [&](const char* what, const TagQuery& query, std::int32_t limit) {
    const FindTags search{.query = query, .mask = {-1, -1}, .from = 0, .limit = limit};
    Print(what, MedianTime(11, [&] { Must(family.Handle(caller, search)); }), "ms");
  };
  count_time("count, name LIKE *.PV", name_like("*.PV"));
  count_time("count, name LIKE *FIC*7*.PV", name_like("*FIC*7*.PV"));
  count_time("count, descriptor LIKE *train*9?",
             Where(ZR3_TAG_COL_COMM_PROP_DESCRIPTOR, ZR3_RELATION_LIKE, "*train*9?"));
  count_time("count, type = 2", Where(ZR3_TAG_COL_COMM_PROP_TAG_TYPE, ZR3_RELATION_EQUAL, "2"));
  page_time("page of 1,000, every tag, all properties", {}, 1'000);
  page_time("page of 1,000, name LIKE *.PV, all properties", name_like("*.PV"), 1'000);
  const std::string last = TypicalTag(count).name;
  page_time("first item, name = the last tag's",
            Where(ZR3_TAG_COL_COMM_PROP_TAG_NAME, ZR3_RELATION_EQUAL, last), 1);
  page_time("first item, only the last tag matches, by LIKE", name_like(("*" + last).c_str()), 1);
  page_time("first item, no tag matches", name_like("*.NONE"), 1);
  const FindTagId find{.name = last};
  Print("name to identifier",
        MedianTime(5,
                   [&] {
                     for (int i = 0; i < 100'000; ++i) Must(family.Handle(caller, find));
                   }) *
            1'000'000 / 100'000,
        "ns");
}

void Measure(const std::filesystem::path& folder, TagId count) {
  {
    const auto store = Must(OpenSqliteStore(folder));
    Print("the store, filled by 10,000 rows a commit", Time([&] { Fill(*store, count); }), "ms");
    Must(store->Close());
  }
  const auto store = Must(OpenSqliteStore(folder));
  const std::size_t before = mallinfo2().uordblks + mallinfo2().hblkhd;
  Catalogue catalogue(*store);
  Print("loading the catalogue", Time([&] { Must(catalogue.Load()); }), "ms");
  const std::size_t after = mallinfo2().uordblks + mallinfo2().hblkhd;
  Print("memory of the catalogue", static_cast<double>(after - before) / count, "bytes/tag");
  MeasureSearches(catalogue, count);
}

void MeasureAdding(TagId count) {
  const auto store = OpenMemoryStore();
  Catalogue catalogue(*store);
  AddTags(catalogue, *store, 1, 1'000, "up to 1,000 tags");
  if (count > 2'000) AddTags(catalogue, *store, 1'001, count - 2'000, nullptr);
  AddTags(catalogue, *store, std::max<TagId>(count, 2'000) - 999, 1'000, "the last 1,000");
}

}  // namespace
}  // namespace zervane

int main(int argc, char** argv) {
  const auto count = static_cast<zervane::TagId>(argc > 1 ? std::atoi(argv[1]) : 100'000);
  const std::filesystem::path folder =
      std::filesystem::temp_directory_path() / ("catalogue_bench." + std::to_string(getpid()));
  zervane::Measure(folder, count);
  zervane::MeasureAdding(count);
  std::filesystem::remove_all(folder);
}
