#pragma once

#include <functional>
#include <vector>

#include "tests/vask/memory_world.h"

namespace zervane {

// One call of an exported function, and what follows from it.
struct Attempt {
  std::function<int32()> call;
  int32 expected = ZR3_OK;        // what it answers when there is memory enough
  std::function<void()> done;     // notes what it has changed, or looks at what it answered
  std::vector<uint32> tags = {};  // whom it may concern
};

// A kind of call: prepares one whose tags, names and times nobody has used before.
struct Deed {
  const char* name;
  Attempt (*prepare)(World& world);
};

// The one about the relay, whose Redis is never there.
Attempt SetRelay(World& world);

// Every exported function that does something, but for connecting and disconnecting.
std::vector<Deed> AllDeeds();

}  // namespace zervane
