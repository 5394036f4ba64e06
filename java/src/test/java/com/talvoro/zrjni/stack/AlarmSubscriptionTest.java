package com.talvoro.zrjni.stack;

import static org.junit.jupiter.api.Assertions.assertEquals;
import static org.junit.jupiter.api.Assertions.assertNotEquals;
import static org.junit.jupiter.api.Assertions.assertNull;

import com.talvoro.zrjni.Jni_Zervane;
import com.talvoro.zrjni.LongWrapper;
import com.talvoro.zrjni.ZRJniAlarmRecord;
import com.talvoro.zrjni.ZRJniAlarmTag;
import java.util.ArrayList;
import java.util.List;
import org.junit.jupiter.api.BeforeEach;
import org.junit.jupiter.api.DisplayName;
import org.junit.jupiter.api.Test;
import org.junit.jupiter.api.extension.RegisterExtension;

@DisplayName("Following alarms")
class AlarmSubscriptionTest {
  @RegisterExtension final EmbeddedDatabase database = new EmbeddedDatabase();

  private int source;
  private int alarm;

  @BeforeEach
  void addTags() {
    source = Tags.add("source", ValueType.FLOAT64);
    alarm = AlarmTags.add("alarm", "source", "HIGH > 90");
  }

  @Test
  void tellsEveryTransitionAsTheRecordThenStood() {
    assertEquals(Codes.OK, Jni_Zervane.registerAmCallback());
    write(10, 95);
    write(20, 80);
    assertEquals(Codes.OK, Jni_Zervane.acknowledgeAlarm(alarm, Records.time(10, 0)));
    assertEquals(Codes.OK, Jni_Zervane.commentAlarm(alarm, Records.time(10, 0), "looked at"));
    List<ZRJniAlarmRecord> records = poll();
    assertEquals(
        List.of(
            alarm + ": 10 to 0, acknowledged 0, restored 0, ",
            alarm + ": 10 to 20, acknowledged 0, restored 1, ",
            alarm + ": 10 to 20, acknowledged 1, restored 1, ",
            alarm + ": 10 to 20, acknowledged 1, restored 1, looked at"),
        records.stream().map(AlarmSubscriptionTest::describe).toList());
    assertEquals("95", records.get(0).strSrcValue);
    assertEquals("HIGH > 90", records.get(0).strTest);
    assertEquals("admin", records.get(2).strAcker);
    assertEquals(List.of(), poll());
  }

  /** kept: the subscription leaves the flag of a comment as a new object has it. */
  @Test
  void neverSaysThatARecordHasAComment() {
    assertEquals(Codes.OK, Jni_Zervane.registerAmCallback());
    write(10, 95);
    assertEquals(Codes.OK, Jni_Zervane.commentAlarm(alarm, Records.time(10, 0), "looked at"));
    ZRJniAlarmRecord commented = poll().get(1);
    assertEquals("looked at", commented.strComment);
    assertEquals(0, commented.nCommented);
  }

  @Test
  void tellsGoingOverToAnotherTestAsReturnedThenRaised() {
    ZRJniAlarmTag two = AlarmTags.on("two", "source", "HIGH > 190");
    two.m_Test2 = "HIHI > 195";
    int id = AlarmTags.add(two);
    write(5, 191); // the other alarm stands, too, and stays as it is
    assertEquals(Codes.OK, Jni_Zervane.registerAmCallback());
    write(10, 196);
    assertEquals(
        List.of(
            id + ": 5 to 10, acknowledged 0, restored 1, ",
            id + ": 10 to 0, acknowledged 0, restored 0, "),
        poll().stream().map(AlarmSubscriptionTest::describe).toList());
  }

  @Test
  void tellsAChangeOnce() {
    int change = AlarmTags.add("change", "source", "CHANGE 5");
    assertEquals(Codes.OK, Jni_Zervane.registerAmCallback());
    write(10, 1);
    write(20, 7);
    assertEquals(
        List.of(change + ": 20 to 20, acknowledged 0, restored 1, "),
        poll().stream().map(AlarmSubscriptionTest::describe).toList());
  }

  @Test
  void tellsNothingOfBeforeItWasAskedFor() {
    write(10, 95);
    assertEquals(List.of(), poll());
    assertEquals(Codes.OK, Jni_Zervane.registerAmCallback());
    assertEquals(Codes.OK, Jni_Zervane.registerAmCallback());
    assertEquals(List.of(), poll());
    write(20, 80);
    assertEquals(1, poll().size());
  }

  @Test
  void endsWithTheSessionButItsBatchesDoNot() {
    assertEquals(Codes.OK, Jni_Zervane.registerAmCallback());
    write(10, 95);
    long handle = handle();
    write(20, 80);
    database.reopen();
    write(30, 95);
    assertEquals(List.of(), poll());
    assertEquals(10, read(handle).get(0).startTimeSec);
  }

  @Test
  void tellsWhatEndsBecauseItsTagIsDeleted() {
    write(10, 95);
    assertEquals(Codes.OK, Jni_Zervane.registerAmCallback());
    Tags.delete(alarm);
    List<ZRJniAlarmRecord> records = poll();
    assertEquals(1, records.size());
    assertEquals(1, records.get(0).nRestored);
  }

  @Test
  void handsOutABatchOfNothing() {
    long handle = handle();
    assertNotEquals(0, handle);
    assertEquals(0, Jni_Zervane.getRegisterTagAmNum(handle));
    ZRJniAlarmRecord[] records = new ZRJniAlarmRecord[1];
    Jni_Zervane.getRegisterTagAm(handle, records);
    assertNull(records[0]);
    Jni_Zervane.freeRegisterTagAmHandle(handle);
  }

  @Test
  void takesZeroForNoBatch() {
    assertEquals(0, Jni_Zervane.getRegisterTagAmNum(0));
    ZRJniAlarmRecord[] records = new ZRJniAlarmRecord[1];
    Jni_Zervane.getRegisterTagAm(0, records);
    assertNull(records[0]);
    Jni_Zervane.freeRegisterTagAmHandle(0);
  }

  @Test
  void needsASession() {
    database.close();
    assertEquals(Codes.NOT_CONNECTED, Jni_Zervane.registerAmCallback());
  }

  private void write(int second, double value) {
    assertEquals(Codes.OK, Records.save(source, Records.float64(second, value)));
  }

  private static String describe(ZRJniAlarmRecord record) {
    return String.format(
        "%d: %d to %d, acknowledged %d, restored %d, %s",
        record.nAlarmTagID,
        record.startTimeSec,
        record.endTimeSec,
        record.nAcked,
        record.nRestored,
        record.strComment);
  }

  private static long handle() {
    LongWrapper wrapper = new LongWrapper();
    assertEquals(Codes.OK, Jni_Zervane.getRegisterTagAmHandle(wrapper));
    return wrapper.Value;
  }

  private static List<ZRJniAlarmRecord> poll() {
    return read(handle());
  }

  /** Reads the batch of a handle, and frees it. */
  private static List<ZRJniAlarmRecord> read(long handle) {
    ZRJniAlarmRecord[] records = new ZRJniAlarmRecord[Jni_Zervane.getRegisterTagAmNum(handle)];
    Jni_Zervane.getRegisterTagAm(handle, records);
    Jni_Zervane.freeRegisterTagAmHandle(handle);
    return new ArrayList<>(List.of(records));
  }
}
