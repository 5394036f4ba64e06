// Texts that did not convert reach the API as empty ones. No function takes them for that.

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <regex>
#include <set>
#include <string>

#include "os/os_lang.h"
#include "tests/support/case_name.h"
#include "tests/vask/function_test.h"

namespace zervane {
namespace {

// ---- which functions take texts, by the headers ----

std::string WithoutComments(const std::filesystem::path& header) {
  std::ifstream file(header);
  const std::string all{std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
  return std::regex_replace(all, std::regex("/\\*[^*]*\\*+([^/*][^*]*\\*+)*/"), "");
}

// Calls visit(match) for every match in the text.
template <typename Visit>
void ForEachMatch(const std::string& text, const char* pattern, Visit&& visit) {
  const std::regex regex(pattern);
  for (std::sregex_iterator match(text.begin(), text.end(), regex), end; match != end; ++match) {
    visit(*match);
  }
}

// The records that have a text, themselves or in a record within.
std::set<std::string> RecordsWithTexts() {
  const auto header = std::filesystem::path(ZERVANE_HEADER).replace_filename("zr3Struct.h");
  std::set<std::string> records;
  const auto record = "typedef struct (\\w+) \\{([^}]*)\\}";
  ForEachMatch(WithoutComments(header), record, [&](const std::smatch& found) {
    ForEachMatch(found[2], "\\w+", [&](const std::smatch& word) {
      if (word[0] == "char" || word[0] == "ZR3_COMM_TAG_PROP_MEMBERS" || records.contains(word[0]))
        records.insert(found[1]);
    });
  });
  return records;
}

// The functions that are given a text or such a record to read: by value, or as a pointer to const.
// am3_add_tag may also write to the record that it reads.
std::set<std::string> DeclaredWithTexts() {
  const std::set<std::string> records = RecordsWithTexts();
  std::set<std::string> functions;
  const auto function = "int32 (\\w+)\\(([^)]*)\\);";
  ForEachMatch(WithoutComments(ZERVANE_HEADER), function, [&](const std::smatch& found) {
    const bool changes_its_record = found[1] == "am3_add_tag";
    const auto parameter = "(const )?(\\w+)(\\*)? \\w+";
    ForEachMatch(found[2], parameter, [&](const std::smatch& given) {
      const bool is_read = given[1].matched || !given[3].matched || changes_its_record;
      const bool is_text = given[2] == "char" || records.contains(given[2]);
      if (is_read && is_text) functions.insert(found[1]);
    });
  });
  return functions;
}

TEST(FunctionsWithTexts, AreThoseThatTheHeadersGiveTextsTo) {
  std::set<std::string> described;
  for (const ApiFunction& function : AllFunctions()) {
    if (TakesTexts(function.name)) described.insert(function.name);
  }
  EXPECT_EQ(described, DeclaredWithTexts());
}

// ---- what they do ----

// Leaves behind what a caller leaves whose text did not convert.
void FailToConvert() {
  char converted[8];
  ASSERT_NE(os_lang_conv_utf8_to_sys("\xFF", converted, sizeof converted), 0);
}

std::vector<ApiFunction::Call> WrongCalls(const ApiFunction& function) {
  std::vector<ApiFunction::Call> calls = function.with_null;
  for (const auto* more : {&function.with_negative_count, &function.with_long_text}) {
    calls.insert(calls.end(), more->begin(), more->end());
  }
  return calls;
}

class UnconvertedText : public FunctionTest {
 protected:
  void SetUp() override { (void)os_lang_take_failures(); }

  // Of the call that a text did not convert for.
  static ZR3_STATUS Refusal() {
    return GetParam().name == "nt3_connect" ? ZR3_ERR_INVALID_ADDRESS : ZR3_ERR_INVALID_TEXT;
  }
};

TEST_P(UnconvertedText, IsRefusedOnceAndNothingIsDone) {
  Connect();
  FailToConvert();
  FailToConvert();
  EXPECT_EQ(GetParam().valid(), Refusal());
  EXPECT_EQ(database->calls(), calls_before);
  EXPECT_EQ(os_lang_take_failures(), 0);
}

TEST_P(UnconvertedText, RefusesNoLaterCallWhateverElseWasWrong) {
  Connect();
  for (const ApiFunction::Call& call : WrongCalls(GetParam())) {
    FailToConvert();
    EXPECT_EQ(call(), Refusal());
    EXPECT_EQ(os_lang_take_failures(), 0);
  }
}

TEST_P(UnconvertedText, RefusesNoLaterCallWhenThereIsNoSession) {
  const bool connects = GetParam().name == "nt3_connect";
  std::vector<ApiFunction::Call> calls = WrongCalls(GetParam());
  calls.push_back(GetParam().valid);
  for (const ApiFunction::Call& call : calls) {
    FailToConvert();
    EXPECT_EQ(call(), connects ? ZR3_ERR_INVALID_ADDRESS : ZR3_ERR_NOT_CONNECTED);
    EXPECT_EQ(os_lang_take_failures(), 0);
  }
}

INSTANTIATE_TEST_SUITE_P(Api, UnconvertedText,
                         testing::ValuesIn(FunctionsThat([](const ApiFunction& function) {
                           return TakesTexts(function.name);
                         })),
                         CaseName());

class WithoutTexts : public UnconvertedText {};

// A caller may ask for a tag's type between converting the tag's value and writing it.
TEST_P(WithoutTexts, TakesNoNoticeOfOne) {
  Connect();
  const int32 status = GetParam().valid();
  (void)ProcessSession().Disconnect();
  ReleaseHandedOut();
  Connect();
  FailToConvert();
  EXPECT_EQ(GetParam().valid(), status);
  EXPECT_EQ(os_lang_take_failures(), 1);
}

// Its caller gives the batch up that the text was for; the next one has nothing to do with it.
TEST(TextsOfABatch, AreForgottenWhenATagsTypeCannotBeHad) {
  (void)os_lang_take_failures();
  FailToConvert();
  ZR3_TAG_TYPE type = 0;
  EXPECT_EQ(pt3_query_tag_type(1, &type), ZR3_ERR_NOT_CONNECTED);
  EXPECT_EQ(os_lang_take_failures(), 0);
}

INSTANTIATE_TEST_SUITE_P(Api, WithoutTexts,
                         testing::ValuesIn(FunctionsThat([](const ApiFunction& function) {
                           return !TakesTexts(function.name);
                         })),
                         CaseName());

}  // namespace
}  // namespace zervane
