#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <spdlog/sinks/ostream_sink.h>

#include <algorithm>
#include <memory>
#include <sstream>
#include <string>
#include <vector>

#include "engine/embedded.h"
#include "engine/log.h"
#include "tests/engine/records.h"
#include "tests/engine/storage/support.h"
#include "tests/support/case_name.h"
#include "tests/support/database_client.h"

// A damaged chunk costs its records and nothing else.
namespace zervane {
namespace {

using testing::HasSubstr;

constexpr TagId kTag = 1;
constexpr TagId kOtherTag = 2;
constexpr std::int64_t kRecords = 80;  // of each tag, at 10, 20, and so on
constexpr std::int64_t kLastMs = 10 * kRecords;

// Keeps what is logged while the object lives. No other thread may log while it is made or ends.
class KeptLog {
 public:
  KeptLog() : sinks_(Log().sinks()), level_(Log().level()) {
    Log().sinks() = {std::make_shared<spdlog::sinks::ostream_sink_mt>(text_)};
    Log().set_level(spdlog::level::warn);
  }
  KeptLog(const KeptLog&) = delete;
  KeptLog& operator=(const KeptLog&) = delete;
  ~KeptLog() {
    Log().sinks() = sinks_;
    Log().set_level(level_);
  }

  std::string text() const { return text_.str(); }

 private:
  std::ostringstream text_;
  std::vector<spdlog::sink_ptr> sinks_;
  spdlog::level::level_enum level_;
};

struct DamageCase {
  const char* name;
  const char* change;  // of the chunk's row
};

class DamagedChunk : public testing::TestWithParam<DamageCase> {
 protected:
  DamagedChunk() {
    Open();
    for (const TagId tag : {kTag, kOtherTag}) {
      EXPECT_EQ(*database_->AddTag(storage::TagNamed(0, "TAG" + std::to_string(tag)), {}), tag);
      for (std::int64_t i = 1; i <= kRecords; ++i) EXPECT_EQ(Write(tag, 10 * i), ZR3_OK);
    }
    Close();
    const std::string chunk =
        " FROM chunk WHERE tag = 1 AND first_time <= 380 AND last_time >= 380";
    first_ms_ = storage::NumberInFile(folder_.path(), "SELECT first_time" + chunk);
    last_ms_ = storage::NumberInFile(folder_.path(), "SELECT last_time" + chunk);
    storage::EditFile(folder_.path(), std::string("UPDATE chunk SET ") + GetParam().change +
                                          " WHERE id = (SELECT id" + chunk + ")");
    Open();
  }

  void Open() {
    auto opened = OpenEmbedded(storage::MustOpen(folder_.path()), SystemClock());
    ASSERT_TRUE(opened.ok()) << opened.status().message();
    database_ = *std::move(opened);
  }
  void Close() {
    EXPECT_TRUE(database_->Close().ok());
    database_.reset();
  }

  ZR3_STATUS Write(TagId tag, std::int64_t time_ms) {
    std::vector<std::int32_t> codes(1);
    return database_
        ->Write({{tag, NumberAt(time_ms)}}, WriteOrder::kAnyOrder, WriteAnswer::kDurable, codes)
        .code();
  }

  // The times that a read answers.
  std::vector<std::int64_t> Times(TagId tag, TimeRange range, Direction direction,
                                  std::size_t limit = SIZE_MAX) {
    const auto records = database_->ReadRecords(tag, range, direction, limit);
    EXPECT_TRUE(records.ok()) << records.status().message();
    std::vector<std::int64_t> times;
    if (!records.ok()) return times;
    for (const Sample& record : *records) times.push_back(record.time_ms);
    return times;
  }

  // The times of the first records from one of them to another.
  static std::vector<std::int64_t> Steps(std::int64_t from_ms, std::int64_t to_ms) {
    std::vector<std::int64_t> times;
    for (std::int64_t time_ms = from_ms; time_ms <= to_ms; time_ms += 10) times.push_back(time_ms);
    return times;
  }

  void ExpectDamaged(TimeRange range, Direction direction, std::size_t limit) {
    const Status status = database_->ReadRecords(kTag, range, direction, limit).status();
    EXPECT_EQ(status.code(), ZR3_ERR_STORAGE_DAMAGED);
    EXPECT_THAT(status.message(), HasSubstr("of tag 1, times "));
  }

  void ExpectCount(std::int64_t expected, TagId tag, TimeRange range) {
    const auto count = database_->CountRecords(tag, range);
    ASSERT_TRUE(count.ok()) << count.status().message();
    EXPECT_EQ(*count, expected);
  }

