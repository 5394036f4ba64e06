#include "engine/alarms/alarm_notes.h"

#include <cstddef>
#include <optional>
#include <utility>

#include "api/words/utf8.h"
#include "engine/alarms/alarm_rows.h"

namespace zervane {
namespace {

// What fits the 255 bytes that a comment is sent in, in any encoding.
constexpr std::size_t kMaxCommentBytes = std::size_t{3} * (ZR3_LEN_ALARM_COMMENT - 1);

bool IsComment(const std::string& text) {
  return text.size() <= kMaxCommentBytes && text.find('\0') == std::string::npos && IsUtf8(text);
}

}  // namespace

Result<ZR3_STATUS> AlarmNotes::Acknowledge(const AlarmKey& alarm) {
  const Result<AlarmRecord*> record = Find(alarm);
  if (!record.ok()) return record.status();
  if (*record == nullptr) return ZR3_ERR_NO_ALARM;
  if ((*record)->is_acknowledged) return ZR3_ERR_ALREADY_ACKNOWLEDGED;
  (*record)->is_acknowledged = true;
  (*record)->acknowledged_ms = now_ms_;
  (*record)->acknowledged_by = user_;
  Table<AlarmRecord>::Put(**record, batch_);
  return ZR3_OK;
}

Result<ZR3_STATUS> AlarmNotes::Comment(const AlarmKey& alarm, const std::string& comment) {
  if (!IsComment(comment)) return ZR3_ERR_INVALID_TEXT;
  const Result<AlarmRecord*> record = Find(alarm);
  if (!record.ok()) return record.status();
  if (*record == nullptr) return ZR3_ERR_NO_ALARM;
  (*record)->comment = comment;
  (*record)->commented_ms = now_ms_;
  (*record)->commented_by = user_;
  Table<AlarmRecord>::Put(**record, batch_);
  return ZR3_OK;
}

Result<AlarmRecord*> AlarmNotes::Find(const AlarmKey& alarm) {
  const auto known = records_.find(alarm);
  if (known != records_.end()) return &known->second;
  Result<std::optional<AlarmRecord>> stored = Table<AlarmRecord>(store_).Read(alarm);
  if (!stored.ok()) return stored.status();
  if (!stored->has_value()) return nullptr;
  return &records_.emplace(alarm, std::move(**stored)).first->second;
}

}  // namespace zervane
