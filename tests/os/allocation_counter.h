// Counts the allocations of the whole process, the C library's and those of operator new included.
#ifndef ZERVANE_TESTS_OS_ALLOCATION_COUNTER_H_
#define ZERVANE_TESTS_OS_ALLOCATION_COUNTER_H_

namespace zervane::os {

struct AllocationCounts {
  long made;      // since the process began
  long released;  // likewise

  long live() const { return made - released; }
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

  long bytes() const;

 private:
  long before_;
};

}  // namespace zervane::os

#endif  // ZERVANE_TESTS_OS_ALLOCATION_COUNTER_H_
