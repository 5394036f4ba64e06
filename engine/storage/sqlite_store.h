#pragma once

#include <cstddef>
#include <filesystem>
#include <memory>

#include "engine/storage/store.h"

namespace zervane {

// Sizes that the SQLite store works with. Tests make them tiny.
struct SqliteStoreOptions {
  // How much may wait in the journal, and therefore in memory, before it is brought into chunks: a
  // record weighs kPendingRecordBytes and its text. 1,048,576 records: a thousand busy tags each
  // bring a whole chunk then, and a replay takes a fraction of a second. A database of many busy
  // tags gets up to twice as much. As much again may come while chunks are written; then those who
  // append wait.
  std::size_t pending_bytes = 64 << 20;

  // Records of a full chunk: its header and row weigh little beside them, and reaching one of them
  // costs some tens of microseconds.
  std::size_t chunk_records = 1'000;
};

constexpr std::size_t kPendingRecordBytes = 64;  // what one takes in memory, by and large

Result<std::unique_ptr<Store>> OpenSqliteStore(const std::filesystem::path& folder,
                                               const SqliteStoreOptions& options);

}  // namespace zervane
