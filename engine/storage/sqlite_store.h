#pragma once

#include <cstddef>
#include <filesystem>
#include <memory>

#include "engine/storage/store.h"

namespace zervane {

// Sizes that the SQLite store works with. Tests make them tiny.
struct SqliteStoreOptions {
  // How much may wait in the journal, and therefore in memory, before it is brought into chunks: a
  // record weighs kPendingRecordBytes and its text. 262,144 records: a thousand busy tags each
  // bring a good part of a chunk then, and a replay takes a fraction of a second.
  std::size_t pending_bytes = 32 << 20;

  // Records of a full chunk: its header and row weigh little beside them, and reaching one of them
  // costs some tens of microseconds.
  std::size_t chunk_records = 1'000;
};

constexpr std::size_t kPendingRecordBytes = 128;  // its node in memory, by and large

Result<std::unique_ptr<Store>> OpenSqliteStore(const std::filesystem::path& folder,
                                               const SqliteStoreOptions& options);

}  // namespace zervane
