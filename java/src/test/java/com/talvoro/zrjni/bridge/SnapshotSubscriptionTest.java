package com.talvoro.zrjni.bridge;

import static org.junit.jupiter.api.Assertions.assertArrayEquals;
import static org.junit.jupiter.api.Assertions.assertEquals;
import static org.junit.jupiter.api.Assertions.assertNotEquals;
import static org.junit.jupiter.api.Assertions.assertNotNull;
import static org.junit.jupiter.api.Assertions.assertNotSame;
import static org.junit.jupiter.api.Assertions.assertSame;
import static org.junit.jupiter.api.Assertions.assertThrows;

import com.talvoro.zrjni.Jni_Zervane;
import com.talvoro.zrjni.LongWrapper;
import com.talvoro.zrjni.TagInfoWithField;
import com.talvoro.zrjni.ZRJniRecord;
import java.util.ArrayList;
import java.util.List;
import org.junit.jupiter.api.DisplayName;
import org.junit.jupiter.api.Nested;
import org.junit.jupiter.api.Test;
import org.junit.jupiter.params.ParameterizedTest;
import org.junit.jupiter.params.provider.CsvSource;
import org.junit.jupiter.params.provider.EnumSource;
import org.junit.jupiter.params.provider.ValueSource;

@DisplayName("Snapshot subscription")
class SnapshotSubscriptionTest extends BridgeTest {
  private static final int HOLDER_SIZE = 24;

  private static TagInfoWithField field(int tag, int field) {
    TagInfoWithField info = new TagInfoWithField();
    info.m_nTagID = tag;
    info.m_nFieldID = field;
    return info;
  }

  private static Struct registration(int tag, int field) {
    return Struct.cleared(Layouts.REGISTRATION).set("nTagID", tag).set("nFieldID", field);
  }

  @Nested
  @DisplayName("Registering tags")
  class RegisteringTags {
    private static ExpectedCall register(int... tags) {
      return call("sn3_register_callback")
          .with("nNum", tags.length)
          .with("pTagIDs", tags)
          .with("pReserved", 0);
    }

    private static ExpectedCall unregister(int... tags) {
      return call("sn3_unregister_callback_of_sometag")
          .with("nNum", tags.length)
          .with("pTagIDs", tags);
    }

    @ParameterizedTest
    @ValueSource(ints = {0, FAILURE})
    void sendsTheFirstIdentifiersAndReturnsTheStatus(int status) {
      answer("sn3_register_callback", status);
      assertEquals(status, Jni_Zervane.registerSnCallback(2, new int[] {5, -6, 7}));
      answer("sn3_unregister_callback_of_sometag", status);
      assertEquals(status, Jni_Zervane.unregisterSnCallback(2, new int[] {5, -6, 7}));
      assertCalls(register(5, -6), unregister(5, -6));
      assertAllocated(2 * 4, 2 * 4);
    }

    @Test
    void ofNoneSendsNone() {
      assertEquals(0, Jni_Zervane.registerSnCallback(0, new int[0]));
      assertEquals(0, Jni_Zervane.unregisterSnCallback(0, new int[0]));
      assertCalls(register(), unregister());
    }

    @Test
    void withoutMemoryForTheIdentifiersFailsBeforeAnyCall() {
      AllocationProbe.failRequest(1);
      assertEquals(-1, Jni_Zervane.registerSnCallback(1, new int[1]));
      AllocationProbe.failRequest(1);
      assertEquals(-1, Jni_Zervane.unregisterSnCallback(1, new int[1]));
    }
  }

  @Nested
  @DisplayName("Registering fields")
  class RegisteringFields {
    @ParameterizedTest
    @ValueSource(ints = {0, FAILURE})
    void sendsThePairsAndReturnsTheStatus(int status) {
      answer("sn3_register_rest", status);
      TagInfoWithField[] fields = {field(300, -2), field(-5, 70000)};
      assertEquals(status, Jni_Zervane.register_rest(2, fields));
      assertCalls(
          call("sn3_register_rest")
              .with("nNum", 2)
              .with("pInfos", List.of(registration(300, -2), registration(-5, 70000))));
      assertAllocated(2 * 8);
    }

