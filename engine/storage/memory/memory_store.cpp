#include <spdlog/fmt/fmt.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <utility>
#include <vector>

#include "engine/assert.h"
#include "engine/storage/memory/row_table.h"
#include "engine/storage/store.h"
#include "engine/storage/writer_first_mutex.h"
#include "engine/thread_annotations.h"

namespace zervane::storage {
namespace {

// A scan shows so many records at a time.
constexpr std::size_t kRunRecords = 1'000;

using Archive = std::map<std::int64_t, Sample>;

// What there is of one tag.
struct TagRecords {
  std::optional<Sample> current;
  std::optional<Sample> held;
  Archive archive;
};
using ByTag = std::map<TagId, TagRecords>;

bool IsStorable(const RecordBatch& records, std::size_t at) {
  const std::int64_t time_ms = records.samples.times()[at];
  return records.tags[at] != 0 && time_ms >= 0 && time_ms <= kMaxTimeMs &&
         CheckValue(records.samples, at) == ValueFault::kNone;
}

Status CheckRecords(const RecordBatch& records) {
  for (std::size_t at = 0; at < records.size(); ++at) {
    if (IsStorable(records, at)) continue;
    return {
        ZR3_ERR_INVALID_ARGUMENT,
        fmt::format("record of tag {}, time {} ms, type {} cannot be stored", records.tags[at],
                    records.samples.times()[at], static_cast<int>(records.samples.types()[at]))};
  }
  return {};
}

// Puts a record where its marks say.
void Keep(Sample sample, std::uint8_t marks, TagRecords* tag) {
  if ((marks & kCurrent) != 0) tag->current = sample;
  if ((marks & kArchive) != 0) {
    tag->archive.insert_or_assign(sample.time_ms, sample);
    if (tag->held && tag->held->time_ms <= sample.time_ms) tag->held.reset();
  }
  if ((marks & kHeld) != 0) tag->held = std::move(sample);
}

// Shows the records in the range to the visitor, in runs.
void ShowRuns(const Archive& archive, TimeRange range, Direction direction, ScanVisitor& visitor) {
  const bool is_forward = direction == Direction::kForward;
  auto begin = archive.lower_bound(range.from_ms);
  auto end = archive.upper_bound(range.to_ms);
  SampleColumns columns;
  while (begin != end) {
    auto run_begin = is_forward ? begin : end;
    auto run_end = run_begin;
    std::size_t count = 0;
    for (; count < kRunRecords && (is_forward ? run_end != end : run_begin != begin); ++count) {
      is_forward ? ++run_end : --run_begin;
    }
    (is_forward ? begin : end) = is_forward ? run_end : run_begin;
    const auto wants = visitor.Offer({.first_ms = run_begin->first,
                                      .last_ms = std::prev(run_end)->first,
                                      .count = static_cast<std::int64_t>(count)});
    if (wants == ScanVisitor::Wants::kStop) return;
    if (wants == ScanVisitor::Wants::kNext) continue;
    columns.Clear();
    for (auto record = run_begin; record != run_end; ++record) columns.Add(record->second);
    if (!visitor.Take(columns, 0, columns.size())) return;
  }
}

// Brings what a batch left of a tag into its place.
void Adopt(TagRecords changed, TagRecords* tag) noexcept {
  tag->current = std::move(changed.current);
  tag->held = std::move(changed.held);
  while (!changed.archive.empty()) {
    auto put = tag->archive.insert(changed.archive.extract(changed.archive.begin()));
    if (!put.inserted) put.position->second = std::move(put.node.mapped());
  }
}

class MemoryStore final : public Store {
 public:
  MemoryStore() {
    for (const TableInfo& table : AllTables()) tables_.emplace_back(table);
  }
  ~MemoryStore() override { (void)Close(); }

