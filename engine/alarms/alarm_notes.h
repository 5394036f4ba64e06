#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <utility>

#include "api/words/alarm.h"
#include "api/words/status.h"
#include "engine/storage/store.h"

namespace zervane {

// What a user notes on alarm records: that they are acknowledged, and comments. Each note is a put
// of the whole record as it then stands, in the order of the notes, also when several are of one
// record: who follows alarms learns of every one.
//
//   AlarmNotes notes(store, batch, clock_ms, caller.user);
//   code = notes.Acknowledge({.start_ms = start_ms, .tag = tag});
//
// Within the plan of a change, so that nothing becomes of the records meanwhile.
class AlarmNotes {
 public:
  AlarmNotes(Store& store, StoreBatch& batch, std::int64_t now_ms, std::string user)
      : store_(store), batch_(batch), now_ms_(now_ms), user_(std::move(user)) {}

  // What becomes of it: ZR3_OK, ZR3_ERR_NO_ALARM, ZR3_ERR_ALREADY_ACKNOWLEDGED. The status is that
  // of the store.
  Result<ZR3_STATUS> Acknowledge(const AlarmKey& alarm);
  // Likewise: ZR3_OK, ZR3_ERR_INVALID_TEXT, ZR3_ERR_NO_ALARM.
  Result<ZR3_STATUS> Comment(const AlarmKey& alarm, const std::string& comment);

 private:
  // The record as it stands, the notes of before included; null when there is none.
  Result<AlarmRecord*> Find(const AlarmKey& alarm);

  Store& store_;
  StoreBatch& batch_;
  const std::int64_t now_ms_;
  const std::string user_;
  std::map<AlarmKey, AlarmRecord> records_;  // those that were looked up
};

}  // namespace zervane
