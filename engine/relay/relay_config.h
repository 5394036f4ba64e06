#pragma once

#include <array>
#include <chrono>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "api/words/relay.h"
#include "api/words/status.h"
#include "engine/storage/row.h"
#include "engine/storage/store.h"

namespace zervane {

// What is relayed, each to a stream and channel of its own.
enum class RelayKind : std::uint8_t { kValue, kRaised, kEnded, kNote };
constexpr std::size_t kRelayKinds = 4;

// The relay's settings as they are meant: numbers are numbers, and what is empty has its default.
struct RelayConfig {
  std::string host;
  std::uint16_t port = 0;
  Secret password;  // empty: none is asked for
  std::chrono::milliseconds max_wait{0};
  std::string master_name;  // not empty: the host is a Sentinel
  std::array<std::string, kRelayKinds> routes;

  const std::string& RouteOf(RelayKind kind) const {
    return routes[static_cast<std::size_t>(kind)];
  }
  bool Wants(RelayKind kind) const { return !host.empty() && !RouteOf(kind).empty(); }
  bool WantsValues() const { return Wants(RelayKind::kValue); }
  bool WantsAlarms() const {
    return Wants(RelayKind::kRaised) || Wants(RelayKind::kEnded) || Wants(RelayKind::kNote);
  }
  bool IsOn() const { return WantsValues() || WantsAlarms(); }
};

// ZR3_ERR_INVALID_TEXT for a text that is not UTF-8 or has a NUL in it, ZR3_ERR_INVALID_RELAY for a
// port that is no decimal from 1 to 65535, and for another number that is none or below 1. The
// message names the setting, and never what stands in it.
Result<RelayConfig> ParseRelaySettings(const RelaySettings& settings);

// The settings as rows of the table of settings, which are as many for any settings.
std::vector<RowChange> RowsOf(const RelaySettings& settings);

// The settings that are kept; none when none ever were. ZR3_ERR_STORAGE_DAMAGED when what is kept
// are no settings of a relay.
Result<std::optional<RelaySettings>> ReadRelaySettings(Store& store);

}  // namespace zervane
