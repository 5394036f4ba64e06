package com.talvoro.zrjni.bridge;

import static org.junit.jupiter.api.Assertions.assertArrayEquals;
import static org.junit.jupiter.api.Assertions.assertEquals;
import static org.junit.jupiter.api.Assertions.assertNotSame;
import static org.junit.jupiter.api.Assertions.assertSame;

import com.talvoro.zrjni.IntWrapper;
import com.talvoro.zrjni.Jni_Zervane;
import com.talvoro.zrjni.ZRJniRecord;
import com.talvoro.zrjni.ZRJniTime;
import java.util.Arrays;
import org.junit.jupiter.api.DisplayName;
import org.junit.jupiter.api.Nested;
import org.junit.jupiter.api.Test;
import org.junit.jupiter.params.ParameterizedTest;
import org.junit.jupiter.params.provider.CsvSource;
import org.junit.jupiter.params.provider.EnumSource;
import org.junit.jupiter.params.provider.ValueSource;

@DisplayName("Raw history")
class RawHistoryTest extends BridgeTest {
  private static final int TAG = -7;
  private static final long SENT_TAG = TAG & 0xffff_ffffL;
  private static final ZRJniTime START = Times.of(-100, -1);
  private static final ZRJniTime END = Times.of(2000, 999);
  private static final Struct REGION = Times.closedRegion(START, END);

  @Nested
  @DisplayName("Counting")
  class Counting {
    private static final ExpectedCall CALL =
        call("ar3_query_raw_records_number")
            .with("nTagID", SENT_TAG)
            .with("pRegion", REGION)
            .with("*pNum", 0);

    @ParameterizedTest
    @ValueSource(ints = {0, 7, Integer.MAX_VALUE, -1})
    void deliversTheNumberOfAClosedRegion(int number) {
      answer("ar3_query_raw_records_number", out("pNum", number));
      IntWrapper holder = new IntWrapper();
      holder.Value = 99;
      assertEquals(0, Jni_Zervane.queryRawRecordsCount(TAG, START, END, holder));
      assertEquals(number, holder.Value);
      assertCalls(CALL);
    }

    @Test
    void thatFailsLeavesTheHolderAsItWas() {
      answer("ar3_query_raw_records_number", FAILURE, out("pNum", 7));
      IntWrapper holder = new IntWrapper();
      holder.Value = 99;
      assertEquals(FAILURE, Jni_Zervane.queryRawRecordsCount(TAG, START, END, holder));
      assertEquals(99, holder.Value);
      assertCalls(CALL);
    }
  }

  /** The two methods that read records; both are given 3 as the type. */
  enum Method {
    REGION("ar3_query_raw_records", 0) {
      @Override
      int read(int capacity, ZRJniRecord[] records) {
        return Jni_Zervane.queryRawRecords(TAG, (byte) 3, START, END, capacity, records);
      }

      @Override
      ExpectedCall range(ExpectedCall call) {
        return call.with("nTagID", SENT_TAG).with("pRegion", RawHistoryTest.REGION);
      }
    },
    NUMBER("ar3_query_specify_num_raw_recs", 3) {
      @Override
      int read(int capacity, ZRJniRecord[] records) {
        return Jni_Zervane.querySpecifyNumRawRecords(TAG, (byte) 3, START, 0, capacity, records);
      }

      @Override
      ExpectedCall range(ExpectedCall call) {
        return call.with("nTagID", SENT_TAG).with("pStart", Times.sent(START)).with("bBackward", 0);
      }
    };

    final String function;
    final int presetType;

    Method(String function, int presetType) {
      this.function = function;
      this.presetType = presetType;
    }

    abstract int read(int capacity, ZRJniRecord[] records);

    abstract ExpectedCall range(ExpectedCall call);

