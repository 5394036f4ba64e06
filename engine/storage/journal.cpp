#include "engine/storage/journal.h"

#include <algorithm>
#include <cstdint>

#include "engine/log.h"
#include "engine/storage/batch_codec.h"
#include "engine/storage/block.h"

namespace zervane::storage {
namespace {

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

Status WriteJournal(Connection& connection, std::span<const AcceptedSample> records) {
  while (!records.empty()) {
    const auto part = records.first(std::min(records.size(), kMaxBlockRecords));
    const std::string payload = EncodeBatch(part);
    Status status = Query(connection, "INSERT INTO journal (payload) VALUES (?)", payload).Run();
    if (!status.ok()) return status;
    records = records.subspan(part.size());
  }
  return {};
}

Status ReplayJournal(Connection& connection,
                     const std::function<void(std::vector<AcceptedSample>)>& take) {
  std::vector<std::int64_t> damaged;
  {
    Query rows(connection, "SELECT seq, payload FROM journal ORDER BY seq");
    while (rows.Next()) {
      Result<std::vector<AcceptedSample>> batch = DecodeBatch(rows.Bytes(1));
      if (batch.ok()) {
        take(*std::move(batch));
      } else {
        Log().error("batch {} of the journal: {}; set aside", rows.Integer(0),
                    batch.status().message());
        damaged.push_back(rows.Integer(0));
      }
    }
    if (!rows.status().ok()) return rows.status();
  }
  return SetBatchesAside(connection, damaged);
}

Status ClearJournal(Connection& connection) {
  return Query(connection, "DELETE FROM journal").Run();
}

}  // namespace zervane::storage
