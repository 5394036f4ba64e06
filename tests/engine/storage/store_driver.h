#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "api/words/tag.h"
#include "api/words/value.h"
#include "engine/storage/store.h"

// What tests of any store share.
namespace zervane::storage {

Tag TagNamed(TagId id, std::string name);

// A record and where it goes.
struct MarkedSample {
  TagId tag = 0;
  Sample sample;
  std::uint8_t marks = kArchive | kCurrent;
};

// A FLOAT64 record.
MarkedSample Record(TagId tag, std::int64_t time_ms, double value,
                    std::uint8_t marks = kArchive | kCurrent);

void AddTo(RecordBatch& records, const MarkedSample& record);

// Commits to a store in turn; its batches are numbered from the store's last commit on.
class StoreDriver {
 public:
  explicit StoreDriver(Store& store);

  // Gives the batch its number and commits it.
  CommitAnswer Commit(StoreBatch& batch);
  // Likewise, and fails the test when it is not stored.
  void MustCommit(StoreBatch batch);

  void Append(const std::vector<MarkedSample>& records);
  void PutTag(const Tag& tag);
  void RemoveTag(TagId id);

  std::int64_t last_commit() const { return last_commit_; }

 private:
  Store* store_;
  std::int64_t last_commit_ = 0;
};

// Expects equal statistics; sums may differ by what they are rounded to.
void ExpectSame(const RunStatistics& given, const RunStatistics& wanted);

// One batch each, numbered behind the store's last one: the status of its answer.
Status Append(Store& store, const std::vector<MarkedSample>& records);
Status PutTag(Store& store, const Tag& tag);
Status RemoveTag(Store& store, TagId id);

// Up to `limit` records of the range in the direction's order, as a scan shows them; fails the test
// when the scan breaks its promises.
Result<std::vector<Sample>> TryRead(Store& store, TagId tag, TimeRange range, Direction direction,
                                    std::size_t limit);
// How many records the summaries of a scan count.
Result<std::int64_t> TryCount(Store& store, TagId tag, TimeRange range);

// The same, and fails the test when the scan fails.
std::vector<Sample> ReadRange(Store& store, TagId tag, TimeRange range, Direction direction,
                              std::size_t limit);
std::vector<Sample> ReadAll(Store& store, TagId tag);

std::int64_t CountRange(Store& store, TagId tag, TimeRange range);

std::vector<TagSample> CurrentValues(Store& store);
std::vector<Tag> Tags(Store& store);
std::optional<Cell> SettingOf(Store& store, const std::string& name);

}  // namespace zervane::storage
