#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <variant>
#include <vector>

#include "api/words/samples.h"
#include "api/words/status.h"
#include "api/words/value.h"
#include "engine/assert.h"
#include "engine/storage/codec/text_decoder.h"
#include "engine/storage/row.h"
#include "engine/storage/run_statistics.h"

namespace zervane {

// Where a record of a batch goes: any of these.
enum RecordMark : std::uint8_t {
  kArchive = 1,  // it enters the archive
  kCurrent = 2,  // it becomes the tag's current value
  kHeld = 4,     // it is held back from the archive, in place of what was held back before
};

// Records on their way to the store, as columns.
struct RecordBatch {
  std::vector<TagId> tags;
  SampleColumns samples;
  std::vector<std::uint8_t> marks;  // RecordMark

  std::size_t size() const { return tags.size(); }
  bool empty() const { return tags.empty(); }
};

// What one commit changes: everything or nothing of it is stored. Carried out in this order.
//
// The number of a batch is the last one's + 1.
struct StoreBatch {
  std::int64_t commit = 0;
  std::vector<TagId> emptied;   // tags whose records go: current, held back and archived ones;
                                // every tag whose row goes is one of them
  std::vector<RowChange> rows;  // of one key the last one counts
  RecordBatch records;          // of equal times of a tag the last one counts
};

// The tag whose row changes. REQUIRES a change of the table of tags.
inline TagId TagOf(const RowChange& change) {
  ZERVANE_ASSERT(change.table == TableId::kTag && !change.key.empty());
  return static_cast<TagId>(std::get<std::int64_t>(change.key.front()));
}

// What became of a batch.
struct CommitAnswer {
  enum class Fate : std::uint8_t {
    kStored,
    kRefused,  // nothing happened
    // A sync failed, or a connection broke: from then on the store takes nothing until Lease tells.
    kUnknown,
  };

  static CommitAnswer Refused(Status why) noexcept {
    return {.fate = Fate::kRefused, .status = std::move(why)};
  }

  Fate fate = Fate::kStored;
  Status status;  // why it is not stored
};

// Some records of one tag, all of one chunk or of what is not in chunks yet, or of a group of
// chunks, within the range that was asked for.
struct RunSummary {
  std::int64_t first_ms = 0;
  std::int64_t last_ms = 0;
  std::int64_t count = 0;
  // Null where they are not known, so that whoever wants them has to look at the records. For as
  // long as Offer runs.
  const RunStatistics* statistics = nullptr;
};

// Looks at a tag's records, run by run in the direction's order; runs do not overlap. It asks
// nothing of the store meanwhile.
class ScanVisitor {
 public:
  enum class Wants {
    kNext,     // the summary says enough
    kRecords,  // Show is to be called for this run; of a group, its runs are offered one by one
    kStop,
  };

  virtual ~ScanVisitor() = default;
  // Whether statistics are of use to it. If not, they are not looked up, and no groups are offered.
  virtual bool UsesStatistics() const { return true; }
  virtual Wants Offer(const RunSummary& run) = 0;
  // The run's records are elements begin to end of the columns, ascending in time whatever the
  // direction. Whether to go on.
  virtual bool Show(const SampleColumns& records, std::size_t begin, std::size_t end) = 0;
};

// Whether this process may write, and what is known of the last commits.
enum class LeaseWish { kTake, kRenew, kRelease, kLook };
struct LeaseAnswer {
  std::int64_t epoch = 1;
  bool is_mine = true;
  std::string holder;
  std::string address;
  std::int64_t good_until_ms = 0;
  std::int64_t last_commit = 0;
  // Of the batch whose fate was unknown, if there was one: whether it is stored.
  std::optional<bool> unknown_is_stored;
};

// Where a database keeps its data. It speaks of the domain: a columnar file, memory or a cluster of
// row stores can stand behind it.
//
// Within a tag the archive is a map from time to record: a record of equal time replaces. Every
// change is durable and whole once it is answered, or has not happened, but for one whose fate is
// unknown. Reads may come from any number of threads at any time; changes come from one thread at a
// time. Nothing throws.
class Store {
 public:
  Store() = default;
  virtual ~Store() = default;  // as Close, silently: each store sees to that
  Store(const Store&) = delete;
  Store& operator=(const Store&) = delete;

