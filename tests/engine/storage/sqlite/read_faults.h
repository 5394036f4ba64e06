#pragma once

#include <cstdint>
#include <limits>

namespace zervane::storage {

// Makes reads of database files by this process fail as a failing disk does, while the object
// lives: the system call answers an error number, and everything above it takes its usual way.
// One object at a time.
class ReadFaults {
 public:
  ReadFaults();  // nothing fails yet
  ReadFaults(const ReadFaults&) = delete;
  ReadFaults& operator=(const ReadFaults&) = delete;
  ~ReadFaults();

  // From now on the `first`-th read fails, counted from 1, and those after it up to the `last`-th.
  void Fail(int error, std::int64_t first,
            std::int64_t last = std::numeric_limits<std::int64_t>::max());
  // From now on no read fails.
  void Heal();

  // How many reads have failed since the last Fail.
  std::int64_t failed() const;
  // Waits until so many have failed; false when they have not for a minute.
  bool AwaitFailed(std::int64_t count) const;
};

}  // namespace zervane::storage
