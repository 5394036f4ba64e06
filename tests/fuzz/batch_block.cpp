#include "tests/fuzz/support.h"

// Any bytes as a batch.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace zervane::storage;
  CheckBatch(AsBytes(data, size));
  return 0;
}
