package com.talvoro.zrjni.bridge;

import static org.junit.jupiter.api.Assertions.assertArrayEquals;
import static org.junit.jupiter.api.Assertions.assertEquals;
import static org.junit.jupiter.api.Assertions.assertNotNull;
import static org.junit.jupiter.api.Assertions.assertNotSame;
import static org.junit.jupiter.api.Assertions.assertNull;
import static org.junit.jupiter.api.Assertions.assertSame;
import static org.junit.jupiter.api.Assertions.assertThrows;

import com.talvoro.zrjni.Jni_Zervane;
import com.talvoro.zrjni.ZRJniRecord;
import org.junit.jupiter.api.DisplayName;
import org.junit.jupiter.api.Nested;
import org.junit.jupiter.api.Test;
import org.junit.jupiter.params.ParameterizedTest;
import org.junit.jupiter.params.provider.CsvSource;
import org.junit.jupiter.params.provider.EnumSource;
import org.junit.jupiter.params.provider.ValueSource;

@DisplayName("Reading current values")
class SnapshotReadTest extends BridgeTest {
  private static final int TAG = -7;
  private static final TypedValue[] ALL_TYPES = TypedValue.values();

  /** A record as it is handed in to be filled. */
  private static ApiRecord prepared(TypedValue value) {
    ApiRecord record = ApiRecord.cleared().type(value.type());
    return value.hasBuffer() ? record.room(TypedValue.BUFFER_SIZE) : record;
  }

  @Nested
  @DisplayName("of one tag")
  class OfOneTag {
    private static ExpectedCall[] readCalls(TypedValue value) {
      return RecordBatch.inOrder(
          RecordBatch.typeCalls(TAG),
          RecordBatch.then(
              call("sn3_query_snapshot")
                  .with("nTagID", TAG & 0xffff_ffffL)
                  .withRecords("pRecord", prepared(value))));
    }

    @ParameterizedTest
    @EnumSource
    void fillsHeaderAndTheFieldOfItsTypeAlone(TypedValue value) {
      ApiRecord answered = value.answered(3);
      ZRJniRecord record = Fields.filled(ZRJniRecord.class, 5);
      ZRJniRecord expected = value.read(answered, record);
      RecordBatch.answerTypes(value);
      answer("sn3_query_snapshot", Output.records("pRecord", answered));
      assertEquals(0, Jni_Zervane.querySnapShot(TAG, (byte) (7 - value.type()), record));
      Fields.assertSameFields(expected, record);
      assertCalls(readCalls(value));
    }

    @Test
    void takesTheTypeFromTheServerAndNotFromTheCaller() {
      RecordBatch.answerTypes(TypedValue.FLOAT64);
      answer(
          "sn3_query_snapshot",
          Output.records("pRecord", TypedValue.FLOAT64.answered(3).set("fFloat64", 1.5)));
      ZRJniRecord record = new ZRJniRecord();
      assertEquals(0, Jni_Zervane.querySnapShot(TAG, (byte) 0, record));
      assertEquals(1.5, record.fFloat64);
      assertEquals(4, record.nTagType);
      assertCalls(readCalls(TypedValue.FLOAT64));
    }

    @ParameterizedTest(name = "quality {0}")
    @ValueSource(ints = {0, 192, 32768, 65535})
    void readsTheQualityWithoutASign(int quality) {
      RecordBatch.answerTypes(TypedValue.INT8);
      answer(
          "sn3_query_snapshot",
          Output.records("pRecord", TypedValue.INT8.answered(3).set("nQuality", quality)));
      ZRJniRecord record = new ZRJniRecord();
      Jni_Zervane.querySnapShot(TAG, (byte) 0, record);
      assertEquals(quality, record.nQuality);
      assertCalls(readCalls(TypedValue.INT8));
    }

    @ParameterizedTest(name = "type {0} arrives as {1}")
    @CsvSource({"8, 8", "-1, -1", "262, 6", "263, 7", "256, 0"})
    void ofATypeOutsideTheListFillsTheHeaderAlone(int type, byte arrived) {
      RecordBatch.answerTypes(TypedValue.INT32);
      ApiRecord answered = TypedValue.INT32.answered(3).type(type);
      answer("sn3_query_snapshot", Output.records("pRecord", answered));
      ZRJniRecord record = Fields.filled(ZRJniRecord.class, 5);
      ZRJniRecord expected = Fields.copy(record);
      expected.nSec = (int) answered.struct().integer("nSec");
      expected.nMsec = (short) answered.struct().integer("nMsec");
      expected.nQuality = (int) answered.struct().integer("nQuality") & 0xffff;
      expected.nTagType = arrived;
      assertEquals(0, Jni_Zervane.querySnapShot(TAG, (byte) 2, record));
      Fields.assertSameFields(expected, record);
      assertCalls(readCalls(TypedValue.INT32));
    }

