package com.talvoro.zrjni.bridge;

import com.talvoro.zrjni.ZRJniAlarmRecord;
import java.util.List;

/** Alarm records in both worlds. */
final class AlarmRecords {
  /** Java field, then the member of the client library's record that it stands for. */
  private static final List<String[]> FIELDS =
      List.of(
          new String[] {"nAlarmTagID", "nAlarmTagID"},
          new String[] {"startTimeSec", "tvStartTime.nSec"},
          new String[] {"startTimeMSec", "tvStartTime.nMsec"},
          new String[] {"endTimeSec", "tvEndTime.nSec"},
          new String[] {"endTimeMSec", "tvEndTime.nMsec"},
          new String[] {"ackTimeSec", "tvAckTime.nSec"},
          new String[] {"ackTimeMSec", "tvAckTime.nMsec"},
          new String[] {"commentTimeSec", "tvCommentTime.nSec"},
          new String[] {"commentTimeMSec", "tvCommentTime.nMsec"},
          new String[] {"nAcked", "nAcked"},
          new String[] {"nRestored", "nRestored"},
          new String[] {"nPriority", "nPriority"},
          new String[] {"nAckType", "nAckType"},
          new String[] {"nAlarmType", "nAlarmType"},
          new String[] {"strSrcValue", "szSrcValue"},
          new String[] {"strTest", "szTest"},
          new String[] {"strComment", "szComment"},
          new String[] {"strAcker", "szAcker"},
          new String[] {"strCommentor", "szCommentor"});

  private AlarmRecords() {}

  /** A record in which every member holds something. */
  static Struct answered(int seed) {
    return Struct.filled(Layouts.ALARM_RECORD, seed);
  }

  static Struct withoutComment(int seed) {
    return answered(seed).set("szComment", "");
  }

  /** What a record makes of a Java object; whether it is commented is up to the method. */
  static ZRJniAlarmRecord read(Struct record, ZRJniAlarmRecord before) {
    ZRJniAlarmRecord after = Fields.copy(before);
    FIELDS.forEach(field -> Fields.setFrom(record, field[1], after, field[0]));
    return after;
  }

  static ZRJniAlarmRecord read(Struct record, ZRJniAlarmRecord before, int commented) {
    ZRJniAlarmRecord after = read(record, before);
    after.nCommented = (byte) commented;
    return after;
  }
}
