package com.talvoro.zrjni.bridge;

import static org.junit.jupiter.api.Assertions.assertArrayEquals;
import static org.junit.jupiter.api.Assertions.assertEquals;
import static org.junit.jupiter.api.Assertions.assertNotEquals;
import static org.junit.jupiter.api.Assertions.assertNotSame;
import static org.junit.jupiter.api.Assertions.assertSame;

import com.talvoro.zrjni.Jni_Zervane;
import com.talvoro.zrjni.LongWrapper;
import com.talvoro.zrjni.ZRJniAlarmRecord;
import java.util.List;
import org.junit.jupiter.api.DisplayName;
import org.junit.jupiter.api.Test;
import org.junit.jupiter.params.ParameterizedTest;
import org.junit.jupiter.params.provider.ValueSource;

@DisplayName("Alarm subscription")
class AlarmSubscriptionTest extends BridgeTest {
  private static final int HOLDER_SIZE = 16;
  private static final ExpectedCall POLL = call("am3_get_callback_am");

  private static ExpectedCall release(int count, int records) {
    return call("am3_free_callback_am").with("nNum", count).with("pRecords", records);
  }

  private static long poll() {
    LongWrapper handle = Holders.ofLong();
    assertEquals(0, Jni_Zervane.getRegisterTagAmHandle(handle));
    assertNotEquals(0, handle.Value);
    assertArrayEquals(new long[] {HOLDER_SIZE}, AllocationProbe.outstanding());
    return handle.Value;
  }

  @ParameterizedTest
  @ValueSource(ints = {0, FAILURE})
  void registeringPassesNothingOnAndReturnsTheStatus(int status) {
    answer("am3_register_alarm_record_info", status);
    assertEquals(status, Jni_Zervane.registerAmCallback());
    assertCalls(call("am3_register_alarm_record_info").with("pReserved", 0));
  }

  @Test
  void deliversABatchAsOftenAsItIsReadAndReleasesItOnce() {
    List<Struct> answered = List.of(AlarmRecords.answered(1), AlarmRecords.answered(2));
    answer("am3_get_callback_am", out("pNum", 2), out("ppRecords", answered));
    long handle = poll();
    for (int reading = 0; reading < 2; ++reading) {
      assertEquals(2, Jni_Zervane.getRegisterTagAmNum(handle));
      ZRJniAlarmRecord[] records = new ZRJniAlarmRecord[3];
      for (int i = 0; i < 3; ++i) {
        records[i] = Fields.filled(ZRJniAlarmRecord.class, i + 5);
      }
      ZRJniAlarmRecord[] before = records.clone();
      Jni_Zervane.getRegisterTagAm(handle, records);
      for (int i = 0; i < 2; ++i) {
        assertNotSame(before[i], records[i]);
        Fields.assertSameFields(
            AlarmRecords.read(answered.get(i), new ZRJniAlarmRecord(), 0), records[i]);
      }
      assertSame(before[2], records[2]);
    }
    Jni_Zervane.freeRegisterTagAmHandle(handle);
    assertCalls(POLL, release(2, 1));
  }

  @Test
  void ofNoRecordsReleasesAnEmptyArrayThroughTheLibrary() {
    answer("am3_get_callback_am", out("pNum", 0), out("ppRecords", new byte[0]));
    long handle = poll();
    assertEquals(0, Jni_Zervane.getRegisterTagAmNum(handle));
    Jni_Zervane.freeRegisterTagAmHandle(handle);
    assertCalls(POLL, release(0, 1));
  }

  @Test
  void withoutAnArrayReleasesTheHolderAlone() {
    long handle = poll();
    ZRJniAlarmRecord[] records = {null};
    Jni_Zervane.getRegisterTagAm(handle, records);
    assertArrayEquals(new ZRJniAlarmRecord[1], records);
    Jni_Zervane.freeRegisterTagAmHandle(handle);
    assertCalls(POLL);
  }

  @Test
  void thatFailsLeavesTheWrapperAndKeepsTheHolderAllocated() {
    answer("am3_get_callback_am", FAILURE, out("pNum", 1));
    LongWrapper handle = Holders.ofLong();
    assertEquals(FAILURE, Jni_Zervane.getRegisterTagAmHandle(handle));
    assertEquals(Holders.BEFORE, handle.Value);
    assertCalls(POLL);
    assertLeft(HOLDER_SIZE);
  }

  @Test
  void withoutMemoryFailsBeforeAnyCall() {
    AllocationProbe.failRequest(1);
    LongWrapper handle = Holders.ofLong();
    assertEquals(-1, Jni_Zervane.getRegisterTagAmHandle(handle));
    assertEquals(Holders.BEFORE, handle.Value);
  }

  @Test
  void knowsNoBatchOfHandleZero() {
    ZRJniAlarmRecord[] records = {null};
    assertEquals(0, Jni_Zervane.getRegisterTagAmNum(0));
    Jni_Zervane.getRegisterTagAm(0, records);
    Jni_Zervane.freeRegisterTagAmHandle(0);
    assertArrayEquals(new ZRJniAlarmRecord[1], records);
  }
}
