#include "engine/storage/sqlite/journal.h"

#include <spdlog/fmt/fmt.h>

#include <algorithm>
#include <cstddef>
#include <limits>
#include <utility>
#include <vector>

#include "engine/log.h"
#include "engine/storage/sqlite/settings.h"

namespace zervane::storage {
namespace {

// What an entry of 262,144 numbers takes; one with long texts gives its memory back.
constexpr std::size_t kMaxKeptBytes = 4 << 20;

// Numbers below this one leave room for all commits that may come.
constexpr std::int64_t kMaxCommit = std::numeric_limits<std::int64_t>::max() / 2;

// Keeps the number of a commit that leaves the journal, unless that of a later one is kept, so that
// it is never given again.
Status KeepNumber(Connection& connection, std::int64_t commit) {
  const Result<std::int64_t> kept = NumberSetting(connection, kLastCommitSetting);
  if (!kept.ok()) return kept.status();
  return *kept >= commit ? Status() : PutSetting(connection, kLastCommitSetting, commit);
}

Status SetEntriesAside(Connection& connection, const std::vector<std::int64_t>& damaged) {
  if (damaged.empty()) return {};
  Transaction transaction(connection, Transaction::Kind::kWrite);
  if (!transaction.status().ok()) return transaction.status();
  if (Status status = KeepNumber(connection, damaged.back()); !status.ok()) return status;
  for (const std::int64_t commit : damaged) {
    Status status =
        Query(connection, "INSERT INTO damaged (payload) SELECT payload FROM journal WHERE seq = ?",
              commit)
            .Run();
    if (!status.ok()) return status;
    status = Query(connection, "DELETE FROM journal WHERE seq = ?", commit).Run();
    if (!status.ok()) return status;
  }
  return transaction.Commit();
}

}  // namespace

std::string_view JournalEncoder::Encode(std::span<const TagId> emptied,
                                        const RecordBatch& records) {
  if (entry_.capacity() > kMaxKeptBytes) entry_ = ByteWriter();
  EncodeEntry(emptied, records, &entry_);
  return entry_.bytes();
}

Status WriteJournal(Connection& connection, std::int64_t commit, std::string_view entry) {
  return Query(connection, "INSERT INTO journal (seq, payload) VALUES (?, ?)", commit, entry).Run();
}

Status ReplayJournal(Connection& connection, const TextDecoder& decoder,
                     const std::function<void(std::int64_t commit, JournalEntry entry)>& take) {
  std::vector<std::int64_t> damaged;
  {
    Query rows(connection, "SELECT seq, payload FROM journal ORDER BY seq");
    while (rows.Next()) {
      Decoded<JournalEntry> entry = DecodeEntry(rows.Bytes(1), decoder);
      if (entry.ok()) {
        take(rows.Integer(0), *std::move(entry));
      } else {
        LogError("entry {} of the journal: {}; set aside", rows.Integer(0), entry.damage().what);
        damaged.push_back(rows.Integer(0));
      }
    }
    if (!rows.status().ok()) return rows.status();
  }
  return SetEntriesAside(connection, damaged);
}

Result<std::int64_t> LastCommit(Connection& connection) {
  const Result<std::int64_t> cleared = NumberSetting(connection, kLastCommitSetting);
  if (!cleared.ok()) return cleared;
  // By two lookups, for one query of both would go through all entries.
  Query row(connection,
            "SELECT ifnull((SELECT min(seq) FROM journal), 0), "
            "ifnull((SELECT max(seq) FROM journal), 0)");
  if (!row.Next()) return row.status();
  const std::int64_t last = std::max(*cleared, row.Integer(1));
  if (std::min(*cleared, row.Integer(0)) >= 0 && last <= kMaxCommit) return last;
  return Status(ZR3_ERR_STORAGE_DAMAGED,
                fmt::format("the journal has commits {} to {} behind commit {}, of which some can "
                            "be no numbers of commits",
                            row.Integer(0), row.Integer(1), *cleared));
}

Status ClearJournal(Connection& connection, std::int64_t last_commit) {
  Transaction transaction(connection, Transaction::Kind::kWrite);
  if (!transaction.status().ok()) return transaction.status();
  Status status = KeepNumber(connection, last_commit);
  if (!status.ok()) return status;
  status = Query(connection, "DELETE FROM journal WHERE seq <= ?", last_commit).Run();
  if (!status.ok()) return status;
  return transaction.Commit();
}

}  // namespace zervane::storage
