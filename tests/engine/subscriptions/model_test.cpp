#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstdint>
#include <limits>
#include <map>
#include <memory>
#include <random>
#include <set>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

#include "api/operations/subscriptions.h"
#include "tests/engine/open_embedded.h"
#include "tests/engine/records.h"
#include "tests/engine/storage/any_store.h"
#include "tests/support/case_name.h"
#include "tests/support/database_client.h"
#include "tests/support/seed.h"

namespace zervane {
namespace {

// Tag, time, value's bits, quality: a NaN among them equals itself.
using Change = std::tuple<TagId, std::int64_t, std::uint64_t, std::uint16_t>;

// What subscriptions are to deliver, said plainly: every accepted value is looked at at once.
class Model {
 public:
  void Register(TagId tag, int form) { forms_[tag].insert(form); }
  void Unregister(TagId tag, int form) { forms_[tag].erase(form); }

  void Accept(TagId tag, std::int64_t time_ms, double value, std::uint16_t quality) {
    History& history = histories_[tag];
    const bool is_newest = history.empty() || time_ms >= history.rbegin()->first;
    if (is_newest) Follow(tag, time_ms, value, quality);
    history[time_ms] = {value, quality};
  }
  // The time of one of the tag's records; none when it has none.
  std::int64_t AnyTime(TagId tag, unsigned random) {
    const History& history = histories_[tag];
    if (history.empty()) return 0;
    return std::next(history.begin(), random % history.size())->first;
  }
  void Delete(TagId tag) {
    forms_.erase(tag);
    histories_.erase(tag);
  }
  std::vector<Change> Poll() { return std::exchange(waiting_, {}); }

 private:
  using History = std::map<std::int64_t, std::pair<double, std::uint16_t>>;

  void Follow(TagId tag, std::int64_t time_ms, double value, std::uint16_t quality) {
    const History& history = histories_[tag];
    const bool is_first = history.empty();
    bool is_wanted = false;
    for (const int form : forms_[tag]) {
      const bool any = form == kIdentifier || form == 0 || is_first;
      const bool both_nan =
          !is_first && std::isnan(value) && std::isnan(history.rbegin()->second.first);
      is_wanted = is_wanted || any;
      if (!any && form == 1 && !both_nan && history.rbegin()->second.first != value)
        is_wanted = true;
      if (!any && form == 2 && history.rbegin()->second.second != quality) is_wanted = true;
    }
    if (is_wanted) {
      waiting_.emplace_back(tag, time_ms, std::bit_cast<std::uint64_t>(value), quality);
    }
  }

 public:
  static constexpr int kIdentifier = 3;  // 0 to 2 are the fields of pairs

 private:
  std::map<TagId, std::set<int>> forms_;
  std::map<TagId, History> histories_;
  std::vector<Change> waiting_;
};

class SubscriptionModel : public testing::TestWithParam<storage::StoreKind> {
 protected:
  static constexpr int kSessions = 2;

  SubscriptionModel() {
    auto opened = OpenEmbeddedWith(GetParam().open(folder_.path()), [] { return 5000; });
    EXPECT_TRUE(opened.ok()) << opened.status().message();
    database_ = *std::move(opened);
    for (int i = 0; i < kSessions; ++i) {
      clients_.emplace_back(database_.database(), Caller{.session = SessionId(i + 1)});
    }
    for (int i = 0; i < 6; ++i) AddTag();
  }

  void AddTag() {
    Tag tag;
    tag.name = "T" + std::to_string(++names_);
    tag.type = ZR3_TAG_TYPE_FLOAT64;
    const Result<TagId> id = database_->AddTag(tag, {});
    ASSERT_TRUE(id.ok()) << id.status().message();
    tags_.push_back(*id);
  }

  unsigned Random(unsigned below) { return static_cast<unsigned>(random_() % below); }
  TagId AnyTag() { return tags_[Random(static_cast<unsigned>(tags_.size()))]; }
  Sample AnySample(std::int64_t time_ms) {
    constexpr double kValues[] = {1, 2, std::numeric_limits<double>::quiet_NaN()};
    Sample sample = NumberAt(time_ms, kValues[Random(3)]);
    sample.quality = Random(3) == 0 ? 0 : ZR3_QUALITY_GOOD;
    return sample;
  }

