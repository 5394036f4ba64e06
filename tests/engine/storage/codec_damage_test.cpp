#include <gtest/gtest.h>

#include <random>
#include <string>
#include <vector>

#include "engine/storage/batch_codec.h"
#include "engine/storage/block.h"
#include "engine/storage/bytes.h"
#include "engine/storage/chunk_codec.h"
#include "tests/engine/storage/codec_cases.h"
#include "tests/support/case_name.h"

namespace zervane::storage {
namespace {

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
