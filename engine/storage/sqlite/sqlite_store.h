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

  // How long SQLite's log gets, in pages of 4 KiB, until it is folded into the file: 64 MiB. The
  // journal's pages are freed and written again; the more often that happens before they are
  // folded, the less the disk is busy with what nobody needs. While the log is folded it grows on.
  int log_pages = 16'384;

  // Records of a full chunk: its header and row weigh little beside them, and reaching one of them
  // costs some tens of microseconds.
  std::size_t chunk_records = 1'000;

  // Chunks of a group, which can be summed up together: ten years of one-second data are 1,200 of
  // them, and what a range has at its ends beside them is as many chunks at the most.
  std::size_t group_chunks = 256;
};

constexpr std::size_t kPendingRecordBytes = 64;  // what one takes in memory, by and large

Result<std::unique_ptr<Store>> OpenSqliteStore(const std::filesystem::path& folder,
                                               const TextEncoding& encoding,
                                               const SqliteStoreOptions& options);

}  // namespace zervane
