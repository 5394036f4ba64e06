#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <map>
#include <optional>
#include <set>
#include <vector>

#include "api/words/samples.h"
#include "engine/storage/store.h"

namespace zervane {

// How a RunStore shows its records.
struct RunShape {
  std::size_t chunk_records = 3;  // chunk i has the records from i * chunk_records on
  std::size_t group_chunks = 0;   // so many chunks are offered as one run; 0: none are
  bool has_statistics = true;
  // So many of a tag's last records are not archived yet: the last one is current, the one before
  // held.
  std::size_t unarchived = 0;
};

// A store that holds the records that a test gives it, in runs of any shape, and counts what a scan
// looks at. A chunk that lies in the range of a scan as a whole is offered with its statistics, a
// part of one without, as of a file.
class RunStore final : public Store {
 public:
  explicit RunStore(RunShape shape = {}) : shape_(shape) {}
  ~RunStore() override { (void)Close(); }

  // Ascending in time.
  void Put(TagId tag, const std::vector<Sample>& records);
  void PutHeld(TagId tag, const Sample& held) { held_[tag] = held; }
  // Its records cannot be read any more.
  void Damage(std::size_t chunk) { damaged_.insert(chunk); }

  int chunks_shown() const { return chunks_shown_; }
  int runs_offered() const { return runs_offered_; }
  int scans() const { return scans_; }
  // Something that happens between two reads of a tag.
  void AfterReadHeld(std::function<void()> event) { after_read_held_ = std::move(event); }

 private:
  struct Piece {
    std::size_t begin = 0;
    std::size_t end = 0;
    bool is_whole = false;
  };

  CommitAnswer DoCommit(StoreBatch&) override { return {}; }
  Status DoScan(TagId tag, TimeRange range, Direction direction, ScanVisitor& visitor) override;
  Result<std::optional<Sample>> DoReadHeld(TagId tag) override;
  Result<SampleBatch> DoReadCurrent(TagId, TagId) override { return SampleBatch(); }
  Status DoRows(const RowRange&, std::size_t, const RowVisitor&) override { return {}; }
  Result<LeaseAnswer> DoLease(LeaseWish) override { return LeaseAnswer(); }
  Status DoClose() override { return {}; }

  std::vector<Piece> PiecesOf(const SampleColumns& records, TimeRange range) const;
  // Whether to go on.
  Result<bool> ShowPiece(const SampleColumns& records, const Piece& piece, ScanVisitor& visitor);
  // Those from `begin` to before `end`, which are one group's, as one run. Nothing when they are to
  // be offered one by one.
  std::optional<bool> ShowGroup(const SampleColumns& records, const Piece& group,
                                ScanVisitor& visitor);

  const RunShape shape_;
  std::map<TagId, SampleColumns> records_;
  std::map<TagId, Sample> held_;
  std::set<std::size_t> damaged_;
  std::function<void()> after_read_held_;
  int chunks_shown_ = 0;
  int runs_offered_ = 0;
  int scans_ = 0;
};

}  // namespace zervane
