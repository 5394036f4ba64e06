package com.talvoro.zrjni.stack;

import static org.junit.jupiter.api.Assertions.assertEquals;

import com.talvoro.zrjni.Jni_Zervane;
import com.talvoro.zrjni.LongWrapper;
import com.talvoro.zrjni.ZRJniAlarmRecord;
import com.talvoro.zrjni.ZRJniAlarmTag;
import java.util.List;

/** Alarm tags, alarms, and the subscription to them. */
final class DeedsOfAlarms {
  private static final int START = 3;

  private DeedsOfAlarms() {}

  private static int[] tags(WholeStack stack) {
    return new int[] {stack.alarm};
  }

  private static void assertTheAlarm(WholeStack stack, List<ZRJniAlarmRecord> records) {
    assertEquals(List.of(Alarms.key(stack.alarm, START)), Alarms.keys(records));
  }

  /** An iterator that hands out the alarm. */
  private static long iterator(WholeStack stack) {
    LongWrapper handle = Searches.holder();
    assertEquals(
        Codes.OK,
        Jni_Zervane.queryAlarmRecordsEx(stack.alarm, Alarms.any(), Alarms.ALL, handle));
    return handle.Value;
  }

  private static long takeBatch() {
    LongWrapper handle = new LongWrapper();
    assertEquals(Codes.OK, Jni_Zervane.getRegisterTagAmHandle(handle));
    return handle.Value;
  }

  /** A batch with one alarm. */
  private static long batchOf(WholeStack stack) {
    assertEquals(Codes.OK, Jni_Zervane.registerAmCallback());
    stack.writeChange();
    return takeBatch();
  }

  private static Deed queryOfTags(String method, QueryOfTags query) {
    return Deed.of(
        method,
        stack -> {
          LongWrapper handle = Searches.holder();
          assertEquals(Codes.OK, query.of(tags(stack), handle));
          assertTheAlarm(stack, Alarms.drainTags(handle.Value));
        },
        stack ->
            assertEquals(
                Codes.TAG_NOT_FOUND, query.of(new int[] {Tags.UNKNOWN}, Searches.holder())));
  }

  private interface QueryOfTags {
    int of(int[] tags, LongWrapper handle);
  }

