#pragma once

#include <cstddef>
#include <cstdint>

#include "api/words/samples.h"

namespace zervane {

// The changes that wait for a session's next poll, oldest first. Past the bound the oldest of a tag
// that has a newer one goes first, so the newest of every tag stays, whatever the bound.
//
// Which go is decided once for many: it makes no difference, for whenever a change is one too many,
// the oldest that may go goes, and what may go later is newer than it or made so by what comes.
//
// Threads: as a container.
class WaitingChanges {
 public:
  explicit WaitingChanges(std::size_t max_changes) : max_changes_(max_changes) {}

  // When it throws, nothing is added.
  void Add(TagId tag, const SampleColumns& samples, std::size_t at);
  void Add(TagId tag, const Sample& sample);

  // All that wait, which wait no more. When it throws, they still do.
  SampleBatch PopAll();

  // How many have gone since this was asked last.
  std::uint64_t CountGone() noexcept;

 private:
  void MakeRoom();
  void Trim();

  const std::size_t max_changes_;
  SampleBatch changes_;
  std::size_t trim_at_ = 0;  // when there are so many, it is worth looking which go
  std::uint64_t gone_ = 0;
};

}  // namespace zervane
