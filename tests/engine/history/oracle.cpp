#include "tests/engine/history/oracle.h"

#include <algorithm>
#include <cmath>
#include <limits>
#include <optional>
#include <string>
#include <utility>

#include "zr3Enum.h"

namespace zervane::oracle {
namespace {

bool IsWord(TagType type) { return type == TagType::kString || type == TagType::kBlob; }

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

namespace {

// One record, or one sample, and what a statistic makes of it.
struct Judged {
  std::int64_t time_ms = 0;
  double number = 0;
  std::string text;
  bool is_good = false;
  bool is_admitted = false;
};

// A piece of time that one of them governs.
struct Piece {
  const Judged* judged = nullptr;
  const Judged* next = nullptr;  // null: none
  std::int64_t from_ms = 0;
  std::int64_t to_ms = 0;

  long double seconds() const { return static_cast<long double>(to_ms - from_ms) / 1000; }
};

// All that the formulas speak of.
struct Material {
  std::vector<const Judged*> inside;
  std::vector<Piece> pieces;
  std::vector<std::pair<const Judged*, const Judged*>> steps;  // to each that is inside, if any
  long double seconds = 0;                                     // of the regions, up to now
};

Judged Judge(const Sample& sample, const StatisticRequest& request, const Filter& filter) {
  Judged judged{.time_ms = sample.time_ms, .text = {}};
  judged.number = NumberIn(sample.value);
  if (IsWord(sample.type)) judged.text = sample.value.text().str();
  judged.is_good = IsGood(sample);
  judged.is_admitted = judged.is_good || (request.uses_bad_values && std::isfinite(judged.number));
  if (!judged.is_admitted || request.filter.empty()) return judged;
  const double says =
      filter(judged.number, sample.quality, static_cast<double>(sample.time_ms) / 1000);
  judged.is_admitted =
      std::isfinite(says) ? says != 0 : request.filter_failure == FilterFailure::kKeep;
  return judged;
}

bool IsInside(const TimeRegion& region, std::int64_t time_ms) {
  if (time_ms == region.left_ms && !region.is_left_closed) return false;
  if (time_ms == region.right_ms && !region.is_right_closed) return false;
  return time_ms >= region.left_ms && time_ms <= region.right_ms;
}

void AddPieces(const std::vector<Judged>& all, const TimeRegion& region, std::int64_t now_ms,
               Material& material) {
  const std::int64_t end_ms = std::min(region.right_ms, now_ms);
  if (end_ms > region.left_ms) material.seconds += (end_ms - region.left_ms) / 1000.0L;
  for (std::size_t i = 0; i < all.size(); ++i) {
    const Judged* next = i + 1 < all.size() ? &all[i + 1] : nullptr;
    const std::int64_t to_ms = next == nullptr ? end_ms : next->time_ms;
    const Piece piece{&all[i], next, std::max(all[i].time_ms, region.left_ms),
                      std::min(to_ms, end_ms)};
    if (piece.from_ms < piece.to_ms) material.pieces.push_back(piece);
  }
}

Material OfRecords(const std::vector<Judged>& all, const StatisticRequest& request,
                   std::int64_t now_ms) {
  Material material;
  for (const TimeRegion& region : request.regions) {
    AddPieces(all, region, now_ms, material);
    const Judged* before = nullptr;
    for (const Judged& judged : all) {
      if (!judged.is_admitted) continue;
      if (IsInside(region, judged.time_ms)) {
        material.inside.push_back(&judged);
        if (before != nullptr) material.steps.emplace_back(before, &judged);
      }
      before = &judged;
    }
  }
  return material;
}

// The samples of a region.
std::vector<Judged> SamplesOf(const std::vector<Sample>& records, TagType type,
                              const StatisticRequest& request, const TimeRegion& region,
                              const Filter& filter, std::int64_t now_ms) {
  std::vector<Judged> samples;
  const auto mode = request.source == SampleSource::kLinear ? InterpolationMode::kLinear
                                                            : InterpolationMode::kPrevious;
  for (std::int64_t time_ms = region.left_ms + 1000LL * request.offset_s;
       time_ms <= region.right_ms; time_ms += 1000LL * request.period_s) {
    if (time_ms == region.right_ms && !region.is_right_closed) break;
    const Answer answer = ValueAt(records, type, mode, now_ms, time_ms);
    if (answer.code != ZR3_OK) continue;
    Sample sample{
        .time_ms = time_ms, .quality = answer.quality, .type = type, .value = answer.number};
    if (IsWord(type)) sample.value = Value(answer.text);
    samples.push_back(Judge(sample, request, filter));
  }
  return samples;
}

void AddSamples(const std::vector<Judged>& samples, const TimeRegion& region, std::int64_t now_ms,
                Material& material) {
  AddPieces(samples, region, now_ms, material);
  const Judged* before = nullptr;
  for (const Judged& judged : samples) {
    if (!judged.is_admitted) continue;
    material.inside.push_back(&judged);
    if (before != nullptr) material.steps.emplace_back(before, &judged);
    before = &judged;
  }
}

long double HeightOf(const Piece& piece, bool is_line) {
  const long double value = piece.judged->number;
  if (!is_line || piece.next == nullptr || !piece.next->is_admitted) return value;
  const long double middle = (piece.from_ms + piece.to_ms) / 2.0L - piece.judged->time_ms;
  const long double rise = piece.next->number - value;
  return value + rise * middle / (piece.next->time_ms - piece.judged->time_ms);
}

using Test = std::function<bool(double)>;

Test TestOf(const StatisticRequest& request) {
  const double low = request.parameter_1;
  const double high = request.parameter_2;
  switch (request.type) {
    case StatisticType::kTimeGreater:
      return [=](double v) { return v > low; };
    case StatisticType::kTimeGreaterOrEqual:
      return [=](double v) { return v >= low; };
    case StatisticType::kTimeEqual:
      return [=](double v) { return v == low; };
    case StatisticType::kTimeNotEqual:
      return [=](double v) { return v != low; };
    case StatisticType::kTimeLess:
      return [=](double v) { return v < low; };
    case StatisticType::kTimeLessOrEqual:
      return [=](double v) { return v <= low; };
    case StatisticType::kTimeInRange:
    case StatisticType::kCountInRange:
      return [=](double v) { return low <= v && v <= high; };
    case StatisticType::kTimeNotInRange:
    case StatisticType::kCountNotInRange:
      return [=](double v) { return !(low <= v && v <= high); };
    default:
      return [](double) { return true; };
  }
}

std::optional<long double> OfInside(const Material& material, StatisticType type) {
  const auto& v = material.inside;
  if (v.empty()) return std::nullopt;
  long double sum = 0;
  long double least = v[0]->number;
  long double greatest = v[0]->number;
  for (const Judged* judged : v) {
    sum += judged->number;
    least = std::min<long double>(least, judged->number);
    greatest = std::max<long double>(greatest, judged->number);
  }
  const long double mean = sum / static_cast<long double>(v.size());
  long double squares = 0;
  for (const Judged* judged : v) squares += (judged->number - mean) * (judged->number - mean);
  switch (type) {
    case StatisticType::kMax:
      return greatest;
    case StatisticType::kMin:
      return least;
    case StatisticType::kRange:
      return greatest - least;
    case StatisticType::kSum:
      return sum;
    case StatisticType::kArithmeticMean:
      return mean;
    case StatisticType::kLast:
      return v.back()->number;
    case StatisticType::kDifference:
      return static_cast<long double>(v.back()->number) - v.front()->number;
    default:
      // Squares beyond the range of doubles are infinite.
      if (squares > std::numeric_limits<double>::max())
        return std::numeric_limits<double>::infinity();
      return std::sqrt(squares / static_cast<long double>(v.size()));
  }
}

std::optional<long double> OfPieces(const Material& material, const StatisticRequest& request,
                                    bool is_line) {
  long double seconds = 0;
  long double area = 0;
  const Test test = TestOf(request);
  for (const Piece& piece : material.pieces) {
    if (!piece.judged->is_admitted || !test(piece.judged->number)) continue;
    seconds += piece.seconds();
    area += HeightOf(piece, is_line) * piece.seconds();
  }
  const bool is_mean = request.type == StatisticType::kTimeWeightedMean;
  if (!is_mean && request.type != StatisticType::kIntegral) return seconds;
  if (seconds == 0) return std::nullopt;
  return is_mean ? area / seconds : area;
}

long double CountSteps(const Material& material, const StatisticRequest& request) {
  long double count = 0;
  for (const auto& [before, judged] : material.steps) {
    const bool was_above = before->number > request.parameter_1;
    const bool is_above = judged->number > request.parameter_1;
    bool counts = before->text != judged->text ||
                  (before->number != judged->number && std::isfinite(judged->number));
    if (request.type == StatisticType::kCountOfRises) counts = !was_above && is_above;
    if (request.type == StatisticType::kCountOfFalls) counts = was_above && !is_above;
    count += counts ? 1 : 0;
  }
  return count;
}

std::optional<long double> OfMaterial(const Material& material, const StatisticRequest& request,
                                      bool is_line) {
  const Test test = TestOf(request);
  switch (request.type) {
    case StatisticType::kCount:
    case StatisticType::kCountInRange:
    case StatisticType::kCountNotInRange:
      return std::count_if(material.inside.begin(), material.inside.end(),
                           [&](const Judged* judged) { return test(judged->number); });
    case StatisticType::kCountOfChanges:
    case StatisticType::kCountOfRises:
    case StatisticType::kCountOfFalls:
      return CountSteps(material, request);
    case StatisticType::kMax:
    case StatisticType::kMin:
    case StatisticType::kRange:
    case StatisticType::kSum:
    case StatisticType::kArithmeticMean:
    case StatisticType::kLast:
    case StatisticType::kDifference:
    case StatisticType::kStandardDeviation:
      return OfInside(material, request.type);
    default:
      return OfPieces(material, request, is_line);
  }
}

Answer AnswerOf(const Material& material, const StatisticRequest& request, bool is_line) {
  long double good = 0;
  for (const Piece& piece : material.pieces) good += piece.judged->is_good ? piece.seconds() : 0;
  const auto percent =
      static_cast<double>(material.seconds == 0 ? 0 : 100 * good / material.seconds);
  if (request.type == StatisticType::kPercentGood) {
    return {.code = ZR3_OK, .number = percent, .text = {}};
  }
  if (static_cast<float>(percent) < request.least_percent_good)
    return {.code = ZR3_ERR_TOO_FEW_GOOD, .text = {}};
  const std::optional<long double> value = OfMaterial(material, request, is_line);
  if (!value) return {.code = ZR3_ERR_NO_RECORD, .text = {}};
  return {.code = ZR3_OK, .number = static_cast<double>(*value), .text = {}};
}

}  // namespace

Answer StatisticOf(const std::vector<Sample>& records, TagType type,
                   const StatisticRequest& request, const Filter& filter, std::int64_t now_ms) {
  if (request.source == SampleSource::kRecords) {
    std::vector<Judged> all;
    for (const Sample& sample : records) all.push_back(Judge(sample, request, filter));
    const bool is_line = !IsWord(type) && type != TagType::kDigital;
    return AnswerOf(OfRecords(all, request, now_ms), request, is_line);
  }
  Material material;
  std::vector<std::vector<Judged>> samples;
  for (const TimeRegion& region : request.regions) {
    samples.push_back(SamplesOf(records, type, request, region, filter, now_ms));
  }
  for (std::size_t i = 0; i < samples.size(); ++i) {
    AddSamples(samples[i], request.regions[i], now_ms, material);
  }
  return AnswerOf(material, request, false);
}

}  // namespace zervane::oracle
