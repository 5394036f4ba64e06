#include "tests/fuzz/support.h"

#include <libdeflate.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "engine/storage/codec/batch_codec.h"
#include "engine/storage/codec/chunk_codec.h"
#include "engine/storage/codec/journal_entry.h"
#include "engine/storage/record_check.h"

namespace zervane::storage {
namespace {

void RequireValid(const SampleColumns& samples) {
  Require(!samples.empty(), "a chunk holds records");
  std::int64_t previous = kNoTime;
  for (std::size_t at = 0; at < samples.size(); ++at) {
    const std::int64_t time_ms = samples.times()[at];
    Require(samples.types()[at] == samples.types().front(), "a chunk's records have one type");
    Require(time_ms > previous && time_ms <= kMaxTimeMs, "times ascend in bounds");
    Require(CheckValue(samples, at) == ValueFault::kNone, "values suit their type");
    previous = time_ms;
  }
}

// To the bit, so that NaNs equal themselves and zeros of either sign do not equal each other.
bool IsSame(const SampleColumns& a, const SampleColumns& b, std::size_t at) {
  const bool are_alike = a.times()[at] == b.times()[at] && a.qualities()[at] == b.qualities()[at] &&
                         a.types()[at] == b.types()[at];
  if (!are_alike) return false;
  return IsText(a.types()[at]) ? a.TextAt(at) == b.TextAt(at) : a.values()[at] == b.values()[at];
}

void RequireSame(const SampleColumns& a, const SampleColumns& b) {
  Require(a.size() == b.size(), "as many records come back");
  for (std::size_t at = 0; at < a.size(); ++at) {
    Require(IsSame(a, b, at), "records come back to the bit");
  }
}

void RequireSame(const RecordBatch& a, const RecordBatch& b) {
  Require(a.tags == b.tags && a.marks == b.marks, "tags and marks come back");
  RequireSame(a.samples, b.samples);
}

}  // namespace

void Require(bool truth, const char* what) {
  if (truth) return;
  std::fprintf(stderr, "fuzz: not so: %s\n", what);
  std::abort();
}

std::string Sealed(BlockKind kind, std::string_view bytes) {
  if (bytes.size() < kBlockHeaderBytes) return {};
  std::string block(bytes);
  block[0] = 'Z';
  block[1] = static_cast<char>(kind);
  constexpr std::size_t kChecksumOffset = 16;
  const std::uint32_t sum =
      libdeflate_crc32(libdeflate_crc32(0, block.data(), kChecksumOffset),
                       block.data() + kBlockHeaderBytes, block.size() - kBlockHeaderBytes);
  std::memcpy(block.data() + kChecksumOffset, &sum, sizeof(sum));
  return block;
}

std::string SealedEntry(std::string_view bytes) {
  std::string entry;
  while (!bytes.empty()) {
    const std::string_view block = bytes.substr(0, BytesOfFirstBlock(bytes));
    const bool is_list = IsOfKind(BlockKind::kEmptied, block);
    entry += Sealed(is_list ? BlockKind::kEmptied : BlockKind::kBatch, block);
    bytes.remove_prefix(block.size());
  }
  return entry;
}

std::optional<std::string> DecodeSomeTexts(std::string_view bytes) {
  if (bytes.size() % 3 == 0) return std::nullopt;
  return std::string(bytes) + std::string(2 * bytes.size(), 'x');
}

void CheckRoundTrip(const SampleColumns& samples) {
  const auto again = DecodeChunk(EncodeChunk(samples, 0, samples.size()), DecodeSomeTexts);
  Require(again.ok(), "what was encoded decodes");
  RequireSame(*again, samples);
}

void CheckChunk(std::string_view bytes) {
  const auto samples = DecodeChunk(bytes, DecodeSomeTexts);
  if (!samples.ok()) return;
  RequireValid(*samples);
  CheckRoundTrip(*samples);
}

void CheckBatch(std::string_view bytes) {
  const auto batch = DecodeBatch(bytes, DecodeSomeTexts);
  if (!batch.ok()) return;
  Require(CheckRecords(*batch).ok(), "a batch's records are valid");
  ByteWriter out;
  EncodeBatch(*batch, 0, batch->size(), &out);
  const auto again = DecodeBatch(out.bytes(), DecodeSomeTexts);
  Require(again.ok(), "what was encoded decodes");
  RequireSame(*again, *batch);
}

void CheckEntry(std::string_view bytes) {
  const auto entry = DecodeEntry(bytes, DecodeSomeTexts);
  if (!entry.ok()) return;
  Require(CheckRecords(entry->records).ok(), "an entry's records are valid");
  ByteWriter out;
  EncodeEntry(entry->emptied, entry->records, &out);
  const auto again = DecodeEntry(out.bytes(), DecodeSomeTexts);
  Require(again.ok(), "what was encoded decodes");
  Require(again->emptied == entry->emptied, "emptied tags come back");
  RequireSame(again->records, entry->records);
}

}  // namespace zervane::storage
