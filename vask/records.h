#pragma once

#include <bit>
#include <cstddef>
#include <cstdint>
#include <string_view>

#include "api/words/samples.h"
#include "api/words/status.h"
#include "api/words/value.h"
#include "vask/texts.h"
#include "zr3Struct.h"

// The C records of times and values, to and from the domain. Nothing a caller hands in is trusted
// beyond what the record promises: a buffer has the length that stands beside it.

namespace zervane {

// Milliseconds since 1970: ZR3_ERR_INVALID_TIME.
Result<std::int64_t> ReadTime(int32 seconds, int16 milliseconds);

// The closed range of the times that belong to a region: ZR3_ERR_INVALID_TIME,
// ZR3_ERR_INVALID_REGION.
Result<TimeRange> ReadRegion(const ZR3TimeRegion& region);

// Adds the record that a caller writes: ZR3_ERR_INVALID_TIME, ZR3_ERR_TYPE_MISMATCH when the type
// is none, ZR3_ERR_NULL_ARGUMENT, ZR3_ERR_INVALID_TEXT, ZR3_ERR_VALUE_TOO_LONG (a STRING of more
// than 999 bytes, as the caller counts them, or a BLOB of more than 1,000). Nothing is added then.
Status AddRecord(const ZR3Record& record, StandardText& texts, SampleColumns* samples);

// Whether values of the type travel in the caller's buffer.
bool NeedsBuffer(ZR3_TAG_TYPE type);

// A sample as records are filled from it, for as long as what it was made of stays as it is.
struct SampleView {
  std::int64_t time_ms = 0;
  std::uint16_t quality = 0;
  TagType type = TagType::kFloat64;
  std::uint64_t number = 0;    // as SampleColumns has it
  std::string_view text = {};  // of a STRING or BLOB
};
inline SampleView ViewOf(const SampleColumns& samples, std::size_t at) {
  const TagType type = samples.types()[at];
  const bool is_text = IsText(type);
  return {.time_ms = samples.times()[at],
          .quality = samples.qualities()[at],
          .type = type,
          .number = is_text ? 0 : samples.values()[at],
          .text = is_text ? samples.TextAt(at) : std::string_view()};
}
inline SampleView ViewOf(const Sample& sample) {
  return {.time_ms = sample.time_ms,
          .quality = sample.quality,
          .type = sample.type,
          .number = BitsOf(sample.value),
          .text = sample.value.text().str()};
}

// The parts of a record that is filled: a number's slot, and the header.
inline Status FillNumberValue(const SampleView& sample, ZR3RecordValue* value) {
  const auto integer = static_cast<std::int32_t>(sample.number);
  switch (sample.type) {
    case TagType::kInt8:
      value->nInt8 = static_cast<int8>(integer);
      return {};
    case TagType::kInt16:
      value->nInt16 = static_cast<int16>(integer);
      return {};
    case TagType::kInt32:
      value->nInt32 = integer;
      return {};
    case TagType::kFloat32:
      value->fFloat32 = std::bit_cast<float>(static_cast<std::uint32_t>(sample.number));
      return {};
    case TagType::kFloat64:
      value->fFloat64 = std::bit_cast<double>(sample.number);
      return {};
    case TagType::kDigital:
      value->nDigital = static_cast<int8>(integer);
      return {};
    case TagType::kString:
    case TagType::kBlob:
      break;
  }
  return {ZR3_ERR_INTERNAL, "a sample of no type"};
}

inline void FillHeader(const SampleView& sample, ZR3Record* record) {
  record->nSec = static_cast<int32>(static_cast<std::uint32_t>(sample.time_ms / 1000));
  record->nMsec = static_cast<int16>(sample.time_ms % 1000);
  record->nQuality = sample.quality;
  record->nTagType = static_cast<ZR3_TAG_TYPE>(sample.type);
}

// Fills the caller's record: its header and the slot of the sample's type; a STRING is terminated.
// STRING and BLOB go into the buffer of record->value.strBlob: ZR3_ERR_TYPE_MISMATCH when that is
// null, ZR3_ERR_BUFFER_TOO_SMALL. A STRING that is longer than a buffer of ZR3_LEN_VALUE bytes, or
// of more, is cut after a whole character. A record that is refused is untouched.
Status FillRecord(const SampleView& sample, StandardText& texts, ZR3Record* record);
// The same of a number, whose filling needs no converter of texts and is done millions of times.
inline Status FillNumber(const SampleView& sample, ZR3Record* record) {
  Status status = FillNumberValue(sample, &record->value);
  if (status.ok()) FillHeader(sample, record);
  return status;
}

}  // namespace zervane
