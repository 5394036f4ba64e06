#include "engine/relay/relay.h"

#include <utility>

namespace zervane {

Relay::Relay(Store& store, WritePath& writes, const Catalogue& catalogue, Clock clock)
    : store_(store), writes_(writes), catalogue_(catalogue), clock_(std::move(clock)) {}

Relay::~Relay() { Stop(); }

Status Relay::Load() { return {}; }

void Relay::Start() {}

void Relay::Stop() noexcept {}

Status Relay::Configure(const RelaySettings&) { return {ZR3_ERR_NOT_SUPPORTED, {}}; }

}  // namespace zervane
