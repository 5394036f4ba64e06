#pragma once

#include "api/caller.h"
#include "api/operations/system.h"
#include "api/words/status.h"
#include "engine/relay/relay.h"

namespace zervane {

// Carries out the operation on the relay.
//
// Threads: any.
class RelayFamily {
 public:
  explicit RelayFamily(Relay& relay) : relay_(relay) {}

  Result<Nothing> Handle(const Caller&, const ConfigureRelay& operation) {
    Status status = relay_.Configure(operation.settings);
    if (!status.ok()) return status;
    return Nothing();
  }

 private:
  Relay& relay_;
};

}  // namespace zervane
