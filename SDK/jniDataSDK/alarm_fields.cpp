#include "alarm_fields.h"

#include <string_view>

namespace zervane::bridge {
namespace {

constexpr FieldRow kQueryRows[] = {
    InRow("nStartSec", "I", Conv::kInt, offsetof(ZR3AlarmQuery, tvStart.nSec)),
    InRow("nStartMsec", "S", Conv::kShort, offsetof(ZR3AlarmQuery, tvStart.nMsec)),
    InRow("nEndSec", "I", Conv::kInt, offsetof(ZR3AlarmQuery, tvEnd.nSec)),
    InRow("nEndMsec", "S", Conv::kShort, offsetof(ZR3AlarmQuery, tvEnd.nMsec)),
    InRow("nAckMask", "B", Conv::kMask, offsetof(ZR3AlarmQuery, nAckMask)),
    InRow("nTypeMask", "B", Conv::kMask, offsetof(ZR3AlarmQuery, nTypeMask)),
    InRow("nPriorMask", "B", Conv::kMask, offsetof(ZR3AlarmQuery, nPriorMask)),
    InRow("nRestoreMask", "B", Conv::kMask, offsetof(ZR3AlarmQuery, nRestoreMask)),
    // kept: never read; the API filters no comments.
    LookedUpRow("nCommentMask", "B"),
};

constexpr std::array<FieldRow, 9> kOccurrenceRows{{
    OutRow("nAlarmTagID", "I", Conv::kInt, offsetof(ZR3AlarmRecord, nAlarmTagID)),
    OutRow("startTimeSec", "I", Conv::kInt, offsetof(ZR3AlarmRecord, tvStartTime.nSec)),
    OutRow("startTimeMSec", "S", Conv::kShort, offsetof(ZR3AlarmRecord, tvStartTime.nMsec)),
    OutRow("endTimeSec", "I", Conv::kInt, offsetof(ZR3AlarmRecord, tvEndTime.nSec)),
    OutRow("endTimeMSec", "S", Conv::kShort, offsetof(ZR3AlarmRecord, tvEndTime.nMsec)),
    OutRow("ackTimeSec", "I", Conv::kInt, offsetof(ZR3AlarmRecord, tvAckTime.nSec)),
    OutRow("ackTimeMSec", "S", Conv::kShort, offsetof(ZR3AlarmRecord, tvAckTime.nMsec)),
    OutRow("commentTimeSec", "I", Conv::kInt, offsetof(ZR3AlarmRecord, tvCommentTime.nSec)),
    OutRow("commentTimeMSec", "S", Conv::kShort, offsetof(ZR3AlarmRecord, tvCommentTime.nMsec)),
}};

constexpr std::array<FieldRow, 1> kNextItemRow{{
    // kept: looked up for a subscription and never written.
    LookedUpRow("nextItemHandle", "I"),
}};

constexpr std::array<FieldRow, 2> kStateRows{{
    OutRow("nAcked", "B", Conv::kEnum, offsetof(ZR3AlarmRecord, nAcked)),
    OutRow("nRestored", "B", Conv::kEnum, offsetof(ZR3AlarmRecord, nRestored)),
}};

constexpr std::array<FieldRow, 1> kCommentedRow{{
    OutRow("nCommented", "B", Conv::kTextIsNotEmpty, offsetof(ZR3AlarmRecord, szComment)),
}};

constexpr std::array<FieldRow, 1> kUnwrittenCommentedRow{{
    // kept: looked up and never written; a caller's object keeps its flag, a new one has 0.
    LookedUpRow("nCommented", "B"),
}};

constexpr std::array<FieldRow, 8> kDetailRows{{
    OutRow("nPriority", "B", Conv::kEnum, offsetof(ZR3AlarmRecord, nPriority)),
    OutRow("nAckType", "B", Conv::kEnum, offsetof(ZR3AlarmRecord, nAckType)),
    OutRow("nAlarmType", "B", Conv::kEnum, offsetof(ZR3AlarmRecord, nAlarmType)),
    OutRow("strSrcValue", kString, Conv::kText, offsetof(ZR3AlarmRecord, szSrcValue)),
    OutRow("strTest", kString, Conv::kText, offsetof(ZR3AlarmRecord, szTest)),
    OutRow("strComment", kString, Conv::kText, offsetof(ZR3AlarmRecord, szComment)),
    OutRow("strAcker", kString, Conv::kText, offsetof(ZR3AlarmRecord, szAcker)),
    OutRow("strCommentor", kString, Conv::kText, offsetof(ZR3AlarmRecord, szCommentor)),
}};

constexpr auto kRecordRows = JoinRows(kOccurrenceRows, kStateRows, kCommentedRow, kDetailRows);
constexpr auto kGroupRecordRows =
    JoinRows(kOccurrenceRows, kStateRows, kUnwrittenCommentedRow, kDetailRows);
constexpr auto kSubscribedRecordRows =
    JoinRows(kOccurrenceRows, kNextItemRow, kStateRows, kUnwrittenCommentedRow, kDetailRows);

// Whether there is a comment is written after the comment itself.
constexpr uint8_t kCommentedField = 11;
constexpr uint8_t kCommentField = 17;
constexpr uint8_t kRecordWriteOrder[] = {
    0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 12, 13, 14, 15, 16, kCommentField, kCommentedField, 18, 19};
static_assert(std::size(kRecordWriteOrder) == kRecordRows.size());
static_assert(std::string_view(kRecordRows[kCommentedField].name) == "nCommented");
static_assert(std::string_view(kRecordRows[kCommentField].name) == "strComment");

constexpr const char* kRecordPath = "com/talvoro/zrjni/ZRJniAlarmRecord";

}  // namespace

const ClassTable kAlarmQuery{"com/talvoro/zrjni/ZrAlarmQuery", kQueryRows};
const ClassTable kAlarmRecord{kRecordPath, kRecordRows, kRecordWriteOrder};
const ClassTable kGroupAlarmRecord{kRecordPath, kGroupRecordRows};
const ClassTable kSubscribedAlarmRecord{kRecordPath, kSubscribedRecordRows};

ZR3AlarmQuery ReadAlarmQuery(JNIEnv* env, jobject query) {
  const Binding fields(env, kAlarmQuery);
  ZR3AlarmQuery result;
  fields.Read(query, &result);
  return result;
}

void WriteAlarmRecord(const Binding& fields, const ZR3AlarmRecord& record,
                      const ZR3AlarmRecord& commented, jobject object) {
  for (const uint8_t row : kRecordWriteOrder) {
    fields.WriteRows(row, 1, row == kCommentedField ? &commented : &record, object);
  }
}

}  // namespace zervane::bridge
