#include "engine/storage/codec/summary_codec.h"

#include <algorithm>
#include <bit>
#include <limits>

#include "engine/assert.h"
#include "engine/storage/codec/block.h"
#include "engine/storage/codec/bytes.h"

namespace zervane::storage {
namespace {

constexpr std::size_t kMostBytes = 200;  // of a summary

void WriteNumber(double number, ByteWriter* out) {
  out->Fixed(std::bit_cast<std::uint64_t>(number));
}
double ReadNumber(ByteReader* in) { return std::bit_cast<double>(in->Fixed<std::uint64_t>()); }

void WriteSum(const CompensatedSum& sum, ByteWriter* out) {
  WriteNumber(sum.sum(), out);
  WriteNumber(sum.rest(), out);
}
CompensatedSum ReadSum(ByteReader* in) {
  const double sum = ReadNumber(in);
  return {sum, ReadNumber(in)};
}

// What is not negative. What does not fit, in damaged bytes, is more than anything may be.
void WriteCount(std::int64_t count, ByteWriter* out) {
  ZERVANE_ASSERT(count >= 0);
  out->Varint(static_cast<std::uint64_t>(count));
}
std::int64_t ReadCount(ByteReader* in) {
  constexpr std::uint64_t kMost = std::uint64_t{1} << 62;
  return static_cast<std::int64_t>(std::min(in->Varint(), kMost));
}

void WriteNumbers(const RunStatistics& run, ByteWriter* out) {
  WriteNumber(run.first_good.value, out);
  WriteNumber(run.last_good.value, out);
  WriteNumber(run.least, out);
  WriteNumber(run.greatest, out);
  WriteSum(run.sum, out);
  WriteNumber(run.mean, out);
  WriteNumber(run.squares, out);
  WriteSum(run.area, out);
}
void ReadNumbers(ByteReader* in, RunStatistics* run) {
  run->first_good.value = ReadNumber(in);
  run->last_good.value = ReadNumber(in);
  run->least = ReadNumber(in);
  run->greatest = ReadNumber(in);
  run->sum = ReadSum(in);
  run->mean = ReadNumber(in);
  run->squares = ReadNumber(in);
  run->area = ReadSum(in);
}

void WriteGood(const RunStatistics& run, ByteWriter* out) {
  WriteCount(run.first_good.time_ms - run.first_ms, out);
  WriteCount(run.last_ms - run.last_good.time_ms, out);
  WriteCount(run.good_ms, out);
  if (run.course != Course::kNone) WriteNumbers(run, out);
}
void ReadGood(ByteReader* in, RunStatistics* run) {
  run->first_good.time_ms = run->first_ms + ReadCount(in);
  run->last_good.time_ms = run->last_ms - ReadCount(in);
  run->good_ms = ReadCount(in);
  if (run->course != Course::kNone) {
    ReadNumbers(in, run);
  } else {
    run->first_good.value = run->last_good.value = std::numeric_limits<double>::quiet_NaN();
  }
}

bool IsSound(const RunStatistics& run) {
  const std::int64_t length_ms = run.last_ms - run.first_ms;
  if (run.last_ms > kMaxTimeMs || length_ms < 0) return false;
  if (run.count < 1 || run.count - 1 > length_ms || run.good > run.count) return false;
  if (run.good == 0) return true;
  return run.good_ms <= length_ms && run.last_good.time_ms <= run.last_ms &&
         run.first_good.time_ms <= run.last_good.time_ms;
}

}  // namespace

std::string EncodeSummary(const Summary& summary) {
  const RunStatistics& run = summary.run;
  ZERVANE_ASSERT(IsSound(run));
  ByteWriter block(kMostBytes);
  const std::size_t start = BeginBlock(&block);
  block.Fixed(static_cast<std::uint8_t>(summary.level));
  block.Fixed(static_cast<std::uint8_t>(run.course));
  block.Varint(summary.tag);
  WriteCount(summary.member, &block);
  WriteCount(run.first_ms, &block);
  WriteCount(run.last_ms - run.first_ms, &block);
  WriteCount(run.count, &block);
  WriteCount(run.good, &block);
  if (run.good > 0) WriteGood(run, &block);
  SealBlock(BlockKind::kSummary, {.format = kSummaryFormat, .type = 0, .count = 1}, start, &block);
  return std::string(block.bytes());
}

Decoded<Summary> DecodeSummary(std::string_view bytes) {
  const Decoded<Block> block = OpenBlock(BlockKind::kSummary, bytes);
  if (!block.ok()) return block.damage();
  ByteReader in(block->body());
  const auto level = in.Fixed<std::uint8_t>();
  const auto course = in.Fixed<std::uint8_t>();
  const std::uint64_t tag = in.Varint();
  Summary summary;
  summary.member = ReadCount(&in);
  RunStatistics& run = summary.run;
  run.first_ms = ReadCount(&in);
  run.last_ms = ReadCount(&in);
  const bool is_known = level <= static_cast<std::uint8_t>(SummaryLevel::kGroup) &&
                        course <= static_cast<std::uint8_t>(Course::kNone) &&
                        tag <= std::numeric_limits<TagId>::max() && run.first_ms <= kMaxTimeMs &&
                        run.last_ms <= kMaxTimeMs;
  if (!is_known) return Damage{"no such summary is written"};
  summary.level = static_cast<SummaryLevel>(level);
  summary.tag = static_cast<TagId>(tag);
  run.course = static_cast<Course>(course);
  run.last_ms += run.first_ms;
  run.count = ReadCount(&in);
  run.good = ReadCount(&in);
  if (run.good > 0) ReadGood(&in, &run);
  if (!in.AtEnd() || !IsSound(run)) return Damage{"the summary does not decode"};
  return summary;
}

}  // namespace zervane::storage
