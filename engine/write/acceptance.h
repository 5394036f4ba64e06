#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>

#include "api/operations/values.h"
#include "api/words/samples.h"
#include "api/words/value.h"
#include "engine/catalogue/tag_index.h"

namespace zervane {

// Whether a record of that time becomes the current value of a tag whose current value has the
// other time (kNoTime: none): it only moves forward, an equal time replaces.
constexpr bool MovesForward(std::int64_t time_ms, std::int64_t current_ms) {
  return time_ms >= current_ms;
}

ZR3_STATUS StatusOf(ValueFault fault);

// CheckValue for a record's value; the numbers that suit whatever their bits, as most records are,
// without a call.
inline ValueFault FaultOf(const SampleColumns& samples, std::size_t at) {
  const TagType type = samples.types()[at];
  const bool suits =
      type == TagType::kFloat64 || type == TagType::kFloat32 || type == TagType::kInt32;
  return suits ? ValueFault::kNone : CheckValue(samples, at);
}

// What is judged of a record: sample `at`, at a time that may be another than its own.
struct Judged {
  const SampleColumns& samples;
  std::size_t at = 0;
  std::int64_t time_ms = 0;
};

// What a batch is accepted by.
struct WriteRules {
  WriteOrder order = WriteOrder::kInOrder;
  bool is_system = false;  // the database itself writes, which it alone may to tags of its own
  bool is_whole = false;   // all records are accepted, or none; only where order is free
};

// Whether a record enters the database, given its tag (none: there is no such tag) and the newest
// time accepted for the tag (kNoTime: none yet). In this order: ZR3_ERR_TAG_NOT_FOUND,
// ZR3_ERR_INVALID_TAG_CLASS (the tag's records are the database's own), ZR3_ERR_TYPE_MISMATCH (also
// an integer outside its type), ZR3_ERR_VALUE_TOO_LONG, ZR3_ERR_INVALID_TEXT (a STRING with a NUL
// inside), ZR3_ERR_INVALID_TIME, ZR3_ERR_OUT_OF_ORDER (older than the newest, where order counts;
// an equal time replaces), else ZR3_OK.
inline ZR3_STATUS JudgeRecord(const Judged& record, const std::optional<TagTraits>& tag,
                              std::int64_t newest_ms, const WriteRules& rules) {
  if (!tag) return ZR3_ERR_TAG_NOT_FOUND;
  if (tag->is_own && !rules.is_system) return ZR3_ERR_INVALID_TAG_CLASS;
  if (record.samples.types()[record.at] != tag->type) return ZR3_ERR_TYPE_MISMATCH;
  const ValueFault fault = FaultOf(record.samples, record.at);
  if (fault != ValueFault::kNone) return StatusOf(fault);
  if (record.time_ms < 0 || record.time_ms > kMaxTimeMs) return ZR3_ERR_INVALID_TIME;
  if (rules.order == WriteOrder::kInOrder && !MovesForward(record.time_ms, newest_ms)) {
    return ZR3_ERR_OUT_OF_ORDER;
  }
  return ZR3_OK;
}

// Of a record that a store holds and that was accepted once, in whatever order and of whomever.
inline ZR3_STATUS JudgeStored(const SampleColumns& samples, std::size_t at,
                              const std::optional<TagTraits>& tag) {
  return JudgeRecord({samples, at, samples.times()[at]}, tag, kNoTime,
                     {.order = WriteOrder::kAnyOrder, .is_system = true});
}

// The same of a sample by itself, whose value may be of another kind than its type's.
ZR3_STATUS JudgeSample(const Sample& sample, const std::optional<TagTraits>& tag);

}  // namespace zervane
