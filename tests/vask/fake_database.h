#pragma once

#include <atomic>
#include <functional>
#include <map>
#include <mutex>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "api/database.h"
#include "api/operation_table.h"

namespace zervane {

// A small process database in memory, for tests of the layer above: what comes in is kept to be
// looked at, and every call can be made to fail.
class FakeDatabase : public Database {
 public:
  // Called first in every method but Close: its status, unless 0, is the method's; it may throw and
  // wait. Set before the calls that it is meant for.
  std::function<Status()> on_call;

  // Called in Close; its status is Close's.
  std::function<Status()> on_close;

  // Whether the catalogue's version was heard lately.
  std::atomic<bool> hears_version{true};

  // Adds a tag of the type with id = the number of tags ever added.
  TagId Add(const std::string& name, TagType type);

  int calls() const { return calls_; }
  // Who asked last.
  Caller last_caller() const {
    const std::lock_guard lock(mutex_);
    return last_caller_;
  }
  const Tag& last_properties() const { return last_properties_; }
  PropertyMask last_mask() const { return last_mask_; }
  WriteOrder last_order() const { return last_order_; }
  WriteAnswer last_answer() const { return last_answer_; }
  const std::vector<TagSample>& last_batch() const { return last_batch_; }
  const zervane::FindTags& last_search() const { return last_search_; }
  const zervane::ListTags& last_list() const { return last_list_; }
  int searches() const { return searches_; }
  const InterpolationMode& last_mode() const { return last_mode_; }
  const std::vector<std::int64_t>& last_instants() const { return last_instants_; }
  const StatisticRequest& last_statistic() const { return last_statistic_; }

  // How many tags a page has at most, and how many a listing says it has beside those it has.
  std::int32_t page_tags = kMaxPageItems;
  std::int64_t listed_more = 0;

  // The status that the next writes answer in place of storing anything.
  void FailWrites(ZR3_STATUS status) { write_status_ = status; }

  // What statistics are from now on.
  void AnswerStatistics(Result<double> answer) { statistic_ = std::move(answer); }

  // What CountRecords answers from now on.
  void CountAs(std::int64_t count) { count_ = count; }

  Result<TagId> AddTag(const Tag& properties, PropertyMask mask);
  Status ModifyTag(TagId id, std::int32_t tag_class, const Tag& properties, PropertyMask mask);
  Status DeleteTag(TagId id);
  Result<Tag> GetTag(TagId id);
  Status GetTagType(TagId id, TagType* type);
  Result<TagId> FindTag(std::string_view name);
  Result<std::int64_t> CatalogueVersion();
  Status Write(std::vector<TagSample> batch, WriteOrder order, WriteAnswer answer,
               std::span<std::int32_t> codes);
  Result<Sample> ReadCurrent(TagId id);
  Result<std::int64_t> CountRecords(TagId id, TimeRange range);
  Result<std::vector<Sample>> ReadRecords(TagId id, TimeRange range, Direction direction,
                                          std::size_t limit);
  Result<std::int64_t> ServerTimeMs();
  Status Correct(const CorrectRecord& correct);
  // The last record at or before each instant, whatever the mode; that of the samples stays the
  // instant's time.
  Result<Interpolated> Interpolate(const zervane::InterpolateTag& interpolate);
  Result<Interpolated> Interpolate(const zervane::InterpolateTags& interpolate);
  // What AnswerStatistics says.
  Result<double> Calculate(const CalculateStatistic& calculate);
  // The conditions are not looked at but for one of an equal name: every tag matches.
  Result<Page<Tag>> FindTags(const zervane::FindTags& find);
  Result<std::int64_t> CountTags(const zervane::CountTags& count);
  Result<zervane::ListTags::Reply> ListTags(const zervane::ListTags& list);
  Status Close() override;

  std::optional<std::int64_t> HeardCatalogueVersion(const Caller& caller) const override;
  Status Carry(const Caller& caller, OperationNumber number, const void* operation,
               void* reply) override;

 private:
  struct Kept {
    Tag properties;
    std::map<std::int64_t, Sample> records;
  };

  // Everybody, with any password, as user 7.
  Result<User> LogIn(const Login& login);
  Status Write(const WriteSamples& write, WriteSamples::Reply* reply);
  Result<zervane::ReadCurrentValues::Reply> ReadCurrentValues(const std::vector<TagId>& ids);
  static bool Matches(const Tag& tag, const TagQuery& query);
  Page<Tag> PageFrom(TagId from, const TagQuery& query, std::int32_t limit) const;
  Status Enter();
  Result<Kept*> Find(TagId id);
  ZR3_STATUS Judge(const TagSample& record, WriteOrder order);
  ZR3_STATUS FindBefore(TagId id, std::int64_t time_ms, Sample* sample);

  mutable std::mutex mutex_;  // guards the tags, their version and the last caller
  std::map<TagId, Kept> tags_;
  TagId last_id_ = 0;
  std::int64_t version_ = 0;

  std::atomic<int> calls_{0};
  Caller last_caller_;  // guarded by mutex_
  ZR3_STATUS write_status_ = ZR3_OK;
  std::int64_t count_ = -1;
  Tag last_properties_;
  PropertyMask last_mask_;
  WriteOrder last_order_ = WriteOrder::kInOrder;
  WriteAnswer last_answer_ = WriteAnswer::kDurable;
  std::vector<TagSample> last_batch_;
  zervane::FindTags last_search_;
  zervane::ListTags last_list_;
  std::atomic<int> searches_{0};
  InterpolationMode last_mode_ = InterpolationMode::kLinear;
  std::vector<std::int64_t> last_instants_;
  StatisticRequest last_statistic_;
  Result<double> statistic_ = 0.0;
};

}  // namespace zervane
