#include "engine/storage/codec/batch_codec.h"

#include <algorithm>
#include <cstdint>
#include <limits>
#include <string>

#include "engine/assert.h"
#include "engine/storage/codec/block.h"
#include "engine/storage/record_check.h"

namespace zervane::storage {
namespace {

// A record opens with a byte that holds its type and these marks. Tag and time follow as
// differences to the record before, the quality only where it differs, then the value.
constexpr unsigned kTypeMask = 0x07;
constexpr unsigned kArchiveBit = 0x08;
constexpr unsigned kCurrentBit = 0x10;
constexpr unsigned kQualityBit = 0x20;  // a quality follows
constexpr unsigned kHeldBit = 0x40;
constexpr unsigned kAllBits = kTypeMask | kArchiveBit | kCurrentBit | kQualityBit | kHeldBit;

// The last format whose STRINGs are in the database's encoding.
constexpr std::uint8_t kEncodedTexts = 1;

// The longest record without the bytes of a text: its marks, tag, time, quality, value.
constexpr std::size_t kMaxNumberRecordBytes = 1 + 2 * kMaxVarintBytes + 2 + kMaxVarintBytes;

// So many numbers get their room at once.
constexpr std::size_t kStride = 512;

// What a record is told by its difference to.
struct Before {
  TagId tag = 0;
  std::int64_t time_ms = 0;
  std::uint16_t quality = ZR3_QUALITY_GOOD;
};

unsigned BitsOfMarks(unsigned marks) {
  return ((marks & kArchive) != 0 ? kArchiveBit : 0) | ((marks & kCurrent) != 0 ? kCurrentBit : 0) |
         ((marks & kHeld) != 0 ? kHeldBit : 0);
}

std::uint8_t MarksOfBits(unsigned bits) {
  unsigned marks = 0;
  if ((bits & kArchiveBit) != 0) marks |= kArchive;
  if ((bits & kCurrentBit) != 0) marks |= kCurrent;
  if ((bits & kHeldBit) != 0) marks |= kHeld;
  return static_cast<std::uint8_t>(marks);
}

char* PutValue(char* to, const SampleColumns& samples, std::size_t at) {
  const std::uint64_t bits = samples.values()[at];
  switch (samples.types()[at]) {
    case TagType::kFloat64:
      return PutFixed(to, bits);
    case TagType::kFloat32:
      return PutFixed(to, static_cast<std::uint32_t>(bits));
    case TagType::kString:
    case TagType::kBlob: {
      const std::string_view text = samples.TextAt(at);
      return PutBytes(PutVarint(to, text.size()), text);
    }
    case TagType::kInt8:
    case TagType::kInt16:
    case TagType::kInt32:
    case TagType::kDigital:
      break;
  }
  return PutSignedVarint(to, static_cast<std::int32_t>(bits));
}

// Answers the place behind the records, for which there is room.
char* PutRecords(const RecordBatch& batch, std::size_t begin, std::size_t end, Before* before,
                 char* to) {
  const SampleColumns& samples = batch.samples;
  for (std::size_t at = begin; at < end; ++at) {
    const TagId tag = batch.tags[at];
    const std::int64_t time_ms = samples.times()[at];
    const std::uint16_t quality = samples.qualities()[at];
    const bool has_new_quality = quality != before->quality;
    const unsigned bits = static_cast<unsigned>(samples.types()[at]) |
                          BitsOfMarks(batch.marks[at]) | (has_new_quality ? kQualityBit : 0);
    to = PutFixed(to, static_cast<std::uint8_t>(bits));
    to = PutSignedVarint(to, std::int64_t{tag} - std::int64_t{before->tag});
    to = PutSignedVarint(to, time_ms - before->time_ms);
    if (has_new_quality) to = PutFixed(to, quality);
    to = PutValue(to, samples, at);
    *before = {.tag = tag, .time_ms = time_ms, .quality = quality};
  }
  return to;
}

// Appends the next record to the batch, which has room; false when the bytes are none.
class RecordReader {
 public:
  RecordReader(std::string_view body, const TextDecoder* decoder) : in_(body), decoder_(decoder) {}

