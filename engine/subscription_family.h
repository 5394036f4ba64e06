#pragma once

#include "api/caller.h"
#include "api/operations/subscriptions.h"
#include "api/words/status.h"

namespace zervane {

// Carries out the operations with which sessions follow what changes.
//
// Threads: any.
class SubscriptionFamily {
 public:
  Result<Nothing> Handle(const Caller& caller, const SubscribeTags& operation);
  Result<Nothing> Handle(const Caller& caller, const UnsubscribeTags& operation);
  Result<Nothing> Handle(const Caller& caller, const SubscribeFields& operation);
  Result<Nothing> Handle(const Caller& caller, const UnsubscribeFields& operation);
  Result<PollChanges::Reply> Handle(const Caller& caller, const PollChanges& operation);
  Result<Nothing> Handle(const Caller& caller, const SubscribeAlarms& operation);
  Result<PollAlarms::Reply> Handle(const Caller& caller, const PollAlarms& operation);
};

}  // namespace zervane
