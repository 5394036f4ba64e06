package com.talvoro.zervane.demo;

import com.talvoro.zrjni.AlarmGroup;
import com.talvoro.zrjni.Jni_Zervane;
import com.talvoro.zrjni.LongWrapper;
import com.talvoro.zrjni.ZRJniAlarmRecord;
import com.talvoro.zrjni.ZRJniAlarmTag;
import com.talvoro.zrjni.ZRJniTime;
import com.talvoro.zrjni.ZrAlarmQuery;
import java.time.Instant;
import java.util.ArrayList;
import java.util.HashMap;
import java.util.List;
import java.util.Map;

/** Limits of the processor time: an alarm tag, and what becomes of its alarms. */
final class Alarms {
  private static final String SOURCE = "HOST.CPU.BUSY";
  private static final String TAG = "HOST.CPU.BUSY.ALARM";
  private static final String GROUP = "HOST";
  private static final int ROOT = 0;
  private static final List<String> TYPES = List.of("", "LOLO", "LOW", "HIHI", "HIGH", "CHANGE");

  // Bits of the mask of an alarm tag's own properties.
  private static final long TEST_1 = 1L << 0;
  private static final long TEST_2 = 1L << 1;
  private static final long SOURCE_TAG = 1L << 8;
  private static final long ALARM_GROUP = 1L << 9;
  private static final long VALUE_DEAD_BAND = 1L << 12;
  private static final long ALL = -1;

  private final int group;
  private final Map<Instant, ZRJniAlarmRecord> seen = new HashMap<>(); // by start: it is one tag

  private Alarms(int group) {
    this.group = group;
  }

  /** Creates group and alarm tag where they are missing, and begins to follow all alarms. */
  static Alarms open() {
    int group = Jni_Zervane.queryAlarmGroupID(GROUP, ROOT);
    if (group < 0) {
      AlarmGroup host = new AlarmGroup();
      host.m_GroupName = GROUP;
      host.m_GroupDesc = "this machine";
      host.m_ParentID = ROOT;
      Status.check("addAlarmGroup", Jni_Zervane.addAlarmGroup(host));
      group = Jni_Zervane.queryAlarmGroupID(GROUP, ROOT);
    }
    if (Jni_Zervane.queryAlarmTagID(TAG) < 0) {
      createTag(group);
    }
    Status.check("registerAmCallback", Jni_Zervane.registerAmCallback());
    return new Alarms(group);
  }

  private static void createTag(int group) {
    ZRJniAlarmTag tag = new ZRJniAlarmTag();
    tag.m_tagName = TAG;
    tag.m_descriptor = "limits of the processor time";
    tag.m_SourceTagName = SOURCE;
    tag.m_Test1 = "HIGH >= 75";
    tag.m_Test2 = "HIHI >= 95";
    tag.m_fValueDeadBand = 10;
    tag.m_nAlarmGroupID = group;
    long mask = TagColumn.mask(TagColumn.NAME, TagColumn.DESCRIPTOR);
    long own = TEST_1 | TEST_2 | SOURCE_TAG | ALARM_GROUP | VALUE_DEAD_BAND;
    Status.check("addAlarmTag", Jni_Zervane.addAlarmTag(tag, mask, own));
  }

  /** Tells what has happened since the last time, and acknowledges and comments what was raised. */
  void follow() {
    for (ZRJniAlarmRecord record : poll()) {
      ZRJniAlarmRecord before = seen.put(startOf(record), record);
      System.out.printf("       alarm %s: %s%n", whatHappened(before, record), describe(record));
      if (before == null && record.nAcked == 0) {
        acknowledge(record);
      }
    }
  }

  /** The transitions that have come since the last time, oldest first. */
  private static ZRJniAlarmRecord[] poll() {
    LongWrapper batch = new LongWrapper();
    Status.check("getRegisterTagAmHandle", Jni_Zervane.getRegisterTagAmHandle(batch));
    ZRJniAlarmRecord[] records =
        new ZRJniAlarmRecord[Jni_Zervane.getRegisterTagAmNum(batch.Value)];
    Jni_Zervane.getRegisterTagAm(batch.Value, records);
    Jni_Zervane.freeRegisterTagAmHandle(batch.Value);
    return records;
  }

  private static void acknowledge(ZRJniAlarmRecord record) {
    ZRJniTime start = new ZRJniTime();
    start.nSec = record.startTimeSec;
    start.nMsec = record.startTimeMSec;
    int tag = record.nAlarmTagID;
    Status.check("acknowledgeAlarm", Jni_Zervane.acknowledgeAlarm(tag, start));
    Status.check("commentAlarm", Jni_Zervane.commentAlarm(tag, start, "a burst of the demo"));
  }

  private static String whatHappened(ZRJniAlarmRecord before, ZRJniAlarmRecord now) {
    boolean wasRestored = before != null && before.nRestored != 0;
    if (now.nRestored != 0 && !wasRestored) {
      return "returned"; // maybe of an alarm that an earlier run was told of
    }
    if (before == null) {
      return "raised";
    }
    return before.nAcked != now.nAcked ? "acknowledged" : "commented";
  }

  /** The group's alarm records from an instant on. */
  List<ZRJniAlarmRecord> since(Instant start) {
    ZrAlarmQuery query = new ZrAlarmQuery(); // an end of 0 is none
    query.nStartSec = (int) start.getEpochSecond();
    query.nStartMsec = (short) (start.getNano() / 1_000_000);
    LongWrapper handle = new LongWrapper();
    Status.check(
        "queryAlarmGroupRecordsEx",
        Jni_Zervane.queryAlarmGroupRecordsEx(group, query, ALL, handle));
    List<ZRJniAlarmRecord> records = new ArrayList<>();
    for (; ; ) {
      ZRJniAlarmRecord record = new ZRJniAlarmRecord();
      int status = Jni_Zervane.getAmGroupRecordsItemStep(handle.Value, record);
      if (status == Status.END_OF_ITERATION) {
        break;
      }
      Status.check("getAmGroupRecordsItemStep", status);
      records.add(record);
    }
    Status.check("freeIterator", Jni_Zervane.freeIterator(handle.Value));
    return records;
  }

  static String describe(ZRJniAlarmRecord record) {
    String value = Text.value(TagType.FLOAT64, Double.valueOf(record.strSrcValue));
    return String.format("%s of %s, %s %%", TYPES.get(record.nAlarmType), SOURCE, value);
  }

  static Instant startOf(ZRJniAlarmRecord record) {
    return instant(record.startTimeSec, record.startTimeMSec);
  }

  /** When it returned to normal; null while it stands. */
  static Instant endOf(ZRJniAlarmRecord record) {
    return record.nRestored == 0 ? null : instant(record.endTimeSec, record.endTimeMSec);
  }

  private static Instant instant(int seconds, short milliseconds) {
    return Instant.ofEpochSecond(Integer.toUnsignedLong(seconds), milliseconds * 1_000_000L);
  }
}
