#include "engine/alarms/action_collector.h"

#include "engine/log.h"
#include "engine/storage/table.h"

namespace zervane {

// Of a value that no action wrote each has the whole share, as a hold has by itself.
void ActionCollector::NoteHold(AlarmBook::Alarm& alarm, std::size_t position) {
  if (because_) holds_.push_back({.alarm = &alarm, .position = position});
}

void ActionCollector::AddOfValue(const PendingAction& action, bool is_of_new_hold) {
  of_value_.push_back(action);
  if (!is_of_new_hold) ++for_themselves_;
}

void ActionCollector::Settle(AlarmBook& book, StoreBatch& batch) {
  const std::int32_t actions = static_cast<std::int32_t>(holds_.size()) + for_themselves_;
  ActionChain next;
  if (because_ && actions > 0) next = because_->Next(actions);
  for (const NewHold& hold : holds_) {
    book.Try(*hold.alarm).track.state.tests[hold.position].chain = next;
  }
  for (const PendingAction& action : of_holds_) Put(action, batch);
  for (PendingAction& action : of_value_) {
    action.chain = next;
    Put(action, batch);
  }
  Forget();
}

void ActionCollector::Put(const PendingAction& action, StoreBatch& batch) {
  if (!action.chain.IsCut()) {
    Table<PendingAction>::Put(action, batch);
    return;
  }
  if (has_told_of_cut_) return;
  has_told_of_cut_ = true;
  LogWarning(
      "alarm tag {}: its action is left out, the {}th of a chain of alarms that set each other's "
      "sources",
      action.key.alarm, action.chain.depth);
}

void ActionCollector::EndBatch() noexcept {
  Forget();
  has_told_of_cut_ = false;
}

void ActionCollector::Forget() noexcept {
  because_.reset();
  holds_.clear();
  of_value_.clear();
  of_holds_.clear();
  for_themselves_ = 0;
}

}  // namespace zervane
