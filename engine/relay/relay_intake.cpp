#include "engine/relay/relay_intake.h"

#include <set>
#include <string>
#include <utility>
#include <vector>

#include "engine/alarms/alarm_rows.h"
#include "engine/assert.h"
#include "engine/guard.h"
#include "engine/log.h"
#include "engine/relay/relay_json.h"
#include "engine/storage/tables.h"

namespace zervane {
namespace {

// How many changes wait to be moved. Of values a gap is made good by sending all that are current;
// of alarms nothing is, so that the oldest goes.
constexpr std::size_t kMaxValues = 1'048'576;
constexpr std::size_t kMaxAlarmRows = 4 * RelayQueue::kMaxEntries;

AlarmRecord RecordOf(const RowChange& change) {
  std::vector<CellView> cells;
  cells.reserve(change.row->size());
  for (const Cell& cell : *change.row) cells.push_back(ViewOf(cell));
  std::optional<AlarmRecord> record = RowFormat<AlarmRecord>::FromRow(cells);
  ZERVANE_ASSERT(record.has_value());  // it was made here
  return *std::move(record);
}

// Nobody has done anything about it.
bool IsFresh(const AlarmRecord& record) {
  const bool is_acknowledged_by_hand =
      record.is_acknowledged && record.acknowledgement != ZR3_AM_ACK_TYPE_AUTO;
  return !is_acknowledged_by_hand && record.commented_ms == 0;
}

// The alarm tags of which it changes how far they are.
std::set<TagId> StandingChangedBy(const CommittedGroup& group) {
  std::set<TagId> tags;
  for (const RowChange& change : group.rows) {
    if (change.table != TableId::kStandingAlarm) continue;
    tags.insert(static_cast<TagId>(std::get<std::int64_t>(change.key.front())));
  }
  return tags;
}

}  // namespace

Result<std::unique_ptr<RelayIntake>> RelayIntake::Open(What what, CommitFeed& feed,
                                                       const Catalogue& catalogue,
                                                       RelayQueue& queue) {
  const bool are_values = what == What::kValues;
  Result<std::unique_ptr<FeedConsumer>> consumer =
      are_values ? feed.Register(kMaxValues)
                 : feed.Register(kMaxAlarmRows, FeedConsumer::WhenFull::kOldestGo);
  if (!consumer.ok()) return consumer.status();
  (*consumer)->WatchTable(TableId::kTag, true);
  if (are_values) {
    (*consumer)->WatchAllTags(true);
  } else {
    (*consumer)->WatchTable(TableId::kAlarmTag, true);
    (*consumer)->WatchTable(TableId::kAlarmRecord, true);
    (*consumer)->WatchTable(TableId::kStandingAlarm, true);
  }
  return std::unique_ptr<RelayIntake>(
      new RelayIntake(what, *std::move(consumer), catalogue, queue));
}

RelayIntake::RelayIntake(What what, std::unique_ptr<FeedConsumer> consumer,
                         const Catalogue& catalogue, RelayQueue& queue)
    : what_(what),
      consumer_(std::move(consumer)),
      queue_(queue),
      names_(catalogue),
      thread_([this] { Loop(); }) {}

RelayIntake::~RelayIntake() {
  is_stopping_.store(true);
  consumer_->Close();
  thread_.join();
}

void RelayIntake::Loop() noexcept {
  while (const auto delivery = AwaitNext()) {
    if (is_stopping_.load()) return;
    const Status status = Guarded([&]() -> Status {
      Move(*delivery);
      return {};
    });
    if (!status.ok()) TellLost(delivery->group->commit);
  }
}

// While nothing waits, the names of all tags that will be asked for are those of now.
std::optional<FeedConsumer::Delivery> RelayIntake::AwaitNext() {
  if (auto next = consumer_->Poll()) return next;
  names_.CatchUp();
  return consumer_->Await();
}

void RelayIntake::Move(const FeedConsumer::Delivery& delivery) {
  if (delivery.is_gap()) return TellLost(delivery.gap_from);
  names_.Follow(*delivery.group);
  if (what_ == What::kValues) {
    MoveValues(*delivery.group);
  } else {
    MoveAlarms(*delivery.group);
  }
}

void RelayIntake::MoveValues(const CommittedGroup& group) {
  for (std::size_t at = 0; at < group.tags.size(); ++at) {
    if (group.was_newest[at] == 0) continue;
    if (is_stopping_.load(std::memory_order_relaxed)) return;
    const TagId tag = group.tags[at];
    queue_.Push({.kind = RelayKind::kValue,
                 .number = 0,
                 .tag = tag,
                 .name = std::string(names_.NameOf(tag)),
                 .sample = group.samples.At(at),
                 .json = {}});
  }
}

// A record is put once for each thing that becomes of it. The first time nobody has done anything
// about it yet. It ends together with how far its tag is, unless it had only started; what somebody
// does about it leaves that as it is. A record of a change starts and ends at once.
void RelayIntake::MoveAlarms(const CommittedGroup& group) {
  const std::set<TagId> standing_changed = StandingChangedBy(group);
  std::set<AlarmKey> raised;
  for (const RowChange& change : group.rows) {
    if (change.table != TableId::kAlarmRecord || !change.row) continue;
    const AlarmRecord record = RecordOf(change);
    if (record.type == ZR3_AM_REC_TYPE_CHANGE && IsFresh(record)) {
      Push(RelayKind::kRaised, record);
      Push(RelayKind::kEnded, record);
    } else if (!record.is_restored && IsFresh(record)) {
      raised.insert(record.key());
      Push(RelayKind::kRaised, record);
    } else if (record.is_restored && record.type != ZR3_AM_REC_TYPE_CHANGE &&
               (standing_changed.contains(record.tag) || raised.contains(record.key()))) {
      Push(RelayKind::kEnded, record);
    } else {
      Push(RelayKind::kNote, record);
    }
  }
  if (const std::uint64_t gone = consumer_->CountGone(); gone > 0) {
    LogError("the relay: {} changes of alarms went before they were looked at", gone);
  }
}

void RelayIntake::Push(RelayKind kind, const AlarmRecord& record) {
  RelayEntry entry;
  entry.kind = kind;
  AppendAlarmJson(names_.NameOf(record.tag), names_.SourceOf(record.tag), record, entry.json);
  queue_.Push(std::move(entry));
}

void RelayIntake::TellLost(std::int64_t commit) noexcept {
  if (what_ == What::kValues) return queue_.AskForAll();
  LogError("the relay: what became of alarms from commit {} on is not sent", commit);
}

}  // namespace zervane
