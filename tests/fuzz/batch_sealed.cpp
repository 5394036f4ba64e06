#include "tests/fuzz/support.h"

// Any bytes as a batch under a right checksum: its header and records.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace zervane::storage;
  CheckBatch(Sealed(BlockKind::kBatch, AsBytes(data, size)));
  return 0;
}
