#include "engine/alarms/alarm_worker.h"

#include <optional>
#include <utility>
#include <vector>

#include "api/words/samples.h"
#include "engine/guard.h"
#include "engine/log.h"
#include "engine/storage/table.h"

namespace zervane {
namespace {

// Actions that are read from the store in one go.
constexpr std::size_t kMostActionsAtOnce = 1'000;

// Whether the same may succeed later: it is not about what is written.
bool IsWorthAnotherTry(ZR3_STATUS code) {
  return code == ZR3_ERR_STORAGE_FAILED || code == ZR3_ERR_STORAGE_FULL ||
         code == ZR3_ERR_STORAGE_READ_ONLY || code == ZR3_ERR_STORAGE_DAMAGED ||
         code == ZR3_ERR_OUT_OF_MEMORY || code == ZR3_ERR_INTERNAL || code == ZR3_ERR_NOT_CONNECTED;
}

RowChange RemovalOf(const PendingAction& action) {
  using Format = RowFormat<PendingAction>;
  return {.table = Format::kTable, .key = Format::KeyCells(action.key), .row = {}};
}

}  // namespace

AlarmWorker::AlarmWorker(AlarmStage& stage, WritePath& writes, Store& store, const TagIndex& tags,
                         Clock clock)
    : stage_(stage),
      writes_(writes),
      store_(store),
      tags_(tags),
      clock_(std::move(clock)),
      thread_({.what = "alarms",
               .work = [this] { return Work(); },
               .next_deadline_ms = [this] { return stage_.next_deadline_ms(); }},
              clock_) {
  stage_.OnWork([this] { thread_.Wake(); });
}

// What is done may ask for more: a value that an action writes is judged, too.
Status AlarmWorker::Work() {
  return Guarded([this]() -> Status {
    while (!thread_.is_stopping()) {
      has_actions_left_ = stage_.HasNewActions() || has_actions_left_;
      if (!IsHoldDue() && !has_actions_left_) return {};
      if (Status status = CompleteHolds(); !status.ok()) return status;
      has_actions_left_ = stage_.HasNewActions() || has_actions_left_;
      if (!has_actions_left_) continue;
      if (Status status = CarryOutActions(); !status.ok()) return status;
    }
    return {};
  });
}

Status AlarmWorker::CompleteHolds() {
  while (IsHoldDue()) {
    Status status = writes_.Change(
        [this](Turn& turn, StoreBatch& batch) { return stage_.CompleteHolds(turn, batch); },
        [](Turn&) {});
    if (!status.ok()) return status;
  }
  return {};
}

Status AlarmWorker::CarryOutActions() {
  using Format = RowFormat<PendingAction>;
  const RowRange all = {
      .table = Format::kTable, .from = Format::AllKeys(), .to = Format::AllKeys()};
  const auto page = Table<PendingAction>(store_).ReadPage(all, kMostActionsAtOnce);
  if (!page.ok()) return page.status();
  for (const PendingAction& action : page->items) {
    if (thread_.is_stopping()) return {};
    if (Status status = CarryOut(action); !status.ok()) return status;
  }
  has_actions_left_ = page->next.has_value();
  return {};
}

Status AlarmWorker::CarryOut(const PendingAction& action) {
  const std::optional<TagTraits> traits = tags_.Find(action.target);
  if (!traits) return GiveUp(action, ZR3_ERR_TAG_NOT_FOUND);
  const std::optional<Sample> sample = SampleOf(traits->type, action.number, action.key.start_ms);
  if (!sample) return GiveUp(action, ZR3_ERR_TYPE_MISMATCH);
  SampleBatch batch;
  batch.Add(action.target, *sample);
  const Result<WriteSamples::Reply> written = writes_.WriteAsSystem(batch, {RemovalOf(action)});
  if (!written.ok() && IsWorthAnotherTry(written.code())) return written.status();
  if (!written.ok()) return GiveUp(action, written.code());
  if (written->status == ZR3_OK) return {};
  const ZR3_STATUS code = written->codes.empty() ? written->status : written->codes.front();
  if (IsWorthAnotherTry(code)) return {code, zr3_status_text(code)};
  return GiveUp(action, code);
}

Status AlarmWorker::GiveUp(const PendingAction& action, ZR3_STATUS why) {
  LogError("the action of alarm tag {} for its record at {}, to set tag {} to {}, is left out: {}",
           action.key.alarm, action.key.start_ms, action.target, action.number,
           zr3_status_text(why));
  return writes_.Change(
      [&](Turn&, StoreBatch& batch) {
        batch.rows.push_back(RemovalOf(action));
        return Status();
      },
      [](Turn&) {});
}

}  // namespace zervane
