#include <map>

#include "engine/storage/codec/batch_codec.h"
#include "tests/fuzz/support.h"

namespace zervane::storage {
namespace {

// As EncodeChunk wants them: ascending, one record for a time.
SampleColumns Ascending(const SampleColumns& samples, TagType type) {
  std::map<std::int64_t, std::size_t> by_time;
  for (std::size_t at = 0; at < samples.size(); ++at) {
    if (samples.types()[at] == type) by_time.emplace(samples.times()[at], at);
  }
  SampleColumns ascending;
  for (const auto& [time_ms, at] : by_time) ascending.AddFrom(samples, at);
  return ascending;
}

}  // namespace
}  // namespace zervane::storage

// Any bytes as a batch, whose records then come back from a chunk for each type: the encoders of
// columns meet values that nobody thought of.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using namespace zervane;
  using namespace zervane::storage;
  const auto batch = DecodeBatch(Sealed(BlockKind::kBatch, AsBytes(data, size)), DecodeSomeTexts);
  if (!batch.ok()) return 0;
  for (int type = ZR3_TAG_TYPE_MIN; type <= ZR3_TAG_TYPE_MAX; ++type) {
    const SampleColumns samples = Ascending(batch->samples, static_cast<TagType>(type));
    if (!samples.empty()) CheckRoundTrip(samples);
  }
  return 0;
}
