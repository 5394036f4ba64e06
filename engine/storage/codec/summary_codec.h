#pragma once

#include <cstdint>
#include <string>
#include <string_view>

#include "api/words/value.h"
#include "engine/storage/codec/decoded.h"
#include "engine/storage/run_statistics.h"

namespace zervane::storage {

enum class SummaryLevel : std::uint8_t {
  kChunk = 0,
  kGroup = 1,  // of chunks of one course, one behind the other
};

// What the records of a chunk, or those of a group of chunks, say together.
struct Summary {
  TagId tag = 0;
  SummaryLevel level = SummaryLevel::kChunk;
  std::int64_t member = 0;  // the chunk's identifier; of a group, how many chunks it has
  RunStatistics run;
};

// A summary as a block.
std::string EncodeSummary(const Summary& summary);

// The summary in `bytes`, which may hold anything: damaged unless they are one that EncodeSummary
// writes, as far as can be told.
Decoded<Summary> DecodeSummary(std::string_view bytes);

}  // namespace zervane::storage
