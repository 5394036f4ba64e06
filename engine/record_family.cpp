#include "engine/record_family.h"

#include <spdlog/fmt/fmt.h>

#include <optional>

#include "engine/catalogue/rules.h"
#include "engine/history/raw_records.h"
#include "engine/storage/record_batch.h"
#include "engine/write/acceptance.h"

namespace zervane {

Status RecordFamily::HandleInto(const Caller&, const ReadCurrent& operation, Sample* reply) const {
  if (writes_.current_values().FindInto(operation.id, reply)) return {};
  if (Status status = CheckTag(operation.id); !status.ok()) return status;
  return {ZR3_ERR_NO_RECORD, fmt::format("tag {}", operation.id)};
}

Result<ReadCurrentValues::Reply> RecordFamily::Handle(const Caller&,
                                                      const ReadCurrentValues& operation) const {
  ReadCurrentValues::Reply reply;
  reply.samples.Reserve(operation.ids.size());
  reply.codes.reserve(operation.ids.size());
  for (const TagId id : operation.ids) reply.codes.push_back(ReadCurrentInto(id, reply.samples));
  return reply;
}

Result<std::int64_t> RecordFamily::Handle(const Caller&, const CountRecords& operation) const {
  if (Status status = CheckTag(operation.id); !status.ok()) return status;
  return CountRaw(store_, operation.id, operation.range);
}

Result<SampleColumns> RecordFamily::Handle(const Caller&, const ReadRecords& operation) const {
  if (Status status = CheckTag(operation.id); !status.ok()) return status;
  return ReadRaw(store_, operation.id, operation.range, operation.direction, operation.limit);
}

Result<Nothing> RecordFamily::Handle(const Caller&, const CorrectRecord& operation) {
  const auto plan = [&](Turn&, StoreBatch& batch) { return PlanCorrection(operation, batch); };
  if (Status status = writes_.Change(plan, [](Turn&) {}); !status.ok()) return status;
  return Nothing{};
}

Status RecordFamily::PlanCorrection(const CorrectRecord& operation, StoreBatch& batch) const {
  if (Status status = CheckCorrection(operation); !status.ok()) return status;
  const Result<std::uint8_t> places = PlacesAt(operation.id, operation.sample.time_ms);
  if (!places.ok()) return places.status();
  if (*places == 0) {
    return {ZR3_ERR_NO_RECORD,
            fmt::format("tag {} at {} ms", operation.id, operation.sample.time_ms)};
  }
  AddRecord(batch.records, operation.id, operation.sample, *places);
  return {};
}

// Within the turn, for until then the tag may go or change.
Status RecordFamily::CheckCorrection(const CorrectRecord& operation) const {
  const std::optional<TagTraits> traits = tags_.Find(operation.id);
  if (!traits) return NoSuchTag(operation.id);
  if (traits->is_own) {
    return {ZR3_ERR_INVALID_TAG_CLASS, fmt::format("tag {} has records of its own", operation.id)};
  }
  const ZR3_STATUS code = JudgeSample(operation.sample, traits);
  if (code == ZR3_OK) return {};
  return {code, fmt::format("tag {} at {} ms", operation.id, operation.sample.time_ms)};
}

Result<std::uint8_t> RecordFamily::PlacesAt(TagId id, std::int64_t time_ms) const {
  std::uint8_t places = 0;
  if (writes_.current_values().TimeOf(id) == time_ms) places |= kCurrent;
  const Result<std::optional<Sample>> held = store_.ReadHeld(id);
  if (!held.ok()) return held.status();
  if (*held && (*held)->time_ms == time_ms) places |= kHeld;
  const Result<std::int64_t> archived =
      CountRaw(store_, id, {.from_ms = time_ms, .to_ms = time_ms});
  if (!archived.ok()) return archived.status();
  if (*archived > 0) places |= kArchive;
  return places;
}

Status RecordFamily::CheckTag(TagId id) const { return tags_.Find(id) ? Status() : NoSuchTag(id); }

ZR3_STATUS RecordFamily::ReadCurrentInto(TagId id, SampleColumns& samples) const {
  if (writes_.current_values().AddTo(samples, id)) return ZR3_OK;
  samples.AddNumber(0, ZR3_QUALITY_GOOD, TagType::kFloat64, 0);
  return tags_.Find(id) ? ZR3_ERR_NO_RECORD : ZR3_ERR_TAG_NOT_FOUND;
}

}  // namespace zervane
