#pragma once

#include <gtest/gtest.h>
#include <spdlog/fmt/fmt.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <limits>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "engine/derived/calculations/calculation.h"
#include "engine/derived/calculations/calculation_history.h"
#include "engine/storage/table.h"
#include "engine/write/write_path.h"
#include "tests/engine/records.h"
#include "tests/engine/storage/faulty_store.h"
#include "tests/engine/storage/store_driver.h"

namespace zervane {

// The past of calculation tags over a write path, on a clock that the test sets; nothing is
// computed live, and nothing before the test says so. Tags 1 to 4, FLOAT64, are called a to d.
class PastDatabase {
 public:
  static constexpr TagId kPoints = 4;

  PastDatabase() {
    storage::StoreDriver driver(*below_);
    for (TagId tag = 1; tag <= kPoints; ++tag) {
      driver.PutTag(storage::TagNamed(tag, NameOf(tag)));
      tags_.Reserve(tag);
      tags_.Put(tag, {.is_read = true});
    }
    Open();
  }
  ~PastDatabase() { Close(); }
  PastDatabase(const PastDatabase&) = delete;
  PastDatabase& operator=(const PastDatabase&) = delete;

  static std::string NameOf(TagId tag) { return std::string(1, static_cast<char>('a' + tag - 1)); }

  void Close() {
    if (path_ != nullptr) (void)path_->Close();
    path_.reset();
    history_.reset();
    stage_.reset();
    store_.reset();
  }
  void Open() {
    store_ = std::make_unique<storage::FaultyStore>(below_, faults_);
    path_ = std::make_unique<WritePath>(*store_, tags_, clock());
    history_ = std::make_unique<CalculationHistory>(*store_, *path_, tags_, clock(), most_instants);
    stage_ = std::make_unique<SavingStage>(*this);
    path_->AddStage(*stage_);
    Turn turn = Turn::Issue();
    std::vector<CalculationPtr> calculations;
    for (const auto& [tag, calculation] : saved_) calculations.push_back(calculation);
    opening_ = history_->Load(turn, calculations);
    const Status status = path_->Start(std::move(turn));
    ASSERT_TRUE(status.ok()) << status.message();
  }
  const Status& opening() const { return opening_; }
  Status Begin() { return history_->Begin(now_ms); }
  // As a process that is killed and started anew would.
  void Reopen() {
    Close();
    Open();
    ASSERT_TRUE(opening_.ok()) << opening_.message();
    ASSERT_TRUE(Begin().ok());
  }

  // ---- calculation tags ----

  struct Past {
    std::int64_t start_s = 0;
    std::optional<std::int64_t> end_s = std::nullopt;
  };
  // Identifier and expression over a to d and the calculation tags behind them.
  static Calculation Polled(TagId tag, const std::string& expression, std::int32_t period_s,
                            std::optional<Past> past, TagType type = TagType::kFloat64) {
    CalculationProperties properties;
    properties.calc_mode = ZR3_CALC_MODE_POLL;
    properties.calc_period = period_s;
    return CalculationOf(tag, expression, 0, past, type, properties);
  }
  static Calculation Notified(TagId tag, const std::string& expression, TagId source,
                              std::optional<Past> past, TagType type = TagType::kFloat64) {
    CalculationProperties properties;
    properties.calc_mode = ZR3_CALC_MODE_NOTIFY;
    return CalculationOf(tag, expression, source, past, type, properties);
  }

  Status TrySave(const Calculation& calculation) {
    proposal_ = std::make_shared<const Calculation>(calculation);
    const TagId tag = calculation.tag;
    return path_->Change(
        [&](Turn&, StoreBatch& batch) {
          Tag row = storage::TagNamed(tag, NameOf(tag));
          row.type = static_cast<std::int32_t>(calculation.type);
          Table<Tag>::Put(row, batch);
          tags_.Reserve(tag);
          return Status();
        },
        [&](Turn&) {
          tags_.Put(tag, {.type = calculation.type, .is_own = true});
          saved_[tag] = proposal_;
        });
  }
  void Save(const Calculation& calculation) {
    const Status status = TrySave(calculation);
    EXPECT_TRUE(status.ok()) << status.message();
  }
  void Remove(TagId tag) {
    const Status status = path_->Change(
        [&](Turn&, StoreBatch& batch) {
          Table<Tag>::Remove(tag, batch);
          return Status();
        },
        [&](Turn&) {
          tags_.Remove(tag);
          saved_.erase(tag);
        });
    EXPECT_TRUE(status.ok()) << status.message();
  }

  // ---- records ----

