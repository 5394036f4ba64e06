#include "engine/storage/codec/journal_entry.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <utility>

#include "engine/storage/codec/batch_codec.h"
#include "engine/storage/codec/block.h"

namespace zervane::storage {
namespace {

void EncodeEmptied(std::span<const TagId> tags, ByteWriter* out) {
  const std::size_t begin = BeginBlock(out);
  for (const TagId tag : tags) out->Varint(tag);
  SealBlock(BlockKind::kEmptied, {.format = kEmptiedFormat, .type = 0, .count = tags.size()}, begin,
            out);
}

Decoded<std::vector<TagId>> DecodeEmptied(std::string_view bytes) {
  const Decoded<Block> block = OpenBlock(BlockKind::kEmptied, bytes);
  if (!block.ok()) return block.damage();
  std::vector<TagId> tags;
  tags.reserve(block->head().count);
  ByteReader in(block->body());
  for (std::size_t i = 0; i < block->head().count; ++i) {
    const std::uint64_t tag = in.Varint();
    if (tag == 0 || tag > std::numeric_limits<TagId>::max())
      return Damage{"no such tag is emptied"};
    tags.push_back(static_cast<TagId>(tag));
  }
  if (!in.AtEnd()) return Damage{"the list of emptied tags is not valid"};
  return tags;
}

// Records of another block behind those of the ones before, which are none as a rule.
void Append(RecordBatch more, RecordBatch* to) {
  if (to->empty()) {
    *to = std::move(more);
    return;
  }
  to->tags.insert(to->tags.end(), more.tags.begin(), more.tags.end());
  to->marks.insert(to->marks.end(), more.marks.begin(), more.marks.end());
  to->samples.AddAll(more.samples);
}

}  // namespace

void EncodeEntry(std::span<const TagId> emptied, const RecordBatch& records, ByteWriter* out) {
  out->Cut(0);
  bool has_blocks = false;
  for (; !emptied.empty(); has_blocks = true) {
    const auto part = emptied.first(std::min(emptied.size(), kMaxBlockRecords));
    EncodeEmptied(part, out);
    emptied = emptied.subspan(part.size());
  }
  for (std::size_t begin = 0; begin < records.size() || !has_blocks; has_blocks = true) {
    const std::size_t end = std::min(records.size(), begin + kMaxBlockRecords);
    EncodeBatch(records, begin, end, out);
    begin = end;
  }
}

Decoded<JournalEntry> DecodeEntry(std::string_view bytes, const TextDecoder& decoder) {
  JournalEntry entry;
  do {
    const std::string_view block = bytes.substr(0, BytesOfFirstBlock(bytes));
    bytes.remove_prefix(block.size());
    if (IsOfKind(BlockKind::kEmptied, block) && entry.records.empty()) {
      const Decoded<std::vector<TagId>> tags = DecodeEmptied(block);
      if (!tags.ok()) return tags.damage();
      entry.emptied.insert(entry.emptied.end(), tags->begin(), tags->end());
    } else {
      Decoded<RecordBatch> batch = DecodeBatch(block, decoder);
      if (!batch.ok()) return batch.damage();
      Append(*std::move(batch), &entry.records);
    }
  } while (!bytes.empty());
  return entry;
}

}  // namespace zervane::storage