  static List<Deed> all() {
    return List.of(
        Deed.of(
            "addAlarmTag",
            stack -> AlarmTags.add("NEW", WholeStack.SOURCE, "LOW < 1"),
            stack -> {
              ZRJniAlarmTag tag = AlarmTags.on("NEW", WholeStack.SOURCE, "LOW is 1");
              assertEquals(
                  Codes.INVALID_ALARM_TEST,
                  Jni_Zervane.addAlarmTag(tag, Columns.NONE, Columns.ALL));
            }),
        Deed.of(
            "modifyAlarmTag",
            stack -> {
              ZRJniAlarmTag changes = AlarmTags.changes(stack.alarm);
              changes.m_Test1 = "LOW < 1";
              assertEquals(
                  Codes.OK, Jni_Zervane.modifyAlarmTag(changes, Columns.NONE, Columns.TEST1));
              assertEquals("LOW < 1", AlarmTags.get(stack.alarm).m_Test1);
            },
            stack ->
                assertEquals(
                    Codes.INVALID_TAG_CLASS,
                    Jni_Zervane.modifyAlarmTag(
                        AlarmTags.changes(stack.source), Columns.NONE, Columns.NONE))),
        Deed.of(
            "queryAlarmTag",
            stack -> assertEquals(stack.group, AlarmTags.get(stack.alarm).m_nAlarmGroupID),
            stack ->
                assertEquals(
                    Codes.TAG_NOT_FOUND,
                    Jni_Zervane.queryAlarmTag(Tags.UNKNOWN, new ZRJniAlarmTag()))),
        Deed.of(
            "deleteAlarmTag",
            stack -> {
              assertEquals(Codes.OK, Jni_Zervane.deleteAlarmTag(stack.alarm));
              assertEquals(-1, Jni_Zervane.queryAlarmTagID(WholeStack.ALARM));
            },
            stack ->
                assertEquals(Codes.TAG_NOT_FOUND, Jni_Zervane.deleteAlarmTag(Tags.UNKNOWN))),
        Deed.of(
            "queryAlarmTagID",
            stack -> assertEquals(stack.alarm, Jni_Zervane.queryAlarmTagID(WholeStack.ALARM)),
            stack -> assertEquals(-1, Jni_Zervane.queryAlarmTagID("NOBODY"))),
        queryOfTags(
            "queryAllAlarmRecordsHandle",
            (tags, handle) ->
                Jni_Zervane.queryAllAlarmRecordsHandle(
                    tags, 1, Alarms.any(), Alarms.ALL, handle)),
        queryOfTags(
            "queryAllAlarmRecordsEx",
            (tags, handle) ->
                Jni_Zervane.queryAllAlarmRecordsEx(tags, 1, Alarms.any(), Alarms.ALL, handle)),
        Deed.of(
            "queryAllAlarmRecords",
            stack ->
                assertTheAlarm(
                    stack,
                    Alarms.drainTags(
                        Jni_Zervane.queryAllAlarmRecords(
                            tags(stack), 1, Alarms.any(), Alarms.ALL))),
            stack ->
                assertEquals(
                    -1,
                    Jni_Zervane.queryAllAlarmRecords(
                        new int[] {stack.source}, 1, Alarms.any(), Alarms.ALL))),
        queryOfTags(
            "queryAlarmRecordsEx",
            (tags, handle) ->
                Jni_Zervane.queryAlarmRecordsEx(tags[0], Alarms.any(), Alarms.ALL, handle)),
        Deed.of(
            "queryAlarmRecords",
            stack ->
                assertTheAlarm(
                    stack,
                    Alarms.drainTags(
                        Jni_Zervane.queryAlarmRecords(stack.alarm, Alarms.any(), Alarms.ALL))),
            stack ->
                assertEquals(
                    -1, Jni_Zervane.queryAlarmRecords(stack.source, Alarms.any(), Alarms.ALL))),
        Deed.of(
            "getAmTagRecordsItemStep",
            stack -> {
              long handle = iterator(stack);
              ZRJniAlarmRecord record = new ZRJniAlarmRecord();
              assertEquals(Codes.OK, Jni_Zervane.getAmTagRecordsItemStep(handle, record));
              assertEquals(START, record.startTimeSec);
              Jni_Zervane.freeIterator(handle);
            },
            stack ->
                assertEquals(
                    Codes.INVALID_HANDLE,
                    Jni_Zervane.getAmTagRecordsItemStep(0, new ZRJniAlarmRecord()))),
        Deed.of(
            "queryAlarmSnapshot",
            stack -> assertEquals(START, Alarms.latest(stack.alarm).startTimeSec),
            stack ->
                assertEquals(
                    Codes.INVALID_TAG_CLASS,
                    Jni_Zervane.queryAlarmSnapshot(
                        stack.source, Alarms.ALL, new ZRJniAlarmRecord()))),
        Deed.of(
            "queryAlarmSnapshots",
            stack -> {
              ZRJniAlarmRecord[] records = new ZRJniAlarmRecord[1];
              assertEquals(
                  Codes.OK,
                  Jni_Zervane.queryAlarmSnapshots(
                      tags(stack), 1, Alarms.ALL, records, new int[1]));
              assertEquals(START, records[0].startTimeSec);
            },
            stack ->
                assertEquals(
                    Codes.INVALID_MASK,
                    Jni_Zervane.queryAlarmSnapshots(
                        tags(stack), 1, 1L << 40, new ZRJniAlarmRecord[1], new int[1]))),
        Deed.of(
            "acknowledgeAlarm",
            stack -> {
              assertEquals(Codes.OK, Alarms.acknowledge(stack.alarm, START));
              assertEquals("admin", Alarms.latest(stack.alarm).strAcker);
            },
            stack ->
                stack.assertNotConnected(() -> Alarms.acknowledge(stack.alarm, START))),
        Deed.of(
            "commentAlarm",
            stack -> {
              assertEquals(Codes.OK, Alarms.comment(stack.alarm, START, "seen"));
              assertEquals("seen", Alarms.latest(stack.alarm).strComment);
            },
            stack -> assertEquals(-1, Alarms.comment(stack.alarm, START, "x".repeat(256)))),
        Deed.of(
            "registerAmCallback",
            stack -> assertEquals(Codes.OK, Jni_Zervane.registerAmCallback()),
            stack -> stack.assertNotConnected(Jni_Zervane::registerAmCallback)),
        Deed.of(
            "getRegisterTagAmHandle",
            stack -> Jni_Zervane.freeRegisterTagAmHandle(batchOf(stack)),
            stack ->
                stack.assertNotConnected(
                    () -> Jni_Zervane.getRegisterTagAmHandle(new LongWrapper()))),
        Deed.thatNeverFails(
            "getRegisterTagAmNum",
            "the handle is trusted, and 0 has no records",
            stack -> {
              long batch = batchOf(stack);
              assertEquals(1, Jni_Zervane.getRegisterTagAmNum(batch));
              assertEquals(0, Jni_Zervane.getRegisterTagAmNum(0));
              Jni_Zervane.freeRegisterTagAmHandle(batch);
            }),
        Deed.thatNeverFails(
            "getRegisterTagAm",
            "nothing is answered; the handle is trusted, and 0 does nothing",
            stack -> {
              long batch = batchOf(stack);
              ZRJniAlarmRecord[] records = new ZRJniAlarmRecord[1];
              Jni_Zervane.getRegisterTagAm(batch, records);
              assertEquals(stack.alarm, records[0].nAlarmTagID);
              Jni_Zervane.freeRegisterTagAmHandle(batch);
            }),
        Deed.thatNeverFails(
            "freeRegisterTagAmHandle",
            "nothing is answered; the handle is trusted, and 0 does nothing",
            stack -> {
              Jni_Zervane.freeRegisterTagAmHandle(batchOf(stack));
              Jni_Zervane.freeRegisterTagAmHandle(0);
            }));
  }
}
