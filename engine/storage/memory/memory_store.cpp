#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <set>
#include <span>
#include <utility>
#include <vector>

#include "engine/assert.h"
#include "engine/storage/memory/row_table.h"
#include "engine/storage/record_check.h"
#include "engine/storage/series.h"
#include "engine/storage/store.h"
#include "engine/storage/tag_groups.h"
#include "engine/storage/writer_first_mutex.h"
#include "engine/thread_annotations.h"

namespace zervane::storage {
namespace {

// A scan shows so many records at a time.
constexpr std::size_t kRunRecords = 1'000;

// What there is of one tag.
struct TagRecords {
  std::optional<Sample> current;
  std::optional<Sample> held;
  Series archive;
};
using ByTag = std::map<TagId, TagRecords>;

bool HasAny(const TagRecords& tag) { return tag.current || tag.held || !tag.archive.empty(); }

// What a batch brings to a tag, with all memory that it needs.
struct Delivery {
  TagRecords* tag = nullptr;
  std::span<const std::uint32_t> archived;  // which of the batch's records
  std::optional<Sample> current;
  std::optional<Sample> held;  // what is held back afterwards
};

// What the group's records leave as current and held back, and which of them are archived, into
// `archived`, which has room for them.
Delivery DeliveryOf(const RecordBatch& batch, std::span<const std::uint32_t> records,
                    TagRecords* tag, std::vector<std::uint32_t>* archived) {
  Delivery delivery{.tag = tag, .archived = {}, .current = tag->current, .held = tag->held};
  const std::size_t first = archived->size();
  const auto none = SIZE_MAX;
  std::size_t current = none;
  for (const std::uint32_t at : records) {
    const std::uint8_t marks = batch.marks[at];
    if ((marks & kCurrent) != 0) current = at;
    if ((marks & kArchive) != 0) {
      archived->push_back(at);
      const std::int64_t time_ms = batch.samples.times()[at];
      if (delivery.held && delivery.held->time_ms <= time_ms) delivery.held.reset();
    }
    if ((marks & kHeld) != 0) delivery.held = batch.samples.At(at);
  }
  if (current != none) delivery.current = batch.samples.At(current);
  delivery.archived = std::span(*archived).subspan(first);
  return delivery;
}

// Shows the records to the visitor, in runs.
void ShowRuns(const SampleRun& records, Direction direction, ScanVisitor& visitor) {
  SampleRun left = records;
  while (!left.empty()) {
    const SampleRun run = AtMost(left, direction, kRunRecords);
    (direction == Direction::kForward ? left.begin : left.end) =
        direction == Direction::kForward ? run.end : run.begin;
    const auto wants = visitor.Offer({.first_ms = run.times().front(),
                                      .last_ms = run.times().back(),
                                      .count = static_cast<std::int64_t>(run.size())});
    if (wants == ScanVisitor::Wants::kStop) return;
    if (wants == ScanVisitor::Wants::kNext) continue;
    if (!visitor.Show(*run.samples, run.begin, run.end)) return;
  }
}

class MemoryStore final : public Store {
 public:
  MemoryStore() {
    for (const TableInfo& table : AllTables()) tables_.emplace_back(table);
  }
  ~MemoryStore() override { (void)Close(); }

 private:
  CommitAnswer DoCommit(StoreBatch& batch) override EXCLUDES(mutex_) {
    if (Status status = CheckRecords(batch.records); !status.ok()) {
      return CommitAnswer::Refused(std::move(status));
    }
    const WriteLock lock(mutex_);
    ZERVANE_ASSERT(batch.commit == last_commit_ + 1);
    // What can fail comes first: all that the batch puts is made before anything changes.
    std::vector<RowTable::Prepared> rows;
    rows.reserve(batch.rows.size());
    for (const RowChange& row : batch.rows) rows.push_back(TableOf(row.table).Prepare(row));
    ByTag emptied;
    for (const TagId tag : batch.emptied) emptied.try_emplace(tag);
    PlanDeliveries(batch, &emptied);

    for (std::size_t at = 0; at < rows.size(); ++at) {
      TableOf(batch.rows[at].table).Carry(std::move(rows[at]));
    }
    for (Delivery& delivery : deliveries_) Deliver(batch.records.samples, &delivery);
    Empty(std::move(emptied));
    last_commit_ = batch.commit;
    return {};
  }

  Status DoScan(TagId tag, TimeRange range, Direction direction, ScanVisitor& visitor) override
      EXCLUDES(mutex_) {
    const ReadLock lock(mutex_);
    const auto found = tags_.find(tag);
    if (found == tags_.end()) return {};
    SampleColumns merged;
    ShowRuns(Within(found->second.archive.All(&merged), range), direction, visitor);
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

  RowTable& TableOf(TableId table) REQUIRES(mutex_) {
    return tables_[static_cast<std::size_t>(table)];
  }

  // Makes room for the batch's records at their tags. Those of an emptied tag go to what `emptied`
  // has, which stands in its place afterwards.
  void PlanDeliveries(const StoreBatch& batch, ByTag* emptied) REQUIRES(mutex_) {
    deliveries_.clear();
    archived_.clear();
    archived_.reserve(batch.records.size());
    const std::map<TagId, bool> stays = TagRowsOf(batch);
    groups_.Sort(batch.records.tags);
    for (const TagGroups::Group& group : groups_.all()) {
      const auto stay = stays.find(group.tag);
      const bool is_known = stay != stays.end()
                                ? stay->second
                                : TableOf(TableId::kTag).Has({Cell(std::int64_t{group.tag})});
      if (!is_known) continue;
      const auto fresh = emptied->find(group.tag);
      TagRecords& tag = fresh != emptied->end() ? fresh->second : tags_[group.tag];
      deliveries_.push_back(DeliveryOf(batch.records, group.records, &tag, &archived_));
      tag.archive.Reserve(batch.records.samples, deliveries_.back().archived);
    }
  }

  // Of the tags whose row the batch changes: whether they have one afterwards.
  static std::map<TagId, bool> TagRowsOf(const StoreBatch& batch) {
    std::map<TagId, bool> rows;
    for (const RowChange& change : batch.rows) {
      if (change.table != TableId::kTag) continue;
      rows[static_cast<TagId>(std::get<std::int64_t>(change.key.front()))] = change.row.has_value();
    }
    return rows;
  }

  // Puts what came since in the place of all that the tags had.
  void Empty(ByTag emptied) noexcept REQUIRES(mutex_) {
    while (!emptied.empty()) {
      auto fresh = emptied.extract(emptied.begin());
      tags_.erase(fresh.key());
      if (HasAny(fresh.mapped())) tags_.insert(std::move(fresh));
    }
  }

  static void Deliver(const SampleColumns& samples, Delivery* delivery) noexcept {
    delivery->tag->archive.Put(samples, delivery->archived);
    delivery->tag->current = std::move(delivery->current);
    delivery->tag->held = std::move(delivery->held);
  }

  WriterFirstMutex mutex_;
  std::vector<RowTable> tables_ GUARDED_BY(mutex_);
  ByTag tags_ GUARDED_BY(mutex_);
  std::int64_t last_commit_ GUARDED_BY(mutex_) = 0;

  // Of the batch that is being committed.
  TagGroups groups_ GUARDED_BY(mutex_);
  std::vector<Delivery> deliveries_ GUARDED_BY(mutex_);
  std::vector<std::uint32_t> archived_ GUARDED_BY(mutex_);
};

}  // namespace
}  // namespace zervane::storage

namespace zervane {

std::unique_ptr<Store> OpenMemoryStore() { return std::make_unique<storage::MemoryStore>(); }

}  // namespace zervane