  bool Read(RecordBatch* batch) {
    const unsigned bits = in_.Fixed<std::uint8_t>();
    const std::int64_t tag_step = in_.SignedVarint();
    const std::int64_t time_step = in_.SignedVarint();
    constexpr std::int64_t kMaxTag = std::numeric_limits<TagId>::max();
    const bool in_bounds = (bits & ~kAllBits) == 0 && tag_step >= -kMaxTag && tag_step <= kMaxTag &&
                           time_step >= -kMaxTimeMs && time_step <= kMaxTimeMs;
    if (!in_bounds) return false;
    const std::int64_t tag = before_.tag + tag_step;
    if (tag < 0 || tag > kMaxTag) return false;
    before_.tag = static_cast<TagId>(tag);
    before_.time_ms += time_step;
    // The sum is bounded here, or it might overflow in the end.
    if (before_.time_ms < 0 || before_.time_ms > kMaxTimeMs) return false;
    if ((bits & kQualityBit) != 0) before_.quality = in_.Fixed<std::uint16_t>();
    batch->tags.push_back(before_.tag);
    batch->marks.push_back(MarksOfBits(bits));
    AddValue(static_cast<TagType>(bits & kTypeMask), &batch->samples);
    return in_.ok();
  }

  bool AtEnd() const { return in_.AtEnd(); }

 private:
  void AddValue(TagType type, SampleColumns* samples) {
    if (IsText(type)) {
      const std::string_view bytes = in_.Counted();
      if (type == TagType::kString && decoder_ != nullptr) {
        AddText(type, TextOfStored(bytes, *decoder_), samples);
      } else {
        AddText(type, bytes, samples);
      }
    } else {
      samples->AddNumber(before_.time_ms, before_.quality, type, NumberBits(type));
    }
  }

  void AddText(TagType type, std::string_view text, SampleColumns* samples) {
    samples->AddText(before_.time_ms, before_.quality, type, text);
  }

  std::uint64_t NumberBits(TagType type) {
    if (type == TagType::kFloat64) return in_.Fixed<std::uint64_t>();
    if (type == TagType::kFloat32) return in_.Fixed<std::uint32_t>();
    // A difference beyond 32 bits is cut; what remains is checked against the type.
    return static_cast<std::uint32_t>(in_.SignedVarint());
  }

  ByteReader in_;
  const TextDecoder* decoder_;  // null: STRINGs are UTF-8
  Before before_;
};

}  // namespace

void EncodeBatch(const RecordBatch& batch, std::size_t begin, std::size_t end, ByteWriter* out) {
  ZERVANE_ASSERT(begin <= end && end <= batch.size() && end - begin <= kMaxBlockRecords);
  const std::size_t start = BeginBlock(out);
  const bool has_texts = !batch.samples.texts().empty();
  const std::size_t stride = has_texts ? 1 : kStride;
  Before before;
  for (std::size_t at = begin; at < end; at += stride) {
    const std::size_t text =
        IsText(batch.samples.types()[at]) ? batch.samples.TextAt(at).size() : 0;
    char* const to = out->Room(stride * kMaxNumberRecordBytes + text);
    out->Advance(PutRecords(batch, at, std::min(at + stride, end), &before, to));
  }
  SealBlock(BlockKind::kBatch, {.format = kBatchFormat, .type = 0, .count = end - begin}, start,
            out);
}

Decoded<RecordBatch> DecodeBatch(std::string_view bytes, const TextDecoder& decoder) {
  const Decoded<Block> block = OpenBlock(BlockKind::kBatch, bytes);
  if (!block.ok()) return block.damage();
  const BlockHead& head = block->head();
  const bool is_encoded = head.format <= kEncodedTexts;
  RecordBatch batch;
  batch.tags.reserve(head.count);
  batch.marks.reserve(head.count);
  batch.samples.Reserve(head.count);
  RecordReader in(block->body(), is_encoded ? &decoder : nullptr);
  for (std::size_t i = 0; i < head.count; ++i) {
    if (!in.Read(&batch)) return Damage{"the batch does not decode"};
  }
  if (!in.AtEnd() || !CheckRecords(batch).ok()) return Damage{"the batch is not valid"};
  return batch;
}

}  // namespace zervane::storage
