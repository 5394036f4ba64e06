#include <gtest/gtest.h>

#include <bit>
#include <limits>
#include <random>
#include <string>
#include <vector>

#include "engine/storage/batch_codec.h"
#include "engine/storage/block.h"
#include "engine/storage/bytes.h"
#include "engine/storage/chunk_codec.h"
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

struct ValuesCase {
  const char* name;
  TagType type;
  std::vector<Value> values;
};

const std::string kEveryByte = [] {
  std::string bytes;
  for (int i = 0; i < 256; ++i) bytes.push_back(static_cast<char>(i));
  return bytes;
}();

using Float = std::numeric_limits<float>;
using Double = std::numeric_limits<double>;

const ValuesCase kValues[] = {
    {"Int8", TagType::kInt8, {0, -128, 127, -128}},
    {"Int16", TagType::kInt16, {32767, -32768, 0, 1}},
    {"Int32",
     TagType::kInt32,
     {0, std::numeric_limits<std::int32_t>::min(), std::numeric_limits<std::int32_t>::max(),
      std::numeric_limits<std::int32_t>::min()}},
    {"Digital", TagType::kDigital, {0, 1, 1, 0, 127}},
    {"Float32",
     TagType::kFloat32,
     {0.0F, -0.0F, Float::infinity(), -Float::infinity(), Float::denorm_min(), Float::min(),
      Float::max(), Float::lowest(), std::bit_cast<float>(0x7FC12345U),
      std::bit_cast<float>(0xFFFFFFFFU), 21.37F}},
    {"Float64",
     TagType::kFloat64,
     {0.0, -0.0, Double::infinity(), -Double::infinity(), Double::denorm_min(), Double::min(),
      Double::max(), Double::lowest(), std::bit_cast<double>(0x7FF8123456789ABCULL),
      std::bit_cast<double>(0xFFFFFFFFFFFFFFFFULL), 21.37}},
    {"String",
     TagType::kString,
     {std::string(), std::string("a"), std::string(kMaxStringBytes, 'x'), std::string("\xC3\xA4")}},
    {"Blob",
     TagType::kBlob,
     {std::string(), std::string(1, '\0'), std::string(kMaxBlobBytes, '\0'), kEveryByte}},
};

// One record for each value, at times from the first to the last there is, of various qualities.
std::vector<Sample> SamplesOf(const ValuesCase& row) {
  std::vector<Sample> samples;
  for (const Value& value : row.values) {
    const auto i = static_cast<std::int64_t>(samples.size());
    const bool last = samples.size() + 1 == row.values.size();
    samples.push_back({.time_ms = last ? kMaxTimeMs : i * i,
                       .quality = static_cast<std::uint16_t>(i < 2 ? 0xFFFF : i),
                       .type = row.type,
                       .value = value});
  }
  return samples;
}

// The same in a batch, backward in time, to tags near and far, with all marks.
std::vector<AcceptedSample> BatchOf(const ValuesCase& row) {
  std::vector<AcceptedSample> batch;
  for (const Sample& sample : SamplesOf(row)) {
    const auto i = static_cast<TagId>(batch.size());
    batch.insert(batch.begin(), {.tag = i % 2 == 0 ? i + 1 : std::numeric_limits<TagId>::max() - i,
                                 .sample = sample,
                                 .archive = (i & 1) != 0,
                                 .current = (i & 2) != 0});
  }
  return batch;
}

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

std::string Bytes(std::string_view hex) {
  std::string bytes;
  for (std::size_t i = 0; i + 1 < hex.size(); i += 2) {
    bytes.push_back(static_cast<char>(std::stoi(std::string(hex.substr(i, 2)), nullptr, 16)));
  }
  return bytes;
}

std::string Hex(std::string_view bytes) {
  std::string hex;
  for (const char c : bytes) {
    constexpr char kDigits[] = "0123456789abcdef";
    hex += kDigits[static_cast<std::uint8_t>(c) >> 4];
    hex += kDigits[static_cast<std::uint8_t>(c) & 15];
  }
  return hex;
}

Sample At(std::int64_t time_ms, std::uint16_t quality, TagType type, Value value) {
  return {.time_ms = time_ms, .quality = quality, .type = type, .value = std::move(value)};
}

struct GoldenChunk {
  const char* name;
  std::vector<Sample> samples;
  const char* hex;
};

