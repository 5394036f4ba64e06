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

// Connections for reading, one for each thread that reads at the moment; a few are kept for the
// next. Threads: any.
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

  Result<Loan> Borrow() EXCLUDES(mutex_);

 private:
  void Return(std::unique_ptr<Connection> connection) noexcept EXCLUDES(mutex_);

  const std::filesystem::path file_;
  Mutex mutex_;
  // Has room for all that are kept from the start, so that returning one cannot fail.
  std::vector<std::unique_ptr<Connection>> idle_ GUARDED_BY(mutex_);
};

}  // namespace zervane::storage
