#pragma once

#include "api/caller.h"
#include "api/operations/subscriptions.h"
#include "api/words/status.h"
#include "engine/catalogue/tag_index.h"
#include "engine/subscriptions/subscriptions.h"
#include "engine/write/write_path.h"

namespace zervane {

// Carries out the operations with which sessions follow what changes.
//
// Threads: any.
class SubscriptionFamily {
 public:
  SubscriptionFamily(const TagIndex& tags, WritePath& writes) : subscriptions_(tags, writes) {}

  Result<Nothing> Handle(const Caller& caller, const SubscribeTags& operation);
  Result<Nothing> Handle(const Caller& caller, const UnsubscribeTags& operation);
  Result<Nothing> Handle(const Caller& caller, const SubscribeFields& operation);
  Result<Nothing> Handle(const Caller& caller, const UnsubscribeFields& operation);
  Result<PollChanges::Reply> Handle(const Caller& caller, const PollChanges& operation);
  Result<Nothing> Handle(const Caller& caller, const SubscribeAlarms& operation);
  Result<PollAlarms::Reply> Handle(const Caller& caller, const PollAlarms& operation);

  // Ends what the session has registered.
  void EndSession(SessionId session) { subscriptions_.EndSession(session); }

 private:
  Subscriptions subscriptions_;
};

}  // namespace zervane
