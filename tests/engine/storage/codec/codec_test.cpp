#include <gtest/gtest.h>

#include <limits>
#include <string>
#include <vector>

#include "engine/storage/codec/batch_codec.h"
#include "engine/storage/codec/block.h"
#include "engine/storage/codec/bytes.h"
#include "engine/storage/codec/chunk_codec.h"
#include "tests/engine/storage/codec/codec_cases.h"
#include "tests/engine/storage/support.h"
#include "tests/support/case_name.h"

namespace zervane::storage {
namespace {

// ---- numbers ----

class Varints : public testing::TestWithParam<std::int64_t> {};

TEST_P(Varints, ComeBack) {
  ByteWriter out;
  out.SignedVarint(GetParam());
  out.Varint(static_cast<std::uint64_t>(GetParam()));
  const std::string bytes = std::string(out.bytes());
  ByteReader in(bytes);
  EXPECT_EQ(in.SignedVarint(), GetParam());
  EXPECT_EQ(in.Varint(), static_cast<std::uint64_t>(GetParam()));
  EXPECT_TRUE(in.AtEnd());
}

INSTANTIATE_TEST_SUITE_P(Bytes, Varints,
                         testing::Values(0, 1, -1, 63, 64, -64, -65, 127, 128, 16'383, 16'384,
                                         std::numeric_limits<std::int64_t>::max(),
                                         std::numeric_limits<std::int64_t>::min()));

TEST(ByteReader, FailsOnceAndForAllPastTheEnd) {
  ByteReader in("\x01\x02");
  EXPECT_EQ(in.Fixed<std::uint32_t>(), 0U);
  EXPECT_FALSE(in.ok());
  EXPECT_EQ(in.Fixed<std::uint8_t>(), 0U);
  EXPECT_FALSE(in.AtEnd());
}

TEST(ByteReader, FailsOnAVarintThatDoesNotEnd) {
  ByteReader cut("\x80\x80");
  EXPECT_EQ(cut.Varint(), 0U);
  EXPECT_FALSE(cut.ok());
  ByteReader endless("\x80\x80\x80\x80\x80\x80\x80\x80\x80\x80\x80");
  EXPECT_EQ(endless.Varint(), 0U);
  EXPECT_FALSE(endless.ok());
}

// ---- round trips ----

class CodecRoundTrip : public testing::TestWithParam<ValuesCase> {};

INSTANTIATE_TEST_SUITE_P(Values, CodecRoundTrip, testing::ValuesIn(kValues), CaseName());

TEST_P(CodecRoundTrip, BringsAChunkBackToTheBit) {
  const std::vector<Sample> samples = SamplesOf(GetParam());
  const auto decoded = DecodeChunk(EncodeChunk(samples));
  ASSERT_TRUE(decoded.ok()) << decoded.damage().what;
  ASSERT_EQ(decoded->size(), samples.size());
  for (std::size_t i = 0; i < samples.size(); ++i) {
    EXPECT_TRUE(Identical((*decoded)[i], samples[i])) << "record " << i;
  }
}

TEST_P(CodecRoundTrip, BringsABatchBackToTheBit) {
  const std::vector<AcceptedSample> batch = BatchOf(GetParam());
  const auto decoded = DecodeBatch(EncodeBatch(batch));
  ASSERT_TRUE(decoded.ok()) << decoded.damage().what;
  ASSERT_EQ(decoded->size(), batch.size());
  for (std::size_t i = 0; i < batch.size(); ++i) {
    EXPECT_TRUE(Identical((*decoded)[i].sample, batch[i].sample)) << "record " << i;
    EXPECT_EQ((*decoded)[i].tag, batch[i].tag);
    EXPECT_EQ((*decoded)[i].archive, batch[i].archive);
    EXPECT_EQ((*decoded)[i].current, batch[i].current);
    EXPECT_EQ((*decoded)[i].held, batch[i].held);
  }
}

TEST(ChunkCodec, BringsBackTheLargestChunk) {
  std::vector<Sample> samples(kMaxBlockRecords);
  for (std::size_t i = 0; i < samples.size(); ++i) {
    samples[i].time_ms = static_cast<std::int64_t>(i) * 1000;
    samples[i].value = static_cast<double>(i) / 8;
  }
  const std::string bytes = EncodeChunk(samples);
  EXPECT_LT(bytes.size(), samples.size() * 4) << "regular records are compressed";
  EXPECT_EQ(*DecodeChunk(bytes), samples);
}

TEST(BatchCodec, BringsBackABatchOfNothing) { EXPECT_TRUE(DecodeBatch(EncodeBatch({}))->empty()); }

TEST(ChunkCodec, KeepsASlowMeasurementInLessThanTwoBytesARecord) {
  const std::vector<Sample> samples = SlowWalk(1000, 1);
  const std::string bytes = EncodeChunk(samples);
  EXPECT_LT(bytes.size(), samples.size() * 18 / 10);
  EXPECT_EQ(*DecodeChunk(bytes), samples);
}

// ---- golden bytes: what is in files today is read for ever ----

struct GoldenChunk {
  const char* name;
  std::vector<Sample> samples;
  const char* hex;
};

const GoldenChunk kGoldenChunks[] = {
    {"Integers",
     {At(1000, 192, TagType::kInt16, 5), At(2000, 192, TagType::kInt16, 3),
      At(2001, 0, TagType::kInt16, 300)},
     "5a430200010000000300000018000000e7f765cf"
     "11d00f00d00f00000102c001010000110aa602a902000096"},
    {"ScaledFloat32",
     {At(0, 192, TagType::kFloat32, 1.0F), At(1, 192, TagType::kFloat32, -2.5F)},
     "5a43020003000000020000000c000000191eede1"
     "00000202c001010100001445"},
    {"BitsOfFloat64",
     {At(kMaxTimeMs - 1, 65535, TagType::kFloat64, -0.0),
      At(kMaxTimeMs, 65535, TagType::kFloat64, -2.5)},
     "5a4302000400000002000000230000004007ae6f"
     "00fcfffffffff9010202ffff030200ffffffffffffffffff0180808080808080"
     "848001"},
    {"Blob",
     {At(7, 64, TagType::kBlob, std::string("a\0b", 3)), At(8, 64, TagType::kBlob, std::string())},
     "5a43020007000000020000000d000000345ac808"
     "000e0202400300060500610062"},
};

class GoldenChunks : public testing::TestWithParam<GoldenChunk> {};

INSTANTIATE_TEST_SUITE_P(Chunk, GoldenChunks, testing::ValuesIn(kGoldenChunks), CaseName());

TEST_P(GoldenChunks, AreWrittenAndReadAsEver) {
  EXPECT_EQ(Hex(EncodeChunk(GetParam().samples)), GetParam().hex);
  const auto decoded = DecodeChunk(Bytes(GetParam().hex));
  ASSERT_TRUE(decoded.ok()) << decoded.damage().what;
  ASSERT_EQ(decoded->size(), GetParam().samples.size());
  for (std::size_t i = 0; i < decoded->size(); ++i) {
    EXPECT_TRUE(Identical((*decoded)[i], GetParam().samples[i])) << "record " << i;
  }
}

// Another release of the compressor may write other bytes; these are read for ever.
TEST(ChunkCodec, ReadsCompressedPlanes) {
  std::vector<Sample> samples;
  for (int i = 0; i < 200; ++i) {
    samples.push_back(At(i, 192, TagType::kInt32, i % 7 == 0 ? 300 : 0));
  }
  const auto decoded =
      DecodeChunk(Bytes("5a43020002000000c80000006c000000a8dfe495"
                        "000002c801c0010012d80400d7043028b52ffd20c73d010052c40305e00f8090"
                        "020854555555555555201a14000218638c31c618638c31c618638c31c6980b2c"
                        "28b52ffd20c71d010052c40280100854555555555555201a14000218638c31c6"
                        "18638c31c618638c31c6980b"));
  ASSERT_TRUE(decoded.ok()) << decoded.damage().what;
  EXPECT_EQ(*decoded, samples);
}

TEST(BatchCodec, WritesAndReadsTheGoldenBatch) {
  const std::vector<AcceptedSample> batch = {
      {.tag = 7, .sample = At(1000, 192, TagType::kFloat32, 1.0F)},
      {.tag = 7, .current = false, .sample = At(999, 0, TagType::kInt8, -1)},
      {.tag = 7,
       .archive = false,
       .current = true,
       .held = true,
       .sample = At(1001, 0, TagType::kFloat64, 1.0)},
      {.tag = 3, .archive = false, .sample = At(2000, 0, TagType::kString, std::string("hi"))}};
  const std::string bytes = EncodeBatch(batch);
  EXPECT_EQ(Hex(bytes),
            "5a420100000000000400000020000000df020485"
            "1b0ed00f0000803f280001000001540004000000000000f03f1607ce0f026869");
  const auto decoded = DecodeBatch(bytes);
  ASSERT_EQ(decoded->size(), 4U);
  EXPECT_TRUE((*decoded)[2].held);
  EXPECT_FALSE((*decoded)[2].archive);
  EXPECT_EQ(decoded->back().tag, 3U);
  EXPECT_EQ(decoded->back().sample, batch.back().sample);
}

}  // namespace
}  // namespace zervane::storage