    ExpectedCall[] readCalls(TypedValue value, int capacity) {
      ApiRecord[] prepared = RecordBatch.apiRecords(capacity, i -> prepared(value, i));
      ExpectedCall read =
          range(call(function)).with("*pNum", capacity).withRecords("pRecords", prepared);
      return RecordBatch.inOrder(RecordBatch.typeCalls(TAG), RecordBatch.then(read));
    }

    /** A cleared record; a text or blob has its slot in one block that is not cleared. */
    private ApiRecord prepared(TypedValue value, int index) {
      ApiRecord record = ApiRecord.cleared().type(presetType);
      if (!value.hasBuffer()) {
        return record;
      }
      byte[] uncleared = new byte[TypedValue.BUFFER_SIZE];
      Arrays.fill(uncleared, AllocationProbe.FRESH);
      return record.buffer(uncleared, index * TypedValue.BUFFER_SIZE);
    }
  }

  @ParameterizedTest
  @EnumSource
  void replacesAsManyElementsAsRecordsWereReturned(Method method) {
    for (TypedValue value : TypedValue.values()) {
      ApiRecord[] answered = {value.answered(1), value.answered(2)};
      RecordBatch.answerTypes(value);
      answer(method.function, Output.records("pRecords", answered), out("pNum", 2));
      ZRJniRecord[] records = RecordBatch.javaRecords(3);
      ZRJniRecord[] before = records.clone();

      assertEquals(0, method.read(3, records));

      for (int i = 0; i < 2; ++i) {
        assertNotSame(before[i], records[i]);
        Fields.assertSameFields(value.read(answered[i], new ZRJniRecord()), records[i]);
      }
      assertSame(before[2], records[2]);
      assertCalls(method.readCalls(value, 3));
    }
  }

  @ParameterizedTest
  @EnumSource
  void choosesEachRecordsFieldByItsOwnType(Method method) {
    ApiRecord[] answered = {
      TypedValue.INT8.answered(1), TypedValue.STRING.answered(2), TypedValue.BLOB.answered(3)
    };
    RecordBatch.answerTypes(TypedValue.BLOB);
    answer(method.function, Output.records("pRecords", answered), out("pNum", 3));
    ZRJniRecord[] records = new ZRJniRecord[3];
    assertEquals(0, method.read(3, records));
    Fields.assertSameFields(TypedValue.INT8.read(answered[0], new ZRJniRecord()), records[0]);
    Fields.assertSameFields(TypedValue.STRING.read(answered[1], new ZRJniRecord()), records[1]);
    Fields.assertSameFields(TypedValue.BLOB.read(answered[2], new ZRJniRecord()), records[2]);
    assertCalls(method.readCalls(TypedValue.BLOB, 3));
  }

  @ParameterizedTest
  @EnumSource
  void takesOneBlockForRecordsAndOneForTextsOrBlobs(Method method) {
    RecordBatch.answerTypes(TypedValue.BLOB, TypedValue.FLOAT64);
    answer(method.function, out("pNum", 0));
    method.read(3, new ZRJniRecord[3]);
    assertAllocated(3 * 64, 3 * 1000);
    AllocationProbe.reset();
    answer(method.function, out("pNum", 0));
    method.read(3, new ZRJniRecord[3]);
    assertAllocated(3 * 64);
    Recorder.takeCalls();
  }

  @ParameterizedTest
  @EnumSource
  void thatFailsLeavesTheArrayAsItWas(Method method) {
    RecordBatch.answerTypes(TypedValue.STRING);
    answer(
        method.function,
        FAILURE,
        Output.records("pRecords", TypedValue.STRING.answered(1)),
        out("pNum", 1));
    assertUntouched(method, FAILURE);
    assertCalls(method.readCalls(TypedValue.STRING, 2));
  }

  @ParameterizedTest
  @EnumSource
  void ofNoRecordsAsksForNone(Method method) {
    RecordBatch.answerTypes(TypedValue.INT8);
    assertEquals(0, method.read(0, new ZRJniRecord[0]));
    assertCalls(method.readCalls(TypedValue.INT8, 0));
    assertAllocated(0);
  }

