#include "engine/relay/relay.h"

#include <iterator>
#include <optional>
#include <utility>
#include <vector>

#include "engine/guard.h"
#include "engine/log.h"

namespace zervane {
namespace {

RelayQueue::Wanted WantedBy(const RelayConfig& config) {
  return {config.Wants(RelayKind::kValue), config.Wants(RelayKind::kRaised),
          config.Wants(RelayKind::kEnded), config.Wants(RelayKind::kNote)};
}

}  // namespace

Relay::Relay(Store& store, WritePath& writes, const Catalogue& catalogue,
             RelaySender::Surroundings surroundings)
    : store_(store),
      writes_(writes),
      catalogue_(catalogue),
      surroundings_(std::move(surroundings)) {
  queue_.SetWanted({});
}

Relay::~Relay() { Stop(); }

Status Relay::Load() {
  const Result<std::optional<RelaySettings>> settings = ReadRelaySettings(store_);
  Status status = settings.status();
  if (settings.ok() && *settings) {
    Result<RelayConfig> config = ParseRelaySettings(**settings);
    if (config.ok()) {
      const MutexLock lock(mutex_);
      config_ = std::make_shared<RelayConfig>(*std::move(config));
    }
    status = config.status();
  }
  switch (status.code()) {
    case ZR3_ERR_STORAGE_DAMAGED:
    case ZR3_ERR_INVALID_RELAY:
    case ZR3_ERR_INVALID_TEXT:
      LogError("the relay stays off until it is set again, for what is kept of it is damaged: {}",
               status.message());
      return {};
    default:
      return status;
  }
}

void Relay::Start() {
  Config config;
  {
    const MutexLock lock(mutex_);
    is_started_ = true;
    config = config_;
  }
  if (config == nullptr || !config->IsOn()) return;
  Threads added;
  const Status status = Guarded([&] { return Prepare(*config, added); });
  if (!status.ok()) {
    LogError("the relay stays off until it is set again: {}", status.message());
    return;
  }
  (void)Adopt(std::move(config), std::move(added));
}

void Relay::Stop() noexcept {
  Threads stopped;
  {
    const MutexLock lock(mutex_);
    is_started_ = false;
    std::swap(stopped, threads_);
  }
}

bool Relay::is_started() const {
  const MutexLock lock(mutex_);
  return is_started_;
}

// In a turn, so that two who set it at once do so one after the other.
Status Relay::Configure(const RelaySettings& settings) {
  Result<RelayConfig> parsed = ParseRelaySettings(settings);
  if (!parsed.ok()) return parsed.status();
  Config config = std::make_shared<const RelayConfig>(*std::move(parsed));
  Threads added;
  Threads unneeded;
  const auto plan = [&](Turn&, StoreBatch& batch) -> Status {
    std::vector<RowChange> rows = RowsOf(settings);
    std::move(rows.begin(), rows.end(), std::back_inserter(batch.rows));
    return is_started() ? Guarded([&] { return Prepare(*config, added); }) : Status();
  };
  return writes_.Change(plan,
                        [&](Turn&) { unneeded = Adopt(std::move(config), std::move(added)); });
}

Status Relay::Prepare(const RelayConfig& config, Threads& added) {
  bool has_sender = false;
  bool has_values = false;
  bool has_alarms = false;
  {
    const MutexLock lock(mutex_);
    has_sender = threads_.sender != nullptr;
    has_values = threads_.values != nullptr;
    has_alarms = threads_.alarms != nullptr;
  }
  if (config.IsOn() && !has_sender) {
    added.sender =
        std::make_unique<RelaySender>(queue_, catalogue_, writes_.current_values(), surroundings_);
  }
  if (config.WantsValues() && !has_values) {
    auto values = RelayIntake::Open(RelayIntake::What::kValues, writes_.feed(), catalogue_, queue_);
    if (!values.ok()) return values.status();
    added.values = *std::move(values);
  }
  if (config.WantsAlarms() && !has_alarms) {
    auto alarms = RelayIntake::Open(RelayIntake::What::kAlarms, writes_.feed(), catalogue_, queue_);
    if (!alarms.ok()) return alarms.status();
    added.alarms = *std::move(alarms);
  }
  return {};
}

Relay::Threads Relay::Adopt(Config config, Threads added) noexcept {
  const MutexLock lock(mutex_);
  config_ = std::move(config);
  if (!is_started_) return added;
  queue_.SetWanted(WantedBy(*config_));
  Threads unneeded;
  if (added.sender != nullptr) threads_.sender = std::move(added.sender);
  if (added.values != nullptr) threads_.values = std::move(added.values);
  if (added.alarms != nullptr) threads_.alarms = std::move(added.alarms);
  if (!config_->IsOn()) unneeded.sender = std::move(threads_.sender);
  if (!config_->WantsValues()) unneeded.values = std::move(threads_.values);
  if (!config_->WantsAlarms()) unneeded.alarms = std::move(threads_.alarms);
  if (threads_.sender != nullptr) threads_.sender->Use(config_);
  return unneeded;
}

}  // namespace zervane
