#include "engine/engine.h"

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

Result<std::unique_ptr<Engine>> Engine::Open(std::unique_ptr<Store> store, Clock clock,
                                             const WriteQueue::Limits& limits) {
  std::unique_ptr<Engine> engine(new Engine(std::move(store), std::move(clock)));
  if (Status status = engine->Load(); !status.ok()) return status;
  WriteQueue::Owner& owner = *engine;
  Status started = Guarded([&] {
    engine->queue_ = std::make_unique<WriteQueue>(owner, limits);
    return Status();
  });
  if (!started.ok()) return started;
  return engine;
}

Engine::Engine(std::unique_ptr<Store> store, Clock clock)
    : store_(std::move(store)),
      clock_(std::move(clock)),
      catalogue_(*store_),
      admission_(catalogue_.tags(), current_values_, clock_),
      filters_(*store_, catalogue_, current_values_) {}

Engine::~Engine() = default;

Status Engine::Load() {
  if (Status status = catalogue_.Load(); !status.ok()) return status;
  return LoadCurrentValues();
}

Status Engine::LoadCurrentValues() {
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

Status Engine::CheckTag(TagId id) const {
  return catalogue_.tags().Find(id) ? Status() : NoSuchTag(id);
}

// ---- catalogue ----

Result<TagId> Engine::Handle(const Caller& caller, const AddTag& operation) {
  Result<TagId> added = TagId{0};
  Status status = queue_->Run([&] {
    added = catalogue_.Add(operation.tag, operation.mask, StampOf(caller));
    return added.status();
  });
  if (!status.ok()) return status;
  return added;
}

Result<Nothing> Engine::Handle(const Caller& caller, const ModifyTag& operation) {
  const TagId id = operation.id;
  Status status = queue_->Run([&] {
    const Result<Catalogue::Change> change =
        catalogue_.Prepare(id, operation.tag_class, operation.tag, operation.mask, StampOf(caller));
    if (!change.ok()) return change.status();
    if (!change->changes_type()) return CarryOut(*change);
    // Under the queue's lock, so that no record of the old type is accepted between the look for
    // records and the change.
    const MutexLock no_admission(queue_->mutex());
    if (Status holds = CheckHoldsNoRecord(id); !holds.ok()) return holds;
    return CarryOut(*change);
  });
  if (!status.ok()) return status;
  return Nothing{};
}

// What the tag's filters hold is archived before, since the tag may have none afterwards.
Status Engine::CarryOut(const Catalogue::Change& change) {
  if (Status status = filters_.Release(change.after->id); !status.ok()) return status;
  return catalogue_.Modify(change);
}

// The store is asked too: a damaged one may have lost the current value alone.
Status Engine::CheckHoldsNoRecord(TagId id) {
  const Status holds_some = {ZR3_ERR_TAG_HAS_RECORDS, fmt::format("tag {} keeps its type", id)};
  if (admission_.HoldsRecords(id)) return holds_some;
  const Result<std::int64_t> archived = store_->Count(id, {});
  if (!archived.ok()) return archived.status();
  if (*archived > 0) return holds_some;
  const Result<std::optional<Sample>> held = store_->ReadHeld(id);
  if (!held.ok()) return held.status();
  return held->has_value() ? holds_some : Status();
}

Result<Nothing> Engine::Handle(const Caller&, const DeleteTag& operation) {
  const TagId id = operation.id;
  Status deleted = queue_->Run([&] {
    Status status = catalogue_.Remove(id);
    if (!status.ok()) return status;
    // From here on no record of the tag is accepted. Those that were, a moment ago, go with it.
    const MutexLock no_admission(queue_->mutex());
    queue_->Drop(id);
    filters_.Forget(id);
    current_values_.Remove(id);
    return status;
  });
  if (!deleted.ok()) return deleted;
  return Nothing{};
}

Result<Tag> Engine::Handle(const Caller&, const GetTag& operation) {
  const Catalogue::TagPtr tag = catalogue_.Find(operation.id);
  if (tag == nullptr) return NoSuchTag(operation.id);
  return *tag;
}

Result<TagType> Engine::Handle(const Caller&, const GetTagType& operation) {
  const std::optional<TagTraits> traits = catalogue_.tags().Find(operation.id);
  if (!traits) return NoSuchTag(operation.id);
  return traits->type;
}

Result<TagId> Engine::Handle(const Caller&, const FindTagId& operation) {
  const std::optional<TagId> id = catalogue_.FindByName(operation.name);
  if (id) return *id;
  return Status(ZR3_ERR_NAME_NOT_FOUND, operation.name.substr(0, ZR3_LEN_TAG_NAME));
}

Result<std::int64_t> Engine::Handle(const Caller&, const GetCatalogueVersion&) {
  return catalogue_.Version();
}

Result<Page<Tag>> Engine::Handle(const Caller&, const FindTags&) {
  return Status(ZR3_ERR_NOT_SUPPORTED, {});
}

Result<std::int64_t> Engine::Handle(const Caller&, const CountTags&) {
  return Status(ZR3_ERR_NOT_SUPPORTED, {});
}

Result<ListTags::Reply> Engine::Handle(const Caller&, const ListTags&) {
  return Status(ZR3_ERR_NOT_SUPPORTED, {});
}

// ---- current values ----

Result<WriteSamples::Reply> Engine::Handle(const Caller&, const WriteSamples& operation) {
  const SampleBatch& given = operation.batch;
  if (given.samples.size() != given.tags.size()) {
    return Status(ZR3_ERR_INVALID_COUNT,
                  fmt::format("{} tags, {} samples", given.tags.size(), given.samples.size()));
  }
  std::vector<TagSample> batch(given.size());
  for (std::size_t i = 0; i < batch.size(); ++i) batch[i] = {given.tags[i], given.samples.At(i)};
  WriteSamples::Reply reply{.codes = std::vector<std::int32_t>(batch.size(), ZR3_OK)};
  const Status stored = queue_->Write(operation.answer, [&](std::vector<AcceptedSample>& accepted) {
    queue_->mutex().AssertHeld();
    admission_.Admit(batch, operation.order, reply.codes, accepted);
  });
  if (stored.code() == ZR3_ERR_NOT_CONNECTED) return stored;
  std::replace(reply.codes.begin(), reply.codes.end(), std::int32_t{ZR3_OK}, stored.code());
  const bool all_stored = std::ranges::all_of(reply.codes, [](auto c) { return c == ZR3_OK; });
  reply.status = stored.code();
  if (stored.ok() && operation.answer == WriteAnswer::kDurable) {
    reply.status = queue_->TakeFailure().code();
  }
  if (reply.status == ZR3_OK && !all_stored) reply.status = ZR3_ERR_SOME_RECORDS_FAILED;
  if (all_stored) reply.codes.clear();
  return reply;
}

Result<Sample> Engine::Handle(const Caller&, const ReadCurrent& operation) {
  if (Status status = CheckTag(operation.id); !status.ok()) return status;
  std::optional<Sample> current = current_values_.Find(operation.id);
  if (!current) return Status(ZR3_ERR_NO_RECORD, fmt::format("tag {}", operation.id));
  return *std::move(current);
}

ZR3_STATUS Engine::ReadCurrentInto(TagId id, SampleColumns& samples) const {
  const std::optional<Sample> current = current_values_.Find(id);
  samples.Add(current ? *current : Sample());
  if (!catalogue_.tags().Find(id)) return ZR3_ERR_TAG_NOT_FOUND;
  return current ? ZR3_OK : ZR3_ERR_NO_RECORD;
}

Result<ReadCurrentValues::Reply> Engine::Handle(const Caller&, const ReadCurrentValues& operation) {
  ReadCurrentValues::Reply reply;
  reply.samples.Reserve(operation.ids.size());
  reply.codes.reserve(operation.ids.size());
  for (const TagId id : operation.ids) reply.codes.push_back(ReadCurrentInto(id, reply.samples));
  return reply;
}

Status Engine::Commit(std::vector<AcceptedSample>& records) {
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

void Engine::Refused(std::span<const AcceptedSample> settled,
                     std::span<const AcceptedSample> queued) noexcept {
  queue_->mutex().AssertHeld();
  admission_.FallBack(settled, queued);
}

// ---- archive ----

Result<std::int64_t> Engine::Handle(const Caller&, const CountRecords& operation) {
  if (Status status = CheckTag(operation.id); !status.ok()) return status;
  if (IsEmpty(operation.range)) return std::int64_t{0};
  return store_->Count(operation.id, operation.range);
}

Result<SampleColumns> Engine::Handle(const Caller&, const ReadRecords& operation) {
  if (Status status = CheckTag(operation.id); !status.ok()) return status;
  SampleColumns columns;
  if (IsEmpty(operation.range) || operation.limit == 0) return columns;
  const Result<std::vector<Sample>> samples =
      store_->Read(operation.id, operation.range, operation.direction, operation.limit);
  if (!samples.ok()) return samples.status();
  columns.Reserve(samples->size());
  for (const Sample& sample : *samples) columns.Add(sample);
  return columns;
}

// ---- the database itself ----

Result<std::int64_t> Engine::Handle(const Caller&, const ReadClock&) { return clock_(); }

Status Engine::Close() {
  queue_->Close();
  return queue_->TakeFailure();
}

}  // namespace zervane
