#include "engine/engine.h"

#include <utility>
#include <vector>

#include "engine/guard.h"
#include "engine/log.h"
#include "engine/write/turn.h"

namespace zervane {

Result<std::unique_ptr<Engine>> Engine::Open(std::unique_ptr<Store> store, Clock clock,
                                             const WriteQueue::Limits& limits,
                                             AlarmWork alarm_work) {
  return Guarded([&]() -> Result<std::unique_ptr<Engine>> {
    std::unique_ptr<Engine> engine(new Engine(std::move(store), std::move(clock)));
    if (Status status = engine->Start(limits, alarm_work); !status.ok()) return status;
    return engine;
  });
}

Engine::Engine(std::unique_ptr<Store> store, Clock clock)
    : store_(std::move(store)),
      clock_(std::move(clock)),
      alarm_groups_(*store_),
      alarm_tags_(alarm_book_, alarm_groups_),
      catalogue_(*store_),
      writes_(*store_, catalogue_.tags(), clock_),
      filters_(*store_, catalogue_.tags(), writes_.current_values(),
               [this](TagId id) { return SettingsOf(id); }),
      alarm_stage_(*store_, {*store_, catalogue_.tags(), writes_.current_values()}, alarm_book_,
                   alarm_groups_, clock_),
      alarm_worker_(alarm_stage_, writes_, *store_, catalogue_.tags(), clock_),
      tags_(catalogue_),
      tag_changes_(catalogue_, writes_, clock_),
      records_(*store_, catalogue_.tags(), writes_),
      history_(*store_, catalogue_.tags(), writes_.current_values(), clock_),
      alarms_(*store_, catalogue_, writes_, alarm_groups_, clock_),
      subscriptions_(catalogue_.tags(), writes_) {}

// The threads use the other parts.
Engine::~Engine() {
  alarm_worker_.Stop();
  (void)writes_.Close();
}

std::optional<FilterSettings> Engine::SettingsOf(TagId id) const {
  const Result<Tag> tag = catalogue_.Find(id);
  if (!tag.ok()) return std::nullopt;
  return FilterSettingsOf(*tag);
}

Status Engine::Start(const WriteQueue::Limits& limits, AlarmWork alarm_work) {
  catalogue_.Register(ZR3_TAG_CLASS_ALARM, alarm_tags_);
  if (Status status = catalogue_.Load(); !status.ok()) return status;
  writes_.AddStage(filters_);
  writes_.AddStage(alarm_stage_);
  Turn turn = Turn::Issue();
  if (Status status = LoadAlarms(turn); !status.ok()) return status;
  if (Status status = writes_.Start(std::move(turn), limits); !status.ok()) return status;
  // A hold whose time passed while the database was shut is complete before anybody asks.
  if (Status status = alarm_worker_.CompleteHolds(); !status.ok()) {
    LogError("holds that are due are completed later: {}", status.message());
  }
  if (alarm_work == AlarmWork::kByThread) alarm_worker_.Start();
  return {};
}

Status Engine::LoadAlarms(Turn& turn) {
  if (Status status = alarm_groups_.Load(turn); !status.ok()) return status;
  Result<std::vector<AlarmRule>> rules =
      RulesOf(*catalogue_.image(), [this](TagId id) { return catalogue_.LinksOf(id); });
  if (!rules.ok()) return rules.status();
  return alarm_stage_.Load(turn, *std::move(rules));
}

Status Engine::Close() {
  tags_.Stop();
  alarm_worker_.Stop();
  Status lost = writes_.Close();
  Status closed = store_->Close();
  return lost.ok() ? closed : lost;
}

}  // namespace zervane
