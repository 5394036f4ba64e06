#include "engine/alarms/alarm_stage.h"

#include <spdlog/fmt/fmt.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <utility>
#include <variant>

#include "engine/alarms/alarm_action.h"
#include "engine/assert.h"
#include "engine/history/last_good.h"
#include "engine/storage/table.h"

namespace zervane {
namespace {

using Hold = TestState::Hold;
using Knowledge = NewestGood::Knowledge;

// Alarm tags whose holds are completed in one go, so that writers need not wait long.
constexpr std::size_t kMostHoldsAtOnce = 1'000;

SourceValue ValueIn(const Sample& sample) {
  SourceValue value{.type = sample.type};
  switch (sample.value.kind()) {
    case Value::Kind::kInteger:
      value.number = sample.value.integer();
      break;
    case Value::Kind::kFloat32:
      value.number = sample.value.float32();
      break;
    case Value::Kind::kFloat64:
      value.number = sample.value.float64();
      break;
    case Value::Kind::kText:
      value.text = sample.value.text().str();
      break;
  }
  return value;
}

bool IsTime(std::int64_t time_ms) { return time_ms >= 0 && time_ms <= kMaxTimeMs; }

// Whether a stored state can have come of judging by the conditions.
bool Suits(const AlarmState& state, const AlarmConditions& conditions) {
  for (std::size_t at = 0; at < kAlarmTests; ++at) {
    const TestState& test = state.tests[at];
    if (test.hold == Hold::kNone) continue;
    const std::optional<AlarmTest>& asked = conditions.tests[at];
    if (!asked || asked->is_change()) return false;
    if (!IsTime(test.since_ms) || !std::isfinite(test.value)) return false;
    if (test.depth < 0 || test.depth > PendingAction::kGreatestDepth) return false;
  }
  if (state.position == AlarmState::kNoAlarm) return true;
  return state.tests[static_cast<std::size_t>(state.position)].hold == Hold::kComplete &&
         state.start_ms >= 0;
}

Status DamagedAlarm(TagId tag, std::string_view what) {
  return {ZR3_ERR_STORAGE_DAMAGED,
          fmt::format("what the store holds of alarm tag {}: {}", tag, what)};
}

// The pending action that a row's removal says is carried out.
std::optional<PendingAction::Key> CarriedOut(const RowChange& change) {
  if (change.table != TableId::kProgress || change.row || change.key.size() != 3) {
    return std::nullopt;
  }
  const auto* const task = std::get_if<CellBytes>(&change.key[0]);
  if (task == nullptr || *task != RowFormat<PendingAction>::kTask) return std::nullopt;
  return PendingAction::Key{.alarm = static_cast<TagId>(std::get<std::int64_t>(change.key[1])),
                            .start_ms = std::get<std::int64_t>(change.key[2])};
}

}  // namespace

AlarmStage::AlarmStage(Store& store, SourceHistory history, AlarmBook& book, AlarmGroups& groups,
                       Clock clock)
    : store_(store),
      history_(history),
      book_(book),
      groups_(groups),
      clock_(std::move(clock)),
      recorder_(store) {}

// ---- opening ----

Status AlarmStage::Load(Turn& turn, std::vector<AlarmRule> rules) {
  for (AlarmRule& rule : rules) {
    const TagId tag = rule.tag;
    if (!groups_.Exists(rule.group)) {
      return DamagedAlarm(tag, fmt::format("there is no group {}", rule.group));
    }
    groups_.Reserve(turn, rule.group, tag);
    groups_.File(turn, rule.group, tag);
    book_.Propose(std::move(rule));
    book_.PrepareRule(tag);
    book_.Keep();
  }
  Status fault;
  Status status = Table<StandingAlarm>(store_).Visit({.table = TableId::kStandingAlarm},
                                                     std::numeric_limits<std::size_t>::max(),
                                                     [&](const StandingAlarm& stored) {
                                                       fault = Start(stored);
                                                       return fault.ok();
                                                     });
  if (!fault.ok()) return fault;
  if (!status.ok()) return status;
  book_.Keep();
  next_deadline_ms_.store(book_.NextDeadline());
  return CheckActions();
}

// One that cannot be read would stand in the way of all others.
Status AlarmStage::CheckActions() const {
  using Format = RowFormat<PendingAction>;
  return Table<PendingAction>(store_).Visit(
      {.table = Format::kTable, .from = Format::AllKeys(), .to = Format::AllKeys()},
      std::numeric_limits<std::size_t>::max(), [](const PendingAction&) { return true; });
}

Status AlarmStage::Start(const StandingAlarm& stored) {
  AlarmBook::Alarm* const alarm = book_.Find(stored.tag);
  if (alarm == nullptr) return DamagedAlarm(stored.tag, "it stands, but there is no such tag");
  if (!Suits(stored.state, alarm->rule.conditions)) {
    return DamagedAlarm(stored.tag, "how it stands is none of its tests");
  }
  book_.Try(*alarm).track.state = stored.state;
  return {};
}

// ---- values ----

Status AlarmStage::Process(Turn& turn, const StagedRecords& group, StoreBatch& batch) {
  turn.AssertHeld();
  if (group.read.empty()) return {};
  if (Status status = FindActionRecords(group); !status.ok()) return status;
  const std::int64_t now_ms = clock_();
  for (const std::uint32_t at : group.read) {
    AlarmBook::Source* const source = book_.FindSource(group.tags[at]);
    if (source == nullptr) continue;
    // Before the first record of the source is stored, late or bad as it may be: what comes before
    // the first value that is judged was there when nothing was known of the source.
    if (source->changes > 0) {
      const Result<NewestGood*> before = LookUpNewest(group.tags[at], *source);
      if (!before.ok()) return before.status();
    }
    if (group.was_newest[at] == 0 || !IsGoodAt(group.samples, at)) continue;
    const SourceValue value = SourceValueAt(group.samples, at);
    const std::int64_t time_ms = group.samples.times()[at];
    const Judged judged = {.good = {.time_ms = time_ms,
                                    .number = value.number,
                                    .stored_ms = now_ms,
                                    .depth = DepthOf(group.tags[at], time_ms)},
                           .value = value};
    if (Status status = JudgeSource(*source, judged, batch); !status.ok()) return status;
  }
  FinishBatch(batch);
  return {};
}

// By rows that go with the records: a look into the store for each, which no others cost.
Status AlarmStage::FindActionRecords(const StagedRecords& group) {
  for (const RowChange& change : group.rows) {
    const std::optional<PendingAction::Key> key = CarriedOut(change);
    if (!key) continue;
    const auto action = Table<PendingAction>(store_).Read(*key);
    if (!action.ok()) return action.status();
    if (!*action) continue;
    action_records_.push_back(
        {.tag = (*action)->target, .time_ms = key->start_ms, .depth = (*action)->depth});
  }
  return {};
}

std::int32_t AlarmStage::DepthOf(TagId tag, std::int64_t time_ms) const {
  std::int32_t depth = 0;
  for (const ActionRecord& record : action_records_) {
    if (record.tag == tag && record.time_ms == time_ms) depth = std::max(depth, record.depth);
  }
  return depth;
}

Status AlarmStage::JudgeSource(AlarmBook::Source& source, const Judged& judged, StoreBatch& batch) {
  NewestGood& newest = book_.TryNewest(source);
  for (AlarmBook::Alarm* const alarm : source.alarms) {
    // It may be due for longer than anybody has known, as after an opening.
    if (alarm->deadline_ms <= judged.good.stored_ms && !book_.IsTried(*alarm)) {
      Status status = CompleteHoldsOf(*alarm, judged.good.stored_ms, batch);
      if (!status.ok()) return status;
    }
    const AlarmState& state = book_.TrackOf(*alarm).state;
    if (!ChangesNothing(alarm->rule.conditions, judged.good, state)) {
      if (Status status = Judge(*alarm, judged, batch); !status.ok()) return status;
    }
    if (!alarm->rule.has_change || newest.knowledge != Knowledge::kThereIsOne) continue;
    Status status = JudgeChange(*alarm, ValueIn(newest.sample), judged, batch);
    if (!status.ok()) return status;
  }
  Sample& sample = newest.sample;
  if (IsText(judged.value.type)) {
    if (source.changes == 0) {
      newest.knowledge = Knowledge::kNotLookedUp;
      return {};
    }
    sample.value = Value(std::string(judged.value.text));
  } else {
    sample.value = judged.value.number;
  }
  sample.time_ms = judged.good.time_ms;
  sample.type = judged.value.type;
  newest.knowledge = Knowledge::kThereIsOne;
  return {};
}

Status AlarmStage::Judge(AlarmBook::Alarm& alarm, const Judged& judged, StoreBatch& batch) {
  AlarmBook::Trial& trial = book_.Try(alarm);
  const AlarmTransitions transitions =
      JudgeValue(alarm.rule.conditions, judged.good, trial.track.state);
  return Carry(trial, transitions, judged.value.type, batch);
}

Status AlarmStage::JudgeChange(AlarmBook::Alarm& alarm, const SourceValue& before,
                               const Judged& judged, StoreBatch& batch) {
  for (std::size_t at = 0; at < kAlarmTests; ++at) {
    const std::optional<AlarmTest>& test = alarm.rule.conditions.tests[at];
    if (!test || !test->is_change() || !IsChange(*test, before, judged.value)) continue;
    Status status =
        recorder_.NoteChange(book_.Try(alarm), static_cast<int>(at), judged.good.time_ms,
                             judged.value, judged.good.depth + 1, batch);
    if (!status.ok()) return status;
  }
  return {};
}

Status AlarmStage::Carry(AlarmBook::Trial& trial, const AlarmTransitions& transitions, TagType type,
                         StoreBatch& batch) {
  for (const AlarmTransition& transition : transitions) {
    const bool is_raised = transition.kind == AlarmTransition::Kind::kRaised;
    Status status = is_raised ? recorder_.Raise(trial, transition.position, transition.time_ms,
                                                {.type = type, .number = transition.value},
                                                transition.depth + 1, batch)
                              : recorder_.Return(trial, transition.time_ms, batch);
    if (!status.ok()) return status;
  }
  return {};
}

// ---- time ----

Status AlarmStage::CompleteHolds(Turn& turn, StoreBatch& batch) {
  turn.AssertHeld();
  const std::int64_t now_ms = clock_();
  for (AlarmBook::Alarm* const alarm : book_.DueAt(now_ms, kMostHoldsAtOnce)) {
    if (Status status = CompleteHoldsOf(*alarm, now_ms, batch); !status.ok()) return status;
  }
  FinishBatch(batch);
  return {};
}

Status AlarmStage::CompleteHoldsOf(AlarmBook::Alarm& alarm, std::int64_t now_ms,
                                   StoreBatch& batch) {
  const std::optional<TagType> type = history_.TypeOf(alarm.rule.source);
  AlarmBook::Trial& trial = book_.Try(alarm);
  const Result<GoodValue> newest = NewestFor(alarm, trial.track.state);
  if (!newest.ok()) return newest.status();
  const AlarmTransitions transitions =
      JudgeSilence(alarm.rule.conditions, now_ms, *newest, trial.track.state);
  return Carry(trial, transitions, type.value_or(TagType::kFloat64), batch);
}

// The values that met the tests are good ones, too, and may be newer than any that is still to be
// found: a tag without an archive has but its current value. Whether an action wrote the newest one
// is not known; one is taken to have, where that is so of a value that met a test.
Result<GoodValue> AlarmStage::NewestFor(AlarmBook::Alarm& alarm, const AlarmState& state) {
  GoodValue good = {.time_ms = kNoTime};
  AlarmBook::Source* const source = book_.FindSource(alarm.rule.source);
  ZERVANE_ASSERT(source != nullptr);
  const Result<NewestGood*> newest = LookUpNewest(alarm.rule.source, *source);
  if (!newest.ok()) return newest.status();
  if ((*newest)->knowledge == Knowledge::kThereIsOne) {
    good.time_ms = (*newest)->sample.time_ms;
    good.number = ValueIn((*newest)->sample).number;
  }
  std::int32_t depth = 0;
  for (const TestState& test : state.tests) {
    if (test.hold == Hold::kNone) continue;
    depth = std::max(depth, test.depth);
    if (test.since_ms > good.time_ms) good = {.time_ms = test.since_ms, .number = test.value};
  }
  good.depth = depth;
  return good;
}

Result<NewestGood*> AlarmStage::LookUpNewest(TagId tag, AlarmBook::Source& source) {
  NewestGood& newest = book_.TryNewest(source);
  if (newest.knowledge != Knowledge::kNotLookedUp) return &newest;
  Result<std::optional<Sample>> found = history_.NewestGoodOf(tag);
  if (!found.ok()) return found.status();
  newest.knowledge = *found ? Knowledge::kThereIsOne : Knowledge::kThereIsNone;
  if (*found) newest.sample = *std::move(*found);
  return &newest;
}

// ---- changes ----

Status AlarmStage::PrepareTagChange(Turn& turn, TagId tag, StoreBatch& batch) {
  turn.AssertHeld();
  const AlarmRule* const rule = book_.FindProposal(tag);
  if (rule == nullptr) return {};
  AlarmBook::Alarm* const alarm = book_.Find(tag);
  if (alarm != nullptr && !rule->JudgesAs(alarm->rule)) {
    if (Status status = EndStanding(*alarm, batch); !status.ok()) return status;
  }
  groups_.Reserve(turn, rule->group, tag);
  book_.PrepareRule(tag);
  FinishBatch(batch);
  return {};
}

Status AlarmStage::PrepareTagRemoval(Turn& turn, TagId tag, StoreBatch& batch) {
  turn.AssertHeld();
  if (AlarmBook::Source* const source = book_.FindSource(tag); source != nullptr) {
    for (AlarmBook::Alarm* const alarm : source->alarms) {
      if (Status status = EndStanding(*alarm, batch); !status.ok()) return status;
    }
  }
  if (AlarmBook::Alarm* const alarm = book_.Find(tag); alarm != nullptr) {
    if (Status status = EndStanding(*alarm, batch); !status.ok()) return status;
    AlarmRecorder::RemoveAllOf(tag, batch);
    book_.PrepareRemoval(tag);
  }
  FinishBatch(batch);
  return {};
}

Status AlarmStage::EndStanding(AlarmBook::Alarm& alarm, StoreBatch& batch) {
  if (book_.TrackOf(alarm).state.IsNormal()) return {};
  AlarmBook::Trial& trial = book_.Try(alarm);
  const bool stands = trial.track.state.position != AlarmState::kNoAlarm;
  if (stands) {
    if (Status status = recorder_.Return(trial, clock_(), batch); !status.ok()) return status;
  }
  trial.track.state = AlarmState();
  return {};
}

Status AlarmStage::PrepareRecord(Turn& turn, TagId tag, std::int64_t time_ms, std::uint8_t*,
                                 StoreBatch&) {
  turn.AssertHeld();
  AlarmBook::Source* const source = book_.FindSource(tag);
  if (source == nullptr) return {};
  NewestGood& newest = book_.TryNewest(*source);
  const bool is_older =
      newest.knowledge == Knowledge::kThereIsOne && time_ms < newest.sample.time_ms;
  if (!is_older) newest.knowledge = Knowledge::kNotLookedUp;
  return {};
}

// ---- the batch ----

void AlarmStage::FinishBatch(StoreBatch& batch) {
  if (book_.trials().empty()) return;
  AlarmRecorder::PutStates(book_.trials(), batch);
  adds_actions_ = std::ranges::any_of(batch.rows, [](const RowChange& change) {
    return change.table == TableId::kProgress && change.row.has_value();
  });
}

void AlarmStage::Keep(Turn& turn) noexcept {
  for (const auto& changed : book_.changed()) {
    groups_.File(turn, changed->rule.group, changed->rule.tag);
  }
  for (const TagId removed : book_.removed()) groups_.Remove(turn, removed);
  book_.Keep();
  if (adds_actions_) has_new_actions_.store(true);
  const std::int64_t deadline_ms = book_.NextDeadline();
  const bool is_earlier = deadline_ms < next_deadline_ms_.exchange(deadline_ms);
  const bool is_work = adds_actions_ || is_earlier;
  Discard(turn);
  if (is_work && wake_) wake_();
}

void AlarmStage::Discard(Turn& turn) noexcept {
  turn.AssertHeld();
  book_.Discard();
  action_records_.clear();
  adds_actions_ = false;
}

}  // namespace zervane
