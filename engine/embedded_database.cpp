#include "engine/embedded_database.h"

#include <spdlog/fmt/fmt.h>

#include <algorithm>
#include <cstddef>
#include <optional>
#include <span>
#include <string_view>
#include <utility>

#include "engine/guard.h"
#include "engine/write/acceptance.h"

namespace zervane {
namespace {

// What a store holds was accepted once; if it could not be accepted now, it is not what was stored.
Status CheckStored(const TagSample& current, const TagIndex& tags) {
  const ZR3_STATUS code =
      JudgeRecord(current.sample, tags.Find(current.tag), kNoTime, WriteOrder::kAnyOrder);
  if (code == ZR3_OK) return {};
  return {ZR3_ERR_STORAGE_DAMAGED, fmt::format("the stored current value of tag {}: {}",
                                               current.tag, zr3_status_text(code))};
}

bool IsEmpty(const TimeRange& range) { return range.from_ms > range.to_ms; }

}  // namespace

Result<std::unique_ptr<Database>> EmbeddedDatabase::Open(std::unique_ptr<Store> store, Clock clock,
                                                         std::string user,
                                                         const WriteQueue::Limits& limits) {
  if (user.empty() || user.size() >= ZR3_LEN_NAME) {
    return Status(ZR3_ERR_INVALID_ARGUMENT, fmt::format("a user name of {} bytes", user.size()));
  }
  std::unique_ptr<EmbeddedDatabase> database(
      new EmbeddedDatabase(std::move(store), std::move(clock), std::move(user)));
  if (Status status = database->Load(); !status.ok()) return status;
  WriteQueue::Owner& owner = *database;
  Status started = Guarded([&] {
    database->queue_ = std::make_unique<WriteQueue>(owner, limits);
    return Status();
  });
  if (!started.ok()) return started;
  return std::unique_ptr<Database>(std::move(database));
}

EmbeddedDatabase::EmbeddedDatabase(std::unique_ptr<Store> store, Clock clock, std::string user)
    : store_(std::move(store)),
      clock_(std::move(clock)),
      user_(std::move(user)),
      catalogue_(*store_),
      admission_(catalogue_.tags(), current_values_, clock_),
      filters_(*store_, catalogue_, current_values_) {}

EmbeddedDatabase::~EmbeddedDatabase() = default;

Status EmbeddedDatabase::Load() {
  if (Status status = catalogue_.Load(); !status.ok()) return status;
  return LoadCurrentValues();
}

Status EmbeddedDatabase::LoadCurrentValues() {
  Result<std::vector<TagSample>> stored = store_->LoadCurrent();
  if (!stored.ok()) return stored.status();
  for (const TagSample& current : *stored) {
    if (Status status = CheckStored(current, catalogue_.tags()); !status.ok()) return status;
    admission_.Know(current.tag, current.sample.time_ms);
    current_values_.Reserve(current.tag);
    current_values_.Put(current.tag, current.sample);
  }
  return {};
}

Status EmbeddedDatabase::CheckOpen() const {
  return is_closed_.load(std::memory_order_acquire) ? DatabaseClosed() : Status();
}

Status EmbeddedDatabase::CheckReadable(TagId id) const {
  if (Status status = CheckOpen(); !status.ok()) return status;
  return catalogue_.tags().Find(id) ? Status() : NoSuchTag(id);
}

// ---- catalogue ----

Result<TagId> EmbeddedDatabase::AddTag(const Tag& properties, PropertyMask mask) {
  Result<TagId> added = TagId{0};
  Status status = queue_->Run([&] {
    added = catalogue_.Add(properties, mask, Now());
    return added.status();
  });
  if (!status.ok()) return status;
  return added;
}

Status EmbeddedDatabase::ModifyTag(TagId id, std::int32_t tag_class,
                                   const Tag& properties, PropertyMask mask) {
  return queue_->Run([&] {
    const Result<Catalogue::Change> change =
        catalogue_.Prepare(id, tag_class, properties, mask, Now());
    if (!change.ok()) return change.status();
    if (!change->changes_type()) return CarryOut(*change);
    // Under the queue's lock, so that no record of the old type is accepted between the look for
    // records and the change.
    const MutexLock no_admission(queue_->mutex());
    if (Status status = CheckHoldsNoRecord(id); !status.ok()) return status;
    return CarryOut(*change);
  });
}

// What the tag's filters hold is archived before, since the tag may have none afterwards.
Status EmbeddedDatabase::CarryOut(const Catalogue::Change& change) {
  if (Status status = filters_.Release(change.after->id); !status.ok()) return status;
  return catalogue_.Modify(change);
}

// The store is asked too: a damaged one may have lost the current value alone.
Status EmbeddedDatabase::CheckHoldsNoRecord(TagId id) {
  const Status holds_some = {ZR3_ERR_TAG_HAS_RECORDS, fmt::format("tag {} keeps its type", id)};
  if (admission_.HoldsRecords(id)) return holds_some;
  const Result<std::int64_t> archived = store_->Count(id, {});
  if (!archived.ok()) return archived.status();
  if (*archived > 0) return holds_some;
  const Result<std::optional<Sample>> held = store_->ReadHeld(id);
  if (!held.ok()) return held.status();
  return held->has_value() ? holds_some : Status();
}

Status EmbeddedDatabase::DeleteTag(TagId id) {
  return queue_->Run([&] {
    Status status = catalogue_.Remove(id);
    if (!status.ok()) return status;
    // From here on no record of the tag is accepted. Those that were, a moment ago, go with it.
    const MutexLock no_admission(queue_->mutex());
    queue_->Drop(id);
    filters_.Forget(id);
    current_values_.Remove(id);
    return status;
  });
}

Result<Tag> EmbeddedDatabase::GetTag(TagId id) {
  if (Status status = CheckOpen(); !status.ok()) return status;
  const Catalogue::TagPtr tag = catalogue_.Find(id);
  if (tag == nullptr) return NoSuchTag(id);
  return *tag;
}

ZR3_STATUS EmbeddedDatabase::GetTagType(TagId id, TagType* type) {
  if (is_closed_.load(std::memory_order_acquire)) return ZR3_ERR_NOT_CONNECTED;
  const std::optional<TagTraits> traits = catalogue_.tags().Find(id);
  if (!traits) return ZR3_ERR_TAG_NOT_FOUND;
  *type = traits->type;
  return ZR3_OK;
}

Result<TagId> EmbeddedDatabase::FindTag(std::string_view name) {
  if (Status status = CheckOpen(); !status.ok()) return status;
  const std::optional<TagId> id = catalogue_.FindByName(name);
  if (!id) return Status(ZR3_ERR_NAME_NOT_FOUND, std::string(name.substr(0, ZR3_LEN_TAG_NAME)));
  return *id;
}

Result<std::int64_t> EmbeddedDatabase::CatalogueVersion() {
  if (Status status = CheckOpen(); !status.ok()) return status;
  return catalogue_.Version();
}

// ---- current values ----

Status EmbeddedDatabase::Write(std::vector<TagSample>&& batch, WriteOrder order, WriteAnswer answer,
                               std::span<std::int32_t> codes) {
  if (codes.size() != batch.size()) {
    return {ZR3_ERR_INVALID_COUNT, fmt::format("{} records, {} codes", batch.size(), codes.size())};
  }
  std::fill(codes.begin(), codes.end(), ZR3_OK);
  Status stored = queue_->Write(answer, [&](std::vector<AcceptedSample>& accepted) {
    queue_->mutex().AssertHeld();
    admission_.Admit(batch, order, codes, accepted);
  });
  if (!stored.ok()) {
    std::replace(codes.begin(), codes.end(), std::int32_t{ZR3_OK}, stored.code());
    return stored;
  }
  if (answer == WriteAnswer::kDurable) {
    if (Status earlier = queue_->TakeFailure(); !earlier.ok()) return earlier;
  }
  const bool all_stored =
      std::all_of(codes.begin(), codes.end(), [](auto c) { return c == ZR3_OK; });
  if (all_stored) return {};
  return {ZR3_ERR_SOME_RECORDS_FAILED, {}};  // no text: it could fail, and the others are stored
}

Result<Sample> EmbeddedDatabase::ReadCurrent(TagId id) {
  if (Status status = CheckReadable(id); !status.ok()) return status;
  std::optional<Sample> current = current_values_.Find(id);
  if (!current) return Status(ZR3_ERR_NO_RECORD, fmt::format("tag {}", id));
  return *std::move(current);
}

Status EmbeddedDatabase::Commit(std::vector<AcceptedSample>& records) {
  MarkGroup(catalogue_.tags(), current_values_, records, &marks_);
  newest_.clear();  // their copies, since the store may take the records
  for (const std::uint32_t current : marks_.current) {
    newest_.push_back({records[current].tag, records[current].sample});
  }
  Status stored = marks_.any_filtered ? filters_.Append(records) : store_->AppendTaking(records);
  if (!stored.ok()) return stored;
  for (const TagSample& newest : newest_) current_values_.Put(newest.tag, newest.sample);
  return {};
}

void EmbeddedDatabase::Refused(std::span<const AcceptedSample> settled,
                               std::span<const AcceptedSample> queued) noexcept {
  queue_->mutex().AssertHeld();
  admission_.FallBack(settled, queued);
}

// ---- archive ----

Result<std::int64_t> EmbeddedDatabase::CountRecords(TagId id, TimeRange range) {
  if (Status status = CheckReadable(id); !status.ok()) return status;
  if (IsEmpty(range)) return std::int64_t{0};
  return store_->Count(id, range);
}

Result<std::vector<Sample>> EmbeddedDatabase::ReadRecords(TagId id, TimeRange range,
                                                          Direction direction, std::size_t limit) {
  if (Status status = CheckReadable(id); !status.ok()) return status;
  if (IsEmpty(range) || limit == 0) return std::vector<Sample>();
  return store_->Read(id, range, direction, limit);
}

// ---- the database itself ----

Result<std::int64_t> EmbeddedDatabase::ServerTimeMs() {
  if (Status status = CheckOpen(); !status.ok()) return status;
  return clock_();
}

Status EmbeddedDatabase::Close() {
  is_closed_.store(true, std::memory_order_release);
  queue_->Close();
  return queue_->TakeFailure();
}

}  // namespace zervane
