#include "engine/alarms/alarm_book.h"

#include <algorithm>
#include <ranges>

#include "engine/assert.h"

namespace zervane {
namespace {

bool IsBefore(const AlarmBook::Alarm* a, const AlarmBook::Alarm* b) {
  return a->rule.tag < b->rule.tag;
}

}  // namespace

AlarmBook::Alarm* AlarmBook::Find(TagId alarm) {
  const auto found = alarms_.find(alarm);
  return found == alarms_.end() ? nullptr : found->second.get();
}

AlarmBook::Source* AlarmBook::FindSource(TagId source) {
  const std::unique_ptr<Source>* const found = sources_.Find(source);
  if (found == nullptr || *found == nullptr || (*found)->alarms.empty()) return nullptr;
  return found->get();
}

void AlarmBook::Propose(AlarmRule rule) { proposals_.push_back(std::move(rule)); }

const AlarmRule* AlarmBook::FindProposal(TagId alarm) const {
  const auto last_first = std::views::reverse(proposals_);
  const auto found = std::ranges::find(last_first, alarm, &AlarmRule::tag);
  return found == last_first.end() ? nullptr : &*found;
}

// Everything that needs memory, so that adopting it cannot fail.
void AlarmBook::PrepareRule(TagId alarm) {
  const AlarmRule* const rule = FindProposal(alarm);
  ZERVANE_ASSERT(rule != nullptr);
  auto changed = std::make_unique<Alarm>();
  changed->rule = *rule;
  std::unique_ptr<Source>& source = sources_.At(rule->source);
  if (source == nullptr) source = std::make_unique<Source>();
  const std::size_t wanted = source->alarms.size() + changed_.size() + 1;
  if (wanted > source->alarms.capacity()) source->alarms.reserve(2 * wanted);
  if (Find(alarm) == nullptr) {
    alarms_[alarm] = nullptr;
    new_deadlines_.emplace(kNever, alarm);
  }
  changed_.push_back(std::move(changed));
}

void AlarmBook::PrepareRemoval(TagId alarm) { removed_.push_back(alarm); }

AlarmBook::Trial& AlarmBook::Try(Alarm& alarm) {
  if (!IsTried(alarm)) {
    trials_.push_back({.alarm = &alarm, .track = alarm.track});
    alarm.batch = batch_;
    alarm.trial_at = trials_.size() - 1;
  }
  return trials_[alarm.trial_at];
}

NewestGood& AlarmBook::TryNewest(Source& source) {
  if (source.batch != batch_) {
    touched_.push_back(&source);
    source.next = source.newest;
    source.batch = batch_;
  }
  return source.next;
}

std::vector<AlarmBook::Alarm*> AlarmBook::DueAt(std::int64_t time_ms, std::size_t limit) const {
  std::vector<Alarm*> due;
  for (const auto& [deadline_ms, tag] : deadlines_) {
    if (deadline_ms > time_ms || deadline_ms == kNever || due.size() == limit) break;
    due.push_back(alarms_.at(tag).get());
  }
  return due;
}

void AlarmBook::Keep() noexcept {
  for (Source* source : touched_) source->newest = source->next;
  for (Trial& trial : trials_) {
    trial.alarm->track = trial.track;
    SetDeadline(*trial.alarm);
  }
  for (std::unique_ptr<Alarm>& changed : changed_) AdoptRule(changed);
  for (const TagId alarm : removed_) Remove(alarm);
  EndBatch();
}

void AlarmBook::Discard() noexcept {
  for (const std::unique_ptr<Alarm>& changed : changed_) {
    const auto place = alarms_.find(changed->rule.tag);
    if (place != alarms_.end() && place->second == nullptr) alarms_.erase(place);
  }
  EndBatch();
}

// ---- what cannot fail ----

void AlarmBook::AdoptRule(std::unique_ptr<Alarm>& changed) noexcept {
  std::unique_ptr<Alarm>& place = alarms_.find(changed->rule.tag)->second;
  if (place == nullptr) {
    place = std::move(changed);
    deadlines_.insert(new_deadlines_.extract({kNever, place->rule.tag}));
    Attach(*place);
    return;
  }
  Source& source_before = Detach(*place);
  place->rule = std::move(changed->rule);
  Attach(*place);
  ForgetUnlessWatched(source_before);
}

void AlarmBook::Remove(TagId alarm) noexcept {
  const auto place = alarms_.find(alarm);
  if (place == alarms_.end()) return;
  ForgetUnlessWatched(Detach(*place->second));
  deadlines_.erase({place->second->deadline_ms, alarm});
  alarms_.erase(place);
}

void AlarmBook::Attach(Alarm& alarm) noexcept {
  Source& source = **sources_.Find(alarm.rule.source);
  ZERVANE_ASSERT(source.alarms.size() < source.alarms.capacity());
  source.alarms.insert(std::ranges::upper_bound(source.alarms, &alarm, IsBefore), &alarm);
  if (alarm.rule.has_change) ++source.changes;
}

AlarmBook::Source& AlarmBook::Detach(Alarm& alarm) noexcept {
  Source& source = **sources_.Find(alarm.rule.source);
  const auto place = std::ranges::lower_bound(source.alarms, &alarm, IsBefore);
  ZERVANE_ASSERT(place != source.alarms.end() && *place == &alarm);
  source.alarms.erase(place);
  if (alarm.rule.has_change) --source.changes;
  return source;
}

// Nobody tells of the values of a tag that nothing watches any more.
void AlarmBook::ForgetUnlessWatched(Source& source) noexcept {
  if (source.alarms.empty()) source.newest = {};
}

void AlarmBook::SetDeadline(Alarm& alarm) noexcept {
  const std::int64_t deadline_ms =
      DeadlineOf(alarm.rule.conditions, alarm.track.state).value_or(kNever);
  if (deadline_ms == alarm.deadline_ms) return;
  auto entry = deadlines_.extract({alarm.deadline_ms, alarm.rule.tag});
  ZERVANE_ASSERT(!entry.empty());
  entry.value() = {deadline_ms, alarm.rule.tag};
  deadlines_.insert(std::move(entry));
  alarm.deadline_ms = deadline_ms;
}

void AlarmBook::EndBatch() noexcept {
  ++batch_;
  proposals_.clear();
  trials_.clear();
  touched_.clear();
  changed_.clear();
  new_deadlines_.clear();
  removed_.clear();
}

}  // namespace zervane
