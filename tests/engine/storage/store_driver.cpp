#include "tests/engine/storage/store_driver.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <optional>
#include <utility>

#include "engine/storage/table.h"

namespace zervane::storage {
namespace {

// Takes the records of a scan, and checks that runs come in order and are as they were offered.
class Collector : public ScanVisitor {
 public:
  Collector(TimeRange range, Direction direction, std::size_t limit)
      : range_(range), direction_(direction), limit_(limit) {}

  Wants Offer(const RunSummary& run) override {
    if (wanted_) EnterGroup(run);
    EXPECT_LE(run.first_ms, run.last_ms);
    EXPECT_TRUE(range_.Holds(run.first_ms) && range_.Holds(run.last_ms));
    EXPECT_GT(run.count, 0);
    const bool follows =
        !passed_ || (direction_ == Direction::kForward ? passed_->last_ms < run.first_ms
                                                       : run.last_ms < passed_->first_ms);
    EXPECT_TRUE(follows) << "a run at " << run.first_ms << " is out of order";
    if (found_.size() >= limit_) return Wants::kStop;
    wanted_ = run;
    statistics_ = run.statistics == nullptr ? std::nullopt : std::optional(*run.statistics);
    return Wants::kRecords;
  }

  bool Show(const SampleColumns& records, std::size_t begin, std::size_t end) override {
    EXPECT_TRUE(wanted_) << "a run was shown that was not wanted";
    EXPECT_EQ(static_cast<std::int64_t>(end - begin), wanted_->count);
    std::vector<Sample> run;
    for (std::size_t at = begin; at < end; ++at) run.push_back(records.At(at));
    EXPECT_TRUE(std::ranges::is_sorted(run, {}, &Sample::time_ms));
    if (!run.empty()) {
      EXPECT_EQ(run.front().time_ms, wanted_->first_ms);
      EXPECT_EQ(run.back().time_ms, wanted_->last_ms);
      if (statistics_) ExpectSame(*statistics_, StatisticsOf(records, begin, end));
    }
    passed_ = std::exchange(wanted_, std::nullopt);
    if (direction_ == Direction::kBackward) std::ranges::reverse(run);
    for (Sample& sample : run) {
      if (found_.size() < limit_) found_.push_back(std::move(sample));
    }
    return found_.size() < limit_;
  }

  std::vector<Sample> Found() { return std::move(found_); }

 private:
  const TimeRange range_;
  const Direction direction_;
  const std::size_t limit_;
  // What was wanted last was no chunk but a group, whose chunks come now.
  void EnterGroup(const RunSummary& first) {
    const bool is_inside = wanted_->first_ms <= first.first_ms && first.last_ms <= wanted_->last_ms;
    EXPECT_TRUE(is_inside && first.count <= wanted_->count)
        << "a run that was wanted was not shown";
    wanted_.reset();
  }

  std::optional<RunSummary> wanted_;  // and not shown yet
  std::optional<RunStatistics> statistics_;
  std::optional<RunSummary> passed_;
  std::vector<Sample> found_;
};

class Counter : public ScanVisitor {
 public:
  Wants Offer(const RunSummary& run) override {
    total_ += run.count;
    return Wants::kNext;
  }
  bool Show(const SampleColumns&, std::size_t, std::size_t) override {
    ADD_FAILURE() << "a run was shown that was not wanted";
    return true;
  }

  std::int64_t total() const { return total_; }

