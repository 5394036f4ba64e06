#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <new>
#include <numeric>
#include <set>
#include <string>
#include <vector>

#include "tests/engine/derived/statistics_tags/statistics_database.h"
#include "tests/engine/short_memory.h"

// Statistics tags when there is too little memory, and when the store refuses what they write.
namespace zervane {
namespace {

using Database = StatisticsDatabase;

// Sums of a source every ten seconds, sums of those, a tag that changes, and one that is added anew
// time and again.
class Scene {
 public:
  static constexpr std::int64_t kWindowS = 10;
  static constexpr auto kCommit = storage::Faults::Call::kCommit;

  Scene() {
    database_.Write(source_, 0, 1);
    PassTime(4);
    database_.Work();
  }

  StatisticsDatabase& database() { return database_; }
  TestDisk& disk() { return database_.disk(); }

  void PassTime(std::int64_t windows) {
    at_s_ += windows * kWindowS;
    database_.SetClock(at_s_);
  }

  // Into the window that has just ended, and into one that is computed already.
  WriteSamples Records(std::int64_t second) const {
    WriteSamples write{
        .batch = {}, .order = WriteOrder::kAnyOrder, .answer = WriteAnswer::kDurable};
    write.batch.Add(source_, Database::At(at_s_ - kWindowS + second, 1));
    write.batch.Add(source_, Database::At(at_s_ - 4 * kWindowS + second, 2));
    return write;
  }

  // Two windows end. Tags are saved, added and deleted, and records come, in order and late; any of
  // it may fail.
  void Deed() {
    PassTime(2);
    StatisticsProperties properties = SumsOf("source");
    properties.interp_period = 7;  // of no account with records
    constexpr auto kColumn = ZR3_TAG_COL_ST_EXT_PROP_INTERP_PERIOD - ZR3_TAG_COL_ST_EXT_PROP_MIN;
    (void)database_.Save(changing_, properties,
                         {.common = 0, .extension = std::int64_t{1} << kColumn});
    (void)database_.Do(DeleteTag{.id = going_});
    StatisticsProperties from_first = SumsOf("source");
    from_first.sample_start_date = 0;
    (void)database_.Do(AddTag{.tag = Database::TagOf(from_first, "coming"), .mask = {}});
    (void)database_.Do(Records(3));
    (void)database_.engine().Work();
    (void)database_.Do(Records(5));
    (void)database_.engine().Work();
  }

  // Every window has what its source holds, and there is nothing more to do.
  void ExpectAllIsComputed() {
    database_.Work();
    const auto source = disk().archive(source_);
    ExpectSums(sums_, source, kWindowS);
    ExpectSums(sums_of_sums_, disk().archive(sums_), 2 * kWindowS);
    for (const Tag& tag : disk().tags()) {
      if (tag.name == "coming" || tag.name == "going") ExpectSums(tag.id, source, kWindowS);
    }
    // What came late before it changed is not computed again.
    EXPECT_EQ(disk().archive(changing_).size(), static_cast<std::size_t>(at_s_ / kWindowS));
    const int commits = disk().calls(kCommit);
    database_.Work();
    EXPECT_EQ(disk().calls(kCommit), commits);
  }

  std::size_t StoredRecords() {
    const std::vector<std::size_t> sizes = disk().commit_sizes();
    return std::accumulate(sizes.begin(), sizes.end(), std::size_t{0});
  }

 private:
  static StatisticsProperties SumsOf(const std::string& source, std::int64_t window_s = kWindowS) {
    StatisticsProperties properties = Database::Sums();
    properties.source_tag = source;
    properties.sample_interval = static_cast<std::int32_t>(window_s);
    properties.begin_timestamp = true;  // so that what has sums of these has them in its window
    return properties;
  }
  TagId AddSums(const std::string& name, const StatisticsProperties& properties) {
    return database_.Add(Database::TagOf(properties, name));
  }

