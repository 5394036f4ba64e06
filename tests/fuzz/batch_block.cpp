#include "tests/fuzz/support.h"

// Any bytes as a batch.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace zervane::storage;  // NOLINT(google-build-using-namespace)
  CheckBatch(AsBytes(data, size));
  return 0;
}
