#pragma once

#include <functional>
#include <memory>
#include <string_view>
#include <vector>

#include "api/database.h"
#include "api/operation_table.h"
#include "vask/address.h"
#include "vask/handle_table.h"
#include "vask/polled.h"
#include "vask/request_cache.h"
#include "vask/session_mutex.h"

namespace zervane {

// Opens the database that a target names; ZR3_ERR_CONNECT_FAILED when it cannot be reached.
using DatabaseOpener = std::function<Result<std::unique_ptr<Database>>(const Target&)>;

// The connection to a database and what callers hold of it. Calls share the session, connecting and
// disconnecting have it alone: a database stays open for as long as a call works on it.
class Session {
 public:
  // Opens the primary or, when that cannot be reached, the standby. Connected to the same servers
  // already: changes nothing. ZR3_ERR_ALREADY_CONNECTED when connected to others.
  Status Connect(const Servers& servers, const DatabaseOpener& open);

  // Waits for the calls in progress, frees every handle and closes the database; the session is
  // over whatever the database's status. ZR3_ERR_NOT_CONNECTED.
  Status Disconnect();

  // Status body(Session&), with the session held for as long as it takes; ZR3_ERR_NOT_CONNECTED
  // without one. The body must not connect, disconnect or ask for the session again.
  template <typename Body>
  Status Hold(Body&& body) {
    const SharedSessionLock lock(mutex_);
    if (database_ == nullptr) return {ZR3_ERR_NOT_CONNECTED, {}};
    return body(*this);
  }

  // For the body of Hold, as what follows: has the database carry out an operation for this
  // process's caller.
  template <typename Op>
  Result<typename Op::Reply> Do(const Op& operation) {
    mutex_.AssertHeld();
    return database_->Do(caller_, operation);
  }

  // Has the database carry out an operation that may wait for long, without holding the session: a
  // call that disconnects has it end, with ZR3_ERR_NOT_CONNECTED. REQUIRES that this thread does
  // not hold the session.
  template <typename Op>
  Result<typename Op::Reply> DoAside(const Op& operation) {
    const Asker asker = MakeAsker();
    if (asker.database == nullptr) return Status(ZR3_ERR_NOT_CONNECTED, {});
    return asker.database->Do(asker.caller, operation);
  }

  // Asks in the name of a user from now on, and forgets what the user before has looked up and is
  // still to get; on a failure nothing has changed. As DoAside.
  Status LogIn(const Login& login);

  // The identifier of a name and the type of a tag's values, from memory where that is still true.
  Result<TagId> FindTagId(std::string_view name) {
    mutex_.AssertHeld();
    return cache_.FindTagId(*database_, caller_, name);
  }
  Result<TagType> GetTagType(TagId id) {
    mutex_.AssertHeld();
    return cache_.GetTagType(*database_, caller_, id);
  }

  HandleTable& handles() {
    mutex_.AssertHeld();
    return handles_;
  }
  RequestCache& cache() {
    mutex_.AssertHeld();
    return cache_;
  }
  Polled<SampleBatch>& polled_changes() {
    mutex_.AssertHeld();
    return polled_changes_;
  }
  Polled<std::vector<AlarmRecord>>& polled_alarms() {
    mutex_.AssertHeld();
    return polled_alarms_;
  }

 private:
  // What a call needs that does not hold the session.
  struct Asker {
    std::shared_ptr<Database> database;  // null: not connected
    Caller caller;
  };
  Asker MakeAsker();

  SessionMutex mutex_;
  std::shared_ptr<Database> database_ GUARDED_BY(mutex_);
  Caller caller_ GUARDED_BY(mutex_);
  Servers servers_ GUARDED_BY(mutex_);
  // They lock themselves; that they speak of database_ is what the mutex is held for.
  HandleTable handles_;
  RequestCache cache_;
  Polled<SampleBatch> polled_changes_;
  Polled<std::vector<AlarmRecord>> polled_alarms_;
};

// The process's one session. It outlives every thread: some may still be calling when the process
// ends, which closes an open database as abruptly as a crash would.
Session& ProcessSession();

}  // namespace zervane
