#pragma once

#include <memory>

#include "api/words/status.h"
#include "engine/relay/name_lookup.h"
#include "engine/relay/redis_connection.h"
#include "engine/relay/relay_config.h"
#include "engine/relay/wake_up.h"

namespace zervane {

// A connection to the Redis of the settings, ready to be written to: with a master's name, to the
// one that the Sentinel says is the master, and that says so itself. The password goes to the one
// that is written to, and to no Sentinel. ZR3_ERR_CONNECT_FAILED, with what is wrong.
Result<std::unique_ptr<RedisConnection>> OpenRedis(const RelayConfig& config, NameLookup& names,
                                                   const WakeUp& interrupt);

}  // namespace zervane
