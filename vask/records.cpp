#include "vask/records.h"

#include <cstring>
#include <string>
#include <utility>

#include "engine/assert.h"

namespace zervane {
namespace {

constexpr std::int64_t kMsPerSecond = 1000;

Status ReadString(const ZR3StrBlob& bytes, Value* value) {
  if (bytes.pBuf == nullptr) return {ZR3_ERR_NULL_ARGUMENT, "a STRING without a buffer"};
  const std::size_t size = strnlen(bytes.pBuf, bytes.nLenBuf);
  if (size == bytes.nLenBuf) {
    return {ZR3_ERR_INVALID_TEXT,
            "no terminator in a STRING of " + std::to_string(size) + " bytes"};
  }
  if (size > ZR3_LEN_VALUE - 1) {
    return {ZR3_ERR_VALUE_TOO_LONG, "a STRING of " + std::to_string(size) + " bytes"};
  }
  *value = std::string(bytes.pBuf, size);
  return {};
}

Status ReadBlob(const ZR3StrBlob& bytes, Value* value) {
  const std::size_t size = bytes.nLenBuf;
  if (size > 0 && bytes.pBuf == nullptr) {
    return {ZR3_ERR_NULL_ARGUMENT, "a BLOB without a buffer"};
  }
  if (size > kMaxBlobBytes) {
    return {ZR3_ERR_VALUE_TOO_LONG, "a BLOB of " + std::to_string(size) + " bytes"};
  }
  *value = size == 0 ? std::string() : std::string(bytes.pBuf, size);
  return {};
}

Status ReadValue(TagType type, const ZR3RecordValue& from, Value* value) {
  switch (type) {
    case TagType::kInt8:
      *value = std::int32_t{from.nInt8};
      return {};
    case TagType::kInt16:
      *value = std::int32_t{from.nInt16};
      return {};
    case TagType::kInt32:
      *value = from.nInt32;
      return {};
    case TagType::kFloat32:
      *value = from.fFloat32;
      return {};
    case TagType::kFloat64:
      *value = from.fFloat64;
      return {};
    case TagType::kDigital:
      *value = std::int32_t{from.nDigital};
      return {};
    case TagType::kString:
      return ReadString(from.strBlob, value);
    case TagType::kBlob:
      return ReadBlob(from.strBlob, value);
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

// `size` is what the value takes in the buffer.
Status CheckBuffer(const ZR3StrBlob& buffer, std::size_t size) {
  if (buffer.pBuf == nullptr) return {ZR3_ERR_TYPE_MISMATCH, "no buffer for the value"};
  if (size > buffer.nLenBuf) {
    return {ZR3_ERR_BUFFER_TOO_SMALL,
            std::to_string(size) + " bytes into a buffer of " + std::to_string(buffer.nLenBuf)};
  }
  return {};
}

// `size` counts a STRING's terminator, which std::string keeps behind its bytes.
Status FillBytes(const std::string& bytes, std::size_t size, ZR3StrBlob* buffer) {
  Status status = CheckBuffer(*buffer, size);
  if (!status.ok()) return status;
  std::memcpy(buffer->pBuf, bytes.c_str(), size);
  buffer->nLenBuf = static_cast<uint16>(size);
  return status;
}

Status FillValue(const Sample& sample, ZR3RecordValue* value) {
  switch (sample.type) {
    case TagType::kInt8:
      value->nInt8 = static_cast<int8>(sample.value.integer());
      return {};
    case TagType::kInt16:
      value->nInt16 = static_cast<int16>(sample.value.integer());
      return {};
    case TagType::kInt32:
      value->nInt32 = sample.value.integer();
      return {};
    case TagType::kFloat32:
      value->fFloat32 = sample.value.float32();
      return {};
    case TagType::kFloat64:
      value->fFloat64 = sample.value.float64();
      return {};
    case TagType::kDigital:
      value->nDigital = static_cast<int8>(sample.value.integer());
      return {};
    case TagType::kString: {
      const auto& text = sample.value.text().str();
      return FillBytes(text, text.size() + 1, &value->strBlob);
    }
    case TagType::kBlob: {
      const auto& blob = sample.value.text().str();
      return FillBytes(blob, blob.size(), &value->strBlob);
    }
  }
  return {ZR3_ERR_INTERNAL, "a sample of no type"};
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

Status ReadRecord(const ZR3Record& record, Sample* sample) {
  if (!IsTagType(record.nTagType)) {
    return {ZR3_ERR_TYPE_MISMATCH, "no type " + std::to_string(record.nTagType)};
  }
  if (!AreMilliseconds(record.nMsec)) return InvalidTime(record.nMsec);
  sample->time_ms = JoinTime(record.nSec, record.nMsec);
  sample->quality = record.nQuality;
  sample->type = static_cast<TagType>(record.nTagType);
  return ReadValue(sample->type, record.value, &sample->value);
}

bool NeedsBuffer(ZR3_TAG_TYPE type) {
  return type == ZR3_TAG_TYPE_STRING || type == ZR3_TAG_TYPE_BLOB;
}

Status FillRecord(const Sample& sample, ZR3Record* record) {
  Status status = FillValue(sample, &record->value);
  if (!status.ok()) return status;
  record->nSec = static_cast<int32>(static_cast<std::uint32_t>(sample.time_ms / kMsPerSecond));
  record->nMsec = static_cast<int16>(sample.time_ms % kMsPerSecond);
  record->nQuality = sample.quality;
  record->nTagType = static_cast<ZR3_TAG_TYPE>(sample.type);
  return status;
}

}  // namespace zervane
