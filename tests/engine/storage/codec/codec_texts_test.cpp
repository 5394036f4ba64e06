#include <gtest/gtest.h>

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "engine/storage/codec/block.h"
#include "engine/storage/codec/text_decoder.h"
#include "tests/engine/storage/codec/codec_cases.h"
#include "tests/support/case_name.h"

// STRINGs of blocks that were written before texts were UTF-8.
namespace zervane::storage {
namespace {

// As if the encoding had one byte for each character of Latin, but none for 0xFF.
const TextDecoder kLatin = [](std::string_view bytes) -> std::optional<std::string> {
  std::string text;
  for (const char byte : bytes) {
    const auto code = static_cast<unsigned char>(byte);
    if (code == 0xFF) return std::nullopt;
    if (code < 0x80) {
      text.push_back(byte);
    } else {
      text.push_back(static_cast<char>(0xC0 | code >> 6));
      text.push_back(static_cast<char>(0x80 | (code & 0x3F)));
    }
  }
  return text;
};

struct TextCase {
  const char* name;
  std::string stored;
  std::string text;     // by kLatin
  std::string as_utf8;  // without a decoder
};

std::string Times(std::size_t count, std::string_view text) {
  std::string all;
  for (std::size_t i = 0; i < count; ++i) all += text;
  return all;
}

const TextCase kTexts[] = {
    {"Empty", "", "", ""},
    {"Ascii", "FIC101", "FIC101", "FIC101"},
    {"Converted", "M\xFCnchen", "M\xC3\xBCnchen", "M\xEF\xBF\xBDnchen"},
    {"Utf8", "\xC3\xBC", "\xC3\x83\xC2\xBC", "\xC3\xBC"},
    {"NotConvertible", "a\xFF\xFC", "a\xEF\xBF\xBD\xEF\xBF\xBD", "a\xEF\xBF\xBD\xEF\xBF\xBD"},
    {"LongestThatGrows", std::string(999, '\xFC'), Times(999, "\xC3\xBC"),
     Times(999, "\xEF\xBF\xBD")},
    {"LongestThatDoesNotConvert", std::string(999, '\xFF'), Times(999, "\xEF\xBF\xBD"),
     Times(999, "\xEF\xBF\xBD")},
};

class EarlierTexts : public testing::TestWithParam<TextCase> {};

INSTANTIATE_TEST_SUITE_P(Text, EarlierTexts, testing::ValuesIn(kTexts), CaseName());

TEST_P(EarlierTexts, BecomeUtf8) {
  EXPECT_EQ(TextOfStored(GetParam().stored, kLatin), GetParam().text);
}

TEST_P(EarlierTexts, StayAsTheyAreWithoutADecoderWhereTheyAreUtf8) {
  EXPECT_EQ(TextOfStored(GetParam().stored, nullptr), GetParam().as_utf8);
}

TEST(EarlierText, IsCutAfterAWholeCharacterWhereItIsTooLong) {
  const TextDecoder to_four_bytes = [](std::string_view bytes) {
    return std::optional(Times(bytes.size(), "\xF0\x9F\x98\x80"));
  };
  EXPECT_EQ(TextOfStored(std::string(999, 'x'), to_four_bytes), Times(749, "\xF0\x9F\x98\x80"));
}

TEST(EarlierText, EndsWhereItsConversionHasANul) {
  const TextDecoder to_nul = [](std::string_view) { return std::optional(std::string("a\0b", 3)); };
  EXPECT_EQ(TextOfStored("x", to_nul), "a");
}

std::vector<Sample> Strings(const std::vector<std::string>& texts,
                            TagType type = TagType::kString) {
  std::vector<Sample> samples;
  for (const std::string& text : texts) {
    samples.push_back(At(static_cast<std::int64_t>(samples.size()), 192, type, text));
  }
  return samples;
}

const std::vector<std::string> kStored = {"", "plain", "\xFC", "\xFF", std::string(999, '\xFF')};
const std::vector<std::string> kUtf8 = {"", "plain", "\xC3\xBC", "\xEF\xBF\xBD",
                                        Times(999, "\xEF\xBF\xBD")};
// Where there is no decoder.
const std::vector<std::string> kCheckedUtf8 = {"", "plain", "\xEF\xBF\xBD", "\xEF\xBF\xBD",
                                               Times(999, "\xEF\xBF\xBD")};

TEST(EarlierStrings, OfChunksOfFormat2AreConverted) {
  const std::string old = OfFormat(2, BlockKind::kChunk, Chunk(Strings(kStored)));
  EXPECT_EQ(SamplesIn(*DecodeChunk(old, kLatin)), Strings(kUtf8));
  EXPECT_EQ(SamplesIn(*DecodeChunk(old, nullptr)), Strings(kCheckedUtf8));
}

TEST(EarlierStrings, OfChunksOfFormat1AreConverted) {
  const std::string old = Bytes(
      "5a4301000600000002000000080000002d438d0e"
      "0701"
      "0240"
      "01fc0161");
  const Decoded<SampleColumns> chunk = DecodeChunk(old, kLatin);
  ASSERT_TRUE(chunk.ok()) << chunk.damage().what;
  EXPECT_EQ(chunk->TextAt(0), "\xC3\xBC");
  EXPECT_EQ(chunk->TextAt(1), "a");
}

TEST(EarlierStrings, OfBatchesOfFormat1AreConverted) {
  std::vector<MarkedSample> records;
  for (const Sample& sample : Strings(kStored)) records.push_back({.tag = 1, .sample = sample});
  const std::string old = OfFormat(1, BlockKind::kBatch, Batch(BatchOf(records)));
  EXPECT_EQ(SamplesIn(DecodeBatch(old, kLatin)->samples), Strings(kUtf8));
  EXPECT_EQ(SamplesIn(DecodeBatch(old, nullptr)->samples), Strings(kCheckedUtf8));
}

TEST(PresentStrings, AreNotConverted) {
  const std::vector<Sample> texts = Strings(kUtf8);
  EXPECT_EQ(SamplesIn(*DecodeChunk(Chunk(texts), kLatin)), texts);
  std::vector<MarkedSample> records;
  for (const Sample& sample : texts) records.push_back({.tag = 1, .sample = sample});
  EXPECT_EQ(SamplesIn(DecodeBatch(Batch(BatchOf(records)), kLatin)->samples), texts);
}

TEST(EarlierBlobs, AreNeverConverted) {
  const std::vector<Sample> blobs = Strings(kStored, TagType::kBlob);
  EXPECT_EQ(SamplesIn(*DecodeChunk(Chunk(blobs), kLatin)), blobs);
  EXPECT_EQ(SamplesIn(*DecodeChunk(Chunk(blobs), nullptr)), blobs);
  std::vector<MarkedSample> records;
  for (const Sample& sample : blobs) records.push_back({.tag = 1, .sample = sample});
  const std::string old = OfFormat(1, BlockKind::kBatch, Batch(BatchOf(records)));
  EXPECT_EQ(SamplesIn(DecodeBatch(old, kLatin)->samples), blobs);
  EXPECT_EQ(SamplesIn(DecodeBatch(old, nullptr)->samples), blobs);
}

// All but STRINGs are written as the release before wrote them.
TEST(ChunkFormat, IsTheThirdOfStringsAlone) {
  for (const ValuesCase& row : kValues) {
    const std::uint8_t format = row.type == TagType::kString ? 3 : 2;
    EXPECT_EQ(OpenBlock(BlockKind::kChunk, Chunk(SamplesOf(row)))->head().format, format)
        << row.name;
  }
}

}  // namespace
}  // namespace zervane::storage
