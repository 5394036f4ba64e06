#include "engine/storage/sqlite/journal.h"

#include <algorithm>
#include <cstddef>
#include <utility>
#include <vector>

#include "engine/log.h"
#include "engine/storage/sqlite/settings.h"

namespace zervane::storage {
namespace {

// What an entry of 262,144 numbers takes; one with long texts gives its memory back.
constexpr std::size_t kMaxKeptBytes = 4 << 20;

Status SetEntriesAside(Connection& connection, const std::vector<std::int64_t>& damaged) {
  if (damaged.empty()) return {};
  Transaction transaction(connection, Transaction::Kind::kWrite);
  if (!transaction.status().ok()) return transaction.status();
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
  Query row(connection, "SELECT ifnull(max(seq), 0) FROM journal");
  if (row.Next()) return std::max(*cleared, row.Integer(0));
  return row.status();
}

Status ClearJournal(Connection& connection, std::int64_t last_commit) {
  Transaction transaction(connection, Transaction::Kind::kWrite);
  if (!transaction.status().ok()) return transaction.status();
  Status status = PutSetting(connection, kLastCommitSetting, last_commit);
  if (!status.ok()) return status;
  status = Query(connection, "DELETE FROM journal WHERE seq <= ?", last_commit).Run();
  if (!status.ok()) return status;
  return transaction.Commit();
}

}  // namespace zervane::storage
