#include "tests/vask/fake_database.h"

#include <algorithm>
#include <utility>

namespace zervane {
namespace {

constexpr std::int64_t kNowMs = 1'700'000'000'123;

}  // namespace

TagId FakeDatabase::Add(const std::string& name, TagType type) {
  Tag properties;
  properties.name = name;
  properties.type = static_cast<std::int32_t>(type);
  const std::lock_guard lock(mutex_);
  properties.id = ++last_id_;
  ++version_;
  tags_[last_id_] = {.properties = properties, .records = {}};
  return last_id_;
}

Status FakeDatabase::Enter() {
  ++calls_;
  return on_call ? on_call() : Status();
}

Result<FakeDatabase::Kept*> FakeDatabase::Find(TagId id) {
  const auto found = tags_.find(id);
  if (found == tags_.end()) return Status(ZR3_ERR_TAG_NOT_FOUND, "tag " + std::to_string(id));
  return &found->second;
}

Result<TagId> FakeDatabase::AddTag(const Tag& properties, PropertyMask mask) {
  if (Status status = Enter(); !status.ok()) return status;
  const std::lock_guard lock(mutex_);
  last_properties_ = properties;
  last_mask_ = mask;
  for (const auto& [id, tag] : tags_) {
    if (tag.properties.name == properties.name) return Status(ZR3_ERR_TAG_EXISTS, {});
  }
  ++version_;
  tags_[++last_id_].properties = properties;
  tags_[last_id_].properties.id = last_id_;
  return last_id_;
}

Status FakeDatabase::ModifyTag(TagId id, std::int32_t tag_class, const Tag& properties,
                               PropertyMask mask) {
  if (Status status = Enter(); !status.ok()) return status;
  const std::lock_guard lock(mutex_);
  last_properties_ = properties;
  last_mask_ = mask;
  const Result<Kept*> tag = Find(id);
  if (!tag.ok()) return tag.status();
  if ((*tag)->properties.tag_class != tag_class) return {ZR3_ERR_INVALID_TAG_CLASS, {}};
  ++version_;
  return {};
}

Status FakeDatabase::DeleteTag(TagId id) {
  if (Status status = Enter(); !status.ok()) return status;
  const std::lock_guard lock(mutex_);
  if (tags_.erase(id) == 0) return {ZR3_ERR_TAG_NOT_FOUND, {}};
  ++version_;
  return {};
}

Result<Tag> FakeDatabase::GetTag(TagId id) {
  if (Status status = Enter(); !status.ok()) return status;
  const std::lock_guard lock(mutex_);
  const Result<Kept*> tag = Find(id);
  if (!tag.ok()) return tag.status();
  return (*tag)->properties;
}

Status FakeDatabase::GetTagType(TagId id, TagType* type) {
  const Result<Tag> tag = GetTag(id);
  if (tag.ok()) *type = static_cast<TagType>(tag->type);
  return tag.status();
}

Result<TagId> FakeDatabase::FindTag(std::string_view name) {
  if (Status status = Enter(); !status.ok()) return status;
  const std::lock_guard lock(mutex_);
  for (const auto& [id, tag] : tags_) {
    if (tag.properties.name == name) return id;
  }
  return Status(ZR3_ERR_NAME_NOT_FOUND, {});
}

Result<std::int64_t> FakeDatabase::CatalogueVersion() {
  if (Status status = Enter(); !status.ok()) return status;
  const std::lock_guard lock(mutex_);
  return version_;
}

ZR3_STATUS FakeDatabase::Judge(const TagSample& record, WriteOrder order) {
  const Result<Kept*> tag = Find(record.tag);
  if (!tag.ok()) return tag.code();
  const auto& [properties, records] = **tag;
  if (properties.type != static_cast<std::int32_t>(record.sample.type)) {
    return ZR3_ERR_TYPE_MISMATCH;
  }
  const bool late = !records.empty() && record.sample.time_ms < records.rbegin()->first;
  return late && order == WriteOrder::kInOrder ? ZR3_ERR_OUT_OF_ORDER : ZR3_OK;
}

Status FakeDatabase::Write(std::vector<TagSample> batch, WriteOrder order, WriteAnswer answer,
                           std::span<std::int32_t> codes) {
  if (Status status = Enter(); !status.ok()) return status;
  const std::lock_guard lock(mutex_);
  last_order_ = order;
  last_answer_ = answer;
  last_batch_ = batch;
  bool all_ok = true;
  for (std::size_t i = 0; i < batch.size(); ++i) {
    codes[i] = Judge(batch[i], order);
    if (codes[i] != ZR3_OK) {
      all_ok = false;
    } else if (write_status_ != ZR3_OK) {
      codes[i] = write_status_;
    } else {
      Sample& sample = batch[i].sample;
      if (sample.time_ms == 0) sample.time_ms = kNowMs;
      const std::int64_t time_ms = sample.time_ms;
      tags_[batch[i].tag].records[time_ms] = std::move(sample);
    }
  }
  if (write_status_ != ZR3_OK) return {write_status_, "as the test wants"};
  return all_ok ? Status() : Status(ZR3_ERR_SOME_RECORDS_FAILED, {});
}

Result<Sample> FakeDatabase::ReadCurrent(TagId id) {
  if (Status status = Enter(); !status.ok()) return status;
  const std::lock_guard lock(mutex_);
  const Result<Kept*> tag = Find(id);
  if (!tag.ok()) return tag.status();
  if ((*tag)->records.empty()) return Status(ZR3_ERR_NO_RECORD, {});
  return (*tag)->records.rbegin()->second;
}

Result<std::int64_t> FakeDatabase::CountRecords(TagId id, TimeRange range) {
  if (count_ >= 0) return count_;
  const auto records = ReadRecords(id, range, Direction::kForward, SIZE_MAX);
  if (!records.ok()) return records.status();
  return static_cast<std::int64_t>(records->size());
}

Result<std::vector<Sample>> FakeDatabase::ReadRecords(TagId id, TimeRange range,
                                                      Direction direction, std::size_t limit) {
  if (Status status = Enter(); !status.ok()) return status;
  const std::lock_guard lock(mutex_);
  const Result<Kept*> tag = Find(id);
  if (!tag.ok()) return tag.status();
  std::vector<Sample> samples;
  for (const auto& [time_ms, sample] : (*tag)->records) {
    if (time_ms >= range.from_ms && time_ms <= range.to_ms) samples.push_back(sample);
  }
  if (direction == Direction::kBackward) std::reverse(samples.begin(), samples.end());
  if (samples.size() > limit) samples.resize(limit);
  return samples;
}

Status FakeDatabase::Correct(const CorrectRecord& correct) {
  if (Status status = Enter(); !status.ok()) return status;
  const std::lock_guard lock(mutex_);
  const Result<Kept*> tag = Find(correct.id);
  if (!tag.ok()) return tag.status();
  if ((*tag)->properties.type != static_cast<std::int32_t>(correct.sample.type)) {
    return {ZR3_ERR_TYPE_MISMATCH, {}};
  }
  const auto record = (*tag)->records.find(correct.sample.time_ms);
  if (record == (*tag)->records.end()) return {ZR3_ERR_NO_RECORD, {}};
  record->second = correct.sample;
  return {};
}

ZR3_STATUS FakeDatabase::FindBefore(TagId id, std::int64_t time_ms, Sample* sample) {
  sample->time_ms = time_ms;
  const Result<Kept*> tag = Find(id);
  if (!tag.ok()) return tag.code();
  if (time_ms == kNoTime) return ZR3_ERR_INVALID_TIME;
  const auto& records = (*tag)->records;
  const auto after = records.upper_bound(time_ms);
  if (after == records.begin()) return ZR3_ERR_NO_RECORD;
  *sample = std::prev(after)->second;
  sample->time_ms = time_ms;
  return ZR3_OK;
}

Result<Interpolated> FakeDatabase::Interpolate(const zervane::InterpolateTag& interpolate) {
  const std::vector<TagId> ids(interpolate.times_ms.size(), interpolate.id);
  Result<Interpolated> values = Interpolate(zervane::InterpolateTags{
      .mode = interpolate.mode, .ids = ids, .times_ms = interpolate.times_ms});
  if (!values.ok()) return values;
  const std::lock_guard lock(mutex_);
  if (const Result<Kept*> tag = Find(interpolate.id); !tag.ok()) return tag.status();
  return values;
}

Result<Interpolated> FakeDatabase::Interpolate(const zervane::InterpolateTags& interpolate) {
  if (Status status = Enter(); !status.ok()) return status;
  const std::lock_guard lock(mutex_);
  last_mode_ = interpolate.mode;
  last_instants_ = interpolate.times_ms;
  Interpolated values;
  for (std::size_t i = 0; i < interpolate.ids.size(); ++i) {
    Sample sample;
    values.codes.push_back(FindBefore(interpolate.ids[i], interpolate.times_ms[i], &sample));
    values.samples.Add(sample);
  }
  return values;
}

Result<double> FakeDatabase::Calculate(const CalculateStatistic& calculate) {
  if (Status status = Enter(); !status.ok()) return status;
  const std::lock_guard lock(mutex_);
  last_statistic_ = calculate.request;
  if (const Result<Kept*> tag = Find(calculate.id); !tag.ok()) return tag.status();
  return statistic_;
}

Result<std::int64_t> FakeDatabase::ServerTimeMs() {
  if (Status status = Enter(); !status.ok()) return status;
  return kNowMs;
}

bool FakeDatabase::Matches(const Tag& tag, const TagQuery& query) {
  return std::all_of(query.conditions.begin(), query.conditions.end(), [&](const Condition& one) {
    return one.column != ZR3_TAG_COL_COMM_PROP_TAG_NAME || one.relation != ZR3_RELATION_EQUAL ||
           one.value == tag.name;
  });
}

Page<Tag> FakeDatabase::PageFrom(TagId from, const TagQuery& query, std::int32_t limit) const {
  Page<Tag> page;
  for (auto kept = tags_.lower_bound(from); kept != tags_.end(); ++kept) {
    if (static_cast<std::int32_t>(page.items.size()) == std::min(limit, page_tags)) {
      page.next = kept->first;
      break;
    }
    if (Matches(kept->second.properties, query)) page.items.push_back(kept->second.properties);
  }
  return page;
}

Result<Page<Tag>> FakeDatabase::FindTags(const zervane::FindTags& find) {
  if (Status status = Enter(); !status.ok()) return status;
  const std::lock_guard lock(mutex_);
  ++searches_;
  last_search_ = find;
  return PageFrom(find.from, find.query, find.limit);
}

Result<std::int64_t> FakeDatabase::CountTags(const zervane::CountTags& count) {
  if (Status status = Enter(); !status.ok()) return status;
  const std::lock_guard lock(mutex_);
  last_search_.query = count.query;
  return std::int64_t{std::count_if(tags_.begin(), tags_.end(), [&](const auto& kept) {
    return Matches(kept.second.properties, count.query);
  })};
}

Result<zervane::ListTags::Reply> FakeDatabase::ListTags(const zervane::ListTags& list) {
  if (Status status = Enter(); !status.ok()) return status;
  const std::lock_guard lock(mutex_);
  last_list_ = list;
  return zervane::ListTags::Reply{.snapshot = 77,
                                  .total = static_cast<std::int64_t>(tags_.size()) + listed_more,
                                  .page = PageFrom(list.from, {}, kMaxPageItems)};
}

std::optional<std::int64_t> FakeDatabase::HeardCatalogueVersion(const Caller&) const {
  if (!hears_version) return std::nullopt;
  const std::lock_guard lock(mutex_);
  return version_;
}

// The methods above under the numbers of their operations.
Status FakeDatabase::Carry(const Caller& caller, OperationNumber number, const void* operation,
                           void* reply) {
  {
    const std::lock_guard lock(mutex_);
    last_caller_ = caller;
  }
  const auto as = [&]<typename Op>(const Op*) -> const Op& {
    return *static_cast<const Op*>(operation);
  };
  const auto answer = [&](auto result) {
    using Reply = std::remove_cvref_t<decltype(*result)>;
    if (result.ok()) *static_cast<Reply*>(reply) = *std::move(result);
    return result.status();
  };
  switch (number) {
    case OperationNumber::kAddTag: {
      const auto& add = as(static_cast<zervane::AddTag*>(nullptr));
      return answer(AddTag(add.tag, add.mask));
    }
    case OperationNumber::kModifyTag: {
      const auto& modify = as(static_cast<zervane::ModifyTag*>(nullptr));
      return ModifyTag(modify.id, modify.tag_class, modify.tag, modify.mask);
    }
    case OperationNumber::kDeleteTag:
      return DeleteTag(as(static_cast<zervane::DeleteTag*>(nullptr)).id);
    case OperationNumber::kGetTag:
      return answer(GetTag(as(static_cast<zervane::GetTag*>(nullptr)).id));
    case OperationNumber::kGetTagType:
      return GetTagType(as(static_cast<zervane::GetTagType*>(nullptr)).id,
                        static_cast<TagType*>(reply));
    case OperationNumber::kFindTagId:
      return answer(FindTag(as(static_cast<FindTagId*>(nullptr)).name));
    case OperationNumber::kGetCatalogueVersion:
      return answer(CatalogueVersion());
    case OperationNumber::kFindTags:
      return answer(FindTags(as(static_cast<zervane::FindTags*>(nullptr))));
    case OperationNumber::kCountTags:
      return answer(CountTags(as(static_cast<zervane::CountTags*>(nullptr))));
    case OperationNumber::kListTags:
      return answer(ListTags(as(static_cast<zervane::ListTags*>(nullptr))));
    case OperationNumber::kWriteSamples:
      return Write(as(static_cast<WriteSamples*>(nullptr)),
                   static_cast<WriteSamples::Reply*>(reply));
    case OperationNumber::kReadCurrent:
      return answer(ReadCurrent(as(static_cast<zervane::ReadCurrent*>(nullptr)).id));
    case OperationNumber::kReadCurrentValues:
      return answer(ReadCurrentValues(as(static_cast<zervane::ReadCurrentValues*>(nullptr)).ids));
    case OperationNumber::kCountRecords: {
      const auto& count = as(static_cast<zervane::CountRecords*>(nullptr));
      return answer(CountRecords(count.id, count.range));
    }
    case OperationNumber::kReadRecords: {
      const auto& read = as(static_cast<zervane::ReadRecords*>(nullptr));
      const auto samples = ReadRecords(read.id, read.range, read.direction, read.limit);
      if (!samples.ok()) return samples.status();
      for (const Sample& sample : *samples) static_cast<SampleColumns*>(reply)->Add(sample);
      return {};
    }
    case OperationNumber::kReadClock:
      return answer(ServerTimeMs());
    case OperationNumber::kCorrectRecord:
      return Correct(as(static_cast<CorrectRecord*>(nullptr)));
    case OperationNumber::kInterpolateTag:
      return answer(Interpolate(as(static_cast<zervane::InterpolateTag*>(nullptr))));
    case OperationNumber::kInterpolateTags:
      return answer(Interpolate(as(static_cast<zervane::InterpolateTags*>(nullptr))));
    case OperationNumber::kCalculateStatistic:
      return answer(Calculate(as(static_cast<CalculateStatistic*>(nullptr))));
    default:
      // Of users it knows nothing, and takes what is told of them; of alarms nobody tells it.
      if (number == OperationNumber::kLogin)
        return answer(LogIn(*static_cast<const Login*>(operation)));
      if (Status status = Enter(); !status.ok()) return status;
      if (RowOf(number).family == OperationFamily::kSecurity) return {};
      return {ZR3_ERR_NOT_SUPPORTED, {}};
  }
}

Result<User> FakeDatabase::LogIn(const Login& login) {
  if (Status status = Enter(); !status.ok()) return status;
  return User{.id = 7, .name = login.name, .description = {}};
}

Status FakeDatabase::Write(const WriteSamples& write, WriteSamples::Reply* reply) {
  std::vector<TagSample> batch;
  for (std::size_t i = 0; i < write.batch.size(); ++i) {
    batch.push_back({write.batch.tags[i], write.batch.samples.At(i)});
  }
  reply->codes.resize(batch.size());
  const Status status = Write(std::move(batch), write.order, write.answer, reply->codes);
  reply->status = status.code();
  return {};
}

Result<zervane::ReadCurrentValues::Reply> FakeDatabase::ReadCurrentValues(
    const std::vector<TagId>& ids) {
  zervane::ReadCurrentValues::Reply reply;
  for (const TagId id : ids) {
    const Result<Sample> sample = ReadCurrent(id);
    reply.samples.Add(sample.ok() ? *sample : Sample());
    reply.codes.push_back(sample.code());
  }
  return reply;
}

Status FakeDatabase::Close() { return on_close ? on_close() : Status(); }

}  // namespace zervane
