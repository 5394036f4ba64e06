#include "engine/storage/sqlite/reader_pool.h"

#include <utility>

#include "engine/storage/sqlite/schema.h"

namespace zervane::storage {
namespace {

// More than the readers of one process usually are; each idle one keeps a cache of some 2 MB.
constexpr std::size_t kMaxIdle = 16;

}  // namespace

ReaderPool::ReaderPool(std::filesystem::path file) : file_(std::move(file)) {
  idle_.reserve(kMaxIdle);
}

Result<ReaderPool::Loan> ReaderPool::Borrow() {
  {
    const MutexLock lock(mutex_);
    if (!idle_.empty()) {
      Loan loan(this, std::move(idle_.back()));
      idle_.pop_back();
      return loan;
    }
  }
  Result<std::unique_ptr<Connection>> opened = Connection::Open(file_);
  if (!opened.ok()) return opened.status();
  if (Status status = PrepareReader(**opened); !status.ok()) return status;
  return Loan(this, *std::move(opened));
}

void ReaderPool::Return(std::unique_ptr<Connection> connection) noexcept {
  const MutexLock lock(mutex_);
  ZERVANE_ASSERT(idle_.capacity() >= kMaxIdle);
  if (idle_.size() < kMaxIdle) idle_.push_back(std::move(connection));
}

}  // namespace zervane::storage