  void Write() {
    std::vector<TagSample> batch;
    const auto order = Random(2) == 0 ? WriteOrder::kInOrder : WriteOrder::kAnyOrder;
    for (unsigned n = 1 + Random(8); n > 0; --n) {
      clock_ms_ += Random(3);
      const std::int64_t back = order == WriteOrder::kAnyOrder ? Random(20) : Random(2);
      batch.push_back({AnyTag(), AnySample(std::max<std::int64_t>(1, clock_ms_ - back))});
    }
    std::vector<std::int32_t> codes(batch.size());
    (void)database_->Write(batch, order, WriteAnswer::kDurable, codes);
    for (std::size_t at = 0; at < batch.size(); ++at) {
      if (codes[at] != ZR3_OK) continue;
      const auto& [tag, sample] = batch[at];
      for (Model& model : models_) {
        model.Accept(tag, sample.time_ms, sample.value.float64(), sample.quality);
      }
    }
  }

  void Correct() {
    const TagId tag = AnyTag();
    const std::int64_t time_ms = models_[0].AnyTime(tag, Random(1000));
    if (time_ms == 0) return;
    const Sample sample = AnySample(time_ms);
    const Status status = database_->CorrectRecord(tag, sample);
    ASSERT_TRUE(status.ok()) << status.message();
    for (Model& model : models_) {
      model.Accept(tag, time_ms, sample.value.float64(), sample.quality);
    }
  }

  void Register(bool takes_back) {
    const std::size_t session = Random(kSessions);
    DatabaseClient& client = clients_[session];
    std::vector<TagId> ids;
    std::vector<TagField> fields;
    const bool by_identifier = Random(2) == 0;
    for (unsigned n = Random(4); n > 0; --n) {
      const TagId tag = AnyTag();
      const int form = by_identifier ? Model::kIdentifier : static_cast<int>(Random(3));
      if (by_identifier) ids.push_back(tag);
      if (!by_identifier) fields.push_back({tag, static_cast<std::uint32_t>(form)});
      Model& model = models_[session];
      takes_back ? model.Unregister(tag, form) : model.Register(tag, form);
    }
    if (takes_back) {
      ASSERT_TRUE(client.Do(UnsubscribeTags{ids}).ok());
      ASSERT_TRUE(client.Do(UnsubscribeFields{fields}).ok());
    } else {
      ASSERT_TRUE(client.Do(SubscribeTags{ids}).ok());
      ASSERT_TRUE(client.Do(SubscribeFields{fields}).ok());
    }
  }

  void Poll() {
    const std::size_t session = Random(kSessions);
    const Result<SampleBatch> batch = clients_[session].Do(PollChanges{});
    ASSERT_TRUE(batch.ok()) << batch.status().message();
    std::vector<Change> changes;
    for (std::size_t at = 0; at < batch->size(); ++at) {
      changes.emplace_back(batch->tags[at], batch->samples.times()[at], batch->samples.values()[at],
                           batch->samples.qualities()[at]);
    }
    const std::vector<Change> expected = models_[session].Poll();
    delivered_ += changes.size();
    ASSERT_EQ(changes, expected);
  }

  void ReplaceTag() {
    const std::size_t at = Random(static_cast<unsigned>(tags_.size()));
    ASSERT_TRUE(database_->DeleteTag(tags_[at]).ok());
    for (Model& model : models_) model.Delete(tags_[at]);
    tags_.erase(tags_.begin() + static_cast<std::ptrdiff_t>(at));
    AddTag();
  }

  void DoAnything() {
    const unsigned choice = Random(100);
    if (choice < 55) return Write();
    if (choice < 65) return Correct();
    if (choice < 78) return Register(false);
    if (choice < 85) return Register(true);
    if (choice < 97) return Poll();
    ReplaceTag();
  }

  const Seed seed_;
  std::mt19937 random_{seed_.value()};
  storage::TempFolder folder_;
  DatabaseClient database_;
  std::vector<DatabaseClient> clients_;
  std::vector<TagId> tags_;
  int names_ = 0;
  std::int64_t clock_ms_ = 100;
  Model models_[kSessions];
  std::size_t delivered_ = 0;
};

TEST_P(SubscriptionModel, DeliversEveryChangeOnceAndInOrder) {
  for (int i = 0; i < 3000 && !HasFatalFailure(); ++i) DoAnything();
  for (int i = 0; i < 10 && !HasFatalFailure(); ++i) Poll();
  EXPECT_GT(delivered_, 500U);
}

INSTANTIATE_TEST_SUITE_P(Stores, SubscriptionModel, testing::ValuesIn(storage::AllStores()),
                         CaseName());

}  // namespace
}  // namespace zervane
