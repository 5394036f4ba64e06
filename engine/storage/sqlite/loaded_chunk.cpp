#include "engine/storage/sqlite/loaded_chunk.h"

#include <atomic>
#include <memory>
#include <utility>

#include "engine/storage/codec/decoded.h"
#include "os/thread_owned.h"

namespace zervane::storage {
namespace {

// Ten times what a full chunk of numbers takes; one of long texts is not worth the memory.
constexpr std::size_t kMostBytesKept = 256 << 10;

std::size_t BytesOf(const SampleColumns& records) {
  constexpr std::size_t kBytesOfOne =
      sizeof(std::int64_t) + sizeof(std::uint64_t) + sizeof(std::uint16_t) + sizeof(TagType);
  return records.capacity() * kBytesOfOne + records.texts().size();
}

}  // namespace

std::uint64_t NumberOfOpening() {
  static std::atomic<std::uint64_t> last = 0;
  return ++last;
}

LoadedChunk::LoadedChunk(std::uint64_t opening)
    : opening_(opening), of_thread_([]() -> Kept& {
        static os::ThreadOwned<Kept> kept;
        return kept.OfThisThread([] { return std::make_unique<Kept>(); });
      }()) {
  std::swap(kept_, of_thread_);
}

LoadedChunk::~LoadedChunk() {
  if (BytesOf(kept_.records) <= kMostBytesKept) std::swap(kept_, of_thread_);
}

bool LoadedChunk::Has(const ChunkExtent& chunk) const {
  return kept_.opening == opening_ && kept_.chunk == chunk;
}

Status LoadedChunk::Load(Connection& connection, const ChunkExtent& chunk,
                         const TextDecoder& decoder) {
  if (Has(chunk)) return {};
  kept_.opening = 0;  // until it is there
  Result<Decoded<SampleColumns>> records =
      LoadChunk(connection, chunk, decoder, std::move(kept_.records));
  if (!records.ok()) return records.status();
  if (!records->ok()) return records->damage().status();
  kept_ = {.opening = opening_, .chunk = chunk, .records = **std::move(records)};
  return {};
}

}  // namespace zervane::storage
