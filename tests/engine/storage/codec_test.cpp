#include <gtest/gtest.h>

#include <limits>
#include <string>
#include <vector>

#include "engine/storage/batch_codec.h"
#include "engine/storage/block.h"
#include "engine/storage/bytes.h"
#include "engine/storage/chunk_codec.h"
#include "tests/engine/storage/codec_cases.h"
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
  const std::string bytes = out.Take();
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
  ASSERT_TRUE(decoded.ok()) << decoded.status().message();
  ASSERT_EQ(decoded->size(), samples.size());
  for (std::size_t i = 0; i < samples.size(); ++i) {
    EXPECT_TRUE(Identical((*decoded)[i], samples[i])) << "record " << i;
  }
}

TEST_P(CodecRoundTrip, BringsABatchBackToTheBit) {
  const std::vector<AcceptedSample> batch = BatchOf(GetParam());
  const auto decoded = DecodeBatch(EncodeBatch(batch));
  ASSERT_TRUE(decoded.ok()) << decoded.status().message();
  ASSERT_EQ(decoded->size(), batch.size());
  for (std::size_t i = 0; i < batch.size(); ++i) {
    EXPECT_TRUE(Identical((*decoded)[i].sample, batch[i].sample)) << "record " << i;
    EXPECT_EQ((*decoded)[i].tag, batch[i].tag);
    EXPECT_EQ((*decoded)[i].archive, batch[i].archive);
    EXPECT_EQ((*decoded)[i].current, batch[i].current);
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
     "5a43010001000000030000000e0000000064dd14"
     "e807e80701"
     "02c0010100"
     "0a03d204"},
    {"Float32",
     {At(0, 192, TagType::kFloat32, 1.0F), At(1, 192, TagType::kFloat32, -2.5F)},
     "5a43010003000000020000000d0000001fb9e7eb"
     "0001"
     "02c001"
     "0000000080203fc0"},
    {"Float64",
     {At(kMaxTimeMs - 1, 65535, TagType::kFloat64, 1.0),
      At(kMaxTimeMs, 65535, TagType::kFloat64, -2.5)},
     "5a43010004000000020000001b000000686daa75"
     "feffffffff7c01"
     "02ffff03"
     "000000000000000000000000f0043fc0"},
    {"Blob",
     {At(7, 64, TagType::kBlob, std::string("a\0b", 3)), At(8, 64, TagType::kBlob, std::string())},
     "5a4301000700000002000000090000004d379aca"
     "0701"
     "0240"
     "0361006200"},
};

class GoldenChunks : public testing::TestWithParam<GoldenChunk> {};

INSTANTIATE_TEST_SUITE_P(Chunk, GoldenChunks, testing::ValuesIn(kGoldenChunks), CaseName());

TEST_P(GoldenChunks, AreWrittenAndReadAsEver) {
  EXPECT_EQ(Hex(EncodeChunk(GetParam().samples)), GetParam().hex);
  EXPECT_EQ(*DecodeChunk(Bytes(GetParam().hex)), GetParam().samples);
}

// Another release of the compressor may write other bytes; these are read for ever.
TEST(ChunkCodec, ReadsCompressedColumns) {
  const auto samples =
      DecodeChunk(Bytes("5a43010105000000280000007a00000051abfab0"
                        "28b52ffd207a9500004800e80728c0010002010200c05332d40d01"));
  ASSERT_TRUE(samples.ok()) << samples.status().message();
  EXPECT_EQ(*samples, Alternating());
}

TEST(BatchCodec, WritesAndReadsTheGoldenBatch) {
  const std::vector<AcceptedSample> batch = {
      {.tag = 7, .sample = At(1000, 192, TagType::kFloat32, 1.0F)},
      {.tag = 7, .sample = At(999, 0, TagType::kInt8, -1), .current = false},
      {.tag = 3, .sample = At(2000, 0, TagType::kString, std::string("hi")), .archive = false}};
  const std::string bytes = EncodeBatch(batch);
  EXPECT_EQ(Hex(bytes),
            "5a420100000000000300000015000000ee0e41fc"
            "1b0ed00f0000803f"
            "2800010000"
            "01"
            "1607d20f026869");
  const auto decoded = DecodeBatch(bytes);
  ASSERT_EQ(decoded->size(), 3U);
  EXPECT_EQ(decoded->back().tag, 3U);
  EXPECT_EQ(decoded->back().sample, batch.back().sample);
}

}  // namespace
}  // namespace zervane::storage
