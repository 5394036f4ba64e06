#pragma once

#include "api/words/status.h"
#include "engine/relay/name_lookup.h"
#include "engine/relay/wake_up.h"

namespace zervane {

// Waits until the descriptor is ready for any of the events of poll(2), which it answers.
// ZR3_ERR_CONNECT_FAILED when the deadline passes first, or `interrupt` is set, before which
// nothing else counts.
Result<short> AwaitEvents(int descriptor, short events, Deadline deadline, const WakeUp& interrupt);

// Waits until the descriptor can be read from.
Status AwaitReadable(int descriptor, Deadline deadline, const WakeUp& interrupt);

}  // namespace zervane
