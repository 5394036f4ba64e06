#include "engine/storage/codec/batch_codec.h"

#include <bit>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <string>
#include <string_view>

#include "engine/assert.h"
#include "engine/storage/codec/block.h"
#include "engine/storage/codec/bytes.h"
#include "engine/storage/record_check.h"

namespace zervane::storage {
namespace {

// A record opens with a byte that holds its type and these marks. Tag and time follow as
// differences to the record before, the quality only where it differs, then the value.
constexpr unsigned kTypeMask = 0x07;
constexpr unsigned kArchiveMark = 0x08;
constexpr unsigned kCurrentMark = 0x10;
constexpr unsigned kQualityMark = 0x20;  // a quality follows
constexpr unsigned kHeldMark = 0x40;
constexpr unsigned kAllMarks = kTypeMask | kArchiveMark | kCurrentMark | kQualityMark | kHeldMark;

// The longest record without the bytes of a text: its marks, tag, time, quality, value.
constexpr std::size_t kMaxNumberRecordBytes = 1 + 2 * kMaxVarintBytes + 2 + kMaxVarintBytes;

char* PutValue(char* to, const Value& value) {
  switch (value.kind()) {
    case Value::Kind::kFloat64:
      return PutFixed(to, std::bit_cast<std::uint64_t>(value.float64()));
    case Value::Kind::kFloat32:
      return PutFixed(to, std::bit_cast<std::uint32_t>(value.float32()));
    case Value::Kind::kInteger:
      return PutSignedVarint(to, value.integer());
    case Value::Kind::kText:
      break;
  }
  const std::string& bytes = value.text().str();
  return PutBytes(PutVarint(to, bytes.size()), bytes);
}

std::size_t TextBytes(const Value& value) { return value.text_size(); }

Value ReadValue(TagType type, ByteReader* in) {
  switch (type) {
    case TagType::kFloat32:
      return std::bit_cast<float>(in->Fixed<std::uint32_t>());
    case TagType::kFloat64:
      return std::bit_cast<double>(in->Fixed<std::uint64_t>());
    case TagType::kString:
    case TagType::kBlob:
      return std::string(in->Counted());
    case TagType::kInt8:
    case TagType::kInt16:
    case TagType::kInt32:
    case TagType::kDigital:
      break;
  }
  // A difference beyond 32 bits is cut; what remains is checked against the type.
  return static_cast<std::int32_t>(in->SignedVarint());
}

void WriteRecord(const AcceptedSample& record, const AcceptedSample& before, ByteWriter* out) {
  const Sample& sample = record.sample;
  const bool new_quality = sample.quality != before.sample.quality;
  const unsigned marks = static_cast<unsigned>(sample.type) | (record.archive ? kArchiveMark : 0) |
                         (record.current ? kCurrentMark : 0) | (record.held ? kHeldMark : 0) |
                         (new_quality ? kQualityMark : 0);
  char* to = out->Room(kMaxNumberRecordBytes + TextBytes(sample.value));
  to = PutFixed(to, static_cast<std::uint8_t>(marks));
  to = PutSignedVarint(to, std::int64_t{record.tag} - std::int64_t{before.tag});
  to = PutSignedVarint(to, sample.time_ms - before.sample.time_ms);
  if (new_quality) to = PutFixed(to, sample.quality);
  out->Advance(PutValue(to, sample.value));
}

// False when the bytes are no record.
bool ReadRecord(ByteReader* in, const AcceptedSample& before, AcceptedSample* record) {
  const unsigned marks = in->Fixed<std::uint8_t>();
  const std::int64_t tag_step = in->SignedVarint();
  const std::int64_t time_step = in->SignedVarint();
  constexpr std::int64_t kMaxTag = std::numeric_limits<TagId>::max();
  const bool in_bounds = (marks & ~kAllMarks) == 0 && tag_step >= -kMaxTag && tag_step <= kMaxTag &&
                         time_step >= -kMaxTimeMs && time_step <= kMaxTimeMs;
  if (!in_bounds) return false;
  const std::int64_t tag = before.tag + tag_step;
  if (tag < 0 || tag > kMaxTag) return false;
  record->tag = static_cast<TagId>(tag);
  record->archive = (marks & kArchiveMark) != 0;
  record->current = (marks & kCurrentMark) != 0;
  record->held = (marks & kHeldMark) != 0;
  Sample& sample = record->sample;
  sample.type = static_cast<TagType>(marks & kTypeMask);
  sample.time_ms = before.sample.time_ms + time_step;
  sample.quality = (marks & kQualityMark) != 0 ? in->Fixed<std::uint16_t>() : before.sample.quality;
  sample.value = ReadValue(sample.type, in);
  return in->ok();
}

const AcceptedSample kBeforeFirst{};

}  // namespace

std::string_view EncodeBatch(std::span<const AcceptedSample> records, ByteWriter* block) {
  ZERVANE_ASSERT(records.size() <= kMaxBlockRecords && CheckRecords(records).ok());
  BeginBlock(block);
  const AcceptedSample* before = &kBeforeFirst;
  for (const AcceptedSample& record : records) {
    WriteRecord(record, *before, block);
    before = &record;
  }
  return SealBlock(BlockKind::kBatch, {.format = kBatchFormat, .type = 0, .count = records.size()},
                   block);
}

Decoded<std::vector<AcceptedSample>> DecodeBatch(std::string_view bytes) {
  const Decoded<Block> block = OpenBlock(BlockKind::kBatch, bytes);
  if (!block.ok()) return block.damage();
  std::vector<AcceptedSample> records(block->head.count);
  ByteReader in(block->body);
  const AcceptedSample* before = &kBeforeFirst;
  for (AcceptedSample& record : records) {
    if (!ReadRecord(&in, *before, &record)) return Damage{"the batch does not decode"};
    before = &record;
  }
  if (!in.AtEnd() || !CheckRecords(records).ok()) return Damage{"the batch is not valid"};
  return records;
}

}  // namespace zervane::storage