  @ParameterizedTest
  @EnumSource
  void withoutMemoryForTheRecordsReportsSuccessAndAsksNobody(Method method) {
    AllocationProbe.failRequest(1);
    assertUntouched(method, 0);
  }

  @ParameterizedTest
  @EnumSource
  void withoutMemoryForTheTextsReportsSuccessAndReadsNothing(Method method) {
    RecordBatch.answerTypes(TypedValue.STRING);
    AllocationProbe.failRequest(2);
    assertUntouched(method, 0);
    assertCalls(RecordBatch.typeCalls(TAG));
  }

  @Test
  void ofARegionOfAnUnknownTagReturnsTheLookUpsStatus() {
    answer("pt3_query_tag_type", 117801, out("pTagType", 6));
    assertUntouched(Method.REGION, 117801);
    assertCalls(RecordBatch.typeCalls(TAG));
  }

  @Test
  void ofANumberOfRecordsOfAnUnknownTagKeepsTheRecordsAllocated() {
    answer("pt3_query_tag_type", 117801, out("pTagType", 6));
    assertUntouched(Method.NUMBER, 117801);
    assertCalls(RecordBatch.typeCalls(TAG));
    assertLeft(2 * 64);
  }

  @ParameterizedTest(name = "{0} is sent as {1}")
  @CsvSource({"0, 0", "1, 1", "2, 1", "256, 1", "-1, 1", "-2147483648, 1"})
  void anyNumberButZeroReadsBackward(int given, int sent) {
    RecordBatch.answerTypes(TypedValue.INT8);
    answer(Method.NUMBER.function, out("pNum", 0));
    Jni_Zervane.querySpecifyNumRawRecords(TAG, (byte) 3, START, given, 1, new ZRJniRecord[1]);
    assertCalls(
        RecordBatch.inOrder(
            RecordBatch.typeCalls(TAG),
            RecordBatch.then(
                call(Method.NUMBER.function)
                    .with("nTagID", SENT_TAG)
                    .with("pStart", Times.sent(START))
                    .with("bBackward", sent)
                    .with("*pNum", 1)
                    .withRecords("pRecords", ApiRecord.cleared().type(3)))));
  }

  @ParameterizedTest(name = "type {0}")
  @ValueSource(bytes = {0, 6, 99, -1})
  void theTypeArgumentOfARegionHasNoEffectAndThatOfANumberPresetsTheRecords(byte type) {
    RecordBatch.answerTypes(TypedValue.INT32, TypedValue.INT32);
    ApiRecord answered = TypedValue.INT32.answered(1);
    for (Method method : Method.values()) {
      answer(method.function, Output.records("pRecords", answered), out("pNum", 1));
    }
    ZRJniRecord[] records = new ZRJniRecord[2];
    assertEquals(0, Jni_Zervane.queryRawRecords(TAG, type, START, END, 1, records));
    Fields.assertSameFields(TypedValue.INT32.read(answered, new ZRJniRecord()), records[0]);
    assertEquals(0, Jni_Zervane.querySpecifyNumRawRecords(TAG, type, START, 0, 1, records));
    Fields.assertSameFields(TypedValue.INT32.read(answered, new ZRJniRecord()), records[0]);
    ExpectedCall ofNumber =
        Method.NUMBER
            .range(call(Method.NUMBER.function))
            .with("*pNum", 1)
            .withRecords("pRecords", ApiRecord.cleared().type(type));
    assertCalls(
        RecordBatch.inOrder(
            Method.REGION.readCalls(TypedValue.INT32, 1),
            RecordBatch.typeCalls(TAG),
            RecordBatch.then(ofNumber)));
  }

  private static void assertUntouched(Method method, int status) {
    ZRJniRecord[] records = RecordBatch.javaRecords(2);
    ZRJniRecord[] before = records.clone();
    assertEquals(status, method.read(2, records));
    assertArrayEquals(before, records);
  }
}
