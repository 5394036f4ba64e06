#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>

#include "api/words/samples.h"
#include "api/words/status.h"
#include "engine/storage/codec/decoded.h"
#include "engine/storage/codec/text_decoder.h"
#include "engine/storage/run_statistics.h"
#include "engine/storage/series.h"
#include "engine/storage/sqlite/sqlite.h"

// The table of chunks. Within a tag chunks never overlap in time, so that (tag, time) is unique.
namespace zervane::storage {

// A chunk without its records.
struct ChunkExtent {
  std::int64_t id = 0;
  TagId tag = 0;
  std::int64_t first_ms = 0;
  std::int64_t last_ms = 0;
  std::int64_t count = 0;

  friend bool operator==(const ChunkExtent&, const ChunkExtent&) = default;
};

// Chunks come one behind the other, in a direction, unless the file is damaged: then their records
// would come out of order, or twice.
class ChunkOrder {
 public:
  explicit ChunkOrder(Direction direction)
      : direction_(direction), end_ms_(direction == Direction::kForward ? -1 : kMaxTimeMs + 1) {}

  // Whether what has these times comes behind what was passed.
  bool IsNext(std::int64_t first_ms, std::int64_t last_ms) const {
    const bool follows = direction_ == Direction::kForward ? first_ms > end_ms_ : last_ms < end_ms_;
    return follows && first_ms <= last_ms;
  }
  void Pass(std::int64_t first_ms, std::int64_t last_ms) {
    end_ms_ = direction_ == Direction::kForward ? last_ms : first_ms;
  }

 private:
  Direction direction_;
  std::int64_t end_ms_;  // of what was passed
};

// The last chunk of the tag that starts at or before the time.
Result<std::optional<ChunkExtent>> ChunkStartingBy(Connection& connection, TagId tag,
                                                   std::int64_t time_ms);

// The start of the first chunk of the tag that starts after the time.
Result<std::optional<std::int64_t>> NextChunkStart(Connection& connection, TagId tag,
                                                   std::int64_t time_ms);

// Hands the chunks of the tag that overlap the range to `visit`, one at a time in the direction's
// order, until it answers false or fails; its failure is the result. All are of one state of the
// table, which LoadChunk sees too within `visit`. ZR3_ERR_STORAGE_DAMAGED when a row counts records
// that no chunk can have or is another tag's, or when the chunks are out of order.
using ExtentVisitor = std::function<Result<bool>(const ChunkExtent&)>;
Status VisitExtents(Connection& connection, TagId tag, TimeRange range, Direction direction,
                    const ExtentVisitor& visit);
// The same for a part of what is visited, behind what `order` passed before. A chunk for which
// `visit` answers false is not passed.
Status VisitExtents(Connection& connection, TagId tag, TimeRange range, Direction direction,
                    ChunkOrder& order, const ExtentVisitor& visit);

// What the chunks of a tag that are out of order are answered with.
Status DamagedIndex(TagId tag);

// How many chunks of the tag start after the time, counted up to a limit.
Result<std::int64_t> CountChunksAfter(Connection& connection, TagId tag, std::int64_t time_ms,
                                      std::int64_t limit);

// The records of a chunk, in `memory`: damaged when its row, which was read, does not decode to
// what it says, or is missing. A failure when the row could not be read, which says nothing of the
// chunk.
Result<Decoded<SampleColumns>> LoadChunk(Connection& connection, const ChunkExtent& extent,
                                         const TextDecoder& decoder, SampleColumns memory = {});

// A chunk as it stands in the table.
struct EncodedChunk {
  TagId tag = 0;
  std::int64_t first_ms = 0;
  std::int64_t last_ms = 0;
  std::size_t count = 0;
  std::string payload;
  std::optional<RunStatistics> statistics;  // where it gets a summary
};

// The records are as EncodeChunk wants them.
EncodedChunk EncodeForTable(TagId tag, const SampleRun& records);

// Identifiers for chunks. None is given twice while a database is open, so that it names the same
// records for as long; those of chunks that are there no more may come again when it is opened
// next.
class ChunkIds {
 public:
  // Those behind all that the file has.
  static Result<ChunkIds> Behind(Connection& connection);

  std::int64_t Next() { return ++last_; }

 private:
  explicit ChunkIds(std::int64_t last) : last_(last) {}

  std::int64_t last_;
};

Status InsertChunk(Connection& connection, std::int64_t id, const EncodedChunk& chunk);

Status DeleteChunk(Connection& connection, const ChunkExtent& extent);

// Moves a chunk that does not decode to the table of damaged payloads.
Status SetChunkAside(Connection& connection, const ChunkExtent& extent);

}  // namespace zervane::storage
