#pragma once

#include <cstddef>
#include <string>
#include <string_view>

#include "api/words/secret.h"
#include "api/words/status.h"
#include "engine/mutex.h"

namespace zervane {

// What it takes to check a password, and so to guess one.
struct PasswordCost {
  unsigned long long passes = 0;
  std::size_t memory_bytes = 0;
};
// Of people who wait for it: some tens of milliseconds, and 64 MiB.
PasswordCost InteractiveCost();

// Makes of passwords what they are kept as and checked with, by Argon2id. At most two are worked on
// at a time, so that many who log in at once take neither all processors nor all memory.
//
// Threads: any.
class Passwords {
 public:
  explicit Passwords(const PasswordCost& cost = InteractiveCost());

  // What a password is kept as, different each time. ZR3_ERR_OUT_OF_MEMORY,
  // ZR3_ERR_NOT_CONNECTED after Close.
  Result<std::string> Keep(const Secret& password) EXCLUDES(mutex_);

  // Whether it is the password that was kept so. None is where nothing was kept, or what was kept
  // is not Keep's, which takes the same time to find out. The statuses are those of Keep.
  Result<bool> Check(std::string_view kept, const Secret& password) EXCLUDES(mutex_);

  // Whether it may be what Keep has made.
  static bool IsKept(std::string_view kept);

  // Refuses all later calls, and those that wait for others to be done.
  void Close() noexcept EXCLUDES(mutex_);

 private:
  static constexpr int kAtATime = 2;

  class Place;

  const PasswordCost cost_;

  Mutex mutex_;
  CondVar change_;
  int working_ GUARDED_BY(mutex_) = 0;
  bool is_closed_ GUARDED_BY(mutex_) = false;
};

}  // namespace zervane
