#pragma once

#include <cstdint>

namespace zervane {

// Lets requests for memory fail: those of C++ and those that libraries make of the C library. What
// the C library asks of itself succeeds unless it is asked for, since some of its parts end the
// process otherwise.
//
//   {
//     const ShortMemory memory(3, ShortMemory::Lack::kOne);
//     status = database.AddTag(...);  // its third request for memory fails
//   }
//
// One object at a time. Under sanitizers, whose allocator must stay in place, the requests are
// those of operator new and of SQLite alone.
class ShortMemory {
 public:
  enum class Lack {
    kOne,   // the n-th request fails, those after it succeed
    kRest,  // the n-th request fails, and all after it
  };
  enum class Whose { kThisThread, kOtherThreads, kAllThreads };
  enum class Asker { kPrograms, kCLibraryToo };

  // Counts from 1.
  explicit ShortMemory(std::uint64_t nth, Lack lack = Lack::kRest, Whose whose = Whose::kThisThread,
                       Asker asker = Asker::kPrograms);
  ShortMemory(const ShortMemory&) = delete;
  ShortMemory& operator=(const ShortMemory&) = delete;
  ~ShortMemory();

  // How many requests failed since the object was made; also after its end.
  static std::uint64_t Failed();
};

}  // namespace zervane
