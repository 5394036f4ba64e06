// Watches the heap on behalf of one library of the process: which blocks it asked for, which of
// them are left, and which request is to fail. Preloaded into a process, it stands before malloc.
//
// A request belongs to the library whose code the call returns to; a release to whoever got the
// block, wherever it is called from.
#ifndef ZERVANE_TESTS_RECORDER_ALLOCATION_WATCH_H
#define ZERVANE_TESTS_RECORDER_ALLOCATION_WATCH_H

#include <cstddef>
#include <cstdint>

namespace zervane::probe {

// What an uncleared block of the watched library is filled with, so that reading it shows.
inline constexpr unsigned char kFreshByte = 0xA5;

// What a block of the watched library is filled with when it is released.
inline constexpr unsigned char kStaleByte = 0x5A;

// Sizes of blocks, in the order in which they were asked for.
struct Sizes {
  static constexpr size_t kCapacity = 4096;
  size_t count = 0;  // may pass kCapacity; the sizes beyond it are lost
  size_t bytes[kCapacity];
};

// Watches the library whose file name ends so; false when the process has none.
bool WatchLibrary(const char* name_end);

// Forgets what was asked for and what is left (which stays allocated), and lets nothing fail.
void ResetWatch();

// Lets the ordinal-th request from now on fail; 1 is the next.
void FailRequest(int ordinal);

// What was asked for since the last reset, failed requests included.
void CopyRequested(Sizes* sizes);

// What of it is left.
void CopyOutstanding(Sizes* sizes);

// The index-th block that is left, counted as above from 0; null when there are fewer.
const void* OutstandingBlock(size_t index);

}  // namespace zervane::probe

// Where an address stands within the outstanding block that it belongs to, or -1 when it belongs to
// none. For other libraries of the process: weak, so that they load without the probe.
extern "C" __attribute__((weak)) int64_t zervane_offset_in_block(const void* address);

#endif
