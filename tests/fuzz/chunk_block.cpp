#include "tests/fuzz/support.h"

// Any bytes as a chunk.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace zervane::storage;
  CheckChunk(AsBytes(data, size));
  return 0;
}