 private:
  // What can fail comes first: all that the batch puts is made in memory of its own.
  CommitAnswer DoCommit(StoreBatch& batch) override EXCLUDES(mutex_) {
    if (Status status = CheckRecords(batch.records); !status.ok()) {
      return {.fate = CommitAnswer::Fate::kRefused, .status = std::move(status)};
    }
    const WriteLock lock(mutex_);
    ZERVANE_ASSERT(batch.commit == last_commit_ + 1);
    ByTag changed = ChangedTags(batch);
    std::vector<RowTable::Prepared> rows;
    rows.reserve(batch.rows.size());
    for (const RowChange& row : batch.rows) rows.push_back(TableOf(row.table).Prepare(row));

    for (const TagId tag : batch.emptied) tags_.erase(tag);
    AdoptAll(std::move(changed));
    for (std::size_t at = 0; at < rows.size(); ++at) {
      TableOf(batch.rows[at].table).Carry(std::move(rows[at]));
    }
    last_commit_ = batch.commit;
    return {};
  }

  Status DoScan(TagId tag, TimeRange range, Direction direction, ScanVisitor& visitor) override
      EXCLUDES(mutex_) {
    const ReadLock lock(mutex_);
    const auto found = tags_.find(tag);
    if (found != tags_.end()) ShowRuns(found->second.archive, range, direction, visitor);
    return {};
  }

  Result<std::optional<Sample>> DoReadHeld(TagId tag) override EXCLUDES(mutex_) {
    const ReadLock lock(mutex_);
    const auto found = tags_.find(tag);
    return found == tags_.end() ? std::nullopt : found->second.held;
  }

  Result<SampleBatch> DoReadCurrent(TagId first, TagId last) override EXCLUDES(mutex_) {
    const ReadLock lock(mutex_);
    SampleBatch values;
    for (auto tag = tags_.lower_bound(first); tag != tags_.end() && tag->first <= last; ++tag) {
      if (tag->second.current) values.Add(tag->first, *tag->second.current);
    }
    return values;
  }

  Status DoRows(const RowRange& range, std::size_t limit, const RowVisitor& visit) override
      EXCLUDES(mutex_) {
    const ReadLock lock(mutex_);
    tables_[static_cast<std::size_t>(range.table)].Visit(range, limit, visit);
    return {};
  }

  Result<LeaseAnswer> DoLease(LeaseWish) override EXCLUDES(mutex_) {
    const ReadLock lock(mutex_);
    LeaseAnswer answer;
    answer.good_until_ms = kMaxTimeMs;
    answer.last_commit = last_commit_;
    return answer;
  }

  Status DoClose() override { return {}; }

  // The batch's records by tag, with what they leave of current and held-back ones.
  ByTag ChangedTags(const StoreBatch& batch) REQUIRES(mutex_) {
    ByTag changed;
    const std::set<TagId> emptied(batch.emptied.begin(), batch.emptied.end());
    for (std::size_t at = 0; at < batch.records.size(); ++at) {
      const TagId id = batch.records.tags[at];
      auto tag = changed.find(id);
      if (tag == changed.end()) {
        if (!TableOf(TableId::kTag).Has({Cell(std::int64_t{id})})) continue;
        tag = changed.emplace(id, TagRecords()).first;
        const auto before = emptied.contains(id) ? tags_.end() : tags_.find(id);
        if (before != tags_.end()) {
          tag->second.current = before->second.current;
          tag->second.held = before->second.held;
        }
      }
      Keep(batch.records.samples.At(at), batch.records.marks[at], &tag->second);
    }
    return changed;
  }

  void AdoptAll(ByTag changed) noexcept REQUIRES(mutex_) {
    while (!changed.empty()) {
      auto put = tags_.insert(changed.extract(changed.begin()));
      if (!put.inserted) Adopt(std::move(put.node.mapped()), &put.position->second);
    }
  }

  RowTable& TableOf(TableId table) REQUIRES(mutex_) {
    return tables_[static_cast<std::size_t>(table)];
  }

  WriterFirstMutex mutex_;
  std::vector<RowTable> tables_ GUARDED_BY(mutex_);
  ByTag tags_ GUARDED_BY(mutex_);
  std::int64_t last_commit_ GUARDED_BY(mutex_) = 0;
};

}  // namespace
}  // namespace zervane::storage

namespace zervane {

std::unique_ptr<Store> OpenMemoryStore() { return std::make_unique<storage::MemoryStore>(); }

}  // namespace zervane
