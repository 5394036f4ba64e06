// Counts what native methods allocate. The suite is linked with malloc, calloc, realloc and free
// wrapped, so the probe sees every call that the bridge's objects make and none of the C++ library.
#ifndef ZERVANE_TESTS_BRIDGE_ALLOCATION_PROBE_H
#define ZERVANE_TESTS_BRIDGE_ALLOCATION_PROBE_H

#include <cstddef>
#include <map>
#include <optional>
#include <vector>

namespace zervane::bridge_test {

// What a new block is filled with, so that memory the bridge does not clear shows.
inline constexpr unsigned char kFreshByte = 0xA5;

class AllocationProbe {
 public:
  // Starts counting for one native call; Disarm ends it.
  void Arm();
  void Disarm() { armed_ = false; }
  bool armed() const { return armed_; }

  // Makes the nth allocation (from 1) of the next call return null.
  void FailNth(int n) { fail_nth_ = n; }

  // Allocations of the last call, those made to fail included.
  int count() const { return count_; }

  // Sizes of the blocks of the last call that it did not free, in the order of allocation.
  std::vector<size_t> Left() const;

  // The size of the live block at that address.
  std::optional<size_t> SizeAt(const void* address) const;

  // Frees of the last call whose block no native call had allocated.
  int foreign_frees() const { return foreign_frees_; }

  // Frees every block that is left and forgets everything.
  void Reset();

  void* Allocate(size_t size);
  void Free(void* block);

 private:
  struct Block {
    size_t size;
    int call;
    int number;
  };

  bool armed_ = false;
  int call_ = 0;
  int count_ = 0;
  int fail_nth_ = 0;
  int foreign_frees_ = 0;
  std::map<const void*, Block> live_;
};

AllocationProbe& Probe();

}  // namespace zervane::bridge_test

#endif