  void ExpectSums(TagId tag, const std::map<std::int64_t, Sample>& source, std::int64_t window_s) {
    SCOPED_TRACE(database_.Read(tag).name);
    const auto computed = database_.disk().archive(tag);
    ASSERT_EQ(computed.size(), static_cast<std::size_t>(at_s_ / window_s));
    std::int64_t begin_ms = Database::kStart;
    for (const auto& [time_ms, record] : computed) {
      ASSERT_EQ(time_ms, begin_ms);
      begin_ms += window_s * 1000;
      double sum = 0;
      bool has_good = false;
      for (auto at = source.lower_bound(time_ms); at != source.lower_bound(begin_ms); ++at) {
        if (at->second.quality != 192) continue;
        has_good = true;
        sum += at->second.value.float64();
      }
      ASSERT_EQ(record.quality, has_good ? 192 : 0) << time_ms;
      if (!has_good) continue;
      ASSERT_EQ(record.value.float64(), sum) << time_ms;
    }
  }

  StatisticsDatabase database_;
  const TagId source_ = database_.AddPoint("source");
  const TagId sums_ = AddSums("sums", SumsOf("source"));
  const TagId sums_of_sums_ = AddSums("sums of sums", SumsOf("sums", 2 * kWindowS));
  const TagId changing_ = AddSums("changing", SumsOf("source"));
  const TagId going_ = AddSums("going", SumsOf("source"));
  std::int64_t at_s_ = 0;
};

void WithEveryRequestFailing(ShortMemory::Lack lack, const std::function<void(Scene&)>& check) {
  bool failed = true;
  for (std::uint64_t nth = 1; failed && !testing::Test::HasFailure(); ++nth) {
    SCOPED_TRACE(nth);
    ASSERT_LT(nth, 20'000U);
    Scene scene;
    try {
      const ShortMemory memory(nth, lack, ShortMemory::Whose::kAllThreads);
      scene.Deed();
    } catch (const std::bad_alloc&) {
    }
    failed = ShortMemory::Failed() > 0;
    check(scene);
  }
}

TEST(StatisticsTagsShortOfMemory, LeaveNoWindowUndoneWhicheverRequestFails) {
  WithEveryRequestFailing(ShortMemory::Lack::kOne,
                          [](Scene& scene) { scene.ExpectAllIsComputed(); });
}

TEST(StatisticsTagsShortOfMemory, LeaveNoWindowUndoneWhenTheDatabaseIsClosedThen) {
  WithEveryRequestFailing(ShortMemory::Lack::kRest, [](Scene& scene) {
    scene.database().Close();
    scene.database().Open();
    scene.ExpectAllIsComputed();
  });
}

// Does it with that commit refused, so many behind the next; whether there was one.
bool WithARefusal(Scene& scene, int passing, const std::function<void()>& deed) {
  constexpr auto kCommit = Scene::kCommit;
  const int calls = scene.disk().calls(kCommit);
  scene.disk().Fail(kCommit, ZR3_ERR_STORAGE_FAILED, 1, passing);
  deed();
  scene.disk().Fail(kCommit, ZR3_OK, 0);
  return scene.disk().calls(kCommit) - calls > passing;
}

TEST(StatisticsTagsOfARefusingStore, LeaveNoWindowUndoneWhicheverCommitItRefuses) {
  bool was_refused = true;
  for (int passing = 0; was_refused && !testing::Test::HasFailure(); ++passing) {
    SCOPED_TRACE(passing);
    Scene scene;
    was_refused = WithARefusal(scene, passing, [&] { scene.Deed(); });
    scene.ExpectAllIsComputed();
  }
}

TEST(StatisticsTagsOfARefusingStore, HaveNothingStoredTwiceWhicheverCommitItRefuses) {
  std::set<std::size_t> counts;  // of all records that are stored
  bool was_refused = true;
  for (int passing = 0; was_refused; ++passing) {
    Scene scene;
    scene.PassTime(2);
    ASSERT_TRUE(scene.database().Do(scene.Records(3)).ok());
    bool has_worked = false;
    was_refused =
        WithARefusal(scene, passing, [&] { has_worked = scene.database().engine().Work().ok(); });
    EXPECT_NE(has_worked, was_refused);
    scene.ExpectAllIsComputed();
    counts.insert(scene.StoredRecords());
  }
  EXPECT_EQ(counts.size(), 1U) << testing::PrintToString(counts);
}

}  // namespace
}  // namespace zervane
