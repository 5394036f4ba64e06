#include "engine/storage/codec/integer_column.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cstddef>
#include <vector>

#include "engine/assert.h"
#include "engine/storage/codec/section.h"

namespace zervane::storage {
namespace {

using Words = std::vector<std::uint64_t>;
using Numbers = std::span<const std::int64_t>;

// The first byte of a column: the predictor in the high four bits, the width in the low ones.
constexpr unsigned kWidthBits = 4;
constexpr unsigned kWidthMask = (1U << kWidthBits) - 1;

// What a number is expected to be. A line suits what keeps its pace or its place however it
// trembles (samples taken by a clock, noise around a value); the number before suits what wanders.
enum class Predictor : std::uint8_t { kNumberBefore = 0, kLine = 1 };

struct Prediction {
  Predictor predictor = Predictor::kNumberBefore;
  std::uint64_t step = 0;  // of a line, from the first number on
};

std::uint64_t Bits(std::int64_t value) { return static_cast<std::uint64_t>(value); }

// What is left of values[i], i > 0.
std::uint64_t Rest(const Prediction& by, Numbers values, std::size_t i) {
  const std::uint64_t expected =
      by.predictor == Predictor::kLine ? Bits(values.front()) + i * by.step : Bits(values[i - 1]);
  return Bits(values[i]) - expected;
}

// The bits by which rests far from each other differ, over some of them: a measure of how widely
// they are spread that a few jumps do not upset.
unsigned Spread(const Prediction& by, Numbers values) {
  constexpr std::size_t kPairs = 128;
  const std::size_t half = values.size() / 2;
  const std::size_t stride = half / kPairs + 1;
  unsigned bits = 0;
  for (std::size_t i = 1; i + half < values.size(); i += stride) {
    const auto gap = static_cast<std::int64_t>(Rest(by, values, i) - Rest(by, values, i + half));
    bits += static_cast<unsigned>(std::bit_width(ZigZag(gap)));
  }
  return bits;
}

Prediction BestPrediction(Numbers values) {
  const auto way = static_cast<std::int64_t>(Bits(values.back()) - Bits(values.front()));
  const auto steps = static_cast<std::int64_t>(std::max<std::size_t>(values.size() - 1, 1));
  const std::array<Prediction, 3> candidates = {{
      {.predictor = Predictor::kNumberBefore},
      {.predictor = Predictor::kLine, .step = 0},
      {.predictor = Predictor::kLine, .step = Bits(way / steps)},
  }};
  Prediction best = candidates.front();
  unsigned smallest = Spread(best, values);
  for (const Prediction& by : std::span(candidates).subspan(1)) {
    const unsigned spread = Spread(by, values);
    if (spread < smallest) best = by;
    smallest = std::min(smallest, spread);
  }
  return best;
}

// The rests of all numbers but the first, less the smallest of them, which is the answer.
std::int64_t RestsAboveSmallest(const Prediction& by, Numbers values, Words* words) {
  for (std::size_t i = 0; i < words->size(); ++i) (*words)[i] = Rest(by, values, i + 1);
  std::int64_t smallest = words->empty() ? 0 : static_cast<std::int64_t>(words->front());
  for (const std::uint64_t word : *words) {
    smallest = std::min(smallest, static_cast<std::int64_t>(word));
  }
  for (std::uint64_t& word : *words) word -= Bits(smallest);
  return smallest;
}

unsigned WidthOf(const Words& words) {
  std::uint64_t all = 0;
  for (const std::uint64_t word : words) all |= word;
  return static_cast<unsigned>((std::bit_width(all) + 7) / 8);
}

void WritePlanes(const Words& words, unsigned width, ByteWriter* out) {
  std::vector<char> plane(words.size());
  for (unsigned i = 0; i < width; ++i) {
    const unsigned shift = 8 * i;
    std::transform(words.begin(), words.end(), plane.begin(),
                   [shift](std::uint64_t word) { return static_cast<char>(word >> shift); });
    WriteSection({plane.data(), plane.size()}, out);
  }
}

// The first plane sets the words, the others add to them.
bool ReadPlanes(ByteReader* in, unsigned width, std::span<std::int64_t> words) {
  if (width == 0) std::ranges::fill(words, 0);
  std::vector<char> plane(words.size());
  for (unsigned i = 0; i < width; ++i) {
    if (!ReadSection(in, plane)) return false;
    const unsigned shift = 8 * i;
    for (std::size_t k = 0; k < words.size(); ++k) {
      const std::uint64_t byte = static_cast<std::uint8_t>(plane[k]);
      words[k] = static_cast<std::int64_t>(i == 0 ? byte : Bits(words[k]) | byte << shift);
    }
  }
  return true;
}

}  // namespace

void WriteIntegers(Numbers values, ByteWriter* out) {
  ZERVANE_ASSERT(!values.empty());
  const Prediction by = BestPrediction(values);
  Words words(values.size() - 1);
  const std::int64_t smallest = RestsAboveSmallest(by, values, &words);
  const unsigned width = WidthOf(words);
  out->Fixed(static_cast<std::uint8_t>(static_cast<unsigned>(by.predictor) << kWidthBits | width));
  out->SignedVarint(values.front());
  if (by.predictor == Predictor::kLine) out->SignedVarint(static_cast<std::int64_t>(by.step));
  out->SignedVarint(smallest);
  WritePlanes(words, width, out);
}

bool ReadIntegers(ByteReader* in, std::span<std::int64_t> values) {
  ZERVANE_ASSERT(!values.empty());
  const unsigned head = in->Fixed<std::uint8_t>();
  const unsigned width = head & kWidthMask;
  const unsigned predictor = head >> kWidthBits;
  if (width > sizeof(std::int64_t) || predictor > static_cast<unsigned>(Predictor::kLine)) {
    return false;
  }
  const bool is_line = predictor == static_cast<unsigned>(Predictor::kLine);
  values.front() = in->SignedVarint();
  const std::uint64_t step = is_line ? Bits(in->SignedVarint()) : 0;
  const std::uint64_t smallest = Bits(in->SignedVarint());
  if (!in->ok() || !ReadPlanes(in, width, values.subspan(1))) return false;
  // On a line the numbers before a rest add up to the steps alone, else to all rests too.
  std::uint64_t expected = Bits(values.front());
  for (std::int64_t& value : values.subspan(1)) {
    expected += step;
    value = static_cast<std::int64_t>(Bits(value) + smallest + expected);
    if (!is_line) expected = Bits(value);
  }
  return true;
}

}  // namespace zervane::storage
