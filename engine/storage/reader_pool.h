#pragma once

#include <cstddef>
#include <filesystem>
#include <memory>
#include <mutex>
#include <vector>

#include "engine/status.h"
#include "engine/storage/sqlite.h"

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
        : pool_(pool), connection_(std::move(connection)) {}
    Loan(Loan&&) = default;
    Loan& operator=(Loan&&) = delete;
    ~Loan() {
      if (connection_ != nullptr) pool_->Return(std::move(connection_));
    }

    Connection& operator*() const { return *connection_; }

   private:
    ReaderPool* pool_;
    std::unique_ptr<Connection> connection_;
  };

  Result<Loan> Borrow();

 private:
  void Return(std::unique_ptr<Connection> connection) noexcept;

  const std::filesystem::path file_;
  std::mutex mutex_;
  std::vector<std::unique_ptr<Connection>> idle_;  // guarded by mutex_; never grows its allocation
};

}  // namespace zervane::storage