  // Stores the batch. Records of tags without a row once its rows are in are left out. When it is
  // stored, the store may have taken the records, and left other memory in their place; else they
  // are untouched. Refused with ZR3_ERR_INVALID_ARGUMENT when a time or a value cannot be stored.
  CommitAnswer Commit(StoreBatch& batch) noexcept;

  // Shows the archived records of the range to the visitor. ZR3_ERR_STORAGE_DAMAGED when records
  // that are wanted cannot be read any more.
  Status Scan(TagId tag, TimeRange range, Direction direction, ScanVisitor& visitor) noexcept;

  // The last record that was committed as held back, unless one of its time or newer has entered
  // the archive since.
  Result<std::optional<Sample>> ReadHeld(TagId tag) noexcept;

  // The current values of the tags from `first` to `last` that have one, in order of identifier.
  Result<SampleBatch> ReadCurrent(TagId first, TagId last) noexcept;

  // Shows the rows of the range of an index, in order, to the visitor until it answers false or
  // `limit` of them were shown.
  Status Rows(const RowRange& range, std::size_t limit, const RowVisitor& visit) noexcept;

  // ZR3_ERR_STORAGE_FAILED as long as the fate of a batch cannot be told.
  Result<LeaseAnswer> Lease(LeaseWish wish) noexcept;

  // Waits for the calls that are under way, brings everything into its place and ends; later calls
  // answer ZR3_ERR_NOT_CONNECTED. What was answered is stored whatever the status. Not from within
  // a visitor.
  Status Close() noexcept;

 private:
  // What these throw becomes a status, here and nowhere else.
  virtual CommitAnswer DoCommit(StoreBatch& batch) = 0;
  virtual Status DoScan(TagId tag, TimeRange range, Direction direction, ScanVisitor& visitor) = 0;
  virtual Result<std::optional<Sample>> DoReadHeld(TagId tag) = 0;
  virtual Result<SampleBatch> DoReadCurrent(TagId first, TagId last) = 0;
  virtual Status DoRows(const RowRange& range, std::size_t limit, const RowVisitor& visit) = 0;
  virtual Result<LeaseAnswer> DoLease(LeaseWish wish) = 0;
  virtual Status DoClose() = 0;

  template <typename Body>
  auto Call(Body&& body) noexcept;
  bool Enter() noexcept;
  void Leave() noexcept;

  // The calls that are under way, and kIsClosed.
  static constexpr std::uint32_t kIsClosed = std::uint32_t{1} << 31;
  std::atomic<std::uint32_t> calls_ = 0;
};

// A store in memory, gone with its object.
std::unique_ptr<Store> OpenMemoryStore();

// What the texts of a database of an earlier layout are taken to be in, which did not say: the
// encoding of the process that opens it.
struct TextEncoding {
  std::string name = "UTF-8";
  // What converts from the encoding of a name; none when that is not known.
  std::function<std::optional<storage::TextDecoder>(std::string_view name)> decoder_of =
      DecoderOfUtf8;

  // For who knows UTF-8 only, which needs no decoder.
  static std::optional<storage::TextDecoder> DecoderOfUtf8(std::string_view name);
};

// The store in `folder` (made when missing): one SQLite file, zervane.db, and the lock of the
// process that has it open. A database of an earlier layout is brought to the present one, in which
// texts are UTF-8; ZR3_ERR_INVALID_TEXT, and nothing is changed, when one of its tags has a text
// that is not in the encoding, or two names would become one. ZR3_ERR_DATABASE_IN_USE,
// ZR3_ERR_DATABASE_VERSION, ZR3_ERR_NOT_A_DATABASE, ZR3_ERR_STORAGE_READ_ONLY,
// ZR3_ERR_STORAGE_FULL, ZR3_ERR_STORAGE_FAILED, ZR3_ERR_STORAGE_DAMAGED.
Result<std::unique_ptr<Store>> OpenSqliteStore(const std::filesystem::path& folder,
                                               const TextEncoding& encoding = {});

}  // namespace zervane
