#include "engine/storage/codec/summary_codec.h"

#include <gtest/gtest.h>

#include <cmath>
#include <random>
#include <string>
#include <vector>

#include "engine/storage/codec/block.h"
#include "engine/storage/codec/bytes.h"
#include "tests/engine/storage/store_driver.h"
#include "tests/support/case_name.h"
#include "tests/support/seed.h"

namespace zervane::storage {
namespace {

Summary SummaryOf(TagType type, const std::vector<std::uint16_t>& qualities) {
  SampleColumns columns;
  std::int64_t time_ms = 1'000;
  for (const std::uint16_t quality : qualities) {
    if (IsText(type)) {
      columns.AddText(time_ms, quality, type, "text");
    } else {
      columns.AddNumber(time_ms, quality, type, BitsOf(Value(std::int32_t{3})));
    }
    time_ms += 500;
  }
  return {.tag = 7,
          .level = SummaryLevel::kGroup,
          .member = 300,
          .run = StatisticsOf(columns, 0, columns.size())};
}

struct SummaryCase {
  const char* name;
  TagType type;
  std::vector<std::uint16_t> qualities;
};

const SummaryCase kSummaries[] = {
    {"OfOneRecord", TagType::kInt32, {192}},
    {"OfALine", TagType::kInt32, {0, 192, 192, 0, 192}},
    {"OfSteps", TagType::kDigital, {192, 192, 64}},
    {"OfTexts", TagType::kString, {192, 0, 192}},
    {"OfNothingGood", TagType::kInt32, {0, 64}},
    {"OfNoGoodText", TagType::kBlob, {0, 64}},
};

class SummaryRoundTrip : public testing::TestWithParam<SummaryCase> {};

INSTANTIATE_TEST_SUITE_P(Summaries, SummaryRoundTrip, testing::ValuesIn(kSummaries), CaseName());

TEST_P(SummaryRoundTrip, BringsItBack) {
  const Summary summary = SummaryOf(GetParam().type, GetParam().qualities);
  const Decoded<Summary> decoded = DecodeSummary(EncodeSummary(summary));
  ASSERT_TRUE(decoded.ok()) << decoded.damage().what;
  EXPECT_EQ(decoded->tag, summary.tag);
  EXPECT_EQ(decoded->level, summary.level);
  EXPECT_EQ(decoded->member, summary.member);
  ExpectSame(decoded->run, summary.run);
}

TEST_P(SummaryRoundTrip, RefusesEveryPartOfIt) {
  const std::string bytes = EncodeSummary(SummaryOf(GetParam().type, GetParam().qualities));
  for (std::size_t size = 0; size < bytes.size(); ++size) {
    EXPECT_FALSE(DecodeSummary(bytes.substr(0, size)).ok()) << size;
  }
  EXPECT_FALSE(DecodeSummary(bytes + '\0').ok());
}

TEST(SummaryCodec, WritesWhatTheFileLayoutSays) {
  const std::string bytes = EncodeSummary(SummaryOf(TagType::kString, {192, 0, 192}));
  const std::string body = bytes.substr(kBlockHeaderBytes);
  // Group, texts; tag 7, 300 chunks, from 1000 ms, 1000 ms long, 3 records, 2 of them good; the
  // first and the last, 500 ms.
  EXPECT_EQ(body, std::string("\x01\x02\x07\xac\x02\xe8\x07\xe8\x07\x03\x02\x00\x00\xf4\x03", 15));
  EXPECT_EQ(bytes.substr(0, 4), std::string("ZS\x01\x00", 4));
  const std::string numbers = EncodeSummary(SummaryOf(TagType::kInt32, {192, 192}));
  EXPECT_EQ(numbers.size(), kBlockHeaderBytes + 15 + 10 * sizeof(double));
}

std::string Sealed(const std::string& body) {
  ByteWriter out;
  const std::size_t begin = BeginBlock(&out);
  out.Bytes(body);
  SealBlock(BlockKind::kSummary, {.format = kSummaryFormat, .type = 0, .count = 1}, begin, &out);
  return std::string(out.bytes());
}

// Under a right checksum too, as a tampered file may have them.
TEST(SummaryCodec, TakesOnlyWhatRecordsCouldSay) {
  const Seed seed;
  std::mt19937 random(seed.value());
  int taken = 0;
  for (int round = 0; round < 20'000; ++round) {
    const SummaryCase& from = kSummaries[random() % std::size(kSummaries)];
    std::string body =
        EncodeSummary(SummaryOf(from.type, from.qualities)).substr(kBlockHeaderBytes);
    for (std::size_t changes = 1 + random() % 3; changes > 0; --changes) {
      body[random() % std::min<std::size_t>(body.size(), 20)] = static_cast<char>(random());
    }
    const Decoded<Summary> decoded = DecodeSummary(Sealed(body));
    if (!decoded.ok()) continue;
    ++taken;
    const RunStatistics& run = decoded->run;
    EXPECT_TRUE(run.first_ms >= 0 && run.first_ms <= run.last_ms && run.last_ms <= kMaxTimeMs);
    EXPECT_TRUE(run.count >= 1 && run.good >= 0 && run.good <= run.count);
    if (run.good == 0) continue;
    EXPECT_TRUE(run.first_good.time_ms >= run.first_ms && run.last_good.time_ms <= run.last_ms);
    EXPECT_LE(run.first_good.time_ms, run.last_good.time_ms);
    EXPECT_LE(run.good_ms, run.last_ms - run.first_ms);
  }
  EXPECT_GT(taken, 0) << "or nothing was tested";
}

}  // namespace
}  // namespace zervane::storage
