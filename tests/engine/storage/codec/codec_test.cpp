#include <gtest/gtest.h>

#include <limits>
#include <string>
#include <vector>

#include "engine/storage/codec/block.h"
#include "engine/storage/codec/bytes.h"
#include "tests/engine/storage/codec/codec_cases.h"
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
  const auto decoded = DecodeChunk(Chunk(samples), nullptr);
  ASSERT_TRUE(decoded.ok()) << decoded.damage().what;
  ASSERT_EQ(decoded->size(), samples.size());
  for (std::size_t i = 0; i < samples.size(); ++i) {
    EXPECT_TRUE(IsSameToTheBit(decoded->At(i), samples[i])) << "record " << i;
  }
}

TEST_P(CodecRoundTrip, BringsABatchBackToTheBit) {
  const RecordBatch batch = MarkedBatchOf(GetParam());
  const auto decoded = DecodeBatch(Batch(batch), nullptr);
  ASSERT_TRUE(decoded.ok()) << decoded.damage().what;
  ASSERT_EQ(decoded->size(), batch.size());
  for (std::size_t i = 0; i < batch.size(); ++i) {
    EXPECT_TRUE(IsSameToTheBit(decoded->samples.At(i), batch.samples.At(i))) << "record " << i;
  }
  EXPECT_EQ(decoded->tags, batch.tags);
  EXPECT_EQ(decoded->marks, batch.marks);
}

TEST_P(CodecRoundTrip, BringsPartsBack) {
  const std::vector<Sample> samples = SamplesOf(GetParam());
  const SampleColumns columns = ColumnsOf(samples);
  const RecordBatch batch = MarkedBatchOf(GetParam());
  for (std::size_t begin = 0; begin < samples.size(); ++begin) {
    for (std::size_t end = begin + 1; end <= samples.size(); ++end) {
      const auto chunk = DecodeChunk(EncodeChunk(columns, begin, end), nullptr);
      ASSERT_TRUE(chunk.ok() && chunk->size() == end - begin);
      ByteWriter out;
      EncodeBatch(batch, begin, end, &out);
      const auto part = DecodeBatch(out.bytes(), nullptr);
      ASSERT_TRUE(part.ok() && part->size() == end - begin);
      for (std::size_t i = begin; i < end; ++i) {
        EXPECT_TRUE(IsSameToTheBit(chunk->At(i - begin), samples[i]));
        EXPECT_TRUE(IsSameToTheBit(part->samples.At(i - begin), batch.samples.At(i)));
        EXPECT_EQ(part->tags[i - begin], batch.tags[i]);
      }
    }
  }
}

TEST(ChunkCodec, BringsBackTheLargestChunk) {
  std::vector<Sample> samples(kMaxBlockRecords);
  for (std::size_t i = 0; i < samples.size(); ++i) {
    samples[i].time_ms = static_cast<std::int64_t>(i) * 1000;
    samples[i].value = static_cast<double>(i) / 8;
  }
  const std::string bytes = Chunk(samples);
  EXPECT_LT(bytes.size(), samples.size() * 4) << "regular records are compressed";
  EXPECT_EQ(*DecodeChunk(bytes, nullptr), ColumnsOf(samples));
}

TEST(ChunkCodec, DecodesIntoMemoryThatServedAnotherChunk) {
  SampleColumns memory = ColumnsOf({At(1, 2, TagType::kString, std::string("text"))});
  memory.Reserve(300);
  const auto* const times = memory.times().data();
  const std::vector<Sample> samples = SlowWalk(200, 1);
  auto decoded = DecodeChunk(Chunk(samples), nullptr, std::move(memory));
  ASSERT_TRUE(decoded.ok());
  EXPECT_EQ(SamplesIn(*decoded), samples);
  EXPECT_EQ(decoded->times().data(), times);
}

TEST(BatchCodec, BringsBackABatchOfNothing) {
  EXPECT_TRUE(DecodeBatch(Batch({}), nullptr)->empty());
}

TEST(ChunkCodec, KeepsASlowMeasurementInLessThanTwoBytesARecord) {
  const std::vector<Sample> samples = SlowWalk(1000, 1);
  const std::string bytes = Chunk(samples);
  EXPECT_LT(bytes.size(), samples.size() * 18 / 10);
  EXPECT_EQ(SamplesIn(*DecodeChunk(bytes, nullptr)), samples);
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
    {"String",
     {At(7, 64, TagType::kString, std::string("\xE6\xB5\x8B")),
      At(8, 64, TagType::kString, std::string())},
     "5a43030006000000020000000d0000005fdcd167"
     "000e0202400300060500e6b58b"},
};

class GoldenChunks : public testing::TestWithParam<GoldenChunk> {};

INSTANTIATE_TEST_SUITE_P(Chunk, GoldenChunks, testing::ValuesIn(kGoldenChunks), CaseName());

TEST_P(GoldenChunks, AreWrittenAndReadAsEver) {
  EXPECT_EQ(Hex(Chunk(GetParam().samples)), GetParam().hex);
  const auto decoded = DecodeChunk(Bytes(GetParam().hex), nullptr);
  ASSERT_TRUE(decoded.ok()) << decoded.damage().what;
  ASSERT_EQ(decoded->size(), GetParam().samples.size());
  for (std::size_t i = 0; i < decoded->size(); ++i) {
    EXPECT_TRUE(IsSameToTheBit(decoded->At(i), GetParam().samples[i])) << "record " << i;
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
                        "18638c31c618638c31c6980b"),
                  nullptr);
  ASSERT_TRUE(decoded.ok()) << decoded.damage().what;
  EXPECT_EQ(SamplesIn(*decoded), samples);
}

TEST(BatchCodec, WritesAndReadsTheGoldenBatch) {
  const RecordBatch batch = BatchOf(
      {{.tag = 7, .sample = At(1000, 192, TagType::kFloat32, 1.0F)},
       {.tag = 7, .sample = At(999, 0, TagType::kInt8, -1), .marks = kArchive},
       {.tag = 7, .sample = At(1001, 0, TagType::kFloat64, 1.0), .marks = kCurrent | kHeld},
       {.tag = 3, .sample = At(2000, 0, TagType::kString, std::string("hi")), .marks = kCurrent}});
  const std::string bytes = Batch(batch);
  EXPECT_EQ(Hex(bytes),
            "5a4202000000000004000000200000006aae5e05"
            "1b0ed00f0000803f280001000001540004000000000000f03f1607ce0f026869");
  const auto decoded = DecodeBatch(bytes, nullptr);
  ASSERT_EQ(decoded->size(), 4U);
  EXPECT_EQ(decoded->tags, batch.tags);
  EXPECT_EQ(decoded->marks, batch.marks);
  EXPECT_EQ(decoded->samples, batch.samples);
}

}  // namespace
}  // namespace zervane::storage
