#pragma once

namespace zervane::storage {

// Lets requests for memory fail, of all that this program and SQLite make: linking this replaces
// their allocators. Threads: any; one fault at a time.
class MemoryFault {
 public:
  // The n-th request from now on fails, counted from 1.
  explicit MemoryFault(long n) : MemoryFault(n, n) {}
  // Those from the first to the last fail.
  MemoryFault(long first, long last);
  MemoryFault(const MemoryFault&) = delete;
  MemoryFault& operator=(const MemoryFault&) = delete;
  ~MemoryFault() { End(); }

  // From now on none fails. Whether one has.
  bool End();
};

}  // namespace zervane::storage
