#pragma once

#include "api/words/relay.h"
#include "api/words/status.h"
#include "engine/catalogue/catalogue.h"
#include "engine/clock.h"
#include "engine/storage/store.h"
#include "engine/write/write_path.h"

namespace zervane {

// Passes current values and what becomes of alarms on to a Redis, as docs/relay.md describes. It
// follows the feed on a thread of its own: whoever writes never waits for it.
//
// Threads: any may call Configure; the others one after the other.
class Relay {
 public:
  // All outlive it.
  Relay(Store& store, WritePath& writes, const Catalogue& catalogue, Clock clock);
  ~Relay();

  // Reads the settings that are kept. ZR3_ERR_STORAGE_DAMAGED when they are none.
  Status Load();
  // Begins to relay, when the settings say so.
  void Start();
  // Ends it at once, whatever Redis does.
  void Stop() noexcept;

  // Keeps the settings and goes on with them. ZR3_ERR_INVALID_RELAY leaves those before.
  Status Configure(const RelaySettings& settings);

 private:
  Store& store_;
  WritePath& writes_;
  const Catalogue& catalogue_;
  const Clock clock_;
};

}  // namespace zervane
