#pragma once

namespace zervane::storage {

// Lets syncs fail: of this program, whoever asks for them.
class SyncFaults {
 public:
  SyncFaults() = default;
  SyncFaults(const SyncFaults&) = delete;
  SyncFaults& operator=(const SyncFaults&) = delete;
  ~SyncFaults() { Heal(); }

  // All fail from now on (EIO).
  static void Fail();
  // Those of all threads but this one.
  static void FailElsewhere();
  static void Heal();

  // How many failed since Fail.
  static int failed();
};

}  // namespace zervane::storage
