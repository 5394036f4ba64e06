#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <memory>
#include <optional>
#include <string_view>
#include <utility>
#include <vector>

#include "engine/storage/one_at_a_time.h"
#include "engine/storage/sqlite/background_writer.h"
#include "engine/storage/sqlite/folder_lock.h"
#include "engine/storage/sqlite/journal.h"
#include "engine/storage/sqlite/loaded_chunk.h"
#include "engine/storage/sqlite/pending.h"
#include "engine/storage/sqlite/reader_pool.h"
#include "engine/storage/sqlite/sqlite_store.h"
#include "engine/storage/sqlite/writer.h"

// The store's own class, for the files that it is written in: open_store.cpp and sqlite_store.cpp.
namespace zervane::storage {

// A commit is one row of the journal and changes of tables, durable at once in one transaction, and
// its records join the pending ones in memory. When enough are pending, a thread of its own brings
// them into chunks and trims the journal. So at any instant the chunks and the journal together
// hold every answered record, whatever ends the process; opening replays the journal. A record that
// is in both counts once, as the journal has it.
class SqliteStore final : public Store {
 public:
  SqliteStore(FolderLock lock, std::filesystem::path file, std::unique_ptr<Connection> writer,
              TextDecoder decoder, const SqliteStoreOptions& options)
      : lock_(std::move(lock)),
        options_(options),
        decoder_(std::move(decoder)),
        writer_(std::move(writer), options.log_pages),
        readers_(std::move(file)) {}
  ~SqliteStore() override;

  // Reads what a writer must know. Before anything else.
  Status Start(const std::filesystem::path& file);

 private:
  CommitAnswer DoCommit(StoreBatch& batch) override EXCLUDES(changing_);
  Status DoScan(TagId tag, TimeRange range, Direction direction, ScanVisitor& visitor) override;
  Result<std::optional<Sample>> DoReadHeld(TagId tag) override;
  Result<SampleBatch> DoReadCurrent(TagId first, TagId last) override;
  Status DoRows(const RowRange& range, std::size_t limit, const RowVisitor& visit) override;
  Result<LeaseAnswer> DoLease(LeaseWish wish) override;
  Status DoClose() override;

  Status StartBackground(const std::filesystem::path& file);
  Status LoadTags() REQUIRES(writer_.mutex);
  Status LoadHeld() REQUIRES(writer_.mutex);
  Status Replay() REQUIRES(changing_, writer_.mutex);
  CommitAnswer Write(const StoreBatch& batch, std::string_view entry) REQUIRES(changing_);
  Status WriteChanges(const StoreBatch& batch, std::string_view entry)
      REQUIRES(changing_, writer_.mutex);
  Status TryChanges(const StoreBatch& batch, std::string_view entry, bool renews_summaries,
                    bool* are_summaries_damaged) REQUIRES(changing_, writer_.mutex);
  void AdoptTags(const StoreBatch& batch) noexcept REQUIRES(changing_, writer_.mutex);
  void ReserveBatch(const std::vector<RowChange>& rows) REQUIRES(changing_);
  void Adopt(RecordBatch& records, std::int64_t commit) noexcept REQUIRES(changing_);
  Status MakeRoom() REQUIRES(changing_);
  void BeginChunks() REQUIRES(changing_);
  Status WriteAllChunks() EXCLUDES(changing_);
  Status CutFreePages();
  void Release();

  std::optional<FolderLock> lock_;  // first, so that it is given back last
  const SqliteStoreOptions options_;
  const TextDecoder decoder_;
  const std::uint64_t opening_ = NumberOfOpening();

  // Of the thread that changes.
  OneAtATime changing_;
  std::size_t unsorted_ GUARDED_BY(changing_) = 0;       // records, after the last commit
  std::size_t busy_tags_ GUARDED_BY(changing_) = 0;      // of the last generation
  std::size_t pending_bytes_ GUARDED_BY(changing_) = 0;  // of the active generation
  std::size_t uncut_bytes_ GUARDED_BY(changing_) = 0;    // since the last of the cuts
  // Where the journal may be trimmed, ascending.
  std::vector<std::int64_t> journal_cuts_ GUARDED_BY(changing_);
  JournalEncoder encoder_ GUARDED_BY(changing_);

  // Of all threads.
  std::atomic<std::int64_t> last_commit_ = 0;
  std::atomic<bool> is_uncertain_ = false;  // the fate of a commit is unknown
  Writer writer_;
  ReaderPool readers_;
  Pending pending_;

  // Whether all of the journal is here, so that the chunks may be made of it.
  bool is_started_ = false;

  std::unique_ptr<BackgroundWriter> background_;  // last: its thread uses what stands above
};

}  // namespace zervane::storage
