#include "engine/subscriptions/alarm_subscription.h"

#include <algorithm>
#include <iterator>
#include <optional>
#include <utility>

#include "engine/alarms/alarm_rows.h"
#include "engine/assert.h"
#include "engine/log.h"
#include "engine/storage/tables.h"

namespace zervane {
namespace {

// None for a row that is none of an alarm record, or its removal.
std::optional<AlarmRecord> TransitionOf(const RowChange& change) {
  if (change.table != TableId::kAlarmRecord || !change.row) return std::nullopt;
  std::vector<CellView> cells;
  cells.reserve(change.row->size());
  for (const Cell& cell : *change.row) cells.push_back(ViewOf(cell));
  std::optional<AlarmRecord> record = RowFormat<AlarmRecord>::FromRow(cells);
  ZERVANE_ASSERT(record.has_value());  // it was made here
  return record;
}

}  // namespace

Status AlarmSubscription::Register() {
  return writes_.Change([&](Turn&, StoreBatch&) { return Follow(); }, [](Turn&) {});
}

Status AlarmSubscription::Follow() {
  const MutexLock lock(mutex_);
  if (consumer_ != nullptr) return {};
  Result<std::unique_ptr<FeedConsumer>> consumer =
      writes_.feed().Register(max_waiting_, FeedConsumer::WhenFull::kOldestGo);
  if (!consumer.ok()) return consumer.status();
  consumer_ = *std::move(consumer);
  consumer_->WatchTable(TableId::kAlarmRecord, true);
  return {};
}

std::vector<AlarmRecord> AlarmSubscription::Poll(std::size_t max) {
  const MutexLock lock(mutex_);
  if (consumer_ == nullptr) return {};
  Drain();
  const std::size_t count = std::min(max, waiting_.size());
  std::vector<AlarmRecord> polled;
  polled.reserve(count);
  const auto end = waiting_.begin() + static_cast<std::ptrdiff_t>(count);
  std::move(waiting_.begin(), end, std::back_inserter(polled));
  waiting_.erase(waiting_.begin(), end);
  gone_ += consumer_->CountGone();
  if (gone_ > 0) LogWarning("a session polls too seldom: {} transitions of alarms went", gone_);
  gone_ = 0;
  return polled;
}

void AlarmSubscription::Drain() {
  for (;;) {
    if (open_ == nullptr) {
      std::optional<FeedConsumer::Delivery> delivery = consumer_->Poll();
      if (!delivery) return;
      if (delivery->is_gap()) {
        LogError("transitions of alarms from commit {} on are not told to a session",
                 delivery->gap_from);
        continue;
      }
      open_ = std::move(delivery->group);
      open_at_ = 0;
    }
    AddOpen();
    open_.reset();
  }
}

void AlarmSubscription::AddOpen() {
  for (; open_at_ < open_->rows.size(); ++open_at_) {
    std::optional<AlarmRecord> record = TransitionOf(open_->rows[open_at_]);
    if (!record) continue;
    waiting_.push_back(*std::move(record));
    if (waiting_.size() <= max_waiting_) continue;
    waiting_.pop_front();
    ++gone_;
  }
}

}  // namespace zervane