    @MismatchedAccessor
    @ParameterizedTest(name = "{0} is unregistered as {1}")
    @CsvSource({"1, 1", "127, 127", "128, -128", "200, -56", "255, -1", "256, 0", "300, 44"})
    void keepsTheLowByteOfEachNumberWhenUnregistering(int given, int sent) {
      answer("sn3_unregister_callback_rest", FAILURE);
      TagInfoWithField[] fields = {field(given, 3), field(4, given)};
      assertEquals(FAILURE, Jni_Zervane.unregister_rest(2, fields));
      assertCalls(
          call("sn3_unregister_callback_rest")
              .with("nNum", 2)
              .with("pInfos", List.of(registration(sent, 3), registration(4, sent))));
      assertAllocated(2 * 8);
    }

    @Test
    void withoutMemoryForThePairsFailsBeforeAnyCall() {
      AllocationProbe.failRequest(1);
      assertEquals(-1, Jni_Zervane.register_rest(1, new TagInfoWithField[] {field(1, 2)}));
    }

    @MismatchedAccessor
    @Test
    void withoutMemoryForThePairsFailsWhenUnregistering() {
      AllocationProbe.failRequest(1);
      assertEquals(-1, Jni_Zervane.unregister_rest(1, new TagInfoWithField[] {field(1, 2)}));
    }
  }

  @Nested
  @DisplayName("Polling")
  class Polling {
    private static final ExpectedCall POLL = call("sn3_get_callback_sn");

    private static ExpectedCall release(int count, int identifiers, int records) {
      return call("sn3_free_callback_sn")
          .with("nNum", count)
          .with("pTagIDs", identifiers)
          .with("pRecords", records);
    }

    /** Takes a batch of these records, of tags -1, -2 and so on. */
    private static long poll(ApiRecord... records) {
      int[] identifiers = new int[records.length];
      for (int i = 0; i < records.length; ++i) {
        identifiers[i] = -1 - i;
      }
      answer(
          "sn3_get_callback_sn",
          out("pNum", records.length),
          out("ppTagIDs", identifiers),
          records.length == 0
              ? out("ppRecords", new byte[0])
              : Output.records("ppRecords", records));
      LongWrapper handle = Holders.ofLong();
      assertEquals(0, Jni_Zervane.getRegisterTagSnHandle(handle));
      assertNotEquals(0, handle.Value);
      assertArrayEquals(new long[] {HOLDER_SIZE}, AllocationProbe.outstanding());
      return handle.Value;
    }

    @ParameterizedTest
    @EnumSource
    void deliversABatchAsOftenAsItIsReadAndReleasesItOnce(TypedValue value) {
      ApiRecord[] answered = {value.answered(1), value.answered(2)};
      long handle = poll(answered);
      for (int reading = 0; reading < 2; ++reading) {
        assertEquals(2, Jni_Zervane.getRegisterTagSnNum(handle));
        int[] identifiers = {7, 8, 9};
        ZRJniRecord[] records = RecordBatch.javaRecords(3);
        ZRJniRecord[] before = records.clone();
        Jni_Zervane.getRegisterTagSn(handle, identifiers, records);
        assertArrayEquals(new int[] {-1, -2, 9}, identifiers);
        for (int i = 0; i < 2; ++i) {
          assertNotSame(before[i], records[i]);
          Fields.assertSameFields(value.read(answered[i], new ZRJniRecord()), records[i]);
        }
        assertSame(before[2], records[2]);
      }
      Jni_Zervane.freeRegisterTagSnHandle(handle);
      assertCalls(POLL, release(2, 1, 2));
    }

    @Test
    void choosesTheFieldByEachRecordsTypeAndNoneForATypeOutsideTheList() {
      ApiRecord blob = new ApiRecord(TypedValue.BLOB.answered(1).struct(), new byte[0], 0);
      blob.set("nLenBuf", 0);
      ApiRecord unknown = TypedValue.INT8.answered(2).type(8);
      long handle = poll(blob, unknown);
      ZRJniRecord[] records = new ZRJniRecord[2];
      Jni_Zervane.getRegisterTagSn(handle, new int[2], records);
      assertEquals(0, records[0].byteValue.length);
      ZRJniRecord expected = TypedValue.INT8.read(unknown, new ZRJniRecord());
      expected.nTagType = 8;
      expected.nInt8 = 0;
      Fields.assertSameFields(expected, records[1]);
      Jni_Zervane.freeRegisterTagSnHandle(handle);
      assertCalls(POLL, release(2, 1, 2));
    }

