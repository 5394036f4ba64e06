#include "engine/record_family.h"

#include <spdlog/fmt/fmt.h>

#include "engine/catalogue/rules.h"
#include "engine/history/raw_records.h"

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

Result<Nothing> RecordFamily::Handle(const Caller&, const CorrectRecord&) {
  return Status(ZR3_ERR_NOT_SUPPORTED, {});
}

Status RecordFamily::CheckTag(TagId id) const { return tags_.Find(id) ? Status() : NoSuchTag(id); }

ZR3_STATUS RecordFamily::ReadCurrentInto(TagId id, SampleColumns& samples) const {
  if (writes_.current_values().AddTo(samples, id)) return ZR3_OK;
  samples.AddNumber(0, ZR3_QUALITY_GOOD, TagType::kFloat64, 0);
  return tags_.Find(id) ? ZR3_ERR_NO_RECORD : ZR3_ERR_TAG_NOT_FOUND;
}

}  // namespace zervane
