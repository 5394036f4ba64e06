#include "engine/subscription_family.h"

namespace zervane {
namespace {

Status NotYet() { return {ZR3_ERR_NOT_SUPPORTED, {}}; }

}  // namespace

Result<Nothing> SubscriptionFamily::Handle(const Caller&, const SubscribeTags&) { return NotYet(); }

Result<Nothing> SubscriptionFamily::Handle(const Caller&, const UnsubscribeTags&) {
  return NotYet();
}

Result<Nothing> SubscriptionFamily::Handle(const Caller&, const SubscribeFields&) {
  return NotYet();
}

Result<Nothing> SubscriptionFamily::Handle(const Caller&, const UnsubscribeFields&) {
  return NotYet();
}

Result<PollChanges::Reply> SubscriptionFamily::Handle(const Caller&, const PollChanges&) {
  return NotYet();
}

Result<Nothing> SubscriptionFamily::Handle(const Caller&, const SubscribeAlarms&) {
  return NotYet();
}

Result<PollAlarms::Reply> SubscriptionFamily::Handle(const Caller&, const PollAlarms&) {
  return NotYet();
}

}  // namespace zervane