    @Test
    void choosesTheFieldByTheTypeThatTheAnswerHolds() {
      RecordBatch.answerTypes(TypedValue.STRING);
      answer("sn3_query_snapshot", Output.records("pRecord", TypedValue.INT16.answered(3)));
      ZRJniRecord record = new ZRJniRecord();
      ZRJniRecord expected = TypedValue.INT16.read(TypedValue.INT16.answered(3), record);
      assertEquals(0, Jni_Zervane.querySnapShot(TAG, (byte) 6, record));
      Fields.assertSameFields(expected, record);
      assertCalls(readCalls(TypedValue.STRING));
    }

    @Test
    void ofAnEmptyBlobYieldsAnEmptyArray() {
      RecordBatch.answerTypes(TypedValue.BLOB);
      answer(
          "sn3_query_snapshot",
          Output.records("pRecord", TypedValue.BLOB.answered(3).set("nLenBuf", 0)));
      ZRJniRecord record = new ZRJniRecord();
      assertEquals(0, Jni_Zervane.querySnapShot(TAG, (byte) 7, record));
      assertEquals(0, record.byteValue.length);
      assertCalls(readCalls(TypedValue.BLOB));
    }

    @Test
    void ofAnUnknownTagReturnsTheLookUpsStatus() {
      answer("pt3_query_tag_type", 117801, out("pTagType", 0));
      assertUntouched(117801);
      assertCalls(RecordBatch.typeCalls(TAG));
    }

    @ParameterizedTest
    @EnumSource(names = {"INT8", "STRING", "BLOB"})
    void thatFailsLeavesTheRecordAsItWas(TypedValue value) {
      RecordBatch.answerTypes(value);
      answer("sn3_query_snapshot", FAILURE, Output.records("pRecord", value.answered(3)));
      assertUntouched(FAILURE);
      assertCalls(readCalls(value));
    }

    @ParameterizedTest
    @EnumSource(names = {"STRING", "BLOB"})
    void withoutMemoryForTheBufferReportsSuccessAndReadsNothing(TypedValue value) {
      RecordBatch.answerTypes(value);
      AllocationProbe.failRequest(1);
      assertUntouched(0);
      assertCalls(RecordBatch.typeCalls(TAG));
      assertAllocated(TypedValue.BUFFER_SIZE);
    }

    private static void assertUntouched(int status) {
      ZRJniRecord record = Fields.filled(ZRJniRecord.class, 5);
      ZRJniRecord before = Fields.copy(record);
      assertEquals(status, Jni_Zervane.querySnapShot(TAG, (byte) 0, record));
      Fields.assertSameFields(before, record);
    }
  }

  @Nested
  @DisplayName("of many tags")
  class OfManyTags {
    private static ExpectedCall readCall(int[] identifiers, ApiRecord... records) {
      return call("sn3_query_snapshots")
          .with("nNum", identifiers.length)
          .with("pTagIDs", identifiers)
          .withRecords("pRecords", records)
          .withAnything("pErrCodes");
    }

    @ParameterizedTest
    @ValueSource(ints = {0, FAILURE})
    void replacesEveryRecordAndDeliversTheCodesWhateverTheStatus(int status) {
      int count = ALL_TYPES.length;
      int[] identifiers = RecordBatch.identifiers(count);
      int[] codes = new int[count + 1];
      ZRJniRecord[] records = RecordBatch.javaRecords(count + 1);
      ZRJniRecord[] before = records.clone();
      RecordBatch.answerTypes(ALL_TYPES);
      ApiRecord[] answered = RecordBatch.apiRecords(count, i -> ALL_TYPES[i].answered(i + 1));
      answer(
          "sn3_query_snapshots",
          status,
          Output.records("pRecords", answered),
          out("pErrCodes", new int[] {0, 1, 2, 3, 4, 5, 6, -7}));

      assertEquals(status, Jni_Zervane.querySnapShots(identifiers, count, records, codes));

      for (int i = 0; i < count; ++i) {
        assertNotSame(before[i], records[i]);
        Fields.assertSameFields(ALL_TYPES[i].read(answered[i], new ZRJniRecord()), records[i]);
      }
      assertSame(before[count], records[count]);
      assertArrayEquals(new int[] {0, 1, 2, 3, 4, 5, 6, -7, 0}, codes);
      assertCalls(
          RecordBatch.inOrder(
              RecordBatch.typeCalls(identifiers),
              RecordBatch.then(
                  readCall(
                      identifiers, RecordBatch.apiRecords(count, i -> prepared(ALL_TYPES[i]))))));
      assertAllocated(
          count * 4, count * 64, count * 4, 1000, 1000, (answered[6].payload().length - 1) * 4L);
    }

