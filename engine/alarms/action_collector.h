#pragma once

#include <cstdint>
#include <optional>
#include <vector>

#include "engine/alarms/action_chain.h"
#include "engine/alarms/alarm_action.h"
#include "engine/alarms/alarm_book.h"
#include "engine/storage/store.h"

namespace zervane {

// The actions of the alarms that one value raises, or may still raise by holds that it begins: how
// many they are tells the share that each has.
//
//   actions.BeginValue(because);
//   actions.NoteHold(alarm, 2), actions.AddOfValue(action, false) ...
//   actions.Settle(book, batch);
//
// Threads: with the turn alone.
class ActionCollector {
 public:
  // Because of which action the value was written; none: of no action.
  void BeginValue(const std::optional<ActionChain>& because) { because_ = because; }
  // The value begins a hold of a test that has an action.
  void NoteHold(AlarmBook::Alarm& alarm, std::size_t position);
  // An action of a record that the value raises; of the hold that it has begun, or for itself.
  void AddOfValue(const PendingAction& action, bool is_of_new_hold);
  // One of a hold that was begun before, with the chain that this has.
  void AddOfHold(const PendingAction& action) { of_holds_.push_back(action); }

  // Puts the actions into the batch, and what they are in a chain into the holds.
  void Settle(AlarmBook& book, StoreBatch& batch);
  void EndBatch() noexcept;

 private:
  struct NewHold {
    AlarmBook::Alarm* alarm = nullptr;
    std::size_t position = 0;
  };

  void Put(const PendingAction& action, StoreBatch& batch);
  void Forget() noexcept;

  std::optional<ActionChain> because_;
  std::vector<NewHold> holds_;
  std::vector<PendingAction> of_value_;
  std::vector<PendingAction> of_holds_;
  std::int32_t for_themselves_ = 0;  // of those of the value
  bool has_told_of_cut_ = false;     // in this batch
};

}  // namespace zervane
