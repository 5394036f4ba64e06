#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <iconv.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <iterator>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "engine/storage/sqlite/sqlite_store.h"
#include "engine/storage/tables.h"
#include "tests/engine/storage/sqlite/write_faults.h"
#include "tests/engine/storage/support.h"
#include "tests/support/case_name.h"

// Databases that earlier releases left (stored/make_layout_2.cpp, 4 and 5) are brought over whole,
// with every record, or are left as they are.
namespace zervane::storage {
namespace {

namespace fs = std::filesystem;
using testing::Contains;
using testing::HasSubstr;

// The text in UTF-8, by the C library; none when it is not of the encoding.
std::optional<std::string> Utf8Of(const std::string& encoding, std::string_view text) {
  const iconv_t converter = iconv_open("UTF-8", encoding.c_str());
  if (converter == reinterpret_cast<iconv_t>(-1)) std::abort();
  std::string bytes(text);
  std::string utf8(4 * text.size() + 4, '\0');
  char* from = bytes.data();
  char* to = utf8.data();
  std::size_t from_left = bytes.size();
  std::size_t to_left = utf8.size();
  const bool is_text = iconv(converter, &from, &from_left, &to, &to_left) == 0;
  iconv_close(converter);
  if (!is_text) return std::nullopt;
  utf8.resize(utf8.size() - to_left);
  return utf8;
}

constexpr std::int64_t kPresentLayout = 6;

constexpr std::string_view kKnownEncodings[] = {"GB18030", "ISO-8859-1", "SHIFT_JIS", "CP932",
                                                "ISO-2022-JP"};

// The encoding of a process that knows some more than UTF-8.
TextEncoding EncodingOf(const std::string& name) {
  return {.name = name, .decoder_of = [](std::string_view wanted) -> std::optional<TextDecoder> {
            if (wanted == "UTF-8") return TextDecoder();
            if (std::ranges::find(kKnownEncodings, wanted) == std::end(kKnownEncodings)) {
              return std::nullopt;
            }
            return [encoding = std::string(wanted)](std::string_view text) {
              return Utf8Of(encoding, text);
            };
          }};
}

// A cell of its kind.
Cell SomeCell(TableColumn::Kind kind) {
  switch (kind) {
    case TableColumn::Kind::kInteger:
      return Cell(std::int64_t{77});
    case TableColumn::Kind::kReal:
      return Cell(7.5);
    default:
      return Cell(std::string("some"));
  }
}

std::vector<Row> RowsOf(Store& store, TableId table) {
  std::vector<Row> rows;
  const auto note = [&](RowView row) {
    Row& copy = rows.emplace_back();
    for (const CellView& cell : row) copy.push_back(CopyOf(cell));
    return true;
  };
  EXPECT_TRUE(store.Rows({.table = table}, SIZE_MAX, note).ok());
  return rows;
}

// Every table takes a row and gives it back, also those that the earlier layout had not.
void ExpectRoomInEveryTable(Store& store) {
  for (const TableInfo& table : AllTables()) {
    SCOPED_TRACE(table.name);
    Row row;
    for (const TableColumn& column : table.columns) row.push_back(SomeCell(column.kind));
    const auto keys = static_cast<std::ptrdiff_t>(table.key_columns);
    StoreBatch batch;
    batch.rows.push_back(
        {.table = table.id, .key = Row(row.begin(), row.begin() + keys), .row = row});
    EXPECT_EQ(StoreDriver(store).Commit(batch).fate, CommitAnswer::Fate::kStored);
    EXPECT_THAT(RowsOf(store, table.id), Contains(row));
  }
}

struct StoredFile {
  const char* name;
  const char* encoding;
  const char* word;      // in its texts
  const char* not_text;  // what has become of a\xFF\xFF z
};

const StoredFile kFiles[] = {
    {"Gb18030", "GB18030", "\u6e29\u5ea6", "a\uFFFD\uFFFD z"},
    {"Iso8859", "ISO-8859-1", "F\u00fcllstand", "a\u00ff\u00ff z"},
};

constexpr std::int64_t kLostBatch = 50'000;  // the time of the records of the damaged batch

class Stored : public testing::Test {
 protected:
  fs::path Copied(const StoredFile& file) {
    return CopiedFile("layout_2_" + std::string(file.encoding) + ".db");
  }
  fs::path CopiedFile(const std::string& name) {
    const fs::path folder = temp_.path() / std::to_string(++copies_);
    fs::create_directory(folder);
    fs::copy_file(fs::path(ZERVANE_STORED_FILES) / name, folder / "zervane.db");
    return folder;
  }

