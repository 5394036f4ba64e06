#include "engine/storage/good_numbers.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <span>

#include "engine/assert.h"

namespace zervane {
namespace {

using Numbers = std::span<const double>;
using Piece = std::array<double, kPieceRecords>;

// Two numbers side by side, which the processor adds at once, and so many such pairs that no
// addition waits for the one before it.
typedef double Pair __attribute__((vector_size(16)));  // NOLINT: what the attribute wants
constexpr std::size_t kPairs = 4;
constexpr std::size_t kLanes = 2 * kPairs;

Pair PairAt(Numbers numbers, std::size_t at) {
  Pair pair;
  std::memcpy(&pair, numbers.data() + at, sizeof(pair));
  return pair;
}

// As CompensatedSum, without asking which of two numbers is the greater: Knuth, The Art of Computer
// Programming 2, 4.2.2.
struct PairSum {
  Pair sum{};
  Pair rest{};

  void Add(Pair value) {
    const Pair total = sum + value;
    const Pair added = total - sum;
    rest += (sum - (total - added)) + (value - added);
    sum = total;
  }
};

CompensatedSum SumOf(Numbers numbers) {
  std::array<PairSum, kPairs> pairs;
  std::size_t at = 0;
  for (; at + kLanes <= numbers.size(); at += kLanes) {
    for (std::size_t pair = 0; pair < kPairs; ++pair) {
      pairs[pair].Add(PairAt(numbers, at + 2 * pair));
    }
  }
  CompensatedSum sum;
  for (const PairSum& pair : pairs) {
    sum.Add(CompensatedSum(pair.sum[0], pair.rest[0]));
    sum.Add(CompensatedSum(pair.sum[1], pair.rest[1]));
  }
  for (; at < numbers.size(); ++at) sum.Add(numbers[at]);
  return sum;
}

void FindExtremes(Numbers numbers, RunStatistics& run) {
  std::array<Pair, kPairs> least;
  std::array<Pair, kPairs> greatest;
  const Pair first{numbers.front(), numbers.front()};
  least.fill(first);
  greatest.fill(first);
  std::size_t at = 0;
  for (; at + kLanes <= numbers.size(); at += kLanes) {
    for (std::size_t pair = 0; pair < kPairs; ++pair) {
      const Pair next = PairAt(numbers, at + 2 * pair);
      least[pair] = next < least[pair] ? next : least[pair];
      greatest[pair] = next > greatest[pair] ? next : greatest[pair];
    }
  }
  run.least = run.greatest = numbers.front();
  for (std::size_t pair = 0; pair < kPairs; ++pair) {
    run.least = std::min({run.least, least[pair][0], least[pair][1]});
    run.greatest = std::max({run.greatest, greatest[pair][0], greatest[pair][1]});
  }
  for (; at < numbers.size(); ++at) {
    run.least = std::min(run.least, numbers[at]);
    run.greatest = std::max(run.greatest, numbers[at]);
  }
}

// The sum of the squares about the mean, which is rounded: what that adds to each is taken off.
double SquaresAbout(double mean, Numbers numbers) {
  std::array<Pair, kPairs> offsets{};
  std::array<Pair, kPairs> squares{};
  std::size_t at = 0;
  for (; at + kLanes <= numbers.size(); at += kLanes) {
    for (std::size_t pair = 0; pair < kPairs; ++pair) {
      const Pair offset = PairAt(numbers, at + 2 * pair) - mean;
      offsets[pair] += offset;
      squares[pair] += offset * offset;
    }
  }
  double all_offsets = 0;
  double all_squares = 0;
  for (std::size_t pair = 0; pair < kPairs; ++pair) {
    all_offsets += offsets[pair][0] + offsets[pair][1];
    all_squares += squares[pair][0] + squares[pair][1];
  }
  for (; at < numbers.size(); ++at) {
    const double offset = numbers[at] - mean;
    all_offsets += offset;
    all_squares += offset * offset;
  }
  if (std::isinf(all_squares)) return all_squares;  // the offsets may be no numbers
  const double rounded = all_offsets * all_offsets / static_cast<double>(numbers.size());
  return std::max(0.0, all_squares - rounded);
}

bool HaveGoodQuality(std::span<const std::uint16_t> qualities) {
  unsigned all = 0xC0;
  for (const std::uint16_t quality : qualities) all &= quality;
  return all == 0xC0;
}

Numbers ReadNumbers(TagType type, std::span<const std::uint64_t> bits, Piece& piece) {
  if (type == TagType::kFloat64) {
    std::memcpy(piece.data(), bits.data(), bits.size_bytes());
  } else if (type == TagType::kFloat32) {
    for (std::size_t at = 0; at < bits.size(); ++at) {
      piece[at] = std::bit_cast<float>(static_cast<std::uint32_t>(bits[at]));
    }
  } else {
    for (std::size_t at = 0; at < bits.size(); ++at) {
      piece[at] = static_cast<std::int32_t>(static_cast<std::uint32_t>(bits[at]));
    }
  }
  return Numbers(piece).first(bits.size());
}

// No time between two records has more bits than a double's fraction: behind the exponent of 2^52
// its bits are the number 2^52 + itself. (There is no instruction that converts two at once.)
double LengthOf(std::int64_t from_ms, std::int64_t to_ms) {
  constexpr double kTwoTo52 = 4503599627370496.0;
  static_assert(kMaxTimeMs < std::int64_t{1} << 52);
  const auto length_ms = static_cast<std::uint64_t>(to_ms - from_ms);
  return std::bit_cast<double>(length_ms | std::bit_cast<std::uint64_t>(kTwoTo52)) - kTwoTo52;
}

// The area from each number to the next one.
Numbers ReadAreas(Course course, std::span<const std::int64_t> times, Numbers numbers,
                  Piece& piece) {
  const std::size_t spans = numbers.size() - 1;
  if (course == Course::kLine) {
    for (std::size_t at = 0; at < spans; ++at) {
      // Halved first: the sum of two doubles may be none.
      const double height = numbers[at] * 0.5 + numbers[at + 1] * 0.5;
      piece[at] = height * LengthOf(times[at], times[at + 1]);
    }
  } else {
    for (std::size_t at = 0; at < spans; ++at) {
      piece[at] = numbers[at] * LengthOf(times[at], times[at + 1]);
    }
  }
  return Numbers(piece).first(spans);
}

}  // namespace

std::optional<RunStatistics> StatisticsOfGoodNumbers(const SampleColumns& samples,
                                                     std::size_t begin, std::size_t end) {
  ZERVANE_ASSERT(begin < end && end <= samples.size() && end - begin <= kPieceRecords);
  const std::size_t count = end - begin;
  const TagType type = samples.types()[begin];
  if (IsText(type) || !HaveGoodQuality(samples.qualities().subspan(begin, count))) return {};
  Piece piece;
  const Numbers numbers = ReadNumbers(type, samples.values().subspan(begin, count), piece);
  RunStatistics run;
  run.sum = SumOf(numbers);
  if (!std::isfinite(run.sum.sum())) return {};  // one of them is not, or all together are not
  const std::span<const std::int64_t> times = samples.times().subspan(begin, count);
  run.first_ms = times.front();
  run.last_ms = times.back();
  run.count = run.good = static_cast<std::int64_t>(count);
  run.course = CourseOf(type);
  run.first_good = {run.first_ms, numbers.front()};
  run.last_good = {run.last_ms, numbers.back()};
  FindExtremes(numbers, run);
  const bool is_constant = run.least == run.greatest;
  run.mean = is_constant ? run.least : run.sum.Value() / static_cast<double>(count);
  run.squares = is_constant ? 0 : SquaresAbout(run.mean, numbers);
  run.good_ms = run.last_ms - run.first_ms;
  Piece areas;
  run.area = SumOf(ReadAreas(run.course, times, numbers, areas));
  return run;
}

}  // namespace zervane
