#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <utility>

#include "api/caller.h"
#include "api/operation_table.h"
#include "engine/alarm_family.h"
#include "engine/alarms/alarm_book.h"
#include "engine/alarms/alarm_groups.h"
#include "engine/alarms/alarm_stage.h"
#include "engine/alarms/alarm_tags.h"
#include "engine/alarms/alarm_worker.h"
#include "engine/catalogue/catalogue.h"
#include "engine/catalogue/catalogue_family.h"
#include "engine/catalogue/filter_settings.h"
#include "engine/clock.h"
#include "engine/filters/filter_stage.h"
#include "engine/history_family.h"
#include "engine/record_family.h"
#include "engine/storage/store.h"
#include "engine/subscription_family.h"
#include "engine/tag_changes.h"
#include "engine/write/write_path.h"

namespace zervane {

// The database in this process: the catalogue and the current values in memory, everything in a
// store. It puts the parts together, and hands an operation to the family that carries it out; the
// README of this folder tells how they meet.
//
// Threads: any may call Handle.
class Engine final {
 public:
  // By whom is done what alarms ask for when no value comes: by a thread, or whenever somebody
  // calls WorkOnAlarms, as tests do that leave nothing to chance.
  enum class AlarmWork : std::uint8_t { kByThread, kByCaller };

  // ZR3_ERR_STORAGE_DAMAGED when what the store holds breaks a rule of the database.
  static Result<std::unique_ptr<Engine>> Open(std::unique_ptr<Store> store, Clock clock,
                                              const WriteQueue::Limits& limits = {},
                                              AlarmWork alarm_work = AlarmWork::kByThread);
  ~Engine();
  Engine(const Engine&) = delete;
  Engine& operator=(const Engine&) = delete;

  // Carries an operation out. One that no family has a handler for does not compile.
  template <typename Op>
  Result<typename Op::Reply> Handle(const Caller& caller, const Op& operation) {
    if constexpr (requires { tags_.Handle(caller, operation); }) {
      return tags_.Handle(caller, operation);
    } else if constexpr (requires { tag_changes_.Handle(caller, operation); }) {
      return tag_changes_.Handle(caller, operation);
    } else if constexpr (requires { records_.Handle(caller, operation); }) {
      return records_.Handle(caller, operation);
    } else if constexpr (requires { history_.Handle(caller, operation); }) {
      return history_.Handle(caller, operation);
    } else if constexpr (requires { alarms_.Handle(caller, operation); }) {
      return alarms_.Handle(caller, operation);
    } else if constexpr (requires { subscriptions_.Handle(caller, operation); }) {
      return subscriptions_.Handle(caller, operation);
    } else {
      return HandleHere(operation);
    }
  }

  // The same into a reply that is there.
  template <typename Op>
  Status HandleInto(const Caller& caller, const Op& operation, typename Op::Reply* reply) {
    if constexpr (requires { records_.HandleInto(caller, operation, reply); }) {
      return records_.HandleInto(caller, operation, reply);
    } else {
      Result<typename Op::Reply> result = Handle(caller, operation);
      if (!result.ok()) return result.status();
      *reply = std::move(*result);
      return {};
    }
  }

  // REQUIRES that no thread does.
  Status WorkOnAlarms() { return alarm_worker_.Work(); }

  std::int64_t catalogue_version() const { return catalogue_.version(); }

  // Ends searches, stores what is still queued and closes the store. The status of queued records
  // that could not be stored, unless it was told before; else that of the store.
  Status Close();

 private:
  Engine(std::unique_ptr<Store> store, Clock clock);

  Status Start(const WriteQueue::Limits& limits, AlarmWork alarm_work);
  Status LoadAlarms(Turn& turn);
  std::optional<FilterSettings> SettingsOf(TagId id) const;
  Result<std::int64_t> HandleHere(const ReadClock&) { return clock_(); }

  const std::unique_ptr<Store> store_;
  const Clock clock_;
  AlarmBook alarm_book_;
  AlarmGroups alarm_groups_;
  AlarmTags alarm_tags_;
  Catalogue catalogue_;
  WritePath writes_;
  FilterStage filters_;
  AlarmStage alarm_stage_;
  AlarmWorker alarm_worker_;
  CatalogueFamily tags_;
  TagChanges tag_changes_;
  RecordFamily records_;
  HistoryFamily history_;
  AlarmFamily alarms_;
  SubscriptionFamily subscriptions_;
};

}  // namespace zervane