// Forty states in turn: the one that is compressed.
std::vector<Sample> Alternating() {
  std::vector<Sample> samples;
  for (int i = 0; i < 40; ++i) samples.push_back(At(1000 * i, 192, TagType::kDigital, i % 2));
  return samples;
}

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

// ---- damage ----

// Each value of the table as a chunk and as a batch, and a compressed chunk.
std::vector<std::string> WholeBlocks() {
  std::vector<std::string> blocks = {EncodeChunk(Alternating())};
  for (const ValuesCase& row : kValues) {
    blocks.push_back(EncodeChunk(SamplesOf(row)));
    blocks.push_back(EncodeBatch(BatchOf(row)));
  }
  return blocks;
}

void ExpectDamaged(const std::string& bytes) {
  EXPECT_EQ(DecodeChunk(bytes).code(), ZR3_ERR_STORAGE_DAMAGED) << Hex(bytes);
  EXPECT_EQ(DecodeBatch(bytes).code(), ZR3_ERR_STORAGE_DAMAGED) << Hex(bytes);
}

TEST(Damage, IsDetectedInEveryBit) {
  for (std::string bytes : WholeBlocks()) {
    const std::size_t step = bytes.size() > 200 ? 7 : 1;
    for (std::size_t bit = 0; bit < bytes.size() * 8; bit += step) {
      const auto mask = static_cast<char>(1 << (bit % 8));
      bytes[bit / 8] = static_cast<char>(bytes[bit / 8] ^ mask);
      ExpectDamaged(bytes);
      bytes[bit / 8] = static_cast<char>(bytes[bit / 8] ^ mask);
    }
  }
}

TEST(Damage, IsDetectedWhereverABlockIsCutOrGrown) {
  for (const std::string& bytes : WholeBlocks()) {
    for (std::size_t size = 0; size < bytes.size(); ++size) ExpectDamaged(bytes.substr(0, size));
    ExpectDamaged(bytes + '\0');
  }
}

TEST(Damage, IsDetectedInAChunkThatStandsForABatch) {
  const std::string chunk = EncodeChunk(Alternating());
  EXPECT_EQ(DecodeBatch(chunk).code(), ZR3_ERR_STORAGE_DAMAGED);
  EXPECT_EQ(DecodeChunk(EncodeBatch({})).code(), ZR3_ERR_STORAGE_DAMAGED);
}

TEST(Damage, OfRandomBytesIsDetected) {
  const unsigned seed = std::random_device{}();
  SCOPED_TRACE("seed " + std::to_string(seed));
  std::mt19937 random(seed);
  for (int round = 0; round < 2000; ++round) {
    std::string bytes(random() % 200, '\0');
    for (char& c : bytes) c = static_cast<char>(random());
    ExpectDamaged(bytes);
  }
}

void ExpectValid(const std::vector<Sample>& samples) {
  std::int64_t previous = -1;
  for (const Sample& sample : samples) {
    EXPECT_GT(sample.time_ms, previous);
    EXPECT_LE(sample.time_ms, kMaxTimeMs);
    EXPECT_EQ(CheckValue(sample.type, sample.value), ValueFault::kNone);
    previous = sample.time_ms;
  }
}

// A forger knows the checksum: what then decodes is valid all the same.
TEST(Damage, UnderARightChecksumNeverLetsInvalidRecordsThrough) {
  const unsigned seed = std::random_device{}();
  SCOPED_TRACE("seed " + std::to_string(seed));
  std::mt19937 random(seed);
  for (const BlockKind kind : {BlockKind::kChunk, BlockKind::kBatch}) {
    for (const std::string& bytes : WholeBlocks()) {
      const Result<Block> whole = OpenBlock(kind, bytes);
      if (!whole.ok()) continue;  // of the other kind
      for (int round = 0; round < 60; ++round) {
        Block forged = *whole;
        for (int change = 0; change < 3; ++change) {
          forged.body[random() % forged.body.size()] = static_cast<char>(random());
        }
        if (round % 3 == 0) forged.count = random() % kMaxBlockRecords;
        if (round % 5 == 0) forged.type = static_cast<std::uint8_t>(random() % 9);
        if (round % 7 == 0) forged.body.resize(random() % forged.body.size());
        const std::string sealed = SealBlock(kind, forged);
        if (const auto chunk = DecodeChunk(sealed); chunk.ok()) ExpectValid(*chunk);
        if (const auto batch = DecodeBatch(sealed); batch.ok()) {
          for (const AcceptedSample& record : *batch) {
            EXPECT_NE(record.tag, 0U);
            ExpectValid({record.sample});
          }
        }
      }
    }
  }
}

