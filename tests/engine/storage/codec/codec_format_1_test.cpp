#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "engine/storage/codec/batch_codec.h"
#include "engine/storage/codec/chunk_codec.h"
#include "tests/engine/storage/codec/codec_cases.h"
#include "tests/engine/storage/codec/codec_format_1_cases.h"
#include "tests/support/case_name.h"

namespace zervane::storage {
namespace {

class OldChunks : public testing::TestWithParam<OldChunk> {};

INSTANTIATE_TEST_SUITE_P(Format1, OldChunks, testing::ValuesIn(kOldChunks), CaseName());

TEST_P(OldChunks, AreRead) {
  const auto samples = DecodeChunk(Bytes(GetParam().hex), nullptr);
  ASSERT_TRUE(samples.ok()) << samples.damage().what;
  EXPECT_EQ(SamplesIn(*samples), GetParam().samples);
}

TEST(OldBatch, IsReadThoughItIsCompressed) {
  const auto batch = DecodeBatch(Bytes(kOldBatch), nullptr);
  ASSERT_TRUE(batch.ok()) << batch.damage().what;
  ASSERT_EQ(batch->size(), 40U);
  const std::vector<Sample> samples = Alternating();
  for (std::size_t i = 0; i < samples.size(); ++i) {
    EXPECT_EQ(batch->tags[i], 7U);
    EXPECT_EQ(batch->samples.At(i), samples[i]);
    EXPECT_EQ(batch->marks[i], kArchive | kCurrent);
  }
}

}  // namespace
}  // namespace zervane::storage
