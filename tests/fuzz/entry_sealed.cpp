#include "tests/fuzz/support.h"

// Any bytes as an entry of the journal, each of whose blocks has a right checksum: their headers,
// the tags that are emptied and the records.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace zervane::storage;
  CheckEntry(SealedEntry(AsBytes(data, size)));
  return 0;
}