// CRC-32 bit by bit, so that the library's use is checked too.
std::uint32_t PlainCrc32(std::string_view bytes) {
  std::uint32_t crc = ~0U;
  for (const char c : bytes) {
    crc ^= static_cast<std::uint8_t>(c);
    for (int bit = 0; bit < 8; ++bit) crc = (crc >> 1) ^ ((crc & 1) != 0 ? 0xEDB88320U : 0);
  }
  return ~crc;
}

// The header's fields as given, with the checksum that belongs to them.
std::string Forged(std::string_view front, std::uint32_t type, std::uint32_t count,
                   std::uint32_t size, std::string_view body) {
  ByteWriter header;
  header.Bytes(front);
  header.Fixed(type);
  header.Fixed(count);
  header.Fixed(size);
  const std::uint32_t checksum = PlainCrc32(header.buffer() + std::string(body));
  header.Fixed(checksum);
  header.Bytes(body);
  return header.Take();
}

constexpr std::string_view kStoredChunk("ZC\x01\x00", 4);
constexpr std::string_view kCompressedChunk("ZC\x01\x01", 4);
constexpr std::string_view kOneFloat("\x00\x01\x00\x00\x00\x00\x00", 7);

struct ForgedCase {
  const char* name;
  std::string bytes;
};

const ForgedCase kForged[] = {
    {"LaterFormat", Forged({"ZC\x02\x00", 4}, 3, 1, 7, kOneFloat)},
    {"UnknownCompression", Forged({"ZC\x01\x02", 4}, 3, 1, 7, kOneFloat)},
    {"UnknownType", Forged(kStoredChunk, 8, 1, 7, kOneFloat)},
    {"TypeBeyondAByte", Forged(kStoredChunk, 0x103, 1, 7, kOneFloat)},
    {"NoRecords", Forged(kStoredChunk, 3, 0, 0, {})},
    {"MoreRecordsThanABlockHas", Forged(kStoredChunk, 3, 0xFFFFFFFF, 7, kOneFloat)},
    {"MoreRecordsThanItsBody", Forged(kStoredChunk, 3, 60'000, 7, kOneFloat)},
    {"SizeOfAnotherBody", Forged(kStoredChunk, 3, 1, 8, kOneFloat)},
    {"SizeBeyondItsRecords", Forged(kCompressedChunk, 3, 1, 0xFFFFFFFF, kOneFloat)},
    {"BodyThatDoesNotDecompress", Forged(kCompressedChunk, 3, 1, 7, kOneFloat)},
    {"BytesAfterTheLastValue",
     Forged(kStoredChunk, 3, 1, 8, {"\x00\x01\x00\x00\x00\x00\x00\x00", 8})},
    {"EqualTimes", Forged(kStoredChunk, 0, 2, 6, {"\x05\x00\x02\x00\x02\x02", 6})},
    {"RunLongerThanTheChunk", Forged(kStoredChunk, 3, 1, 7, {"\x00\x02\x00\x00\x00\x00\x00", 7})},
    {"RunOfNothing", Forged(kStoredChunk, 3, 1, 7, {"\x00\x00\x00\x00\x00\x00\x00", 7})},
    {"IntegerBeyondItsType", Forged(kStoredChunk, 0, 1, 5, {"\x00\x01\x00\x80\x02", 5})},
    {"NulInAString", Forged(kStoredChunk, 6, 1, 5, {"\x00\x01\x00\x01\x00", 5})},
};

class ForgedChunks : public testing::TestWithParam<ForgedCase> {};

INSTANTIATE_TEST_SUITE_P(Damage, ForgedChunks, testing::ValuesIn(kForged), CaseName());

TEST_P(ForgedChunks, AreDamaged) { ExpectDamaged(GetParam().bytes); }

TEST(ForgedChunk, IsReadWhenNothingIsWrongWithIt) {
  const auto samples = DecodeChunk(Forged(kStoredChunk, 3, 1, 7, kOneFloat));
  ASSERT_TRUE(samples.ok()) << samples.status().message();
  EXPECT_EQ(*samples, std::vector{At(0, 0, TagType::kFloat32, 0.0F)});
}

}  // namespace
}  // namespace zervane::storage
