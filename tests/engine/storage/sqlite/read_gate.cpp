#include "tests/engine/storage/sqlite/read_gate.h"

#include <sqlite3.h>
#include <unistd.h>

#include <chrono>
#include <condition_variable>
#include <cstdlib>
#include <mutex>

namespace zervane::storage {
namespace {

constexpr std::chrono::seconds kPatience{30};  // reached only when the test fails

struct Gate {
  std::mutex mutex;
  std::condition_variable changed;
  bool is_open = true;
  int waiting = 0;
  pid_t passes = -1;
};

Gate& TheGate() {
  static Gate gate;
  return gate;
}

ssize_t ReadBehindGate(int file, void* to, std::size_t size, off64_t offset) {
  Gate& gate = TheGate();
  if (gettid() != gate.passes) {
    std::unique_lock lock(gate.mutex);
    ++gate.waiting;
    gate.changed.notify_all();
    gate.changed.wait(lock, [&] { return gate.is_open; });
    --gate.waiting;
  }
  return pread64(file, to, size, offset);
}

void SetCall(sqlite3_syscall_ptr call) {
  sqlite3_vfs* const files = sqlite3_vfs_find("unix");
  if (files == nullptr || files->xSetSystemCall(files, "pread64", call) != SQLITE_OK) std::abort();
}

}  // namespace

ReadGate::ReadGate() {
  Gate& gate = TheGate();
  const std::lock_guard lock(gate.mutex);
  gate.is_open = false;
  gate.passes = gettid();
  SetCall(reinterpret_cast<sqlite3_syscall_ptr>(ReadBehindGate));
}

ReadGate::~ReadGate() {
  Open();
  SetCall(nullptr);
}

bool ReadGate::AwaitOne() {
  Gate& gate = TheGate();
  std::unique_lock lock(gate.mutex);
  return gate.changed.wait_for(lock, kPatience, [&] { return gate.waiting > 0; });
}

void ReadGate::Open() {
  Gate& gate = TheGate();
  const std::lock_guard lock(gate.mutex);
  gate.is_open = true;
  gate.changed.notify_all();
}

}  // namespace zervane::storage
