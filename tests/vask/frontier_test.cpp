// Texts of callers in any encoding: STRING values and properties on their way in and out.

#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string>
#include <string_view>
#include <type_traits>
#include <vector>

#include "api/words/tag_columns.h"
#include "tests/support/case_name.h"
#include "vask/records.h"
#include "vask/tag_members.h"
#include "vask/tag_properties.h"

namespace zervane {
namespace {

std::string Repeated(std::string_view text, std::size_t count) {
  std::string repeated;
  for (std::size_t i = 0; i < count; ++i) repeated += text;
  return repeated;
}

// ---- STRING values on their way in ----

struct WrittenCase {
  const char* name;
  const char* encoding;
  std::string text;  // as the caller has it, without its terminator
  ZR3_STATUS status;
  std::string utf8;
};

class WrittenString : public testing::TestWithParam<WrittenCase> {};

TEST_P(WrittenString, IsUtf8Inside) {
  StandardText texts(GetParam().encoding);
  std::string buffer = GetParam().text;
  ZR3Record record{};
  record.nTagType = ZR3_TAG_TYPE_STRING;
  record.value.strBlob = {buffer.data(), static_cast<uint16>(buffer.size() + 1)};
  SampleColumns samples;
  ASSERT_EQ(AddRecord(record, texts, &samples).code(), GetParam().status);
  ASSERT_EQ(samples.size(), GetParam().status == ZR3_OK ? 1U : 0U);
  if (GetParam().status == ZR3_OK) {
    EXPECT_EQ(samples.TextAt(0), GetParam().utf8);
  }
}

constexpr const char* kHan = "\xE6\xB5\x8B";

INSTANTIATE_TEST_SUITE_P(
    Encodings, WrittenString,
    testing::Values(
        WrittenCase{"Utf8", "UTF-8", kHan, ZR3_OK, kHan},
        WrittenCase{"Gbk", "GBK", "\xB2\xE2", ZR3_OK, kHan},
        WrittenCase{"Gb18030", "GB18030", "\x94\x39\xFC\x36", ZR3_OK, "\xF0\x9F\x98\x80"},
        WrittenCase{"Latin", "ISO-8859-1", "\xE9", ZR3_OK, "\xC3\xA9"},
        WrittenCase{"ShiftJis", "SHIFT_JIS", "\x83\x5C", ZR3_OK, "\xE3\x82\xBD"},
        WrittenCase{"LongestUtf8", "UTF-8", Repeated(kHan, 333), ZR3_OK, Repeated(kHan, 333)},
        WrittenCase{"OneByteMoreInUtf8", "UTF-8", Repeated(kHan, 333) + "x", ZR3_ERR_VALUE_TOO_LONG,
                    ""},
        WrittenCase{"LongestLatin", "ISO-8859-1", std::string(999, '\xE9'), ZR3_OK,
                    Repeated("\xC3\xA9", 999)},
        WrittenCase{"LongestKana", "SHIFT_JIS", std::string(999, '\xB6'), ZR3_OK,
                    Repeated("\xEF\xBD\xB6", 999)},
        WrittenCase{"OneByteMoreInLatin", "ISO-8859-1", std::string(1'000, '\xE9'),
                    ZR3_ERR_VALUE_TOO_LONG, ""},
        WrittenCase{"LongestGbk", "GBK", Repeated("\xB2\xE2", 499), ZR3_OK, Repeated(kHan, 499)},
        WrittenCase{"InvalidUtf8", "UTF-8", "ok\xFF", ZR3_ERR_INVALID_TEXT, ""},
        WrittenCase{"SurrogatePair", "UTF-8", "\xED\xA0\xBD\xED\xB8\x80", ZR3_ERR_INVALID_TEXT, ""},
        WrittenCase{"HalfACode", "GBK", "ok\xB2", ZR3_ERR_INVALID_TEXT, ""},
        WrittenCase{"NoCode", "SHIFT_JIS", "\x81 ", ZR3_ERR_INVALID_TEXT, ""}),
    CaseName());

// ---- STRING values on their way out ----

struct ReadCase {
  const char* name;
  const char* encoding;
  std::string utf8;
  std::size_t capacity;
  ZR3_STATUS status;
  std::string text;
};

class ReadString : public testing::TestWithParam<ReadCase> {};

TEST_P(ReadString, IsInTheCallersEncodingAndCutWhereItMust) {
  StandardText texts(GetParam().encoding);
  std::vector<char> buffer(GetParam().capacity + 1, '#');
  ZR3Record record{};
  record.nTagType = ZR3_TAG_TYPE_STRING;
  record.nSec = 77;
  record.value.strBlob = {buffer.data(), static_cast<uint16>(GetParam().capacity)};
  const SampleView sample{
      .time_ms = 1'000, .type = TagType::kString, .number = 0, .text = GetParam().utf8};
  ASSERT_EQ(FillRecord(sample, texts, &record).code(), GetParam().status);
  if (GetParam().status == ZR3_OK) {
    EXPECT_EQ(record.value.strBlob.nLenBuf, GetParam().text.size() + 1);
    EXPECT_EQ(std::string(buffer.data()), GetParam().text);
  } else {
    EXPECT_EQ(record.nSec, 77);
    EXPECT_EQ(buffer, std::vector<char>(buffer.size(), '#'));
  }
  EXPECT_EQ(buffer.back(), '#');
}

INSTANTIATE_TEST_SUITE_P(
    Encodings, ReadString,
    testing::Values(
        ReadCase{"Utf8", "UTF-8", kHan, 4, ZR3_OK, kHan},
        ReadCase{"SmallBufferOfUtf8", "UTF-8", kHan, 3, ZR3_ERR_BUFFER_TOO_SMALL, ""},
        ReadCase{"Gbk", "GBK", kHan, 3, ZR3_OK, "\xB2\xE2"},
        ReadCase{"SmallBufferOfGbk", "GBK", kHan, 2, ZR3_ERR_BUFFER_TOO_SMALL, ""},
        ReadCase{"Gb18030", "GB18030", "\xF0\x9F\x98\x80", 1'000, ZR3_OK, "\x94\x39\xFC\x36"},
        ReadCase{"Latin", "ISO-8859-1", "\xC3\xA9", 2, ZR3_OK, "\xE9"},
        ReadCase{"LackingInLatin", "ISO-8859-1", "a\xE6\xB5\x8Bz", 1'000, ZR3_OK, "a?z"},
        ReadCase{"LackingInShiftJis", "SHIFT_JIS", "\xF0\x9F\x98\x80", 2, ZR3_OK, "?"},
        ReadCase{"LackingInGbk", "GBK", "\xC3\xBF", 2, ZR3_OK, "?"},
        ReadCase{"LongerThanTheLargestBuffer", "UTF-8", Repeated("\xC3\xA9", 999), 1'000, ZR3_OK,
                 Repeated("\xC3\xA9", 499)},
        ReadCase{"LongerThanASmallerBuffer", "UTF-8", Repeated("\xC3\xA9", 999), 999,
                 ZR3_ERR_BUFFER_TOO_SMALL, ""},
        ReadCase{"IntoALargerBuffer", "UTF-8", Repeated("\xC3\xA9", 999), 1'999, ZR3_OK,
                 Repeated("\xC3\xA9", 999)},
        ReadCase{"CutForALargerBuffer", "UTF-8", Repeated("\xC3\xA9", 999), 1'201, ZR3_OK,
                 Repeated("\xC3\xA9", 600)},
        ReadCase{"CutInGb18030", "GB18030", Repeated("\xC3\xBF", 400), 1'000, ZR3_OK,
                 Repeated("\x81\x30\x8B\x37", 249)},
        ReadCase{"WholeInLatin", "ISO-8859-1", Repeated("\xC3\xA9", 999), 1'000, ZR3_OK,
                 std::string(999, '\xE9')}),
    CaseName());

TEST(BlobValue, IsNeverConverted) {
  const std::string bytes("\xB2\xE2\xFF\0\x80", 5);
  StandardText texts("GBK");
  std::string written = bytes;
  ZR3Record record{};
  record.nTagType = ZR3_TAG_TYPE_BLOB;
  record.value.strBlob = {written.data(), static_cast<uint16>(written.size())};
  SampleColumns samples;
  ASSERT_EQ(AddRecord(record, texts, &samples).code(), ZR3_OK);
  EXPECT_EQ(samples.TextAt(0), bytes);
  std::string read(8, '#');
  record.value.strBlob = {read.data(), 8};
  ASSERT_EQ(FillRecord(ViewOf(samples, 0), texts, &record).code(), ZR3_OK);
  EXPECT_EQ(read, bytes + "###");
}

// ---- properties ----

struct PropertyCase {
  const char* name;
  const char* encoding;
  std::string text;  // of a name
  ZR3_STATUS status;
  std::string utf8;
};

class PropertyText : public testing::TestWithParam<PropertyCase> {};

TEST_P(PropertyText, IsUtf8InsideAndComesBack) {
  StandardText texts(GetParam().encoding);
  ZR3PtTagProp record{};
  std::memcpy(record.szTagName, GetParam().text.data(), GetParam().text.size());
  const PropertyMask name_only{.common = 1, .extension = 0};
  const Result<Tag> tag = ReadTag(&record, ZR3_TAG_CLASS_BASIC, name_only, texts);
  ASSERT_EQ(tag.code(), GetParam().status);
  if (!tag.ok()) return;
  EXPECT_EQ(tag->name, GetParam().utf8);
  ZR3CommTagProp filled;
  FillCommonProperties(*tag, texts, &filled);
  EXPECT_EQ(std::string(filled.szTagName), GetParam().text);
}

INSTANTIATE_TEST_SUITE_P(
    Encodings, PropertyText,
    testing::Values(PropertyCase{"Utf8", "UTF-8", kHan, ZR3_OK, kHan},
                    PropertyCase{"Gbk", "GBK", "\xB2\xE2.PV", ZR3_OK, "\xE6\xB5\x8B.PV"},
                    PropertyCase{"Gb18030", "GB18030", "\x81\x30\x8B\x37", ZR3_OK, "\xC3\xBF"},
                    PropertyCase{"Latin", "ISO-8859-1", "\xE9", ZR3_OK, "\xC3\xA9"},
                    PropertyCase{"ShiftJis", "SHIFT_JIS", "\xB6", ZR3_OK, "\xEF\xBD\xB6"},
                    PropertyCase{"LongestKana", "SHIFT_JIS", std::string(255, '\xB6'), ZR3_OK,
                                 Repeated("\xEF\xBD\xB6", 255)},
                    PropertyCase{"Endless", "ISO-8859-1", std::string(256, '\xE9'),
                                 ZR3_ERR_INVALID_TEXT, ""},
                    PropertyCase{"InvalidUtf8", "UTF-8", "\xC0\x80", ZR3_ERR_INVALID_TEXT, ""},
                    PropertyCase{"InvalidGbk", "GBK", "\xB2", ZR3_ERR_INVALID_TEXT, ""}),
    CaseName());

TEST(PropertyText, ThatIsNotSelectedMayBeInvalid) {
  StandardText texts("UTF-8");
  ZR3PtTagProp record{};
  std::strcpy(record.szTagName, "name");
  std::strcpy(record.szDescriptor, "\xFF");
  EXPECT_TRUE(ReadTag(&record, ZR3_TAG_CLASS_BASIC, {.common = 1, .extension = -1}, texts).ok());
  EXPECT_EQ(ReadTag(&record, ZR3_TAG_CLASS_BASIC, {.common = -1, .extension = 0}, texts).code(),
            ZR3_ERR_INVALID_TEXT);
}

TEST(PropertyText, IsCutToItsArrayAndReplacedWhereItMust) {
  Tag tag;
  tag.name = Repeated(kHan, 255);
  tag.eng_units = "\xE6\xB5\x8B/h";
  tag.point().device_name = Repeated("\xC3\xA9", 200);
  ZR3PtTagProp record;
  StandardText utf8("UTF-8");
  FillTag(tag, utf8, &record);
  EXPECT_EQ(record.szTagName, Repeated(kHan, 85));
  EXPECT_EQ(record.szEngUnits, tag.eng_units);
  StandardText latin("ISO-8859-1");
  FillTag(tag, latin, &record);
  EXPECT_EQ(record.szTagName, std::string(255, '?'));
  EXPECT_STREQ(record.szEngUnits, "?/h");
  EXPECT_EQ(std::strlen(record.szDeviceName),
            std::min<std::size_t>(200, sizeof record.szDeviceName - 1));
}

// ---- the members of the records ----

class MembersOfAClass : public testing::TestWithParam<int32> {};

TEST_P(MembersOfAClass, StandBesideItsColumns) {
  const auto members = OwnMembers(GetParam());
  const auto columns = OwnColumns(GetParam());
  ASSERT_EQ(members.size(), columns.size());
  for (std::size_t i = 0; i < members.size(); ++i) {
    EXPECT_EQ(members[i].column, columns[i].column);
    if (columns[i].kind == PropertyKind::kText) {
      EXPECT_EQ(members[i].bytes, columns[i].array_bytes) << columns[i].name;
    }
    if (i > 0) {
      EXPECT_GE(members[i].offset, members[i - 1].offset + members[i - 1].bytes);
    }
  }
}

// Every member whole, as bytes that are different from one to the next.
TEST_P(MembersOfAClass, AreReadEachIntoItsProperty) {
  std::vector<char> record(sizeof(ZR3AlarmTagProp) + sizeof(ZR3StatsTagProp));
  for (const RecordMember& member : OwnMembers(GetParam())) record[member.offset] = 'a';
  StandardText texts("UTF-8");
  const Result<Tag> tag = ReadTag(record.data(), GetParam(), {.common = 0, .extension = -1}, texts);
  ASSERT_TRUE(tag.ok());
  EXPECT_EQ(ClassOf(tag->own), GetParam());
  for (const PropertyColumn& column : OwnColumns(GetParam())) {
    VisitProperty(column, *tag, [&]<typename T>(const T& property) {
      if constexpr (std::is_same_v<T, std::string>) {
        EXPECT_EQ(property, "a") << column.name;
      } else {
        EXPECT_NE(property, T{}) << column.name;
      }
    });
  }
}

INSTANTIATE_TEST_SUITE_P(Classes, MembersOfAClass,
                         testing::Values(ZR3_TAG_CLASS_BASIC, ZR3_TAG_CLASS_ALARM,
                                         ZR3_TAG_CLASS_STATS, ZR3_TAG_CLASS_CALC));

}  // namespace
}  // namespace zervane
