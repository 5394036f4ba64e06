#pragma once

#include <algorithm>
#include <memory>
#include <utility>

#include "engine/storage/sqlite/fair_mutex.h"
#include "engine/storage/sqlite/sqlite.h"
#include "engine/thread_annotations.h"

namespace zervane::storage {

// The connection that changes the file. The thread that commits and the one that writes chunks use
// it in turn; each holds the mutex for as long as its transaction takes.
struct Writer {
  // From `max_log_pages` on SQLite's log is long.
  Writer(std::unique_ptr<Connection> writing, int max_log_pages)
      : connection(std::move(writing)), max_log_pages_(max_log_pages) {}

  // Whether the last commit left the log so long that it should be folded. True once for each of
  // the steps by which it grows further, since beside a reader it cannot start over, and to try
  // again after every commit would hold up all of them.
  bool IsLogDue() REQUIRES(mutex) {
    const int pages = connection->log_pages();
    const bool has_started_over = pages < last_pages_;
    last_pages_ = pages;
    if (has_started_over) due_pages_ = max_log_pages_;
    if (pages < due_pages_) return false;
    due_pages_ = pages + std::max(1, max_log_pages_ / 64);
    return true;
  }

  FairMutex mutex;
  std::unique_ptr<Connection> connection GUARDED_BY(mutex) PT_GUARDED_BY(mutex);

 private:
  const int max_log_pages_;
  int last_pages_ GUARDED_BY(mutex) = 0;
  int due_pages_ GUARDED_BY(mutex) = max_log_pages_;
};

}  // namespace zervane::storage
