#include "vask/records.h"

#include <cstring>
#include <string>
#include <utility>

namespace zervane {
namespace {

constexpr std::int64_t kMsPerSecond = 1000;

Result<Value> ReadString(const ZR3StrBlob& bytes) {
  if (bytes.pBuf == nullptr) return Status(ZR3_ERR_NULL_ARGUMENT, "a STRING without a buffer");
  const std::size_t size = strnlen(bytes.pBuf, bytes.nLenBuf);
  if (size == bytes.nLenBuf) {
    return Status(ZR3_ERR_INVALID_TEXT,
                  "no terminator in a STRING of " + std::to_string(size) + " bytes");
  }
  if (size > kMaxStringBytes) {
    return Status(ZR3_ERR_VALUE_TOO_LONG, "a STRING of " + std::to_string(size) + " bytes");
  }
  return Value(std::string(bytes.pBuf, size));
}

Result<Value> ReadBlob(const ZR3StrBlob& bytes) {
  if (bytes.nLenBuf == 0) return Value(std::string());
  if (bytes.pBuf == nullptr) return Status(ZR3_ERR_NULL_ARGUMENT, "a BLOB without a buffer");
  if (bytes.nLenBuf > kMaxBlobBytes) {
    return Status(ZR3_ERR_VALUE_TOO_LONG, "a BLOB of " + std::to_string(bytes.nLenBuf) + " bytes");
  }
  return Value(std::string(bytes.pBuf, bytes.nLenBuf));
}

Result<Value> ReadValue(TagType type, const ZR3RecordValue& value) {
  switch (type) {
    case TagType::kInt8:
      return Value(std::int32_t{value.nInt8});
    case TagType::kInt16:
      return Value(std::int32_t{value.nInt16});
    case TagType::kInt32:
      return Value(value.nInt32);
    case TagType::kFloat32:
      return Value(value.fFloat32);
    case TagType::kFloat64:
      return Value(value.fFloat64);
    case TagType::kDigital:
      return Value(std::int32_t{value.nDigital});
    case TagType::kString:
      return ReadString(value.strBlob);
    case TagType::kBlob:
      return ReadBlob(value.strBlob);
  }
  return Status(ZR3_ERR_TYPE_MISMATCH, {});
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
      value->nInt8 = static_cast<int8>(std::get<std::int32_t>(sample.value));
      return {};
    case TagType::kInt16:
      value->nInt16 = static_cast<int16>(std::get<std::int32_t>(sample.value));
      return {};
    case TagType::kInt32:
      value->nInt32 = std::get<std::int32_t>(sample.value);
      return {};
    case TagType::kFloat32:
      value->fFloat32 = std::get<float>(sample.value);
      return {};
    case TagType::kFloat64:
      value->fFloat64 = std::get<double>(sample.value);
      return {};
    case TagType::kDigital:
      value->nDigital = static_cast<int8>(std::get<std::int32_t>(sample.value));
      return {};
    case TagType::kString: {
      const auto& text = std::get<TextValue>(sample.value).str();
      return FillBytes(text, text.size() + 1, &value->strBlob);
    }
    case TagType::kBlob: {
      const auto& blob = std::get<TextValue>(sample.value).str();
      return FillBytes(blob, blob.size(), &value->strBlob);
    }
  }
  return {ZR3_ERR_INTERNAL, "a sample of no type"};
}

}  // namespace

Result<std::int64_t> ReadTime(int32 seconds, int16 milliseconds) {
  if (milliseconds < 0 || milliseconds >= kMsPerSecond) {
    return Status(ZR3_ERR_INVALID_TIME, std::to_string(milliseconds) + " milliseconds");
  }
  return static_cast<std::uint32_t>(seconds) * kMsPerSecond + milliseconds;
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

Result<Sample> ReadRecord(const ZR3Record& record) {
  if (!IsTagType(record.nTagType)) {
    return Status(ZR3_ERR_TYPE_MISMATCH, "no type " + std::to_string(record.nTagType));
  }
  const Result<std::int64_t> time_ms = ReadTime(record.nSec, record.nMsec);
  if (!time_ms.ok()) return time_ms.status();
  const auto type = static_cast<TagType>(record.nTagType);
  Result<Value> value = ReadValue(type, record.value);
  if (!value.ok()) return value.status();
  return Sample{
      .time_ms = *time_ms, .quality = record.nQuality, .type = type, .value = *std::move(value)};
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
