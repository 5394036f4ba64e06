#include "alarm_samples.h"

#include <algorithm>

namespace zervane::bridge_test {

ZR3AlarmRecord AlarmSample(const std::string& comment) {
  ZR3AlarmRecord record;
  memset(&record, 0, sizeof record);
  record.nAlarmTagID = 4294967294U;
  record.tvStartTime = {11, 12};
  record.tvEndTime = {-13, -14};
  record.tvAckTime = {15, 16};
  record.tvCommentTime = {17, 18};
  record.nAcked = 0x101;
  record.nRestored = 0x102;
  record.nPriority = 0x103;
  record.nAckType = 0x104;
  record.nAlarmType = 0x1FB;
  strcpy(record.szSrcValue, "97.5");
  strcpy(record.szTest, "HIGH > 95");
  strcpy(record.szComment, comment.c_str());
  strcpy(record.szAcker, "ALICE");
  strcpy(record.szCommentor, "BOB");
  return record;
}

Lines AlarmSets(const std::string& label, const std::string& comment, Commented commented) {
  std::string java_comment = comment;
  for (char& c : java_comment) c = static_cast<char>(tolower(c));
  Lines sets = {"Int nAlarmTagID = -2",
                "Int startTimeSec = 11",
                "Short startTimeMSec = 12",
                "Int endTimeSec = -13",
                "Short endTimeMSec = -14",
                "Int ackTimeSec = 15",
                "Short ackTimeMSec = 16",
                "Int commentTimeSec = 17",
                "Short commentTimeMSec = 18",
                "Byte nAcked = 1",
                "Byte nRestored = 2",
                "Byte nPriority = 3",
                "Byte nAckType = 4",
                "Byte nAlarmType = -5",
                "Object strSrcValue = \"97.5\"",
                "Object strTest = \"high > 95\"",
                "Object strComment = \"" + java_comment + "\""};
  if (commented != Commented::kUnwritten) {
    sets.push_back(commented == Commented::kYes ? "Byte nCommented = 1" : "Byte nCommented = 0");
  }
  return Sets(label, sets + Lines{"Object strAcker = \"alice\"", "Object strCommentor = \"bob\""});
}

}  // namespace zervane::bridge_test
