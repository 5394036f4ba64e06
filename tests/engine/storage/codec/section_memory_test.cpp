#include <gtest/gtest.h>

#include <cstdint>
#include <new>
#include <string>
#include <thread>

#include "engine/storage/codec/section.h"
#include "tests/engine/short_memory.h"

namespace zervane::storage {
namespace {

// Under sanitizers what the compressor asks of malloc does not fail.
#if !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__)

// Compressing is what needs one: in a thread that has none yet, whichever of its requests fails,
// those of the C library, which notes what a thread is to clean up, among them.
TEST(Section, CostsTheCallAloneWhenThereIsNoMemoryToCompressIt) {
  int failures = 0;
  for (std::uint64_t nth = 1; nth <= 12; ++nth) {
    std::thread([&] {
      ByteWriter out(4096);
      const std::string bytes = std::string(500, 'x') + std::string(500, 'y');
      try {
        const ShortMemory memory(nth, ShortMemory::Lack::kOne, ShortMemory::Whose::kThisThread,
                                 ShortMemory::Asker::kCLibraryToo);
        WriteSection(bytes, &out);
      } catch (const std::bad_alloc&) {
        ++failures;
      }
      out.Cut(0);
      WriteSection(bytes, &out);
      EXPECT_LT(out.size(), 50U);
    }).join();
  }
  EXPECT_GT(failures, 0) << "or nothing was tested";
}

#endif

}  // namespace
}  // namespace zervane::storage
