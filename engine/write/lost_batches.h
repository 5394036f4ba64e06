#pragma once

#include <array>
#include <cstddef>

#include "api/caller.h"
#include "api/words/status.h"

namespace zervane {

// Batches that were answered when they were queued and could not be stored later. Each session is
// told the status of its first one, once, and then that of the first after that; no session is told
// another's.
//
// Of more sessions than kMaxSessions the one that waited longest is forgotten: its loss stays in
// the log. It never asks for memory. Threads: under the mutex of the write queue.
class LostBatches {
 public:
  static constexpr std::size_t kMaxSessions = 256;

  LostBatches() = default;
  ~LostBatches();
  LostBatches(const LostBatches&) = delete;
  LostBatches& operator=(const LostBatches&) = delete;

  // A batch of so many records is lost. A session's first is logged at once; those after it are
  // logged as a sum when the session is told, is forgotten or has nobody left to tell, for a full
  // disk loses every batch.
  void Note(SessionId session, std::size_t records, const Status& status) noexcept;

  // What is to be told to the session, which is told herewith; 0 when there is nothing.
  Status Tell(SessionId session) noexcept;

  // What has been told to nobody yet, longest first; 0 when there is nothing.
  Status TellAnyone() noexcept;

 private:
  struct Loss {
    SessionId session = 0;
    Status status;
    std::size_t more_batches = 0;  // after the first
    std::size_t more_records = 0;  // of these
  };

  Status Remove(std::size_t at) noexcept;

  std::array<Loss, kMaxSessions> losses_;  // those of the first `count_`, in order of time
  std::size_t count_ = 0;
};

}  // namespace zervane
