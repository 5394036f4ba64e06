#pragma once

#include <cstddef>
#include <functional>
#include <span>
#include <vector>

#include "api/words/status.h"
#include "engine/mutex.h"
#include "engine/storage/store.h"

namespace zervane {

// Where the queue leaves its answer for a caller who waits: the status first, by whoever carries
// out what the caller waits for, then `is_answered`, under the mutex of the queue.
struct Ticket {
  bool is_answered = false;
  Status status;
  CondVar answered;
};

// What the write queue takes in one go: the records of some batches, end to end and in their order,
// and changes of the store that follow them. Outside of ReserveBatch to CloseBatch all records
// belong to batches.
struct WriteGroup {
  struct Batch {
    std::size_t begin = 0;
    std::size_t end = 0;
    Ticket* ticket = nullptr;  // null when nobody waits
    Status status;             // what became of it
  };
  struct Change {
    const std::function<Status()>* run = nullptr;
    Ticket* ticket = nullptr;
  };

  std::vector<AcceptedSample> records;
  std::vector<Batch> batches;
  std::vector<Change> changes;
  std::size_t bytes = 0;  // of the records, their texts included

  bool IsEmpty() const { return batches.empty() && changes.empty(); }
  std::span<AcceptedSample> RecordsOf(const Batch& batch) noexcept;

  // Room for one more batch, so that closing it cannot fail.
  void ReserveBatch();
  // Makes a batch of the records from `begin` on; room is reserved.
  void CloseBatch(std::size_t begin, Ticket* ticket) noexcept;

  // Removes the records of a tag; their batches stay.
  void Drop(TagId tag) noexcept;

  // Keeps the memory for the next use.
  void Clear() noexcept;
};

}  // namespace zervane
