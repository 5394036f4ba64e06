#pragma once

#include <cstddef>
#include <functional>
#include <limits>
#include <span>
#include <vector>

#include "api/caller.h"
#include "api/words/status.h"
#include "engine/mutex.h"
#include "engine/storage/store.h"
#include "engine/write/turn.h"

namespace zervane {

// Where the queue leaves its answer for a caller who waits: the status first, by whoever carries
// out what the caller waits for, then `is_answered`, under the mutex of the queue.
struct Ticket {
  bool is_answered = false;
  Status status;
  CondVar answered;
};

// What the write queue carries out in one go: the records of some batches, end to end and in their
// order, with the rows that go with them, and changes of the store that follow them. Outside of
// ReserveBatch to CloseBatch all records belong to batches.
//
// A group grows for as long as nobody waits for it. The first who does should not wait for much
// that comes behind: from then on there is room for kMoreBytes, unless his own batch is so great
// that these would not matter, either.
class WriteGroup {
 public:
  struct Batch {
    std::size_t begin = 0;
    std::size_t end = 0;
    std::size_t first_row = 0;  // of its rows
    std::size_t last_row = 0;   // behind the last one
    SessionId session = 0;      // whose it is
    Ticket* ticket = nullptr;   // null when nobody waits
    Status status;              // what became of it
  };
  struct Change {
    const std::function<Status(Turn&)>* run = nullptr;
    Ticket* ticket = nullptr;
  };

  static constexpr std::size_t kMoreBytes = 128U << 10;
  // What a record takes in the columns, without its text.
  static constexpr std::size_t kRecordBytes = 24;

  RecordBatch records;  // without marks until they are carried out
  std::vector<RowChange> rows;
  std::vector<Batch> batches;
  std::vector<Change> changes;

  std::span<const RowChange> RowsOf(const Batch& batch) const {
    return std::span(rows).subspan(batch.first_row, batch.last_row - batch.first_row);
  }

  bool IsEmpty() const { return batches.empty() && changes.empty(); }
  // Of the records, their texts included. Rows do not count: only the database itself hands some
  // in, few at a time, and waits.
  std::size_t Bytes() const {
    return records.size() * kRecordBytes + records.samples.texts().size();
  }
  bool HasRoomFor(std::size_t bytes) const { return IsEmpty() || Bytes() + bytes <= max_bytes_; }

  // Room for one more batch with so many rows, so that closing it cannot fail.
  void ReserveBatch(std::size_t batch_rows = 0);
  // Makes a batch of the records from `begin` on and of the rows, which it takes; room is reserved.
  void CloseBatch(std::size_t begin, SessionId session, Ticket* ticket,
                  std::span<RowChange> batch_rows = {}) noexcept;

  void AddChange(const std::function<Status(Turn&)>& run, Ticket& ticket);

  // Keeps the memory for the next use, but for that of many texts.
  void Clear() noexcept;

 private:
  static constexpr std::size_t kNoLimit = std::numeric_limits<std::size_t>::max();

  void LimitGrowth(std::size_t bytes) noexcept;

  std::size_t closed_bytes_ = 0;  // of all batches but an open one
  bool has_waiter_ = false;
  std::size_t max_bytes_ = kNoLimit;
};

}  // namespace zervane