  TempFolder temp_;
  int copies_ = 0;
};

class StoredFiles : public Stored, public testing::WithParamInterface<StoredFile> {
 protected:
  static std::vector<std::int64_t> TimesFrom(std::int64_t first_ms) {
    std::vector<std::int64_t> times;
    for (std::int64_t i = first_ms; i <= 60'000; i += 1000) {
      if (i != kLostBatch) times.push_back(i);
    }
    return times;
  }

  static std::vector<std::int64_t> TimesOf(const std::vector<Sample>& records) {
    std::vector<std::int64_t> times;
    for (const Sample& record : records) times.push_back(record.time_ms);
    return times;
  }

  static void ExpectTags(Store& store) {
    const std::vector<Tag> tags = Tags(store);
    ASSERT_EQ(tags.size(), 5U);
    const std::string word = GetParam().word;
    for (TagId id = 1; id <= 5; ++id) {
      const Tag& tag = tags[id - 1];
      EXPECT_EQ(tag.id, id);
      EXPECT_EQ(tag.name, word + "." + std::to_string(id));
      EXPECT_EQ(tag.descriptor, word + " " + word);
      EXPECT_EQ(tag.point().instrument_address, "40001");
      EXPECT_EQ(tag.span, static_cast<float>(id) + 0.5F);
    }
    EXPECT_EQ(SettingOf(store, std::string(kLastIdSetting)), Cell(std::int64_t{6}));
    EXPECT_EQ(SettingOf(store, std::string(kCatalogueVersionSetting)), Cell(std::int64_t{7}));
    EXPECT_EQ(SettingOf(store, std::string(kEncodingSetting)), Cell(GetParam().encoding));
  }