    @Test
    void ofNoChangesGivesABatchOfNone() {
      long handle = poll();
      assertEquals(0, Jni_Zervane.getRegisterTagSnNum(handle));
      int[] identifiers = {7};
      ZRJniRecord[] records = {null};
      Jni_Zervane.getRegisterTagSn(handle, identifiers, records);
      assertArrayEquals(new int[] {7}, identifiers);
      assertArrayEquals(new ZRJniRecord[1], records);
      Jni_Zervane.freeRegisterTagSnHandle(handle);
      assertCalls(POLL, release(0, 1, 2));
    }

    @Test
    void storesTheIdentifiersLastAndTrustsTheirArray() {
      long handle = poll(TypedValue.INT8.answered(1));
      ZRJniRecord[] records = new ZRJniRecord[1];
      assertThrows(
          ArrayIndexOutOfBoundsException.class,
          () -> Jni_Zervane.getRegisterTagSn(handle, new int[0], records));
      assertNotNull(records[0]);
      Jni_Zervane.freeRegisterTagSnHandle(handle);
      assertCalls(POLL, release(1, 1, 2));
    }

    @Test
    void releasesABatchWithoutArraysThroughTheLibraryToo() {
      LongWrapper handle = Holders.ofLong();
      assertEquals(0, Jni_Zervane.getRegisterTagSnHandle(handle));
      Jni_Zervane.freeRegisterTagSnHandle(handle.Value);
      assertCalls(POLL, release(0, 0, 0));
    }

    @Test
    void keepsBatchesApart() {
      List<Long> handles = new ArrayList<>();
      for (int value = 1; value <= 2; ++value) {
        answer(
            "sn3_get_callback_sn",
            out("pNum", 1),
            out("ppTagIDs", new int[] {value}),
            Output.records("ppRecords", TypedValue.INT8.answered(value)));
        LongWrapper handle = Holders.ofLong();
        assertEquals(0, Jni_Zervane.getRegisterTagSnHandle(handle));
        handles.add(handle.Value);
      }
      assertNotEquals(handles.get(0), handles.get(1));
      Jni_Zervane.freeRegisterTagSnHandle(handles.get(0));
      int[] identifiers = {0};
      Jni_Zervane.getRegisterTagSn(handles.get(1), identifiers, new ZRJniRecord[1]);
      assertArrayEquals(new int[] {2}, identifiers);
      Jni_Zervane.freeRegisterTagSnHandle(handles.get(1));
      assertCalls(POLL, POLL, release(1, 1, 2), release(1, 3, 4));
    }

    @Test
    void thatFailsLeavesTheWrapperAndKeepsTheHolderAllocated() {
      answer("sn3_get_callback_sn", FAILURE, out("pNum", 1));
      LongWrapper handle = Holders.ofLong();
      assertEquals(FAILURE, Jni_Zervane.getRegisterTagSnHandle(handle));
      assertEquals(Holders.BEFORE, handle.Value);
      assertCalls(POLL);
      assertLeft(HOLDER_SIZE);
    }

    @Test
    void withoutMemoryForTheHolderFailsBeforeAnyCall() {
      AllocationProbe.failRequest(1);
      LongWrapper handle = Holders.ofLong();
      assertEquals(-1, Jni_Zervane.getRegisterTagSnHandle(handle));
      assertEquals(Holders.BEFORE, handle.Value);
    }

    @Test
    void knowsNoBatchOfHandleZero() {
      int[] identifiers = {7};
      ZRJniRecord[] records = {null};
      assertEquals(0, Jni_Zervane.getRegisterTagSnNum(0));
      Jni_Zervane.getRegisterTagSn(0, identifiers, records);
      Jni_Zervane.freeRegisterTagSnHandle(0);
      assertArrayEquals(new int[] {7}, identifiers);
      assertArrayEquals(new ZRJniRecord[1], records);
    }
  }
}
