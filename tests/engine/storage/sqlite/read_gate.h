#pragma once

namespace zervane::storage {

// While one lives, a thread that reads a file by SQLite, but for the one that made it, stops before
// it does until the gate is opened.
class ReadGate {
 public:
  ReadGate();
  ReadGate(const ReadGate&) = delete;
  ReadGate& operator=(const ReadGate&) = delete;
  ~ReadGate();

  // Waits until a thread stands before the gate. False when none comes in time.
  static bool AwaitOne();
  static void Open();
};

}  // namespace zervane::storage