 private:
  std::int64_t total_ = 0;
};

}  // namespace

void ExpectSame(const RunStatistics& given, const RunStatistics& wanted) {
  const auto near = [](double a, double b) {
    return a == b || (std::isnan(a) && std::isnan(b)) ||
           std::abs(a - b) <= 1e-9 * std::max(std::abs(a), std::abs(b));
  };
  EXPECT_EQ(given.first_ms, wanted.first_ms);
  EXPECT_EQ(given.last_ms, wanted.last_ms);
  EXPECT_EQ(given.count, wanted.count);
  EXPECT_EQ(given.course, wanted.course);
  EXPECT_EQ(given.good, wanted.good);
  EXPECT_EQ(given.good_ms, wanted.good_ms);
  EXPECT_EQ(given.first_good.time_ms, wanted.first_good.time_ms);
  EXPECT_TRUE(near(given.first_good.value, wanted.first_good.value));
  EXPECT_EQ(given.last_good.time_ms, wanted.last_good.time_ms);
  EXPECT_TRUE(near(given.last_good.value, wanted.last_good.value));
  EXPECT_EQ(given.least, wanted.least);
  EXPECT_EQ(given.greatest, wanted.greatest);
  EXPECT_TRUE(near(given.sum.Value(), wanted.sum.Value()));
  EXPECT_TRUE(near(given.mean, wanted.mean)) << given.mean << " " << wanted.mean;
  EXPECT_TRUE(near(given.squares, wanted.squares)) << given.squares << " " << wanted.squares;
  EXPECT_TRUE(near(given.area.Value(), wanted.area.Value()));
}

Tag TagNamed(TagId id, std::string name) {
  Tag tag;
  tag.id = id;
  tag.name = std::move(name);
  return tag;
}

MarkedSample Record(TagId tag, std::int64_t time_ms, double value, std::uint8_t marks) {
  MarkedSample record{.tag = tag, .sample = {}, .marks = marks};
  record.sample.time_ms = time_ms;
  record.sample.value = value;
  return record;
}

void AddTo(RecordBatch& records, const MarkedSample& record) {
  records.tags.push_back(record.tag);
  records.samples.Add(record.sample);
  records.marks.push_back(record.marks);
}

StoreDriver::StoreDriver(Store& store) : store_(&store) {
  const Result<LeaseAnswer> lease = store_->Lease(LeaseWish::kLook);
  EXPECT_TRUE(lease.ok()) << lease.status().message();
  if (lease.ok()) last_commit_ = lease->last_commit;
}

CommitAnswer StoreDriver::Commit(StoreBatch& batch) {
  batch.commit = last_commit_ + 1;
  CommitAnswer answer = store_->Commit(batch);
  if (answer.fate == CommitAnswer::Fate::kStored) last_commit_ = batch.commit;
  return answer;
}

void StoreDriver::MustCommit(StoreBatch batch) {
  const CommitAnswer answer = Commit(batch);
  EXPECT_EQ(answer.fate, CommitAnswer::Fate::kStored) << answer.status.message();
}

void StoreDriver::Append(const std::vector<MarkedSample>& records) {
  StoreBatch batch;
  for (const MarkedSample& record : records) AddTo(batch.records, record);
  MustCommit(std::move(batch));
}

void StoreDriver::PutTag(const Tag& tag) {
  StoreBatch batch;
  Table<Tag>::Put(tag, batch);
  MustCommit(std::move(batch));
}

void StoreDriver::RemoveTag(TagId id) {
  StoreBatch batch;
  batch.emptied = {id};
  Table<Tag>::Remove(id, batch);
  MustCommit(std::move(batch));
}

Status Append(Store& store, const std::vector<MarkedSample>& records) {
  StoreBatch batch;
  for (const MarkedSample& record : records) AddTo(batch.records, record);
  return StoreDriver(store).Commit(batch).status;
}

Status PutTag(Store& store, const Tag& tag) {
  StoreBatch batch;
  Table<Tag>::Put(tag, batch);
  return StoreDriver(store).Commit(batch).status;
}

Status RemoveTag(Store& store, TagId id) {
  StoreBatch batch;
  batch.emptied = {id};
  Table<Tag>::Remove(id, batch);
  return StoreDriver(store).Commit(batch).status;
}

Result<std::vector<Sample>> TryRead(Store& store, TagId tag, TimeRange range, Direction direction,
                                    std::size_t limit) {
  Collector collector(range, direction, limit);
  Status status = store.Scan(tag, range, direction, collector);
  if (!status.ok()) return status;
  return collector.Found();
}

Result<std::int64_t> TryCount(Store& store, TagId tag, TimeRange range) {
  Counter counter;
  Status status = store.Scan(tag, range, Direction::kForward, counter);
  if (!status.ok()) return status;
  return counter.total();
}

std::vector<Sample> ReadRange(Store& store, TagId tag, TimeRange range, Direction direction,
                              std::size_t limit) {
  Result<std::vector<Sample>> records = TryRead(store, tag, range, direction, limit);
  EXPECT_TRUE(records.ok()) << records.status().message();
  return records.ok() ? *std::move(records) : std::vector<Sample>();
}

std::vector<Sample> ReadAll(Store& store, TagId tag) {
  return ReadRange(store, tag, {}, Direction::kForward, SIZE_MAX);
}

std::int64_t CountRange(Store& store, TagId tag, TimeRange range) {
  const Result<std::int64_t> count = TryCount(store, tag, range);
  EXPECT_TRUE(count.ok()) << count.status().message();
  return count.ok() ? *count : -1;
}

std::vector<TagSample> CurrentValues(Store& store) {
  const Result<SampleBatch> values = store.ReadCurrent(0, std::numeric_limits<TagId>::max());
  EXPECT_TRUE(values.ok()) << values.status().message();
  std::vector<TagSample> list;
  for (std::size_t at = 0; values.ok() && at < values->size(); ++at) {
    list.push_back({values->tags[at], values->samples.At(at)});
  }
  return list;
}

std::vector<Tag> Tags(Store& store) {
  std::vector<Tag> tags;
  const Status status = Table<Tag>(store).Visit({.table = TableId::kTag}, SIZE_MAX, [&](Tag tag) {
    tags.push_back(std::move(tag));
    return true;
  });
  EXPECT_TRUE(status.ok()) << status.message();
  return tags;
}

std::optional<Cell> SettingOf(Store& store, const std::string& name) {
  const Result<std::optional<Setting>> setting = Table<Setting>(store).Read(name);
  EXPECT_TRUE(setting.ok()) << setting.status().message();
  return setting.ok() && setting->has_value() ? std::optional((*setting)->value) : std::nullopt;
}

}  // namespace zervane::storage