  storage::TempFolder folder_;
  DatabaseClient database_;
  std::int64_t first_ms_ = 0;  // of the chunk, before it was damaged
  std::int64_t last_ms_ = 0;
};

INSTANTIATE_TEST_SUITE_P(
    Row, DamagedChunk,
    testing::Values(
        DamageCase{"Zeroed", "payload = zeroblob(length(payload))"},
        DamageCase{"Cut", "payload = substr(payload, 1, length(payload) - 1)"},
        DamageCase{"Empty", "payload = x''"}, DamageCase{"NoBlob", "payload = 'text'"},
        DamageCase{
            "WithAnotherByte",
            "payload = CAST(substr(payload, 1, 24) || x'5A' || substr(payload, 26) AS BLOB)"},
        DamageCase{"OfAnotherCount", "count = count + 1"},
        DamageCase{"OfAnImpossibleCount", "count = 9223372036854775807"},
        DamageCase{"OfANegativeCount", "count = -1"},
        DamageCase{"OfAnotherStart", "first_time = first_time + 1"},
        DamageCase{"OfAnotherEnd", "last_time = last_time + 1"}),
    CaseName());

TEST_P(DamagedChunk, CostsOnlyReadsThatNeedIt) {
  ExpectDamaged({}, Direction::kForward, SIZE_MAX);
  ExpectDamaged({}, Direction::kBackward, SIZE_MAX);
  ExpectDamaged({380, 380}, Direction::kForward, 1);
  ExpectDamaged({0, last_ms_ - 10}, Direction::kBackward, 1);
  EXPECT_EQ(database_->CountRecords(kTag, {first_ms_ + 5, kLastMs}).code(),
            ZR3_ERR_STORAGE_DAMAGED);

  EXPECT_EQ(Times(kTag, {0, first_ms_ - 1}, Direction::kForward), Steps(10, first_ms_ - 10));
  EXPECT_EQ(Times(kTag, {last_ms_ + 5, kMaxTimeMs}, Direction::kForward),
            Steps(last_ms_ + 10, kLastMs));
  const std::size_t before = Steps(10, first_ms_ - 10).size();
  EXPECT_EQ(Times(kTag, {}, Direction::kForward, before).size(), before);
  const std::size_t behind = Steps(last_ms_ + 10, kLastMs).size();
  EXPECT_EQ(Times(kTag, {}, Direction::kBackward, behind).size(), behind);
  ExpectCount(std::ssize(Steps(10, first_ms_ - 10)), kTag, {0, first_ms_ - 1});
  EXPECT_EQ(Times(kOtherTag, {}, Direction::kForward), Steps(10, kLastMs));
  EXPECT_EQ(*database_->ReadCurrent(kTag), NumberAt(kLastMs));
}

TEST_P(DamagedChunk, TakesNoWriteAlong) {
  const KeptLog log;
  EXPECT_EQ(Write(kTag, 385), ZR3_OK) << "into it";
  EXPECT_EQ(Write(kTag, 5), ZR3_OK) << "before it";
  EXPECT_EQ(Write(kTag, kLastMs + 10), ZR3_OK) << "in order";
  EXPECT_EQ(Write(kOtherTag, 385), ZR3_OK);
  Close();
  EXPECT_THAT(log.text(), HasSubstr("of tag 1, times "));
  EXPECT_EQ(storage::NumberInFile(folder_.path(), "SELECT count(*) FROM damaged WHERE tag = 1"), 1);

  Open();
  std::vector<std::int64_t> expected = Steps(10, first_ms_ - 10);
  expected.insert(expected.begin(), 5);
  expected.push_back(385);
  std::ranges::copy(Steps(last_ms_ + 10, kLastMs + 10), std::back_inserter(expected));
  EXPECT_EQ(Times(kTag, {}, Direction::kForward), expected);
  ExpectCount(std::ssize(expected), kTag, {});
  EXPECT_EQ(Times(kOtherTag, {}, Direction::kForward).size(), kRecords + 1);
  EXPECT_EQ(*database_->ReadCurrent(kTag), NumberAt(kLastMs + 10));
}

TEST_P(DamagedChunk, GoesWithItsTag) {
  EXPECT_TRUE(database_->DeleteTag(kTag).ok());
  Close();
  storage::ExpectWholeFile(folder_.path());
}

// A row whose start moved into the chunk before it.
class DamagedStart : public DamagedChunk {};

INSTANTIATE_TEST_SUITE_P(Row, DamagedStart,
                         testing::Values(DamageCase{"MovedBack", "first_time = first_time - 35"}),
                         CaseName());

TEST_P(DamagedStart, MakesNoRecordComeTwice) {
  const KeptLog log;
  EXPECT_EQ(Write(kTag, first_ms_ - 20), ZR3_OK) << "again";
  Close();
  Open();
  std::vector<std::int64_t> expected = Steps(10, first_ms_ - 10);
  std::ranges::copy(Steps(last_ms_ + 10, kLastMs), std::back_inserter(expected));
  EXPECT_EQ(Times(kTag, {}, Direction::kForward), expected);
}

}  // namespace
}  // namespace zervane
