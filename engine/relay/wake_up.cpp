#include "engine/relay/wake_up.h"

#include <sys/eventfd.h>
#include <unistd.h>

#include <cerrno>
#include <system_error>

namespace zervane {
namespace {

int MakeDescriptor() {
  const int descriptor = eventfd(0, EFD_NONBLOCK | EFD_CLOEXEC);
  if (descriptor < 0) throw std::system_error(errno, std::generic_category(), "eventfd");
  return descriptor;
}

}  // namespace

WakeUp::WakeUp() : descriptor_(MakeDescriptor()) {}

WakeUp::~WakeUp() { close(descriptor_); }

// A write fails only when the descriptor is readable anyway. Who finds it set need not set it: the
// one who clears it looks at what it is about only after that.
void WakeUp::Set() noexcept {
  if (is_set()) return;
  const MutexLock lock(mutex_);
  if (!is_set_.exchange(true)) (void)eventfd_write(descriptor_, 1);
}

void WakeUp::Clear() noexcept {
  const MutexLock lock(mutex_);
  eventfd_t count = 0;
  (void)eventfd_read(descriptor_, &count);
  is_set_.store(false);
}

}  // namespace zervane
