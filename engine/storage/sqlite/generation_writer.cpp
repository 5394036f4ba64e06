#include "engine/storage/sqlite/generation_writer.h"

#include <algorithm>
#include <utility>

#include "engine/assert.h"
#include "engine/log.h"
#include "engine/storage/sqlite/journal.h"
#include "engine/storage/sqlite/record_table.h"
#include "engine/storage/sqlite/summary_table.h"

namespace zervane::storage {
namespace {

// How much goes into the file in one transaction: enough to make its end cheap, and little enough
// that those who append hardly notice it.
constexpr std::size_t kSliceBytes = 512 << 10;
constexpr std::size_t kRowBytes = 64;  // of a row without its payload
constexpr std::size_t kSummaryBytes = 200;

std::size_t WeightOf(const ChunkEdits& edits) {
  std::size_t bytes = (edits.replaced.size() + edits.damaged.size()) * kRowBytes;
  for (const EncodedChunk& chunk : edits.added) {
    bytes += kRowBytes + chunk.payload.size() + (chunk.statistics ? kSummaryBytes : 0);
  }
  bytes += (edits.dropped_groups.size() + edits.groups.size()) * kSummaryBytes;
  return bytes;
}

}  // namespace

GenerationWriter::GenerationWriter(Writer& writer, Connection& reader, Pending& pending,
                                   ArchiveSizes sizes, ChunkIds ids, TextDecoder decoder,
                                   AfterEach after_each)
    : writer_(writer),
      reader_(reader),
      pending_(pending),
      sizes_(sizes),
      ids_(ids),
      groups_(reader, sizes.group_chunks),
      decoder_(std::move(decoder)),
      after_each_(std::move(after_each)) {}

void GenerationWriter::Begin(std::vector<std::int64_t> journal_cuts) {
  ZERVANE_ASSERT(!journal_cuts.empty() && std::ranges::is_sorted(journal_cuts));
  journal_cuts_ = std::move(journal_cuts);
  written_to_ = 0;
}

Status GenerationWriter::Write() {
  // What was planned last may not have been written.
  if (is_begun_) groups_.Forget();
  is_begun_ = true;
  if (Status status = WriteTags(); !status.ok()) return status;
  if (Status status = TrimJournal(); !status.ok()) return status;
  pending_.DropFrozen();
  is_begun_ = false;
  return {};
}

Status GenerationWriter::WriteTags() {
  Slice slice;
  for (const auto* tag : TagsToWrite()) {
    if (Status status = PlanTag(*tag, &slice); !status.ok()) return status;
    after_each_(false);
    if (slice.weight < kSliceBytes) continue;
    if (Status status = WriteSlice(slice); !status.ok()) return status;
    slice = {};
  }
  return WriteSlice(slice);
}

// In order, so that the chunks of a tag lie near those of its neighbours.
std::vector<const PendingTags::value_type*> GenerationWriter::TagsToWrite() const {
  std::vector<const PendingTags::value_type*> tags;
  tags.reserve(pending_.frozen().size());
  for (const auto& tag : pending_.frozen()) {
    if (tag.first > written_to_) tags.push_back(&tag);
  }
  std::ranges::sort(tags, {}, [](const auto* tag) { return tag->first; });
  return tags;
}

Status GenerationWriter::PlanTag(const PendingTags::value_type& tag, Slice* slice) {
  SampleColumns merged;
  Result<ChunkEdits> edits = PlanMerge(reader_, tag.first, tag.second.archive.All(&merged),
                                       sizes_.chunk_records, decoder_);
  if (!edits.ok()) return edits.status();
  if (Status status = groups_.Plan(tag.first, &*edits); !status.ok()) return status;
  slice->weight += 2 * kRowBytes + WeightOf(*edits);
  slice->tags.push_back({&tag, *std::move(edits)});
  return {};
}

Status GenerationWriter::WriteSlice(const Slice& slice) {
  bool is_log_due = false;
  {
    const WriterHold hold(writer_.mutex);
    if (Status status = WriteWithSummaries(slice); !status.ok()) return status;
    is_log_due = writer_.IsLogDue();
  }
  if (!slice.tags.empty()) written_to_ = slice.tags.back().tag->first;
  for (const TagEdits& edits : slice.tags) {
    if (!pending_.IsToBeWritten(edits.tag->first)) continue;
    for (const ChunkSetAside& chunk : edits.chunks.damaged) {
      LogError("{}; set aside for newer records", chunk.why);
    }
  }
  after_each_(is_log_due);
  return {};
}

// What is known of summaries can be made again, so a table of them that is damaged holds nothing
// up: it gives way to a new one. The transaction that met the damage is undone first.
Status GenerationWriter::WriteWithSummaries(const Slice& slice) {
  bool are_damaged = std::ranges::any_of(
      slice.tags, [](const TagEdits& edits) { return edits.chunks.are_summaries_damaged; });
  if (!are_damaged) {
    Status status = WriteInTransaction(slice, false, &are_damaged);
    if (!are_damaged) return status;
  }
  Status status = WriteInTransaction(slice, true, &are_damaged);
  if (!status.ok()) return status;
  groups_.Forget();
  LogSummariesRenewed();
  return {};
}

// Whoever empties a tag does so in a transaction of this writer's, and tells Pending before another
// one begins.
Status GenerationWriter::WriteInTransaction(const Slice& slice, bool renews_summaries,
                                            bool* are_summaries_damaged) {
  Transaction transaction(*writer_.connection, Transaction::Kind::kWrite);
  if (!transaction.status().ok()) return transaction.status();
  if (renews_summaries) {
    if (Status status = RenewSummaries(*writer_.connection); !status.ok()) return status;
  }
  for (const TagEdits& edits : slice.tags) {
    if (!pending_.IsToBeWritten(edits.tag->first)) continue;
    if (Status status = WriteTag(edits, are_summaries_damaged); !status.ok()) return status;
  }
  return transaction.Commit();
}

Status GenerationWriter::WriteTag(const TagEdits& edits, bool* are_summaries_damaged) {
  Connection& file = *writer_.connection;
  const auto& [id, tag] = *edits.tag;
  Status applied = ApplyEdits(file, edits.chunks, ids_, are_summaries_damaged);
  if (!applied.ok()) return applied;
  if (tag.current) {
    Status status = PutRecord(file, RecordTable::kCurrent, id, *tag.current);
    if (!status.ok()) return status;
  }
  return tag.held == nullptr ? Status() : WriteHeld(id, *tag.held);
}

// A row that is there no more, since its transaction was undone, is deleted to no harm.
Status GenerationWriter::WriteHeld(TagId id, const HeldChange& held) {
  if (held.sample) {
    held_rows_.insert(id);
    return PutRecord(*writer_.connection, RecordTable::kHeld, id, *held.sample);
  }
  if (!held_rows_.contains(id)) return {};
  return DeleteRecord(*writer_.connection, RecordTable::kHeld, id);
}

Status GenerationWriter::TrimJournal() {
  for (const std::int64_t cut : journal_cuts_) {
    bool is_log_due = false;
    {
      const WriterHold hold(writer_.mutex);
      if (Status status = ClearJournal(*writer_.connection, cut); !status.ok()) return status;
      is_log_due = writer_.IsLogDue();
    }
    after_each_(is_log_due);
  }
  return {};
}

}  // namespace zervane::storage