    @Test
    void sendsATagWhoseTypeIsUnknownAsZeroAndGoesOn() {
      int[] identifiers = {11, 12, 13};
      RecordBatch.answerTypes(TypedValue.INT32);
      answer("pt3_query_tag_type", 117801);
      RecordBatch.answerTypes(TypedValue.FLOAT64);
      ApiRecord first = TypedValue.INT32.answered(1);
      ApiRecord third = TypedValue.FLOAT64.answered(2);
      answer(
          "sn3_query_snapshots",
          119610,
          out("pRecords[0]", first.struct()),
          out("pRecords[2]", third.struct()),
          out("pErrCodes", new int[] {0, 117801, 0}));
      ZRJniRecord[] records = RecordBatch.javaRecords(3);
      int[] codes = {9, 9, 9};

      assertEquals(119610, Jni_Zervane.querySnapShots(identifiers, 3, records, codes));

      Fields.assertSameFields(TypedValue.INT32.read(first, new ZRJniRecord()), records[0]);
      Fields.assertSameFields(new ZRJniRecord(), records[1]);
      Fields.assertSameFields(TypedValue.FLOAT64.read(third, new ZRJniRecord()), records[2]);
      assertArrayEquals(new int[] {0, 117801, 0}, codes);
      assertArrayEquals(new int[] {11, 12, 13}, identifiers);
      assertCalls(
          RecordBatch.inOrder(
              RecordBatch.typeCalls(11, 12, 13),
              RecordBatch.then(
                  readCall(
                      new int[] {11, 0, 13},
                      prepared(TypedValue.INT32),
                      prepared(TypedValue.INT8),
                      prepared(TypedValue.FLOAT64)))));
    }

    @Test
    void looksEveryTypeUpWithTheRecordsTypePresetToZero() {
      answer("pt3_query_tag_type");
      answer("sn3_query_snapshots");
      ZRJniRecord[] records = new ZRJniRecord[1];
      Jni_Zervane.querySnapShots(new int[] {5}, 1, records, new int[1]);
      assertNull(records[0].strValue);
      assertNull(records[0].byteValue);
      assertCalls(
          RecordBatch.inOrder(
              RecordBatch.typeCalls(5),
              RecordBatch.then(readCall(new int[] {5}, prepared(TypedValue.INT8)))));
    }

    @Test
    void doesNotClearTheCodesBefore() {
      RecordBatch.answerTypes(TypedValue.INT8);
      answer("sn3_query_snapshots");
      int[] codes = {9};
      Jni_Zervane.querySnapShots(new int[] {5}, 1, new ZRJniRecord[1], codes);
      assertEquals(0xa5a5_a5a5, codes[0]);
      Recorder.takeCalls();
    }

    @Test
    void freesTheBuffersOfRecordsThatHoldATextOrBlobAfterwards() {
      RecordBatch.answerTypes(TypedValue.STRING, TypedValue.BLOB);
      answer(
          "sn3_query_snapshots",
          Output.records("pRecords", TypedValue.INT8.answered(1), TypedValue.BLOB.answered(2)));
      assertEquals(
          0, Jni_Zervane.querySnapShots(new int[] {5, 6}, 2, new ZRJniRecord[2], new int[2]));
      Recorder.takeCalls();
      assertLeft(TypedValue.BUFFER_SIZE);
    }

    @ParameterizedTest
    @ValueSource(ints = {0, FAILURE})
    void ofNoTagsSendsAnEmptyBatch(int status) {
      answer("sn3_query_snapshots", status);
      assertEquals(
          status, Jni_Zervane.querySnapShots(new int[0], 0, new ZRJniRecord[0], new int[0]));
      assertCalls(readCall(new int[0]));
      assertAllocated(0, 0, 0);
    }

    @Test
    void intoAnArrayThatIsTooShortRaisesTheVirtualMachinesOwnException() {
      RecordBatch.answerTypes(TypedValue.INT8, TypedValue.INT8);
      ZRJniRecord[] records = new ZRJniRecord[1];
      assertThrows(
          ArrayIndexOutOfBoundsException.class,
          () -> Jni_Zervane.querySnapShots(new int[] {5, 6}, 2, records, new int[2]));
      assertNotNull(records[0]);
      Recorder.takeCalls();
    }

    @ParameterizedTest(name = "allocation {0}")
    @ValueSource(ints = {1, 2, 3})
    void withoutMemoryForTheBatchFails(int request) {
      AllocationProbe.failRequest(request);
      assertNothingDelivered();
    }

    @Test
    void withoutMemoryForABufferFailsAndKeepsTheEarlierOnesAllocated() {
      RecordBatch.answerTypes(TypedValue.STRING, TypedValue.INT8, TypedValue.BLOB);
      AllocationProbe.failRequest(5);
      assertNothingDelivered();
      assertCalls(RecordBatch.typeCalls(11, 12, 13));
      assertLeft(TypedValue.BUFFER_SIZE);
    }

    private static void assertNothingDelivered() {
      ZRJniRecord[] records = RecordBatch.javaRecords(3);
      ZRJniRecord[] before = records.clone();
      int[] codes = {7, 8, 9};
      assertEquals(-1, Jni_Zervane.querySnapShots(new int[] {11, 12, 13}, 3, records, codes));
      assertArrayEquals(before, records);
      assertArrayEquals(new int[] {7, 8, 9}, codes);
    }
  }
}
