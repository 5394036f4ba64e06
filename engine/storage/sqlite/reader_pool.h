#pragma once

#include <cstddef>
#include <filesystem>
#include <memory>
#include <utility>
#include <vector>

#include "api/words/status.h"
#include "engine/assert.h"
#include "engine/mutex.h"
#include "engine/storage/sqlite/sqlite.h"
#include "engine/thread_annotations.h"

namespace zervane::storage {

// Connections for reading, one for each thread that reads at the moment, up to a limit; a few are
// kept for the next. Where there are no more, or the system has no descriptors left for another,
// who asks waits until one comes back. Threads: any; a thread has one at a time.
class ReaderPool {
 public:
  explicit ReaderPool(std::filesystem::path file);

  // A connection on loan; it goes back with the object, which the pool outlives.
  class Loan {
   public:
    Loan(ReaderPool* pool, std::unique_ptr<Connection> connection)
        : pool_(pool), connection_(std::move(connection)) {
      ZERVANE_ASSERT(pool_ != nullptr && connection_ != nullptr);
    }
    Loan(Loan&&) = default;
    Loan& operator=(Loan&&) = delete;
    ~Loan() {
      if (connection_ != nullptr) pool_->Return(std::move(connection_));
    }

    Connection& operator*() const {
      ZERVANE_ASSERT(connection_ != nullptr);  // moved from
      return *connection_;
    }

   private:
    ReaderPool* pool_;
    std::unique_ptr<Connection> connection_;
  };

  // A failure only when no connection is on loan and none can be opened.
  Result<Loan> Borrow() EXCLUDES(mutex_);

  // Closes those that are kept. None is on loan.
  void Clear() EXCLUDES(mutex_);

 private:
  Result<std::unique_ptr<Connection>> Open() const;
  void Return(std::unique_ptr<Connection> connection) noexcept EXCLUDES(mutex_);

  const std::filesystem::path file_;
  Mutex mutex_;
  CondVar returned_;
  std::size_t on_loan_ GUARDED_BY(mutex_) = 0;  // those that are being opened, too
  // Has room for all that are kept from the start, so that returning one cannot fail.
  std::vector<std::unique_ptr<Connection>> idle_ GUARDED_BY(mutex_);
};

}  // namespace zervane::storage