  static void ExpectRecords(Store& store) {
    const std::string word = GetParam().word;
    const std::vector<Sample> numbers = ReadAll(store, 1);
    EXPECT_EQ(TimesOf(numbers), TimesFrom(1000));
    for (const Sample& record : numbers) {
      EXPECT_EQ(record.value, Value(0.0005 * static_cast<double>(record.time_ms)));
    }
    std::vector<Sample> texts = ReadAll(store, 2);
    ASSERT_FALSE(texts.empty());
    EXPECT_EQ(texts.back().time_ms, 61'000);
    EXPECT_EQ(texts.back().value, Value(std::string(GetParam().not_text)));
    texts.pop_back();
    EXPECT_EQ(TimesOf(texts), TimesFrom(1000));
    for (const Sample& record : texts) {
      EXPECT_EQ(record.value, Value(word + std::to_string(record.time_ms / 1000)));
    }
    const std::vector<Sample> blobs = ReadAll(store, 3);
    EXPECT_EQ(TimesOf(blobs), TimesFrom(1000));
    for (const Sample& record : blobs) {
      EXPECT_EQ(record.value,
                Value(std::string("\xFF\0\xD6", 3) + std::to_string(record.time_ms / 1000)));
    }
    EXPECT_EQ(TryRead(store, 5, {1000, 8000}, Direction::kForward, 1).code(),
              ZR3_ERR_STORAGE_DAMAGED);
    EXPECT_EQ(TimesOf(ReadRange(store, 5, {9000, kMaxTimeMs}, Direction::kForward, SIZE_MAX)),
              TimesFrom(9000));
  }

  static void ExpectCurrentAndHeld(Store& store) {
    std::map<TagId, Sample> current;
    for (const TagSample& value : CurrentValues(store)) current[value.tag] = value.sample;
    EXPECT_EQ(current.size(), 5U);
    EXPECT_EQ(current[1].value, Value(61'000.0));
    EXPECT_EQ(current[2].value, Value(std::string(GetParam().not_text)));
    EXPECT_EQ(current[3].value, Value(std::string("\xFF\0\xD6", 3) + "60"));
    EXPECT_EQ(current[4].time_ms, 500);
    EXPECT_EQ(current[5].time_ms, 60'000);
    EXPECT_EQ(store.ReadHeld(4)->value().time_ms, 500);
    EXPECT_EQ(store.ReadHeld(1)->value().time_ms, 61'000);
    EXPECT_FALSE(store.ReadHeld(2)->has_value());
  }

  static void ExpectAll(Store& store) {
    ExpectTags(store);
    ExpectRecords(store);
    ExpectCurrentAndHeld(store);
  }
};

INSTANTIATE_TEST_SUITE_P(Of, StoredFiles, testing::ValuesIn(kFiles), CaseName());

TEST_P(StoredFiles, AreBroughtOverWithAllThatTheyHold) {
  const fs::path folder = Copied(GetParam());
  for (const std::string& encoding : {std::string(GetParam().encoding), std::string("UTF-8")}) {
    SCOPED_TRACE(encoding);
    const auto store = MustOpen(folder, kTinyOptions, EncodingOf(encoding));
    EXPECT_EQ(StoreDriver(*store).last_commit(), 62);
    ExpectAll(*store);
    EXPECT_TRUE(store->Close().ok());
  }
  EXPECT_EQ(NumberInFile(folder, "PRAGMA user_version"), kPresentLayout);
  EXPECT_EQ(NumberInFile(folder, "SELECT count(*) FROM sqlite_schema WHERE name = 'catalogue'"), 0);
  EXPECT_EQ(NumberInFile(folder, "SELECT count(*) FROM damaged"), 2) << "the earlier, the batch";
  ExpectRoomInEveryTable(*MustOpen(folder, kTinyOptions, EncodingOf("UTF-8")));
}

// What was brought over takes records and tags like any other, and texts that are merged with them
// are the same.
TEST_P(StoredFiles, TakeNewRecords) {
  const fs::path folder = Copied(GetParam());
  {
    const auto store = MustOpen(folder, kTinyOptions, EncodingOf(GetParam().encoding));
    for (std::int64_t i = 1; i <= 60; ++i) {
      MarkedSample text = Record(2, 1000 * i + 1, 0, kArchive);
      text.sample.type = TagType::kString;
      text.sample.value = std::string("\u6e29 new");
      EXPECT_TRUE(Append(*store, {text}).ok());
    }
    EXPECT_TRUE(PutTag(*store, TagNamed(7, "\u6e29")).ok());
  }
  const auto store = MustOpen(folder, kTinyOptions, EncodingOf("UTF-8"));
  EXPECT_EQ(Tags(*store).back().name, "\u6e29");
  std::vector<Sample> old;
  for (const Sample& record : ReadAll(*store, 2)) {
    if (record.time_ms % 1000 == 0) old.push_back(record);
  }
  EXPECT_EQ(old.size(), 60U);
  for (const Sample& record : old) {
    if (record.time_ms == 61'000) continue;
    EXPECT_EQ(record.value, Value(GetParam().word + std::to_string(record.time_ms / 1000)));
  }
}

// A process that is killed while it brings the file over leaves the old one or the new one.
TEST_P(StoredFiles, AreOldOrNewWheneverTheProcessIsKilled) {
  int killed = 0;
  for (int writes = 1;; ++writes) {
    SCOPED_TRACE(writes);
    const fs::path folder = Copied(GetParam());
    const pid_t child = fork();
    ASSERT_GE(child, 0);
    if (child == 0) {
      KillAtWrite(writes);
      const auto store = OpenSqliteStore(folder, EncodingOf(GetParam().encoding), kTinyOptions);
      _exit(store.ok() ? 0 : 1);
    }
    int status = 0;
    ASSERT_EQ(waitpid(child, &status, 0), child);
    const bool is_killed = WIFSIGNALED(status);
    EXPECT_TRUE(is_killed || WEXITSTATUS(status) == 0);
    const std::int64_t layout = NumberInFile(folder, "PRAGMA user_version");
    EXPECT_TRUE(layout == 2 || layout == kPresentLayout) << layout;
    const auto store = MustOpen(folder, kTinyOptions, EncodingOf(GetParam().encoding));
    ExpectAll(*store);
    if (!is_killed || HasFailure()) break;
    ++killed;
  }
  EXPECT_GT(killed, 10) << "or hardly anything was tested";
}

// ---- what is refused ----

TEST_P(StoredFiles, AreLeftAloneByAProcessOfAnotherEncoding) {
  const fs::path folder = Copied(GetParam());
  const auto refused = OpenSqliteStore(folder, EncodingOf("UTF-8"));
  EXPECT_EQ(refused.code(), ZR3_ERR_INVALID_TEXT);
  EXPECT_THAT(refused.status().message(), HasSubstr("ZERVANE_ENCODING"));
  EXPECT_THAT(refused.status().message(), HasSubstr("tag 1"));
  EXPECT_EQ(NumberInFile(folder, "PRAGMA user_version"), 2);
  EXPECT_EQ(NumberInFile(folder, "SELECT count(*) FROM journal"), 13);
  ExpectAll(*MustOpen(folder, kTinyOptions, EncodingOf(GetParam().encoding)));
}

TEST_P(StoredFiles, NeedADecoderOfTheirEncodingLaterToo) {
  const fs::path folder = Copied(GetParam());
  MustOpen(folder, kTinyOptions, EncodingOf(GetParam().encoding)).reset();
  EXPECT_EQ(OpenSqliteStore(folder).code(), ZR3_ERR_INVALID_TEXT);
  ExpectAll(*MustOpen(folder, kTinyOptions, EncodingOf("UTF-8")));
}

TEST_F(Stored, AreRefusedForOneTextOfTheCatalogueThatDoesNotConvert) {
  const fs::path folder = Copied(kFiles[0]);
  EditFile(folder, "UPDATE tag SET scan_group_name = x'ff41ff' WHERE id = 5");
  const auto refused = OpenSqliteStore(folder, EncodingOf("GB18030"));
  EXPECT_EQ(refused.code(), ZR3_ERR_INVALID_TEXT);
  EXPECT_THAT(refused.status().message(), HasSubstr("tag 5"));
  EXPECT_EQ(NumberInFile(folder, "PRAGMA user_version"), 2);
  EXPECT_EQ(NumberInFile(folder, "SELECT count(*) FROM tag WHERE name = x'cec2b6c82e31'"), 1)
      << "what had been converted is as it was";
  EditFile(folder, "UPDATE tag SET scan_group_name = x'' WHERE id = 5");
  EXPECT_EQ(Tags(*MustOpen(folder, kTinyOptions, EncodingOf("GB18030"))).size(), 5U);
}

TEST_F(Stored, AreRefusedForAnEncodingThatIsNotKnown) {
  const fs::path folder = Copied(kFiles[0]);
  EXPECT_EQ(OpenSqliteStore(folder, EncodingOf("KLINGON")).code(), ZR3_ERR_INVALID_TEXT);
  EXPECT_EQ(NumberInFile(folder, "PRAGMA user_version"), 2);
}

// ---- encodings whose bytes look like ASCII ----

// The texts of every tag are plain, so that any encoding takes them.
fs::path WithPlainTexts(fs::path folder) {
  EditFile(folder,
           "UPDATE tag SET name = CAST('T' || id AS BLOB), descriptor = CAST('text' AS BLOB)");
  return folder;
}

struct SevenBitCase {
  const char* name;
  const char* encoding;
  const char* stored;  // as SQL writes it
  const char* text;
};

const SevenBitCase kSevenBits[] = {
    {"ShiftJis", "SHIFT_JIS", "x'417e5c42'", "A\u203E\u00A5B"},
    {"Iso2022Jp", "ISO-2022-JP", "x'1b2442467c4b5c1b2842'", "\u65e5\u672c"},
};

class SevenBitTexts : public Stored, public testing::WithParamInterface<SevenBitCase> {};

INSTANTIATE_TEST_SUITE_P(Of, SevenBitTexts, testing::ValuesIn(kSevenBits), CaseName());

TEST_P(SevenBitTexts, AreConvertedLikeAllOthers) {
  const fs::path folder = WithPlainTexts(Copied(kFiles[0]));
  const std::string stored = GetParam().stored;
  EditFile(folder, "UPDATE tag SET name = " + stored + " WHERE id = 2;" +
                       "UPDATE tag SET descriptor = " + stored + " WHERE id = 3");
  const auto store = MustOpen(folder, kTinyOptions, EncodingOf(GetParam().encoding));
  const std::vector<Tag> tags = Tags(*store);
  ASSERT_EQ(tags.size(), 5U);
  EXPECT_EQ(tags[0].name, "T1");
  EXPECT_EQ(tags[1].name, GetParam().text);
  EXPECT_EQ(tags[2].name, "T3");
  EXPECT_EQ(tags[2].descriptor, GetParam().text);
}

// ---- names that become one ----

struct SameNamesCase {
  const char* name;
  const char* encoding;
  const char* second;  // the stored names of tags 2 and 4, as SQL writes them
  const char* fourth;
};

const SameNamesCase kSameNames[] = {
    {"TwoCodesOfOneCharacter", "CP932", "x'81e0'", "x'8790'"},
    {"EscapesAndCase", "ISO-2022-JP", "x'1b28424162'", "x'6142'"},
};

class SameNames : public Stored, public testing::WithParamInterface<SameNamesCase> {};

INSTANTIATE_TEST_SUITE_P(Of, SameNames, testing::ValuesIn(kSameNames), CaseName());

// Such a catalogue could not be opened any more.
TEST_P(SameNames, AreRefusedWhileTheFileIsAsItWas) {
  const fs::path folder = WithPlainTexts(Copied(kFiles[0]));
  const std::string second = GetParam().second;
  const std::string fourth = GetParam().fourth;
  EditFile(folder, "UPDATE tag SET name = " + second + " WHERE id = 2;" +
                       "UPDATE tag SET name = " + fourth + " WHERE id = 4");
  const auto refused = OpenSqliteStore(folder, EncodingOf(GetParam().encoding));
  EXPECT_EQ(refused.code(), ZR3_ERR_INVALID_TEXT);
  EXPECT_THAT(refused.status().message(), HasSubstr("tags 2 and 4"));
  EXPECT_EQ(NumberInFile(folder, "PRAGMA user_version"), 2);
  EXPECT_EQ(NumberInFile(folder,
                         "SELECT count(*) FROM tag WHERE name IN (" + second + "," + fourth + ")"),
            2);
  EditFile(folder, "UPDATE tag SET name = x'5a' WHERE id = 4");
  EXPECT_EQ(Tags(*MustOpen(folder, kTinyOptions, EncodingOf(GetParam().encoding)))[3].name, "Z");
}

// ---- layout 1 ----

// It had no table of records held back; else it is made of the same tables as layout 2.
TEST_F(Stored, OfLayout1AreBroughtOverToo) {
  const fs::path folder = Copied(kFiles[0]);
  EditFile(folder, "DROP TABLE held; PRAGMA user_version = 1");
  const auto store = MustOpen(folder, kTinyOptions, EncodingOf("GB18030"));
  EXPECT_EQ(Tags(*store).size(), 5U);
  EXPECT_EQ(ReadAll(*store, 1).size(), 59U);
  EXPECT_FALSE(store->ReadHeld(4)->has_value());
  EXPECT_TRUE(store->Close().ok());
  EXPECT_EQ(NumberInFile(folder, "PRAGMA user_version"), kPresentLayout);
}

// ---- layout 4 ----

constexpr char kLayout4[] = "layout_4.db";

void ExpectOfLayout4(Store& store) {
  EXPECT_EQ(StoreDriver(store).last_commit(), 66);
  const std::vector<Tag> tags = Tags(store);
  ASSERT_EQ(tags.size(), 2U);
  EXPECT_EQ(tags[0].name, "\u6e29\u5ea6.1");
  EXPECT_EQ(tags[1].type, ZR3_TAG_TYPE_STRING);
  EXPECT_EQ(SettingOf(store, std::string(kLastIdSetting)), Cell(std::int64_t{3}));
  const std::vector<Sample> numbers = ReadAll(store, 1);
  const std::vector<Sample> texts = ReadAll(store, 2);
  ASSERT_EQ(numbers.size(), 60U);
  ASSERT_EQ(texts.size(), 60U);
  for (int i = 1; i <= 60; ++i) {
    const auto at = static_cast<std::size_t>(i - 1);
    EXPECT_EQ(numbers[at].time_ms, 1000 * i);
    EXPECT_EQ(numbers[at].value, Value(0.5 * i));
    EXPECT_EQ(texts[at].value, Value("\u6e29" + std::to_string(i)));
  }
  EXPECT_EQ(CurrentValues(store).size(), 2U);
  EXPECT_EQ(store.ReadHeld(1)->value().value, Value(61.0));
  const std::vector<Row> tasks = RowsOf(store, TableId::kProgress);
  ASSERT_EQ(tasks.size(), 1U);
  EXPECT_EQ(tasks[0][0], Cell(std::string("task")));
}

// ---- layout 5 ----

constexpr char kLayout5[] = "layout_5.db";

void ExpectAlarmsOfLayout5(Store& store) {
  const std::vector<Row> groups = RowsOf(store, TableId::kAlarmGroup);
  ASSERT_EQ(groups.size(), 2U);
  EXPECT_EQ(groups[1][1], Cell(std::int64_t{1})) << "the first is the parent of the second";
  EXPECT_EQ(groups[1][2], Cell(std::string("Boiler")));
  EXPECT_EQ(SettingOf(store, std::string(kLastGroupSetting)), Cell(std::int64_t{2}));
  const std::vector<Row> records = RowsOf(store, TableId::kAlarmRecord);
  ASSERT_EQ(records.size(), 2U);
  EXPECT_EQ(Row(records[0].begin(), records[0].begin() + 3),
            (Row{Cell(std::int64_t{4}), Cell(std::int64_t{1'000}), Cell(std::int64_t{6'000})}));
  EXPECT_EQ(records[0][12], Cell(std::string("seen")));
  EXPECT_EQ(records[0][13], Cell(std::string("admin")));
  EXPECT_EQ(records[1][1], Cell(std::int64_t{51'000}));
  EXPECT_EQ(records[1][2], Cell(std::int64_t{0})) << "it stands";
  EXPECT_EQ(RowsOf(store, TableId::kStandingAlarm).size(), 1U);
  EXPECT_EQ(RowsOf(store, TableId::kAlarmTag).size(), 2U);
  EXPECT_EQ(RowsOf(store, TableId::kTagLink).size(), 4U) << "of each alarm tag source and target";
}

void ExpectOfLayout5(Store& store) {
  std::vector<std::string> names;
  for (const Tag& tag : Tags(store)) names.push_back(tag.name);
  EXPECT_EQ(names, (std::vector<std::string>{"\u6e29\u5ea6.1", "\u6e29\u5ea6.2", "target", "low",
                                             "high"}));
  const std::vector<Sample> numbers = ReadAll(store, 1);
  const std::vector<Sample> texts = ReadAll(store, 2);
  ASSERT_EQ(numbers.size(), 60U);
  ASSERT_EQ(texts.size(), 60U);
  for (int i = 1; i <= 60; ++i) {
    const auto at = static_cast<std::size_t>(i - 1);
    EXPECT_EQ(numbers[at].time_ms, 1000 * i);
    EXPECT_EQ(numbers[at].value, Value(0.5 * i));
    EXPECT_EQ(texts[at].value, Value("\u6e29" + std::to_string(i)));
  }
  EXPECT_EQ(ReadAll(store, 3).size(), 2U) << "what the alarms' actions wrote";
  EXPECT_EQ(CurrentValues(store).size(), 3U);
  EXPECT_TRUE(RowsOf(store, TableId::kProgress).empty());
  ExpectAlarmsOfLayout5(store);
}

// ---- both ----

struct LayoutCase {
  const char* name;
  const char* file;
  std::int64_t layout;
  void (*expect)(Store& store);
};

class LaterLayouts : public Stored, public testing::WithParamInterface<LayoutCase> {};

INSTANTIATE_TEST_SUITE_P(Of, LaterLayouts,
                         testing::Values(LayoutCase{"Layout4", kLayout4, 4, ExpectOfLayout4},
                                         LayoutCase{"Layout5", kLayout5, 5, ExpectOfLayout5}),
                         CaseName());

TEST_P(LaterLayouts, AreBroughtOverWithAllThatTheyHold) {
  const fs::path folder = CopiedFile(GetParam().file);
  ASSERT_EQ(NumberInFile(folder, "PRAGMA user_version"), GetParam().layout);
  const std::int64_t summaries = NumberInFile(folder, "SELECT count(*) FROM summary");
  GetParam().expect(*MustOpen(folder));
  EXPECT_EQ(NumberInFile(folder, "PRAGMA user_version"), kPresentLayout);
  EXPECT_GE(NumberInFile(folder, "SELECT count(*) FROM summary"), summaries);
  const auto store = MustOpen(folder);
  GetParam().expect(*store);
  ExpectRoomInEveryTable(*store);
}

TEST_P(LaterLayouts, AreOldOrNewWheneverTheProcessIsKilled) {
  int killed = 0;
  for (int writes = 1;; ++writes) {
    SCOPED_TRACE(writes);
    const fs::path folder = CopiedFile(GetParam().file);
    const pid_t child = fork();
    ASSERT_GE(child, 0);
    if (child == 0) {
      KillAtWrite(writes);
      const auto store = OpenSqliteStore(folder, {}, kTinyOptions);
      _exit(store.ok() ? 0 : 1);
    }
    int status = 0;
    ASSERT_EQ(waitpid(child, &status, 0), child);
    const bool is_killed = WIFSIGNALED(status);
    EXPECT_TRUE(is_killed || WEXITSTATUS(status) == 0);
    const std::int64_t layout = NumberInFile(folder, "PRAGMA user_version");
    EXPECT_TRUE(layout == GetParam().layout || layout == kPresentLayout) << layout;
    const auto store = MustOpen(folder);
    GetParam().expect(*store);
    ExpectRoomInEveryTable(*store);
    if (!is_killed || HasFailure()) break;
    ++killed;
  }
  EXPECT_GT(killed, 5) << "or hardly anything was tested";
}

// More than are converted at a time.
TEST_F(Stored, OfManyTagsAreConvertedEveryOne) {
  const fs::path folder = Copied(kFiles[0]);
  std::string sql;
  for (int id = 10; id < 2510; ++id) {
    const std::string number = std::to_string(id);
    sql +=
        "CREATE TEMP TABLE t AS SELECT * FROM main.tag WHERE id = 1;"
        "UPDATE t SET id = " +
        number + ", name = CAST(name || '" + number +
        "' AS BLOB);"
        "INSERT INTO main.tag SELECT * FROM t; DROP TABLE t;";
  }
  EditFile(folder, "BEGIN;" + sql + "COMMIT");
  const std::vector<Tag> tags = Tags(*MustOpen(folder, kTinyOptions, EncodingOf("GB18030")));
  EXPECT_EQ(tags.size(), 2505U);
  for (const Tag& tag : tags) EXPECT_THAT(tag.name, HasSubstr("\u6e29\u5ea6."));
}

}  // namespace
}  // namespace zervane::storage
