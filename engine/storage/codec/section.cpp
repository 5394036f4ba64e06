#include "engine/storage/codec/section.h"

#include <zstd.h>

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <memory>
#include <new>

#include "os/thread_owned.h"

namespace zervane::storage {
namespace {

// A section opens with a varint: one of these marks, or the size of a frame, which is never so
// small.
constexpr std::uint64_t kAsItIs = 0;
constexpr std::uint64_t kRepeated = 1;
constexpr std::uint64_t kMinFrameBytes = 2;

// Fewer bytes than this gain nothing: a frame opens with 9 bytes, a code takes some 10 more.
constexpr std::size_t kMinCompressedBytes = 64;

// Deeper searches gain nothing on columns that are differences already, and cost twice as much.
constexpr int kCompressionLevel = 1;

// What a context allocates costs more to make than a section does to compress, so each thread keeps
// its own, once there was memory for it.
template <typename Context, Context* (*kMake)(), std::size_t (*kFree)(Context*)>
class ContextOfThread {
 public:
  static Context* Get() {
    static os::ThreadOwned<ContextOfThread> contexts;
    return contexts.OfThisThread([] { return std::make_unique<ContextOfThread>(); }).context_;
  }

  ContextOfThread() : context_(kMake()) {
    if (context_ == nullptr) throw std::bad_alloc();
  }
  ContextOfThread(const ContextOfThread&) = delete;
  ContextOfThread& operator=(const ContextOfThread&) = delete;
  ~ContextOfThread() { kFree(context_); }

 private:
  Context* const context_;
};
using Compressor = ContextOfThread<ZSTD_CCtx, ZSTD_createCCtx, ZSTD_freeCCtx>;
using Decompressor = ContextOfThread<ZSTD_DCtx, ZSTD_createDCtx, ZSTD_freeDCtx>;

bool IsRepeated(std::string_view bytes) {
  return bytes.size() > 1 && std::memcmp(bytes.data(), bytes.data() + 1, bytes.size() - 1) == 0;
}

// False, with nothing written, unless a frame is shorter.
bool WriteFrame(std::string_view bytes, ByteWriter* out) {
  if (bytes.size() < kMinCompressedBytes) return false;
  const std::size_t room = ZSTD_compressBound(bytes.size());
  char* const mark = out->Room(kMaxVarintBytes + room);
  char* const frame = mark + kMaxVarintBytes;
  const std::size_t size = ZSTD_compressCCtx(Compressor::Get(), frame, room, bytes.data(),
                                             bytes.size(), kCompressionLevel);
  if (ZSTD_isError(size) != 0 || size + kMaxVarintBytes >= bytes.size()) return false;
  char* const end = PutVarint(mark, size);
  std::memmove(end, frame, size);
  out->Advance(end + size);
  return true;
}

}  // namespace

void WriteSection(std::string_view bytes, ByteWriter* out) {
  if (IsRepeated(bytes)) {
    out->Varint(kRepeated);
    out->Bytes(bytes.substr(0, 1));
  } else if (!WriteFrame(bytes, out)) {
    out->Varint(kAsItIs);
    out->Bytes(bytes);
  }
}

bool ReadSection(ByteReader* in, std::span<char> bytes) {
  const std::uint64_t mark = in->Varint();
  if (mark >= kMinFrameBytes) return Decompress(in->Bytes(mark), bytes);
  const std::string_view stored = in->Bytes(mark == kRepeated ? 1 : bytes.size());
  if (!in->ok()) return false;
  if (mark == kRepeated) {
    std::fill(bytes.begin(), bytes.end(), stored.front());
  } else {
    std::copy(stored.begin(), stored.end(), bytes.begin());
  }
  return true;
}

bool Decompress(std::string_view frame, std::span<char> bytes) {
  return ZSTD_decompressDCtx(Decompressor::Get(), bytes.data(), bytes.size(), frame.data(),
                             frame.size()) == bytes.size();
}

}  // namespace zervane::storage
