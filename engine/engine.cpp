#include "engine/engine.h"

#include <utility>
#include <vector>

#include "engine/guard.h"
#include "engine/log.h"
#include "engine/write/turn.h"

namespace zervane {

Result<std::unique_ptr<Engine>> Engine::Open(std::unique_ptr<Store> store, Clock clock,
                                             const WriteQueue::Limits& limits, OwnWork own_work) {
  return Guarded([&]() -> Result<std::unique_ptr<Engine>> {
    std::unique_ptr<Engine> engine(new Engine(std::move(store), std::move(clock)));
    if (Status status = engine->Start(limits, own_work); !status.ok()) return status;
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
      calculations_(*store_, writes_, catalogue_, clock_),
      statistics_tags_(*store_, writes_, catalogue_, clock_),
      security_(*store_, writes_),
      relay_(*store_, writes_, catalogue_),
      tags_(catalogue_),
      tag_changes_(catalogue_, writes_, clock_),
      records_(*store_, catalogue_.tags(), writes_),
      history_(*store_, catalogue_.tags(), writes_.current_values(), clock_),
      alarms_(*store_, catalogue_, writes_, alarm_groups_, clock_),
      subscriptions_(catalogue_.tags(), writes_),
      security_family_(security_, subscriptions_),
      relay_family_(relay_) {}

// The threads use the other parts.
Engine::~Engine() {
  StopThreads();
  (void)writes_.Close();
}

std::optional<FilterSettings> Engine::SettingsOf(TagId id) const {
  const Result<Tag> tag = catalogue_.Find(id);
  if (!tag.ok()) return std::nullopt;
  return FilterSettingsOf(*tag);
}

Status Engine::Start(const WriteQueue::Limits& limits, OwnWork own_work) {
  catalogue_.Register(ZR3_TAG_CLASS_ALARM, alarm_tags_);
  catalogue_.Register(ZR3_TAG_CLASS_CALC, calculations_.tag_class());
  catalogue_.Register(ZR3_TAG_CLASS_STATS, statistics_tags_.tag_class());
  if (Status status = catalogue_.Load(); !status.ok()) return status;
  if (Status status = security_.Load(); !status.ok()) return status;
  if (Status status = relay_.Load(); !status.ok()) return status;
  writes_.AddStage(filters_);
  writes_.AddStage(alarm_stage_);
  writes_.AddStage(calculations_.stage());
  writes_.AddStage(statistics_tags_.stage());
  Turn turn = Turn::Issue();
  if (Status status = Load(turn); !status.ok()) return status;
  if (Status status = writes_.Start(std::move(turn), limits); !status.ok()) return status;
  const bool by_threads = own_work == OwnWork::kByThreads;
  if (by_threads) relay_.Start();  // first, for it is to hear what the others do
  // A hold whose time passed while the database was shut is complete before anybody asks.
  if (Status status = alarm_worker_.CompleteHolds(); !status.ok()) {
    LogError("holds that are due are completed later: {}", status.message());
  }
  if (by_threads) alarm_worker_.Start();
  calculations_.Start(by_threads);
  statistics_tags_.Start(by_threads);
  return {};
}

Status Engine::Load(Turn& turn) {
  if (Status status = LoadAlarms(turn); !status.ok()) return status;
  if (Status status = calculations_.Load(turn); !status.ok()) return status;
  return statistics_tags_.Load(turn);
}

void Engine::StopThreads() noexcept {
  relay_.Stop();
  statistics_tags_.Stop();
  calculations_.Stop();
  alarm_worker_.Stop();
}

Status Engine::Work() {
  if (Status status = alarm_worker_.Work(); !status.ok()) return status;
  if (Status status = statistics_tags_.Work(); !status.ok()) return status;
  if (Status status = calculations_.Work(); !status.ok()) return status;
  return alarm_worker_.Work();
}

Status Engine::LoadAlarms(Turn& turn) {
  if (Status status = alarm_groups_.Load(turn); !status.ok()) return status;
  Result<std::vector<AlarmRule>> rules =
      RulesOf(*catalogue_.image(), [this](TagId id) { return catalogue_.LinksOf(id); });
  if (!rules.ok()) return rules.status();
  return alarm_stage_.Load(turn, *std::move(rules));
}

Status Engine::Close() {
  security_.Close();
  tags_.Stop();
  StopThreads();
  Status lost = writes_.Close();
  Status closed = store_->Close();
  return lost.ok() ? closed : lost;
}

}  // namespace zervane
