// Counts the allocations of the whole process, the C library's and those of operator new included.
#ifndef ZERVANE_TESTS_OS_ALLOCATION_COUNTER_H_
#define ZERVANE_TESTS_OS_ALLOCATION_COUNTER_H_

#include <cstdint>

namespace zervane::os {

struct AllocationCounts {
  std::int64_t made;      // since the process began
  std::int64_t released;  // likewise

  std::int64_t live() const { return made - released; }
};

AllocationCounts CountAllocations();

// The most bytes that the process had allocated at once since the object was made, beyond those
// that it had then. One object at a time.
class PeakMemory {
 public:
  PeakMemory();
  PeakMemory(const PeakMemory&) = delete;
  PeakMemory& operator=(const PeakMemory&) = delete;
  ~PeakMemory();

  std::int64_t bytes() const;

 private:
  std::int64_t before_;
};

}  // namespace zervane::os

#endif  // ZERVANE_TESTS_OS_ALLOCATION_COUNTER_H_
