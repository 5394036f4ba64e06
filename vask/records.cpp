#include "vask/records.h"

#include <bit>
#include <cstring>
#include <optional>
#include <string>

#include "engine/assert.h"

namespace zervane {
namespace {

constexpr std::int64_t kMsPerSecond = 1000;

// In the caller's encoding, without the terminator; inside a text may take three times as many.
constexpr std::size_t kMaxCallersStringBytes = ZR3_LEN_VALUE - 1;

// A record's time and quality, which have been looked at.
struct Header {
  std::int64_t time_ms;
  std::uint16_t quality;
  TagType type;
};

Status AddString(const Header& header, const ZR3StrBlob& bytes, StandardText& texts,
                 SampleColumns* samples) {
  if (bytes.pBuf == nullptr) return {ZR3_ERR_NULL_ARGUMENT, "a STRING without a buffer"};
  const std::size_t size = strnlen(bytes.pBuf, bytes.nLenBuf);
  if (size == bytes.nLenBuf) {
    return {ZR3_ERR_INVALID_TEXT,
            "no terminator in a STRING of " + std::to_string(size) + " bytes"};
  }
  if (size > kMaxCallersStringBytes) {
    return {ZR3_ERR_VALUE_TOO_LONG, "a STRING of " + std::to_string(size) + " bytes"};
  }
  const std::optional<std::string_view> text = texts.FromSystem({bytes.pBuf, size});
  if (!text) return {ZR3_ERR_INVALID_TEXT, "a STRING that does not convert"};
  samples->AddText(header.time_ms, header.quality, header.type, *text);
  return {};
}

Status AddBlob(const Header& header, const ZR3StrBlob& bytes, SampleColumns* samples) {
  const std::size_t size = bytes.nLenBuf;
  if (size > 0 && bytes.pBuf == nullptr) {
    return {ZR3_ERR_NULL_ARGUMENT, "a BLOB without a buffer"};
  }
  if (size > kMaxBlobBytes) {
    return {ZR3_ERR_VALUE_TOO_LONG, "a BLOB of " + std::to_string(size) + " bytes"};
  }
  samples->AddText(header.time_ms, header.quality, header.type,
                   size == 0 ? std::string_view() : std::string_view(bytes.pBuf, size));
  return {};
}

Status AddNumber(const Header& header, std::uint64_t number, SampleColumns* samples) {
  samples->AddNumber(header.time_ms, header.quality, header.type, number);
  return {};
}

// Integers stand in the low half.
std::uint64_t BitsOfInteger(std::int32_t number) { return static_cast<std::uint32_t>(number); }

Status AddValue(const Header& header, const ZR3RecordValue& value, StandardText& texts,
                SampleColumns* samples) {
  switch (header.type) {
    case TagType::kInt8:
      return AddNumber(header, BitsOfInteger(value.nInt8), samples);
    case TagType::kInt16:
      return AddNumber(header, BitsOfInteger(value.nInt16), samples);
    case TagType::kInt32:
      return AddNumber(header, BitsOfInteger(value.nInt32), samples);
    case TagType::kFloat32:
      return AddNumber(header, std::bit_cast<std::uint32_t>(value.fFloat32), samples);
    case TagType::kFloat64:
      return AddNumber(header, std::bit_cast<std::uint64_t>(value.fFloat64), samples);
    case TagType::kDigital:
      return AddNumber(header, BitsOfInteger(value.nDigital), samples);
    case TagType::kString:
      return AddString(header, value.strBlob, texts, samples);
    case TagType::kBlob:
      return AddBlob(header, value.strBlob, samples);
  }
  return {ZR3_ERR_TYPE_MISMATCH, {}};
}

bool AreMilliseconds(int16 milliseconds) {
  return milliseconds >= 0 && milliseconds < kMsPerSecond;
}

// The milliseconds within the second have been looked at.
std::int64_t JoinTime(int32 seconds, int16 milliseconds) {
  ZERVANE_ASSERT(AreMilliseconds(milliseconds));
  return static_cast<std::uint32_t>(seconds) * kMsPerSecond + milliseconds;
}

Status InvalidTime(int16 milliseconds) {
  return {ZR3_ERR_INVALID_TIME, std::to_string(milliseconds) + " milliseconds"};
}

Status CheckBuffer(const ZR3StrBlob& buffer) {
  if (buffer.pBuf == nullptr) return {ZR3_ERR_TYPE_MISMATCH, "no buffer for the value"};
  return {};
}

Status TooSmall(const ZR3StrBlob& buffer, std::size_t bytes) {
  return {ZR3_ERR_BUFFER_TOO_SMALL,
          std::to_string(bytes) + " bytes into a buffer of " + std::to_string(buffer.nLenBuf)};
}

// Into a buffer for the longest STRINGs of callers whatever it takes, into a smaller one whole.
Status FillString(std::string_view utf8, StandardText& texts, ZR3StrBlob* buffer) {
  Status status = CheckBuffer(*buffer);
  if (!status.ok()) return status;
  if (buffer->nLenBuf == 0) return TooSmall(*buffer, utf8.size() + 1);
  const std::size_t room = buffer->nLenBuf - std::size_t{1};
  std::string_view text;
  if (room >= kMaxCallersStringBytes) {
    text = CallersText(texts, utf8, room);
  } else {
    const StandardText::SystemText whole = texts.ToSystem(utf8, room);
    if (!whole.is_whole) return TooSmall(*buffer, utf8.size() + 1);
    text = whole.bytes;
  }
  std::memcpy(buffer->pBuf, text.data(), text.size());
  buffer->pBuf[text.size()] = '\0';
  buffer->nLenBuf = static_cast<uint16>(text.size() + 1);
  return status;
}

Status FillBlob(std::string_view bytes, ZR3StrBlob* buffer) {
  Status status = CheckBuffer(*buffer);
  if (!status.ok()) return status;
  if (bytes.size() > buffer->nLenBuf) return TooSmall(*buffer, bytes.size());
  std::memcpy(buffer->pBuf, bytes.data(), bytes.size());
  buffer->nLenBuf = static_cast<uint16>(bytes.size());
  return status;
}

}  // namespace

Result<std::int64_t> ReadTime(int32 seconds, int16 milliseconds) {
  if (!AreMilliseconds(milliseconds)) return InvalidTime(milliseconds);
  return JoinTime(seconds, milliseconds);
}

Result<TimeRange> ReadRegion(const ZR3TimeRegion& region) {
  const Result<std::int64_t> left = ReadTime(region.left.nSec, region.left.nMsec);
  if (!left.ok()) return left.status();
  const Result<std::int64_t> right = ReadTime(region.right.nSec, region.right.nMsec);
  if (!right.ok()) return right.status();
  if (*left > *right) {
    return Status(ZR3_ERR_INVALID_REGION,
                  std::to_string(*left) + " ms to " + std::to_string(*right) + " ms");
  }
  return TimeRange{.from_ms = region.bLeftClosed != 0 ? *left : *left + 1,
                   .to_ms = region.bRightClosed != 0 ? *right : *right - 1};
}

Status AddRecord(const ZR3Record& record, StandardText& texts, SampleColumns* samples) {
  if (!IsTagType(record.nTagType)) {
    return {ZR3_ERR_TYPE_MISMATCH, "no type " + std::to_string(record.nTagType)};
  }
  if (!AreMilliseconds(record.nMsec)) return InvalidTime(record.nMsec);
  const Header header{.time_ms = JoinTime(record.nSec, record.nMsec),
                      .quality = record.nQuality,
                      .type = static_cast<TagType>(record.nTagType)};
  return AddValue(header, record.value, texts, samples);
}

bool NeedsBuffer(ZR3_TAG_TYPE type) {
  return type == ZR3_TAG_TYPE_STRING || type == ZR3_TAG_TYPE_BLOB;
}

Status FillRecord(const SampleView& sample, StandardText& texts, ZR3Record* record) {
  if (!IsText(sample.type)) return FillNumber(sample, record);
  ZR3StrBlob* const buffer = &record->value.strBlob;
  Status status = sample.type == TagType::kString ? FillString(sample.text, texts, buffer)
                                                  : FillBlob(sample.text, buffer);
  if (status.ok()) FillHeader(sample, record);
  return status;
}

}  // namespace zervane
