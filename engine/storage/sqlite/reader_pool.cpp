#include "engine/storage/sqlite/reader_pool.h"

#include <utility>

#include "engine/guard.h"
#include "engine/storage/sqlite/schema.h"

namespace zervane::storage {
namespace {

// More than the readers of one process usually are; each idle one keeps a cache of some 2 MB.
constexpr std::size_t kMaxIdle = 16;

// More readers than that at a time would only wait for each other's pages.
constexpr std::size_t kMaxOnLoan = 256;

}  // namespace

ReaderPool::ReaderPool(std::filesystem::path file) : file_(std::move(file)) {
  idle_.reserve(kMaxIdle);
}

Result<ReaderPool::Loan> ReaderPool::Borrow() {
  MutexLock lock(mutex_);
  for (;;) {
    while (idle_.empty() && on_loan_ >= kMaxOnLoan) returned_.Wait(mutex_);
    ++on_loan_;
    if (!idle_.empty()) {
      Loan loan(this, std::move(idle_.back()));
      idle_.pop_back();
      return loan;
    }
    lock.Unlock();
    Result<std::unique_ptr<Connection>> opened = Guarded([&] { return Open(); });
    if (opened.ok()) return Loan(this, *std::move(opened));
    lock.Lock();
    --on_loan_;
    returned_.NotifyOne();  // who waits for a place
    if (idle_.empty() && on_loan_ == 0) return opened.status();
    // The one that comes back will do, or leaves what another one needs.
    while (idle_.empty() && on_loan_ > 0) returned_.Wait(mutex_);
  }
}

Result<std::unique_ptr<Connection>> ReaderPool::Open() const {
  Result<std::unique_ptr<Connection>> opened = Connection::Open(file_);
  if (!opened.ok()) return opened.status();
  if (Status status = PrepareReader(**opened); !status.ok()) return status;
  // The log is opened with the first read, which takes a descriptor too.
  if (Status status = (*opened)->Execute("PRAGMA schema_version"); !status.ok()) return status;
  return opened;
}

void ReaderPool::Return(std::unique_ptr<Connection> connection) noexcept {
  const MutexLock lock(mutex_);
  ZERVANE_ASSERT(idle_.capacity() >= kMaxIdle && on_loan_ > 0);
  --on_loan_;
  if (idle_.size() < kMaxIdle) {
    idle_.push_back(std::move(connection));
  } else {
    connection = nullptr;  // before another one is told, whose descriptors these may be
  }
  returned_.NotifyOne();
}

void ReaderPool::Clear() {
  const MutexLock lock(mutex_);
  ZERVANE_ASSERT(on_loan_ == 0);
  idle_.clear();
}

}  // namespace zervane::storage
