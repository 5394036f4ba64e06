#include <algorithm>
#include <array>
#include <vector>

#include "engine/storage/codec/batch_codec.h"
#include "tests/fuzz/support.h"

namespace zervane::storage {
namespace {

// As EncodeChunk wants them: ascending, one record for a time.
void SortByTime(std::vector<Sample>* records) {
  std::ranges::stable_sort(*records, {}, &Sample::time_ms);
  const auto same_time = [](const Sample& a, const Sample& b) { return a.time_ms == b.time_ms; };
  records->erase(std::unique(records->begin(), records->end(), same_time), records->end());
}

}  // namespace
}  // namespace zervane::storage

// Any bytes as a batch, whose records then come back from a chunk for each type: the encoders of
// columns meet values that nobody thought of.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace zervane;
  using namespace zervane::storage;
  const auto batch = DecodeBatch(Sealed(BlockKind::kBatch, AsBytes(data, size)));
  if (!batch.ok()) return 0;
  std::array<std::vector<Sample>, ZR3_TAG_TYPE_MAX + 1> by_type;
  for (const AcceptedSample& record : *batch) {
    by_type[static_cast<std::size_t>(record.sample.type)].push_back(record.sample);
  }
  for (std::vector<Sample>& records : by_type) {
    SortByTime(&records);
    if (!records.empty()) CheckRoundTrip(records);
  }
  return 0;
}
