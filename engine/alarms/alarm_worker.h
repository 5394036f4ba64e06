#pragma once

#include "api/words/status.h"
#include "engine/alarms/alarm_action.h"
#include "engine/alarms/alarm_stage.h"
#include "engine/catalogue/tag_index.h"
#include "engine/clock.h"
#include "engine/storage/store.h"
#include "engine/work_thread.h"
#include "engine/write/write_path.h"

namespace zervane {

// Does what alarms ask for when no value comes: completes holds whose time has passed, and carries
// out actions. It goes through the write path as any caller does.
//
// An action that can never be carried out, its target being gone or of another type by now, is
// logged and goes. What the store refuses is tried again.
//
// Threads: one after the other.
class AlarmWorker {
 public:
  AlarmWorker(AlarmStage& stage, WritePath& writes, Store& store, const TagIndex& tags,
              Clock clock);
  ~AlarmWorker() { Stop(); }
  AlarmWorker(const AlarmWorker&) = delete;
  AlarmWorker& operator=(const AlarmWorker&) = delete;

  // Completes the holds that are due. The status of the store, when it refuses.
  Status CompleteHolds();
  // Begins to work whenever there is something to do, on a thread of its own. Throws
  // std::system_error when there can be none.
  void Start() { thread_.Start(); }
  // Ends that thread, with what it is doing done. What is still to be done is done after the next
  // opening.
  void Stop() noexcept { thread_.Stop(); }

  // Does all that is to be done now, and what comes of that. The status of the store, when it
  // refuses; then the rest is still to be done.
  Status Work();

 private:
  bool IsHoldDue() const { return stage_.next_deadline_ms() <= clock_(); }
  Status CarryOutActions();
  Status CarryOut(const PendingAction& action);
  Status GiveUp(const PendingAction& action, ZR3_STATUS why);

  AlarmStage& stage_;
  WritePath& writes_;
  Store& store_;
  const TagIndex& tags_;
  const Clock clock_;
  bool has_actions_left_ = true;  // the store refused one, or may hold some from before
  WorkThread thread_;
};

}  // namespace zervane
