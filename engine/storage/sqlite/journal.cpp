#include "engine/storage/sqlite/journal.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <utility>

#include "engine/assert.h"
#include "engine/log.h"
#include "engine/storage/codec/batch_codec.h"
#include "engine/storage/codec/block.h"

namespace zervane::storage {
namespace {

// What a block of kMaxBlockRecords numbers takes; one with long texts gives its memory back.
constexpr std::size_t kMaxKeptBytes = 2 << 20;

Status SetBatchesAside(Connection& connection, const std::vector<std::int64_t>& damaged) {
  if (damaged.empty()) return {};
  Transaction transaction(connection, Transaction::Kind::kWrite);
  if (!transaction.status().ok()) return transaction.status();
  for (const std::int64_t seq : damaged) {
    Status status =
        Query(connection, "INSERT INTO damaged (payload) SELECT payload FROM journal WHERE seq = ?",
              seq)
            .Run();
    if (!status.ok()) return status;
    status = Query(connection, "DELETE FROM journal WHERE seq = ?", seq).Run();
    if (!status.ok()) return status;
  }
  return transaction.Commit();
}

}  // namespace

std::span<const std::string_view> JournalEncoder::Encode(std::span<const AcceptedSample> records) {
  const std::size_t count = (records.size() + kMaxBlockRecords - 1) / kMaxBlockRecords;
  std::erase_if(blocks_, [](const ByteWriter& block) { return block.capacity() > kMaxKeptBytes; });
  blocks_.resize(std::max(blocks_.size(), count));
  rows_.clear();
  for (std::size_t i = 0; i < count; ++i) {
    const auto part = records.first(std::min(records.size(), kMaxBlockRecords));
    rows_.push_back(EncodeBatch(part, &blocks_[i]));
    records = records.subspan(part.size());
  }
  return rows_;
}

Result<std::int64_t> WriteJournal(Connection& connection, std::span<const std::string_view> rows) {
  ZERVANE_ASSERT(!rows.empty());
  for (const std::string_view row : rows) {
    Status status = Query(connection, "INSERT INTO journal (payload) VALUES (?)", row).Run();
    if (!status.ok()) return status;
  }
  return connection.LastRowId();
}

Status ReplayJournal(Connection& connection,
                     const std::function<void(std::int64_t, std::vector<AcceptedSample>)>& take) {
  std::vector<std::int64_t> damaged;
  {
    Query rows(connection, "SELECT seq, payload FROM journal ORDER BY seq");
    while (rows.Next()) {
      Decoded<std::vector<AcceptedSample>> batch = DecodeBatch(rows.Bytes(1));
      if (batch.ok()) {
        take(rows.Integer(0), *std::move(batch));
      } else {
        LogError("batch {} of the journal: {}; set aside", rows.Integer(0), batch.damage().what);
        damaged.push_back(rows.Integer(0));
      }
    }
    if (!rows.status().ok()) return rows.status();
  }
  return SetBatchesAside(connection, damaged);
}

Status ClearJournal(Connection& connection, std::int64_t last_seq) {
  return Query(connection, "DELETE FROM journal WHERE seq <= ?", last_seq).Run();
}

}  // namespace zervane::storage
