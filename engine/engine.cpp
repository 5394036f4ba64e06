#include "engine/engine.h"

#include "engine/guard.h"
#include "engine/write/turn.h"

namespace zervane {

Result<std::unique_ptr<Engine>> Engine::Open(std::unique_ptr<Store> store, Clock clock,
                                             const WriteQueue::Limits& limits) {
  return Guarded([&]() -> Result<std::unique_ptr<Engine>> {
    std::unique_ptr<Engine> engine(new Engine(std::move(store), std::move(clock)));
    if (Status status = engine->Start(limits); !status.ok()) return status;
    return engine;
  });
}

Engine::Engine(std::unique_ptr<Store> store, Clock clock)
    : store_(std::move(store)),
      clock_(std::move(clock)),
      catalogue_(*store_),
      writes_(*store_, catalogue_.tags(), clock_),
      filters_(*store_, catalogue_.tags(), writes_.current_values(),
               [this](TagId id) { return SettingsOf(id); }),
      tags_(catalogue_),
      tag_changes_(catalogue_, writes_, clock_),
      records_(*store_, catalogue_.tags(), writes_, [this](TagId id) { return ClassOf(id); }),
      history_(*store_, catalogue_.tags(), writes_.current_values(), clock_),
      alarm_groups_(*store_),
      alarms_(*store_, catalogue_, writes_, alarm_groups_, clock_),
      subscriptions_(catalogue_.tags(), writes_) {}

// The queue's thread uses the other parts.
Engine::~Engine() { (void)writes_.Close(); }

std::optional<FilterSettings> Engine::SettingsOf(TagId id) const {
  const Result<Tag> tag = catalogue_.Find(id);
  if (!tag.ok()) return std::nullopt;
  return FilterSettingsOf(*tag);
}

std::int32_t Engine::ClassOf(TagId id) const {
  const Result<Tag> tag = catalogue_.Find(id);
  return tag.ok() ? tag->tag_class : std::int32_t{ZR3_TAG_CLASS_BASIC};
}

Status Engine::Start(const WriteQueue::Limits& limits) {
  if (Status status = catalogue_.Load(); !status.ok()) return status;
  writes_.AddStage(filters_);
  Turn turn = Turn::Issue();
  if (Status status = alarm_groups_.Load(turn); !status.ok()) return status;
  return writes_.Start(std::move(turn), limits);
}

Status Engine::Close() {
  tags_.Stop();
  Status lost = writes_.Close();
  Status closed = store_->Close();
  return lost.ok() ? closed : lost;
}

}  // namespace zervane
