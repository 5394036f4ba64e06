#include "vask/changes.h"

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <memory>
#include <string>
#include <string_view>
#include <utility>

#include "vask/alarm_records.h"
#include "vask/handed_out.h"
#include "vask/records.h"

namespace zervane {
namespace {

// Texts end to end, each with a terminator, as the caller is to have them.
class CallersTexts {
 public:
  CallersTexts(const SampleColumns& samples, StandardText& texts) : samples_(samples) {
    for (std::size_t at = 0; at < samples.size(); ++at) Add(at, texts);
  }

  const std::string& bytes() const { return bytes_; }
  // Of the texts in the order of their samples: without their terminators.
  const std::vector<std::size_t>& sizes() const { return sizes_; }

 private:
  void Add(std::size_t at, StandardText& texts) {
    const TagType type = samples_.types()[at];
    if (!IsText(type)) return;
    const std::string_view inside = samples_.TextAt(at);
    const std::string_view text =
        type == TagType::kString ? CallersText(texts, inside, ZR3_LEN_VALUE - 1) : inside;
    bytes_.append(text);
    bytes_.push_back('\0');
    sizes_.push_back(text.size());
  }

  const SampleColumns& samples_;
  std::string bytes_;
  std::vector<std::size_t> sizes_;
};

// Fills the record of a text that stands in its buffer.
void PointTo(char* text, std::size_t size, const SampleView& sample, ZR3Record* record) {
  const std::size_t terminator = sample.type == TagType::kString ? 1 : 0;
  record->value.strBlob = {text, static_cast<uint16>(size + terminator)};
  FillHeader(sample, record);
}

Status FillChanges(const SampleBatch& changes, const CallersTexts& texts, ZR3Record* records,
                   char* bytes) {
  auto size = texts.sizes().begin();
  for (std::size_t at = 0; at < changes.size(); ++at) {
    const SampleView sample = ViewOf(changes.samples, at);
    if (IsText(sample.type)) {
      PointTo(bytes, *size, sample, &records[at]);
      bytes += *size++ + 1;
    } else if (Status status = FillNumber(sample, &records[at]); !status.ok()) {
      return status;
    }
  }
  return {};
}

}  // namespace

Status HandOutChanges(const SampleBatch& changes, StandardText& texts, int32* count, uint32** tags,
                      ZR3Record** records) {
  const std::size_t size = changes.size();
  ZR3Record* first_record = nullptr;
  uint32* first_tag = nullptr;
  if (size > 0) {
    const CallersTexts callers(changes.samples, texts);
    const std::size_t record_bytes = size * sizeof(ZR3Record);
    const std::size_t tag_bytes = size * sizeof(uint32);
    auto memory = std::make_unique<std::byte[]>(record_bytes + tag_bytes + callers.bytes().size());
    first_record = reinterpret_cast<ZR3Record*>(memory.get());
    first_tag = reinterpret_cast<uint32*>(memory.get() + record_bytes);
    char* bytes = reinterpret_cast<char*>(memory.get() + record_bytes + tag_bytes);
    std::copy(changes.tags.begin(), changes.tags.end(), first_tag);
    std::copy(callers.bytes().begin(), callers.bytes().end(), bytes);
    Status status = FillChanges(changes, callers, first_record, bytes);
    if (!status.ok()) return status;
    status = ProcessHandedOut().Add(
        {.records = first_record, .tags = first_tag, .count = static_cast<int32>(size)},
        std::move(memory));
    if (!status.ok()) return status;
  }
  *count = static_cast<int32>(size);
  *tags = first_tag;
  *records = first_record;
  return {};
}

Status HandOutAlarms(const std::vector<AlarmRecord>& alarms, StandardText& texts, int32* count,
                     ZR3AlarmRecord** records) {
  ZR3AlarmRecord* first = nullptr;
  const auto size = static_cast<int32>(alarms.size());
  if (size > 0) {
    auto memory = std::make_unique<std::byte[]>(alarms.size() * sizeof(ZR3AlarmRecord));
    first = reinterpret_cast<ZR3AlarmRecord*>(memory.get());
    for (std::size_t at = 0; at < alarms.size(); ++at)
      FillAlarmRecord(alarms[at], texts, &first[at]);
    Status status = ProcessHandedOut().Add({.records = first, .count = size}, std::move(memory));
    if (!status.ok()) return status;
  }
  *count = size;
  *records = first;
  return {};
}

}  // namespace zervane
