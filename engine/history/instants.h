#pragma once

#include <cstddef>
#include <cstdint>
#include <string_view>

#include "api/words/samples.h"
#include "engine/storage/run_statistics.h"

namespace zervane {

// Instants in ascending order, some of them more than once.
class Instants {
 public:
  virtual ~Instants() = default;
  virtual std::size_t size() const = 0;
  virtual std::int64_t At(std::size_t at) const = 0;
};

// Hears what the values at instants are. Each instant is told once, in order; a call tells those
// from `begin` to before `end`.
class InstantSink {
 public:
  // A record that holds on behind its time: its number, or its text.
  struct Held {
    RunStatistics::Point point;
    std::string_view text;
  };

  virtual ~InstantSink() = default;
  // There is no good record at or before them.
  virtual void Miss(std::size_t begin, std::size_t end) = 0;
  // A good record is exactly there.
  virtual void Match(std::size_t begin, std::size_t end, const SampleColumns& records,
                     std::size_t at) = 0;
  // The last good record's value.
  virtual void Hold(std::size_t begin, std::size_t end, const Held& held,
                    std::uint16_t quality) = 0;
  // They lie on the line from one good record to the next good one.
  virtual void Line(std::size_t begin, std::size_t end, const RunStatistics::Point& from,
                    const RunStatistics::Point& to, std::uint16_t quality) = 0;
};

}  // namespace zervane
