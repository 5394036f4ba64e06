#include <gtest/gtest.h>

#include <optional>
#include <random>
#include <string>
#include <vector>

#include "engine/storage/codec/block.h"
#include "engine/storage/codec/bytes.h"
#include "tests/engine/storage/codec/codec_cases.h"
#include "tests/support/case_name.h"
#include "tests/support/seed.h"

namespace zervane::storage {
namespace {

// Each value of the table as a chunk and as a batch, and a chunk of compressed planes.
std::vector<std::string> WholeBlocks() {
  std::vector<std::string> blocks = {Chunk(SlowWalk(100, 1))};
  for (const ValuesCase& row : kValues) {
    blocks.push_back(Chunk(SamplesOf(row)));
    blocks.push_back(Batch(MarkedBatchOf(row)));
  }
  return blocks;
}

void ExpectDamaged(const std::string& bytes) {
  EXPECT_FALSE(DecodeChunk(bytes, nullptr).ok()) << Hex(bytes);
  EXPECT_FALSE(DecodeBatch(bytes, nullptr).ok()) << Hex(bytes);
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
  const std::string chunk = Chunk(Alternating());
  EXPECT_FALSE(DecodeBatch(chunk, nullptr).ok());
  EXPECT_FALSE(DecodeChunk(Batch({}), nullptr).ok());
}

TEST(Damage, OfRandomBytesIsDetected) {
  const Seed seed;
  std::mt19937 random(seed.value());
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

// What half of the texts of an earlier format do not convert by, and the others become long by.
const TextDecoder kHalfDecoder = [](std::string_view bytes) -> std::optional<std::string> {
  if (bytes.size() % 2 == 0) return std::nullopt;
  return std::string(bytes) + std::string(3 * bytes.size(), '\0');
};

// A forger knows the checksum: what then decodes is valid all the same.
TEST(Damage, UnderARightChecksumNeverLetsInvalidRecordsThrough) {
  const Seed seed;
  std::mt19937 random(seed.value());
  int decoded = 0;
  for (const BlockKind kind : {BlockKind::kChunk, BlockKind::kBatch}) {
    for (const std::string& bytes : WholeBlocks()) {
      const Decoded<Block> whole = OpenBlock(kind, bytes);
      if (!whole.ok()) continue;  // of the other kind
      for (int round = 0; round < 60; ++round) {
        BlockHead head = whole->head();
        std::string body(whole->body());
        for (int change = 0; change < 3; ++change) {
          body[random() % body.size()] = static_cast<char>(random());
        }
        if (round % 3 == 0) head.count = random() % kMaxBlockRecords;
        if (round % 4 == 0) head.format = static_cast<std::uint8_t>(1 + random() % 3);
        if (round % 5 == 0) head.type = static_cast<std::uint8_t>(random() % 9);
        if (round % 7 == 0) body.resize(random() % body.size());
        ByteWriter block;
        const std::size_t begin = BeginBlock(&block);
        block.Bytes(body);
        SealBlock(kind, head, begin, &block);
        if (const auto chunk = DecodeChunk(block.bytes(), kHalfDecoder); chunk.ok()) {
          ++decoded;
          ExpectValid(SamplesIn(*chunk));
        }
        if (const auto batch = DecodeBatch(block.bytes(), kHalfDecoder); batch.ok()) {
          ++decoded;
          for (std::size_t at = 0; at < batch->size(); ++at) {
            EXPECT_NE(batch->tags[at], 0U);
            ExpectValid({batch->samples.At(at)});
          }
        }
      }
    }
  }
  EXPECT_GT(decoded, 0) << "or every forgery was refused";
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
  const std::uint32_t checksum = PlainCrc32(std::string(header.bytes()) + std::string(body));
  header.Fixed(checksum);
  header.Bytes(body);
  return std::string(header.bytes());
}

constexpr std::string_view kFormat1("ZC\x01\x00", 4);
constexpr std::string_view kFormat1Compressed("ZC\x01\x01", 4);
constexpr std::string_view kFormat2("ZC\x02\x00", 4);
constexpr std::string_view kFormat3("ZC\x03\x00", 4);

// The numbers as they stand in ZR3_TAG_TYPE.
constexpr std::uint32_t kInt8Chunk = 0;
constexpr std::uint32_t kInt32Chunk = 2;
constexpr std::uint32_t kFloatChunk = 3;
constexpr std::uint32_t kDoubleChunk = 4;
constexpr std::uint32_t kStringChunk = 6;
constexpr std::uint32_t kBlobChunk = 7;

// Time 0, quality 0, value 0.0.
constexpr std::string_view kOneOldFloat("\x00\x01\x00\x00\x00\x00\x00", 7);

struct ForgedCase {
  const char* name;
  std::string bytes;
};

// A whole body, in hexadecimal, under a right header.
std::string Body(std::string_view front, std::uint32_t type, std::uint32_t count,
                 std::string_view hex) {
  const std::string body = Bytes(hex);
  return Forged(front, type, count, static_cast<std::uint32_t>(body.size()), body);
}

const ForgedCase kForgedHeaders[] = {
    {"FormatBeforeTheFirst", Forged({"ZC\x00\x00", 4}, kFloatChunk, 1, 7, kOneOldFloat)},
    {"LaterFormat", Forged({"ZC\x04\x00", 4}, kFloatChunk, 1, 7, kOneOldFloat)},
    {"LaterFormatOfABatch", Forged({"ZB\x03\x00", 4}, 0, 0, 0, {})},
    {"UnknownCompression", Forged({"ZC\x01\x02", 4}, kFloatChunk, 1, 7, kOneOldFloat)},
    {"UnknownType", Forged(kFormat1, 8, 1, 7, kOneOldFloat)},
    {"TypeBeyondAByte", Forged(kFormat1, 0x103, 1, 7, kOneOldFloat)},
    {"NoRecords", Forged(kFormat1, kFloatChunk, 0, 0, {})},
    {"MoreRecordsThanABlockHas", Forged(kFormat1, kFloatChunk, 0xFFFFFFFF, 7, kOneOldFloat)},
    {"MoreRecordsThanItsBody", Forged(kFormat1, kFloatChunk, 60'000, 7, kOneOldFloat)},
    {"SizeOfAnotherBody", Forged(kFormat1, kFloatChunk, 1, 8, kOneOldFloat)},
    {"SizeBeyondItsRecords", Forged(kFormat1Compressed, kFloatChunk, 1, 0xFFFFFFFF, kOneOldFloat)},
    {"BodyThatDoesNotDecompress", Forged(kFormat1Compressed, kFloatChunk, 1, 7, kOneOldFloat)},
};

const ForgedCase kForgedFormat1[] = {
    {"BytesAfterTheLastValue", Body(kFormat1, kFloatChunk, 1, "00 0100 00000000 00")},
    {"EqualTimes", Body(kFormat1, kInt8Chunk, 2, "0500 0200 0202")},
    {"TimeBeyondTheLast", Body(kFormat1, kInt8Chunk, 1, "80808080807d 0100 00")},
    {"RunLongerThanTheChunk", Body(kFormat1, kFloatChunk, 1, "00 0200 00000000")},
    {"RunOfNothing", Body(kFormat1, kFloatChunk, 1, "00 0000 00000000")},
    {"IntegerBeyondItsType", Body(kFormat1, kInt8Chunk, 1, "00 0100 8002")},
    {"NulInAString", Body(kFormat1, kStringChunk, 1, "00 0100 0100")},
};

// A time of 0, a quality of 0: what stands before the codec's number in most of the bodies.
#define ZERO "000000 0100 "

const ForgedCase kForgedFormat2[] = {
    {"WidthBeyondANumber", Body(kFormat2, kFloatChunk, 1, "090000 0100 010000000000")},
    {"UnknownPredictor", Body(kFormat2, kFloatChunk, 1, "200000 0100 010000000000")},
    {"EqualTimes", Body(kFormat2, kInt8Chunk, 2, "000a00 0200 00 000000")},
    {"DescendingTimes", Body(kFormat2, kInt8Chunk, 2, "000a01 0200 00 000000")},
    {"TimeBeforeTheFirst", Body(kFormat2, kInt8Chunk, 1, "000100 0100 00 000000")},
    {"TimeBeyondTheLast", Body(kFormat2, kInt8Chunk, 1, "008080808080fa0100 0100 00 000000")},
    {"TimesWithoutTheirPlane", Body(kFormat2, kInt8Chunk, 3, "010002")},
    {"PlaneShorterThanTheChunk", Body(kFormat2, kInt8Chunk, 3, "0100020001")},
    {"RepeatedByteThatIsMissing", Body(kFormat2, kInt8Chunk, 3, "01000201")},
    {"FrameLongerThanTheBody", Body(kFormat2, kInt8Chunk, 3, "0100027f 00")},
    {"FrameOfNothing", Body(kFormat2, kInt8Chunk, 3, "01000204 00000000")},
    {"UnknownCodec", Body(kFormat2, kFloatChunk, 1, ZERO "04 000000")},
    {"CodecOfAnotherType", Body(kFormat2, kFloatChunk, 1, ZERO "00 000000")},
    {"ExponentBeyondTheLast", Body(kFormat2, kFloatChunk, 1, ZERO "01 0d00 000000")},
    {"MoreExceptionsThanRecords", Body(kFormat2, kFloatChunk, 1, ZERO "01 0002 0000000000")},
    {"ExceptionAfterTheLastRecord",
     Body(kFormat2, kFloatChunk, 1, ZERO "01 0001 01 00000000 000000")},
    {"ExceptionCutShort", Body(kFormat2, kDoubleChunk, 1, ZERO "01 0001 00 00000000")},
    {"BitsBeyondAFloat", Body(kFormat2, kFloatChunk, 1, ZERO "02 00808080802000")},
    {"IntegerBeyondItsType", Body(kFormat2, kInt8Chunk, 1, ZERO "00 00800200")},
    {"IntegerBeyond32Bits", Body(kFormat2, kInt32Chunk, 1, ZERO "00 00808080802000")},
    {"NegativeLength", Body(kFormat2, kStringChunk, 1, ZERO "03 000100 00")},
    {"LengthBeyondTheLongest", Body(kFormat2, kStringChunk, 1, ZERO "03 0080800100 0141")},
    {"StringLongerThanOneMayBe", Body(kFormat2, kStringChunk, 1, ZERO "03 00ec2e00 0141")},
    {"BlobLongerThanOneMayBe", Body(kFormat2, kBlobChunk, 1, ZERO "03 00d20f00 0141")},
    {"TextCutShort", Body(kFormat2, kStringChunk, 1, ZERO "03 000400 0041")},
    {"NulInAString", Body(kFormat2, kStringChunk, 1, ZERO "03 000200 0000")},
    {"BytesAfterTheLastValue", Body(kFormat2, kFloatChunk, 1, ZERO "01 0000 000000 00")},
};

class ForgedBlocks : public testing::TestWithParam<ForgedCase> {};

INSTANTIATE_TEST_SUITE_P(Header, ForgedBlocks, testing::ValuesIn(kForgedHeaders), CaseName());
INSTANTIATE_TEST_SUITE_P(Format1, ForgedBlocks, testing::ValuesIn(kForgedFormat1), CaseName());
INSTANTIATE_TEST_SUITE_P(Format2, ForgedBlocks, testing::ValuesIn(kForgedFormat2), CaseName());

TEST_P(ForgedBlocks, AreDamaged) { ExpectDamaged(GetParam().bytes); }

// The same ways of forging, with nothing wrong: so that it is the fault that is found above.
struct GenuineCase {
  const char* name;
  std::string bytes;
  Sample sample;
};

const GenuineCase kGenuine[] = {
    {"Format1", Forged(kFormat1, kFloatChunk, 1, 7, kOneOldFloat),
     At(0, 0, TagType::kFloat32, 0.0F)},
    {"LastTime", Body(kFormat2, kInt8Chunk, 1, "00fefffffffff90100 0100 00 000000"),
     At(kMaxTimeMs, 0, TagType::kInt8, 0)},
    {"Integer", Body(kFormat2, kInt8Chunk, 1, ZERO "00 00fe0100"), At(0, 0, TagType::kInt8, 127)},
    {"Scaled", Body(kFormat2, kFloatChunk, 1, ZERO "01 0200 00b22100"),
     At(0, 0, TagType::kFloat32, 21.37F)},
    {"Exception", Body(kFormat2, kFloatChunk, 1, ZERO "01 0001 00 000000c0 000000"),
     At(0, 0, TagType::kFloat32, -2.0F)},
    {"Bits", Body(kFormat2, kFloatChunk, 1, ZERO "02 00808080801000"),
     At(0, 0, TagType::kFloat32, -0.0F)},
    {"Text", Body(kFormat2, kStringChunk, 1, ZERO "03 000200 0041"),
     At(0, 0, TagType::kString, std::string("A"))},
    {"TextOfFormat3", Body(kFormat3, kStringChunk, 1, ZERO "03 000200 0041"),
     At(0, 0, TagType::kString, std::string("A"))},
    {"LongestString", Body(kFormat2, kStringChunk, 1, ZERO "03 00ea2e00 0141"),
     At(0, 0, TagType::kString, std::string(kMaxStringBytes, 'A'))},
};

#undef ZERO

class GenuineBlocks : public testing::TestWithParam<GenuineCase> {};

INSTANTIATE_TEST_SUITE_P(Chunk, GenuineBlocks, testing::ValuesIn(kGenuine), CaseName());

TEST_P(GenuineBlocks, AreRead) {
  const auto samples = DecodeChunk(GetParam().bytes, nullptr);
  ASSERT_TRUE(samples.ok()) << samples.damage().what;
  EXPECT_EQ(SamplesIn(*samples), std::vector{GetParam().sample});
}

}  // namespace
}  // namespace zervane::storage
