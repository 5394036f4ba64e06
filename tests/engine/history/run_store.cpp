#include "tests/engine/history/run_store.h"

#include <algorithm>
#include <utility>

namespace zervane {

void RunStore::Put(TagId tag, const std::vector<Sample>& records) {
  const std::size_t unarchived = std::min(shape_.unarchived, records.size());
  SampleColumns columns;
  for (std::size_t at = 0; at + unarchived < records.size(); ++at) columns.Add(records[at]);
  records_[tag] = std::move(columns);
  if (unarchived > 1) PutHeld(tag, records[records.size() - 2]);
}

Result<std::optional<Sample>> RunStore::DoReadHeld(TagId tag) {
  const auto found = held_.find(tag);
  std::optional<Sample> held;
  if (found != held_.end()) held = found->second;
  if (after_read_held_) after_read_held_();
  return held;
}

std::vector<RunStore::Piece> RunStore::PiecesOf(const SampleColumns& records,
                                                TimeRange range) const {
  std::vector<Piece> pieces;
  for (std::size_t first = 0; first < records.size(); first += shape_.chunk_records) {
    const std::size_t last = std::min(first + shape_.chunk_records, records.size());
    Piece piece = {first, last, true};
    while (piece.begin < piece.end && records.times()[piece.begin] < range.from_ms) ++piece.begin;
    while (piece.begin < piece.end && records.times()[piece.end - 1] > range.to_ms) --piece.end;
    piece.is_whole = piece.begin == first && piece.end == last;
    if (piece.begin < piece.end) pieces.push_back(piece);
  }
  return pieces;
}

Result<bool> RunStore::ShowPiece(const SampleColumns& records, const Piece& piece,
                                 ScanVisitor& visitor) {
  const RunStatistics statistics = StatisticsOf(records, piece.begin, piece.end);
  const bool has_statistics = shape_.has_statistics && piece.is_whole;
  ++runs_offered_;
  const auto wants = visitor.Offer({.first_ms = statistics.first_ms,
                                    .last_ms = statistics.last_ms,
                                    .count = statistics.count,
                                    .statistics = has_statistics ? &statistics : nullptr});
  if (wants != ScanVisitor::Wants::kRecords) return wants == ScanVisitor::Wants::kNext;
  if (damaged_.contains(piece.begin / shape_.chunk_records)) {
    return Status(ZR3_ERR_STORAGE_DAMAGED, "a damaged chunk");
  }
  ++chunks_shown_;
  return visitor.Show(records, piece.begin, piece.end);
}

std::optional<bool> RunStore::ShowGroup(const SampleColumns& records, const Piece& group,
                                        ScanVisitor& visitor) {
  RunStatistics statistics =
      StatisticsOf(records, group.begin, std::min(group.begin + shape_.chunk_records, group.end));
  for (std::size_t at = group.begin + shape_.chunk_records; at < group.end;
       at += shape_.chunk_records) {
    Append(statistics, StatisticsOf(records, at, std::min(at + shape_.chunk_records, group.end)));
  }
  ++runs_offered_;
  const auto wants = visitor.Offer({.first_ms = statistics.first_ms,
                                    .last_ms = statistics.last_ms,
                                    .count = statistics.count,
                                    .statistics = &statistics});
  if (wants == ScanVisitor::Wants::kRecords) return std::nullopt;
  return wants == ScanVisitor::Wants::kNext;
}

Status RunStore::DoScan(TagId tag, TimeRange range, Direction direction, ScanVisitor& visitor) {
  ++scans_;
  const SampleColumns& records = std::as_const(records_[tag]);
  const std::vector<Piece> pieces = PiecesOf(records, range);
  const auto count = static_cast<std::ptrdiff_t>(pieces.size());
  const auto group = static_cast<std::ptrdiff_t>(shape_.group_chunks);
  const bool is_forward = direction == Direction::kForward;
  const auto piece_at = [&](std::ptrdiff_t at) {
    return pieces[static_cast<std::size_t>(is_forward ? at : count - 1 - at)];
  };
  for (std::ptrdiff_t at = 0, one_by_one = 0; at < count; ++at) {
    const bool is_group = group > 1 && at >= one_by_one && at + group <= count &&
                          piece_at(at).is_whole && piece_at(at + group - 1).is_whole;
    if (is_group) {
      const Piece first = is_forward ? piece_at(at) : piece_at(at + group - 1);
      const Piece last = is_forward ? piece_at(at + group - 1) : piece_at(at);
      const auto goes_on = ShowGroup(records, {first.begin, last.end, true}, visitor);
      if (goes_on && !*goes_on) return {};
      if (goes_on) at += group - 1;
      if (goes_on) continue;
      one_by_one = at + group;
    }
    const Result<bool> goes_on = ShowPiece(records, piece_at(at), visitor);
    if (!goes_on.ok()) return goes_on.status();
    if (!*goes_on) return {};
  }
  return {};
}

}  // namespace zervane
