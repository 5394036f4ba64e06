package com.talvoro.zrjni.stack;

import static org.junit.jupiter.api.Assertions.assertEquals;

import com.talvoro.zrjni.AlarmGroup;
import com.talvoro.zrjni.Jni_Zervane;
import com.talvoro.zrjni.LongWrapper;
import com.talvoro.zrjni.ZRJniAlarmRecord;
import com.talvoro.zrjni.ZrAlarmQuery;
import java.util.ArrayList;
import java.util.List;

/** Asks for alarm records and alarm groups. */
final class Alarms {
  static final int ROOT = 0;
  static final long ALL = -1;

  private Alarms() {}

  /** A query that filters nothing. */
  static ZrAlarmQuery any() {
    return new ZrAlarmQuery();
  }

  /** A query of the starts between two seconds; an end of 0 is none. */
  static ZrAlarmQuery between(int start, int end) {
    ZrAlarmQuery query = new ZrAlarmQuery();
    query.nStartSec = start;
    query.nEndSec = end;
    return query;
  }

  static List<ZRJniAlarmRecord> ofTag(int tag, ZrAlarmQuery query) {
    return ofTag(tag, query, ALL);
  }

  static List<ZRJniAlarmRecord> ofTag(int tag, ZrAlarmQuery query, long mask) {
    LongWrapper handle = Searches.holder();
    assertEquals(Codes.OK, Jni_Zervane.queryAlarmRecordsEx(tag, query, mask, handle));
    return drainTags(handle.Value);
  }

  static List<ZRJniAlarmRecord> ofTags(int... tags) {
    LongWrapper handle = Searches.holder();
    assertEquals(
        Codes.OK,
        Jni_Zervane.queryAllAlarmRecordsHandle(tags, tags.length, any(), ALL, handle));
    return drainTags(handle.Value);
  }

  static List<ZRJniAlarmRecord> ofGroup(int group) {
    LongWrapper handle = Searches.holder();
    assertEquals(Codes.OK, Jni_Zervane.queryAlarmGroupRecordsEx(group, any(), ALL, handle));
    List<ZRJniAlarmRecord> records = new ArrayList<>();
    ZRJniAlarmRecord record = new ZRJniAlarmRecord();
    int status = Jni_Zervane.getAmGroupRecordsItemStep(handle.Value, record);
    while (status == Codes.OK) {
      records.add(record);
      record = new ZRJniAlarmRecord();
      status = Jni_Zervane.getAmGroupRecordsItemStep(handle.Value, record);
    }
    assertEquals(Codes.END_OF_ITERATION, status);
    assertEquals(0, Jni_Zervane.freeIterator(handle.Value));
    return records;
  }

  /** Reads an iterator of a tag's records, or of those of several tags, to its end. */
  static List<ZRJniAlarmRecord> drainTags(long handle) {
    List<ZRJniAlarmRecord> records = new ArrayList<>();
    ZRJniAlarmRecord record = new ZRJniAlarmRecord();
    int status = Jni_Zervane.getAmTagRecordsItemStep(handle, record);
    while (status == Codes.OK) {
      records.add(record);
      record = new ZRJniAlarmRecord();
      status = Jni_Zervane.getAmTagRecordsItemStep(handle, record);
    }
    assertEquals(Codes.END_OF_ITERATION, status);
    assertEquals(0, Jni_Zervane.freeIterator(handle));
    return records;
  }

  static ZRJniAlarmRecord latest(int tag) {
    ZRJniAlarmRecord record = new ZRJniAlarmRecord();
    assertEquals(Codes.OK, Jni_Zervane.queryAlarmSnapshot(tag, ALL, record));
    return record;
  }

  /** Each record as its tag and the second of its start. */
  static List<String> keys(List<ZRJniAlarmRecord> records) {
    return records.stream().map(record -> key(record.nAlarmTagID, record.startTimeSec)).toList();
  }

  static String key(int tag, int second) {
    return tag + "@" + second;
  }

  static int acknowledge(int tag, int second) {
    return Jni_Zervane.acknowledgeAlarm(tag, Records.time(second, 0));
  }

  static int comment(int tag, int second, String comment) {
    return Jni_Zervane.commentAlarm(tag, Records.time(second, 0), comment);
  }

  // ---- groups ----

  static AlarmGroup group(String name, String description, int parent) {
    AlarmGroup group = new AlarmGroup();
    group.m_GroupName = name;
    group.m_GroupDesc = description;
    group.m_ParentID = parent;
    return group;
  }

  /** Creates a group and looks its identifier up. */
  static int addGroup(String name, int parent) {
    assertEquals(Codes.OK, Jni_Zervane.addAlarmGroup(group(name, "", parent)));
    return Jni_Zervane.queryAlarmGroupID(name, parent);
  }

  static AlarmGroup getGroup(int id) {
    AlarmGroup group = new AlarmGroup();
    assertEquals(Codes.OK, Jni_Zervane.queryAlarmGroupProp(id, group));
    return group;
  }
}
