#pragma once

#include <cstdint>
#include <functional>

namespace zervane {

// The database's clock, in milliseconds since 1970-01-01 UTC. Handed in, so that tests set it.
using Clock = std::function<std::int64_t()>;
Clock SystemClock();

}  // namespace zervane
