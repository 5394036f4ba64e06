#include "tests/fuzz/support.h"

// Any bytes as a chunk under a right checksum: its header, columns and compressed sections.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace zervane::storage;
  CheckChunk(Sealed(BlockKind::kChunk, AsBytes(data, size)));
  return 0;
}
