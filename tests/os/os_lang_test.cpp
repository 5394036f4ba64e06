// The exported converters, in this process with GB18030 as the system encoding and in child
// processes with others.
#include "os/os_lang.h"

#include <gtest/gtest.h>

#include <array>
#include <atomic>
#include <clocale>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <regex>
#include <string>
#include <thread>
#include <vector>

#include "allocation_counter.h"
#include "case_name.h"

namespace zervane::os {
namespace {

constexpr const char* kHanUtf8 = "\xE4\xB8\xAD\xE6\x96\x87";
constexpr const char* kHanGb18030 = "\xD6\xD0\xCE\xC4";
constexpr const char* kAccentUtf8 = "\xC3\xBF";  // GB18030 has it, GBK has not
constexpr const char* kAccentGb18030 = "\x81\x30\x8B\x37";

class Gb18030Process : public testing::Environment {
 public:
  void SetUp() override { setenv("ZERVANE_ENCODING", "GB18030", 1); }
};

const auto* const gb18030_process = testing::AddGlobalTestEnvironment(new Gb18030Process);

std::string ToSystem(const char* text) {
  std::array<char, 64> buffer{};
  const int status = os_lang_conv_utf8_to_sys(text, buffer.data(), buffer.size());
  return status == 0 ? buffer.data() : "failed";
}

std::string FromSystem(const char* text) {
  std::array<char, 64> buffer{};
  const int status = os_lang_conv_sys_to_utf8(text, buffer.data(), buffer.size());
  return status == 0 ? buffer.data() : "failed";
}

bool ConvertsBothWays() {
  return ToSystem(kHanUtf8) == kHanGb18030 && FromSystem(kHanGb18030) == kHanUtf8 &&
         ToSystem(kAccentUtf8) == kAccentGb18030 && FromSystem(kAccentGb18030) == kAccentUtf8;
}

TEST(OsLang, ConvertsInBothDirections) { EXPECT_TRUE(ConvertsBothWays()); }

TEST(OsLang, FailsWithAnEmptyText) {
  char buffer[8] = "before";
  EXPECT_NE(os_lang_conv_utf8_to_sys("\xC0\x80", buffer, sizeof(buffer)), 0);
  EXPECT_STREQ(buffer, "");
  EXPECT_NE(os_lang_conv_sys_to_utf8("\xFF", buffer, sizeof(buffer)), 0);
  EXPECT_STREQ(buffer, "");
  EXPECT_NE(os_lang_conv_utf8_to_sys("seven b", buffer, 7), 0);
  EXPECT_NE(os_lang_conv_utf8_to_sys(nullptr, buffer, sizeof(buffer)), 0);
  EXPECT_NE(os_lang_conv_utf8_to_sys("text", nullptr, 8), 0);
  EXPECT_NE(os_lang_conv_sys_to_utf8("text", buffer, 0), 0);
  EXPECT_NE(os_lang_conv_sys_to_utf8("text", buffer, -1), 0);
}

TEST(OsLang, CountsTheTextsOfACallerThatDidNotConvert) {
  struct CountCase {
    const char* what;
    int (*convert)(const char* src, char* dst, int capacity);
    const char* text;
    int capacity;
    int failures;
  };
  const CountCase cases[] = {
      {"a text that converts", os_lang_conv_utf8_to_sys, kHanUtf8, 8, 0},
      {"an empty text", os_lang_conv_utf8_to_sys, "", 8, 0},
      {"malformed", os_lang_conv_utf8_to_sys, "\xFF", 8, 1},
      {"a NUL within", os_lang_conv_utf8_to_sys, "\xC0\x80", 8, 1},
      {"too long", os_lang_conv_utf8_to_sys, "eight by", 8, 1},
      {"no text", os_lang_conv_utf8_to_sys, nullptr, 8, 1},
      {"no room", os_lang_conv_utf8_to_sys, "text", 0, 1},
      {"malformed, from the system", os_lang_conv_sys_to_utf8, "\xFF", 8, 0},
      {"too long, from the system", os_lang_conv_sys_to_utf8, "eight by", 8, 0},
  };
  (void)os_lang_take_failures();
  for (const CountCase& row : cases) {
    char buffer[8];
    (void)row.convert(row.text, buffer, row.capacity);
    EXPECT_EQ(os_lang_take_failures(), row.failures) << row.what;
    EXPECT_EQ(os_lang_take_failures(), 0) << row.what << ", asked again";
  }
}

TEST(OsLang, CountsFailuresUntilItIsAsked) {
  (void)os_lang_take_failures();
  for (int i = 0; i < 3; ++i) {
    EXPECT_EQ(ToSystem("\xFF"), "failed");
    EXPECT_EQ(ToSystem("a good text between"), "a good text between");
  }
  EXPECT_EQ(os_lang_take_failures(), 3);
}

TEST(OsLang, CountsTheFailuresOfEachThreadApart) {
  (void)os_lang_take_failures();
  EXPECT_EQ(ToSystem("\xFF"), "failed");
  std::thread([] {
    EXPECT_EQ(os_lang_take_failures(), 0) << "of another thread";
    EXPECT_EQ(ToSystem("\xFF"), "failed");
    EXPECT_EQ(ToSystem("\xFF"), "failed");
    EXPECT_EQ(os_lang_take_failures(), 2);
  }).join();
  EXPECT_EQ(os_lang_take_failures(), 1);
}

TEST(OsLang, ReadsTheEnvironmentOnce) {
  ASSERT_TRUE(ConvertsBothWays());
  setenv("ZERVANE_ENCODING", "GBK", 1);
  EXPECT_TRUE(ConvertsBothWays());
  std::thread([] { EXPECT_TRUE(ConvertsBothWays()) << "on a thread that begins later"; }).join();
  setenv("ZERVANE_ENCODING", "GB18030", 1);
}

TEST(OsLang, NamesTheEncodingItConvertsTo) {
  const char* const encoding = os_lang_encoding();
  EXPECT_STREQ(encoding, "GB18030");
  setenv("ZERVANE_ENCODING", "GBK", 1);
  EXPECT_EQ(os_lang_encoding(), encoding);
  setenv("ZERVANE_ENCODING", "GB18030", 1);
}

TEST(OsLang, LeavesTheLocaleAlone) {
  ASSERT_TRUE(ConvertsBothWays());
  EXPECT_STREQ(std::setlocale(LC_ALL, nullptr), "C");
}

TEST(OsLang, ServesManyThreadsAtOnce) {
  std::atomic<int> wrong{0};
  std::vector<std::thread> threads;
  for (int i = 0; i < 8; ++i) {
    threads.emplace_back([&wrong] {
      for (int round = 0; round < 2'000; ++round) wrong += ConvertsBothWays() ? 0 : 1;
    });
  }
  for (auto& thread : threads) thread.join();
  EXPECT_EQ(wrong, 0);
}

TEST(OsLang, AllocatesNothingOnceWarm) {
  const std::string text = [] {
    std::string result;
    for (int i = 0; i < 1'000; ++i) result += kHanUtf8 + std::string(kAccentUtf8) + "\xEE\xA0\x96";
    return result;
  }();
  std::vector<char> system(4 * text.size() + 1);
  std::vector<char> utf8(4 * text.size() + 1);
  const auto there_and_back = [&] {
    return os_lang_conv_utf8_to_sys(text.c_str(), system.data(), static_cast<int>(system.size())) ==
               0 &&
           os_lang_conv_sys_to_utf8(system.data(), utf8.data(), static_cast<int>(utf8.size())) == 0;
  };
  const std::int64_t cold = CountAllocations().made;
  std::thread(there_and_back).join();
  ASSERT_GT(CountAllocations().made, cold) << "the counter does not count";
  ASSERT_TRUE(there_and_back());

  const std::int64_t warm = CountAllocations().made;
  bool converted = true;
  for (int i = 0; i < 100; ++i) converted = there_and_back() && converted;
  char small[4];
  const int refused = os_lang_conv_utf8_to_sys("\xFF", small, sizeof(small)) +
                      os_lang_conv_sys_to_utf8("\xFF", small, sizeof(small));
  const std::int64_t after = CountAllocations().made;
  EXPECT_EQ(after, warm);
  EXPECT_TRUE(converted);
  EXPECT_NE(refused, 0);
  EXPECT_EQ(utf8.data(), text);
}

TEST(OsLang, ReleasesWhatAThreadHoldsWhenItEnds) {
  const auto convert_on_a_thread = [] { std::thread([] { ConvertsBothWays(); }).join(); };
  for (int i = 0; i < 3; ++i) convert_on_a_thread();
  const std::int64_t before = CountAllocations().live();
  for (int i = 0; i < 50; ++i) convert_on_a_thread();
  EXPECT_LT(CountAllocations().live() - before, 50) << "each thread left something behind";
}

// What a command prints; it must succeed.
std::string OutputOf(const std::string& command) {
  std::FILE* pipe = popen(command.c_str(), "r");
  if (pipe == nullptr) return "cannot run " + command;
  std::string printed;
  std::array<char, 256> part;
  while (std::fgets(part.data(), part.size(), pipe) != nullptr) printed += part.data();
  EXPECT_EQ(pclose(pipe), 0) << command;
  return printed;
}

struct EnvironmentCase {
  const char* name;
  const char* environment;
  const char* utf8;
  const char* system;  // in hexadecimal, or "failed"
};

void PrintTo(const EnvironmentCase& row, std::ostream* out) { *out << row.name; }

class InEnvironment : public testing::TestWithParam<EnvironmentCase> {};

TEST_P(InEnvironment, ConvertsToTheEncodingThatItNames) {
  const auto& [name, environment, utf8, system] = GetParam();
  const std::string command =
      std::string("env -i ZERVANE_LOG=off ") + environment + " " CONVERT_TEXT " ";
  EXPECT_EQ(OutputOf(command + "to_system " + utf8), std::string(system) + "\n");
  if (system != std::string("failed")) {
    EXPECT_EQ(OutputOf(command + "from_system " + system), std::string(utf8) + "\n");
  }
}

constexpr const char* kEuro = "E282AC";
constexpr const char* kEmoji = "EDA0BDEDB880";

INSTANTIATE_TEST_SUITE_P(
    Children, InEnvironment,
    testing::Values(
        EnvironmentCase{"NothingSet", "", kEmoji, "F09F9880"},
        EnvironmentCase{"CLocale", "LC_ALL=C", kEuro, "E282AC"},
        EnvironmentCase{"PosixLocale", "LANG=POSIX", kEuro, "E282AC"},
        EnvironmentCase{"Utf8Locale", "LANG=zh_CN.UTF-8", kEmoji, "F09F9880"},
        EnvironmentCase{"ChineseLocale", "LC_ALL=zh_CN.GB18030", kEmoji, "9439FC36"},
        EnvironmentCase{"GbkLocale", "LC_CTYPE=zh_CN.gbk", "E4B8AD", "D6D0"},
        EnvironmentCase{"LatinLocale", "LANG=de_DE.ISO-8859-15@euro", kEuro, "A4"},
        EnvironmentCase{"LatinLocaleLacksHan", "LANG=de_DE.ISO-8859-15@euro", "E4B8AD", "failed"},
        EnvironmentCase{"UninstalledLocale", "LANG=xx_XX", kEuro, "E282AC"},
        EnvironmentCase{"Override", "ZERVANE_ENCODING=ISO-8859-15 LC_ALL=zh_CN.GBK", kEuro, "A4"},
        EnvironmentCase{"UnknownOverride", "ZERVANE_ENCODING=none LC_ALL=de_DE.ISO-8859-15", kEuro,
                        kEuro},
        EnvironmentCase{"UnknownCodeset", "LC_ALL=de_DE.none", kEmoji, "F09F9880"},
        EnvironmentCase{"OverrideWithASuffix", "ZERVANE_ENCODING=ISO-8859-15//TRANSLIT", kEuro,
                        kEuro},
        EnvironmentCase{"OverrideWithNulsInItsTexts", "ZERVANE_ENCODING=UTF-16LE", kEuro, kEuro},
        EnvironmentCase{"OverrideWithoutAscii", "ZERVANE_ENCODING=IBM037", kEuro, kEuro}),
    kCaseName);

struct LogCase {
  const char* name;
  const char* environment;
  bool is_logged;
};

void PrintTo(const LogCase& row, std::ostream* out) { *out << row.name; }

// A text in another encoding than the one before it would name another file.
TEST(EncodingThatCannotBeHadNow, FailsThatTextAloneAndIsAskedForAgain) {
  for (const char* encoding : {"ISO-8859-1", "GB18030", "GBK"}) {
    const std::string command =
        std::string("env -i ZERVANE_LOG=off ZERVANE_ENCODING=") + encoding + " " CONVERT_TEXT;
    const std::string sound = OutputOf(command + " to_system C2B7");
    EXPECT_NE(sound, "C2B7\n");
    EXPECT_EQ(OutputOf(command + " short_to_system C2B7 C2B7"), "failed\n" + sound) << encoding;
  }
}

class UnusableEncoding : public testing::TestWithParam<LogCase> {};

TEST_P(UnusableEncoding, IsLoggedOnceUnlessErrorsAreNot) {
  const std::string command = std::string("env -i ") + GetParam().environment + " " CONVERT_TEXT;
  const std::string errors = OutputOf(command + " to_system 61 62 63 2>&1 >/dev/null");
  const std::regex line(
      "\\d{4}-\\d\\d-\\d\\d \\d\\d:\\d\\d:\\d\\d\\.\\d{3} zervane error: "
      ".*'no-such-encoding//IGNORE'.*UTF-8\n");
  EXPECT_EQ(std::regex_match(errors, line), GetParam().is_logged) << errors;
  EXPECT_EQ(errors.empty(), !GetParam().is_logged);
}

#define UNUSABLE "ZERVANE_ENCODING=no-such-encoding//IGNORE"

INSTANTIATE_TEST_SUITE_P(
    Levels, UnusableEncoding,
    testing::Values(LogCase{"Default", UNUSABLE, true},
                    LogCase{"Trace", UNUSABLE " ZERVANE_LOG=trace", true},
                    LogCase{"Warn", UNUSABLE " ZERVANE_LOG=warn", true},
                    LogCase{"Error", UNUSABLE " ZERVANE_LOG=error", true},
                    LogCase{"Critical", UNUSABLE " ZERVANE_LOG=critical", false},
                    LogCase{"Off", UNUSABLE " ZERVANE_LOG=off", false},
                    LogCase{"NoLevel", UNUSABLE " ZERVANE_LOG=loud", false},
                    LogCase{"NotWhenItIsKnown", "ZERVANE_ENCODING=GBK", false}),
    kCaseName);

#undef UNUSABLE

TEST(SharedLibrary, ExportsItsTwoHeadersAndNothingElse) {
  EXPECT_EQ(
      OutputOf("nm -D --defined-only --format=just-symbols " ZR_OS_LIBRARY " | LC_ALL=C sort"),
      "os_lang_conv_sys_to_utf8\n"
      "os_lang_conv_utf8_to_sys\n"
      "os_lang_encoding\nos_lang_take_failures\n"
      "os_mutex_create\n"
      "os_mutex_destroy\n"
      "os_mutex_lock\n"
      "os_mutex_unlock\n");
}

}  // namespace
}  // namespace zervane::os
