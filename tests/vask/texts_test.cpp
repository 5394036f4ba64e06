#include "vask/texts.h"

#include <gtest/gtest.h>

#include <array>
#include <cstddef>
#include <cstdlib>
#include <cstring>
#include <string>
#include <thread>
#include <vector>

#include "engine/log.h"
#include "tests/support/case_name.h"

namespace zervane {
namespace {

constexpr std::size_t kCapacity = 8;
constexpr char kUntouched = '\x5A';

struct ArrayCase {
  const char* name;
  const char* encoding;
  std::string array;  // of kCapacity bytes, the rest is untouched
  std::optional<std::string> utf8;
};

class CallersArray : public testing::TestWithParam<ArrayCase> {};

TEST_P(CallersArray, IsReadUpToItsEndOrNotAtAll) {
  StandardText texts(GetParam().encoding);
  std::vector<char> array(kCapacity, kUntouched);
  std::memcpy(array.data(), GetParam().array.data(), GetParam().array.size());
  EXPECT_EQ(ReadText(texts, array.data(), array.size()), GetParam().utf8);
}

const std::string kNul(1, '\0');
INSTANTIATE_TEST_SUITE_P(
    Texts, CallersArray,
    testing::Values(
        ArrayCase{"Empty", "UTF-8", kNul, ""},
        ArrayCase{"Full", "UTF-8", "1234567" + kNul, "1234567"},
        ArrayCase{"FullInGbk", "GBK", "\xB2\xE2\xB5\xE3\xB2\xE2.",  // the end is missing
                  std::nullopt},
        ArrayCase{"NoEnd", "UTF-8", "12345678", std::nullopt},
        ArrayCase{"NoEndInGb18030", "GB18030", "12345678", std::nullopt},
        ArrayCase{"Han", "GB18030", "\xB2\xE2\xB5\xE3" + kNul, "\xE6\xB5\x8B\xE7\x82\xB9"},
        ArrayCase{"LongerInside", "ISO-8859-1", "\xE9\xE9\xE9\xE9\xE9\xE9\xE9" + kNul,
                  "\xC3\xA9\xC3\xA9\xC3\xA9\xC3\xA9\xC3\xA9\xC3\xA9\xC3\xA9"},
        ArrayCase{"Kana", "SHIFT_JIS", "\xB6" + kNul, "\xEF\xBD\xB6"},
        ArrayCase{"InvalidUtf8", "UTF-8", "a\xFF" + kNul, std::nullopt},
        ArrayCase{"Surrogate", "UTF-8", "\xED\xA0\x80" + kNul, std::nullopt},
        ArrayCase{"HalfACode", "GBK", "a\xB2" + kNul, std::nullopt},
        ArrayCase{"NoCode", "SHIFT_JIS", "\x81 " + kNul, std::nullopt}),
    CaseName());

struct WriteCase {
  const char* name;
  const char* encoding;
  std::string utf8;
  std::string array;
};

class WrittenArray : public testing::TestWithParam<WriteCase> {};

TEST_P(WrittenArray, HasWhatFitsAndItsEnd) {
  StandardText texts(GetParam().encoding);
  std::vector<char> array(kCapacity + 1, kUntouched);
  WriteText(texts, GetParam().utf8, array.data(), kCapacity);
  ASSERT_LT(strnlen(array.data(), kCapacity), kCapacity);
  EXPECT_EQ(std::string(array.data()), GetParam().array);
  EXPECT_EQ(array.back(), kUntouched);
}

INSTANTIATE_TEST_SUITE_P(
    Texts, WrittenArray,
    testing::Values(WriteCase{"Empty", "GBK", "", ""},
                    WriteCase{"Fits", "UTF-8", "1234567", "1234567"},
                    WriteCase{"CutInAscii", "UTF-8", "12345678", "1234567"},
                    WriteCase{"CutInUtf8", "UTF-8", "12345\xE6\xB5\x8B", "12345"},
                    WriteCase{"FitsShorter", "GBK", "12345\xE6\xB5\x8B", "12345\xB2\xE2"},
                    WriteCase{"CutInGbk", "GBK", "123456\xE6\xB5\x8B", "123456"},
                    WriteCase{"CutInGb18030", "GB18030", "1234\xF0\x9F\x98\x80", "1234"},
                    WriteCase{"LackingInLatin", "ISO-8859-1", "\xE6\xB5\x8B\xC3\xA9", "?\xE9"},
                    WriteCase{"LackingInShiftJis", "SHIFT_JIS", "\xF0\x9F\x98\x80.", "?."}),
    CaseName());

TEST(Texts, AreCutToAnArrayOfOneByteToNothing) {
  StandardText texts("UTF-8");
  char array[] = {kUntouched, kUntouched};
  WriteText(texts, "text", array, 1);
  EXPECT_EQ(array[0], '\0');
  EXPECT_EQ(array[1], kUntouched);
}

TEST(TextsDeathTest, AreToldOnceWhenTheyAreCut) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");  // a new process, in which none was told yet
  const auto cut_two = [] {
    Log().set_level(spdlog::level::warn);
    StandardText texts("UTF-8");
    char array[5];
    WriteText(texts, "fits", array, sizeof array);
    WriteText(texts, "too long", array, sizeof array);
    WriteText(texts, "too long as well", array, sizeof array);
    std::_Exit(0);
  };
  EXPECT_EXIT(cut_two(), testing::ExitedWithCode(0), "^[^\n]*a text of 8 bytes[^\n]*cut[^\n]*\n$");
}

TEST(Texts, HaveADecoderForEveryEncoding) {
  const std::optional<TextDecoder> gbk = TextDecoderOf("GBK");
  ASSERT_TRUE(gbk && *gbk);
  EXPECT_EQ((*gbk)("\xB2\xE2"), "\xE6\xB5\x8B");
  EXPECT_EQ((*gbk)("\xB2"), std::nullopt);
  const std::optional<TextDecoder> utf8 = TextDecoderOf("utf-8");
  EXPECT_TRUE(utf8 && *utf8 == nullptr);
  EXPECT_EQ(TextDecoderOf("no such encoding"), std::nullopt);
  EXPECT_EQ(TextDecoderOf(""), std::nullopt);
}

TEST(Texts, AreDecodedByManyThreadsAtOnce) {
  const std::optional<TextDecoder> decoder = TextDecoderOf("GB18030");
  ASSERT_TRUE(decoder);
  std::vector<std::thread> threads;
  for (int i = 0; i < 4; ++i) {
    threads.emplace_back([&] {
      for (int round = 0; round < 1'000; ++round) {
        ASSERT_EQ((*decoder)("\x94\x39\xFC\x36"), "\xF0\x9F\x98\x80");
        ASSERT_EQ((*decoder)("\xB2\xE2"), "\xE6\xB5\x8B");
      }
    });
  }
  for (std::thread& thread : threads) thread.join();
}

TEST(Texts, OfAThreadAreInTheProcessesEncoding) {
  EXPECT_EQ(ProcessEncoding(), "UTF-8");
  EXPECT_EQ(&TextsOfThisThread(), &TextsOfThisThread());
  const char array[] = "\xE6\xB5\x8B";
  EXPECT_EQ(ReadText(TextsOfThisThread(), array, sizeof array), array);
}

}  // namespace
}  // namespace zervane