  // Of a FLOAT64 tag.
  void Write(TagId tag, std::int64_t time_ms, double value, std::uint16_t quality = 192) {
    SampleBatch batch;
    batch.Add(
        tag,
        {.time_ms = time_ms, .quality = quality, .type = TagType::kFloat64, .value = Value(value)});
    const auto reply = path_->Write(
        {}, {.batch = batch, .order = WriteOrder::kAnyOrder, .answer = WriteAnswer::kDurable});
    ASSERT_TRUE(reply.ok() && reply->status == ZR3_OK);
  }
  std::vector<Sample> RecordsOf(TagId tag) { return storage::ReadAll(*below_, tag); }
  // In order, "seconds=value", or of a bad one "seconds=value!".
  std::string TextOf(TagId tag) {
    std::string text;
    for (const Sample& record : RecordsOf(tag)) {
      text += fmt::format("{}{}={}{}", text.empty() ? "" : " ",
                          static_cast<double>(record.time_ms) / 1000, NumberIn(record),
                          record.quality == 192 ? "" : "!");
    }
    return text;
  }
  static double NumberIn(const Sample& sample) {
    return sample.type == TagType::kFloat64   ? sample.value.float64()
           : sample.type == TagType::kFloat32 ? static_cast<double>(sample.value.float32())
                                              : static_cast<double>(sample.value.integer());
  }

  // ---- working ----

  // All that there is to do.
  void Work() {
    for (int steps = 0; history_->HasWork(); ++steps) {
      const Result<TagId> step = history_->Step();
      ASSERT_TRUE(step.ok()) << step.status().message();
      ASSERT_LT(steps, 100'000) << "there is no end of it";
    }
  }
  std::vector<HistoryProgress> Rows() {
    using Format = RowFormat<HistoryProgress>;
    std::vector<HistoryProgress> rows;
    const Status status = Table<HistoryProgress>(*below_).Visit(
        {.table = Format::kTable, .from = Format::AllKeys(), .to = Format::AllKeys()},
        std::numeric_limits<std::size_t>::max(), [&](const HistoryProgress& row) {
          rows.push_back(row);
          return true;
        });
    EXPECT_TRUE(status.ok()) << status.message();
    return rows;
  }

  CalculationHistory& history() { return *history_; }
  WritePath& path() { return *path_; }
  storage::Faults& faults() { return *faults_; }
  Store& store() { return *below_; }
  const std::map<TagId, CalculationPtr>& saved() const { return saved_; }

  std::int64_t now_ms = 100'000;
  std::size_t most_instants = CalculationHistory::kMostInstants;  // from the next opening on
  // Called whenever the clock is asked, by whoever asks.
  std::function<void()> on_clock;

 private:
  // What the stage of calculation tags does for their history.
  class SavingStage final : public Stage {
   public:
    explicit SavingStage(PastDatabase& database) : database_(database) {}

    Status Process(Turn& turn, const StagedRecords& group, StoreBatch&) override {
      return database_.history_->Check(turn, group.rows);
    }
    Status PrepareTagChange(Turn& turn, TagId, StoreBatch& batch) override {
      database_.history_->PrepareSave(turn, database_.proposal_, database_.now_ms, batch);
      return {};
    }
    Status PrepareTagRemoval(Turn& turn, TagId tag, StoreBatch& batch) override {
      database_.history_->PrepareRemoval(turn, tag, batch);
      return {};
    }
    Status PrepareRecord(Turn&, TagId, std::int64_t, std::uint8_t*, StoreBatch&) override {
      return {};
    }
    void Keep(Turn& turn) noexcept override { database_.history_->Keep(turn); }
    void Discard(Turn& turn) noexcept override { database_.history_->Discard(turn); }

   private:
    PastDatabase& database_;
  };

  // The properties as they are saved, and the links as a catalogue makes them.
  static Calculation CalculationOf(TagId id, const std::string& expression, TagId source,
                                   std::optional<Past> past, TagType type,
                                   CalculationProperties properties) {
    properties.calc_expr = expression;
    properties.calc_history = past.has_value();
    if (past) properties.calc_start_date = static_cast<std::int32_t>(past->start_s);
    if (past && past->end_s) {
      properties.have_end_time = true;
      properties.calc_end_date = static_cast<std::int32_t>(*past->end_s);
    }
    Tag tag;
    tag.id = id;
    tag.name = NameOf(id);
    tag.type = static_cast<std::int32_t>(type);
    tag.tag_class = ZR3_TAG_CLASS_CALC;
    tag.own = properties;
    TagLinks links = {source};
    for (std::size_t at = 0; at + 2 < expression.size(); ++at) {
      if (expression[at] != '\'' || expression[at + 2] != '\'') continue;
      const auto operand = static_cast<TagId>(expression[at + 1] - 'a' + 1);
      at += 2;
      if (std::ranges::find(links.begin() + 1, links.end(), operand) == links.end()) {
        links.push_back(operand);
      }
    }
    Result<Calculation> calculation = MakeCalculation(tag, links);
    EXPECT_TRUE(calculation.ok()) << calculation.status().message();
    return *calculation;
  }

  Clock clock() {
    return [this] {
      if (on_clock) on_clock();
      return now_ms;
    };
  }

  const std::shared_ptr<storage::Faults> faults_ = std::make_shared<storage::Faults>();
  const std::shared_ptr<Store> below_ = OpenMemoryStore();
  TagIndex tags_;
  std::map<TagId, CalculationPtr> saved_;
  CalculationPtr proposal_;
  Status opening_;

  std::unique_ptr<Store> store_;
  std::unique_ptr<WritePath> path_;
  std::unique_ptr<CalculationHistory> history_;
  std::unique_ptr<SavingStage> stage_;
};

}  // namespace zervane
