#include "engine/history/statistics/point_block.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <limits>

#include "engine/assert.h"
#include "engine/storage/run_statistics.h"

namespace zervane {
namespace {

template <typename Number>
Number NumberOfBits(std::uint64_t bits) {
  if constexpr (sizeof(Number) == sizeof(bits)) {
    return std::bit_cast<Number>(bits);
  } else {
    return std::bit_cast<Number>(static_cast<std::uint32_t>(bits));
  }
}

bool AreAll(std::span<const std::uint8_t> flags) {
  std::uint8_t all = 1;
  for (const std::uint8_t flag : flags) all &= flag;
  return all != 0;
}

}  // namespace

PointBlock RecordJudge::Judge(const SampleColumns& records, std::size_t begin, std::size_t end) {
  ZERVANE_ASSERT(begin < end && end - begin <= kMostRecords);
  const std::size_t count = end - begin;
  const bool are_texts = IsText(records.types()[begin]);
  ReadValues(records, begin, end);
  JudgeQualities(records.qualities().subspan(begin, count), are_texts);
  if (filter_ != nullptr) ApplyFilter(records, begin, end);
  if (are_texts) NumberTexts(records, begin, end);
  PointBlock block = {.times = records.times().subspan(begin, count),
                      .values = std::span(values_).first(count),
                      .is_admitted = std::span(is_admitted_).first(count),
                      .is_good = std::span(is_good_).first(count)};
  block.are_all_admitted = AreAll(block.is_admitted);
  block.are_all_good = AreAll(block.is_good);
  return block;
}

template <typename Number>
void RecordJudge::ReadNumbers(std::span<const std::uint64_t> bits) {
  for (std::size_t i = 0; i < bits.size(); ++i) {
    values_[i] = static_cast<double>(NumberOfBits<Number>(bits[i]));
  }
}

void RecordJudge::ReadValues(const SampleColumns& records, std::size_t begin, std::size_t end) {
  const auto bits = records.values().subspan(begin, end - begin);
  switch (records.types()[begin]) {
    case TagType::kFloat64:
      return ReadNumbers<double>(bits);
    case TagType::kFloat32:
      return ReadNumbers<float>(bits);
    case TagType::kString:
    case TagType::kBlob:
      std::fill_n(values_.begin(), bits.size(), std::numeric_limits<double>::quiet_NaN());
      return;
    default:
      return ReadNumbers<std::int32_t>(bits);
  }
}

void RecordJudge::JudgeQualities(std::span<const std::uint16_t> qualities, bool are_texts) {
  for (std::size_t i = 0; i < qualities.size(); ++i) {
    const bool is_finite = are_texts || std::isfinite(values_[i]);
    is_good_[i] = IsGoodQuality(qualities[i]) && is_finite ? 1 : 0;
  }
  if (!uses_bad_values_ || are_texts) {
    std::copy_n(is_good_.begin(), qualities.size(), is_admitted_.begin());
    return;
  }
  for (std::size_t i = 0; i < qualities.size(); ++i) {
    is_admitted_[i] = std::isfinite(values_[i]) ? 1 : 0;
  }
}

void RecordJudge::ApplyFilter(const SampleColumns& records, std::size_t begin, std::size_t end) {
  for (std::size_t i = 0; i < end - begin; ++i) {
    if (is_admitted_[i] == 0) continue;
    const double answer = filter_->Evaluate(values_[i], records.qualities()[begin + i],
                                            static_cast<double>(records.times()[begin + i]) / 1000);
    const bool passes = std::isfinite(answer) ? answer != 0 : keeps_failures_;
    is_admitted_[i] = passes ? 1 : 0;
  }
}

void RecordJudge::NumberTexts(const SampleColumns& records, std::size_t begin, std::size_t end) {
  for (std::size_t i = 0; i < end - begin; ++i) {
    if (is_admitted_[i] != 0 && records.TextAt(begin + i) != text_) {
      text_ = records.TextAt(begin + i);
      ++text_number_;
    }
    values_[i] = text_number_;
  }
}

}  // namespace zervane
