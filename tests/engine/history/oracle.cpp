#include "tests/engine/history/oracle.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <string>

#include "zr3Enum.h"

namespace zervane::oracle {
namespace {

bool IsWord(TagType type) { return type == TagType::kString || type == TagType::kBlob; }

double NumberIn(const Value& value) {
  switch (value.kind()) {
    case Value::Kind::kInteger:
      return value.integer();
    case Value::Kind::kFloat32:
      return value.float32();
    case Value::Kind::kFloat64:
      return value.float64();
    case Value::Kind::kText:
      break;
  }
  return std::numeric_limits<double>::quiet_NaN();
}

bool IsGood(const Sample& sample) {
  const bool is_high = sample.quality / 64 % 4 == 3;
  return is_high && (IsWord(sample.type) || std::isfinite(NumberIn(sample.value)));
}

Answer HeldBy(const Sample& sample, std::uint16_t quality) {
  Answer answer{.code = ZR3_OK, .number = 0, .text = {}, .quality = quality};
  if (IsWord(sample.type)) {
    answer.text = sample.value.text().str();
  } else {
    answer.number = NumberIn(sample.value);
  }
  return answer;
}

}  // namespace

Answer ValueAt(const std::vector<Sample>& records, TagType type, InterpolationMode mode,
               std::int64_t now_ms, std::int64_t time_ms) {
  if (time_ms < 0 || time_ms > kMaxTimeMs) return {.code = ZR3_ERR_INVALID_TIME, .text = {}};
  if (time_ms > now_ms) return {.code = ZR3_ERR_NO_RECORD, .text = {}};
  const Sample* before = nullptr;
  const Sample* after = nullptr;
  for (const Sample& sample : records) {
    if (!IsGood(sample)) continue;
    if (sample.time_ms <= time_ms) before = &sample;
    if (sample.time_ms > time_ms && after == nullptr) after = &sample;
  }
  if (before == nullptr) return {.code = ZR3_ERR_NO_RECORD, .text = {}};
  if (before->time_ms == time_ms) return HeldBy(*before, before->quality);
  // All that lies between good records is not good.
  const auto has_bad = [&](std::int64_t to_ms) {
    return std::any_of(records.begin(), records.end(), [&](const Sample& sample) {
      return sample.time_ms > before->time_ms && sample.time_ms <= to_ms && !IsGood(sample);
    });
  };
  const bool is_line = mode == InterpolationMode::kLinear && !IsWord(type) &&
                       type != TagType::kDigital && after != nullptr;
  if (!is_line) return HeldBy(*before, has_bad(time_ms) ? 88 : 192);
  Answer answer = HeldBy(*before, has_bad(after->time_ms) ? 88 : 192);
  const long double rise = NumberIn(after->value) - static_cast<long double>(answer.number);
  const long double value =
      answer.number + rise * static_cast<long double>(time_ms - before->time_ms) /
                          static_cast<long double>(after->time_ms - before->time_ms);
  const bool is_whole = type != TagType::kFloat64 && type != TagType::kFloat32;
  answer.number = static_cast<double>(is_whole ? std::round(value) : value);
  if (type == TagType::kFloat32) answer.number = static_cast<float>(answer.number);
  return answer;
}

}  // namespace zervane::oracle
