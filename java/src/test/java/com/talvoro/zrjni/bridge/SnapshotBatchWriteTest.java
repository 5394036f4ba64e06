package com.talvoro.zrjni.bridge;

import static org.junit.jupiter.api.Assertions.assertArrayEquals;
import static org.junit.jupiter.api.Assertions.assertEquals;

import com.talvoro.zrjni.Jni_Zervane;
import com.talvoro.zrjni.ZRJniRecord;
import java.util.Arrays;
import java.util.stream.IntStream;
import org.junit.jupiter.api.DisplayName;
import org.junit.jupiter.api.Nested;
import org.junit.jupiter.api.Test;
import org.junit.jupiter.params.ParameterizedTest;
import org.junit.jupiter.params.provider.EnumSource;

@DisplayName("Writing many current values")
class SnapshotBatchWriteTest extends BridgeTest {
  private static final TypedValue[] ALL_TYPES = TypedValue.values();
  private static final int RECORD_SIZE = 64;

  /** The three methods that send a tag for each record. */
  enum Method {
    WAITING("sn3_save_snapshots", true) {
      @Override
      int save(int[] tags, int count, ZRJniRecord[] records, int[] codes) {
        return Jni_Zervane.saveSnapshots(tags, count, records, codes);
      }
    },
    NOT_WAITING("sn3_save_snapshots_nowait", true) {
      @Override
      int save(int[] tags, int count, ZRJniRecord[] records, int[] codes) {
        return Jni_Zervane.saveSnapshotsNowait(tags, count, records, codes);
      }
    },
    DISORDER("sn3_save_tags_disorder_snapshots", false) {
      @Override
      int save(int[] tags, int count, ZRJniRecord[] records, int[] codes) {
        return Jni_Zervane.saveTagsDisorderSnapshots(count, tags, records, codes);
      }
    };

    final String function;
    final boolean clearsCodes;

    Method(String function, boolean clearsCodes) {
      this.function = function;
      this.clearsCodes = clearsCodes;
    }

    abstract int save(int[] tags, int count, ZRJniRecord[] records, int[] codes);

    ExpectedCall saveCall(int[] tags, ApiRecord... records) {
      return call(function)
          .with("nNum", tags.length)
          .with("pTagIDs", tags)
          .withRecords("pRecords", records)
          .with("pErrCodes", clearsCodes ? new int[tags.length] : uncleared(tags.length));
    }
  }

  private static int[] uncleared(int count) {
    int[] codes = new int[count];
    Arrays.fill(codes, 0xa5a5_a5a5);
    return codes;
  }

  private static ApiRecord[] sent(ZRJniRecord[] records, TypedValue... types) {
    return RecordBatch.apiRecords(
        types.length, i -> types[i].sent(records[i], ApiRecord.cleared()));
  }

  @ParameterizedTest
  @EnumSource
  void sendsEachRecordByTheTypeOfItsTagAndDeliversTheCodes(Method method) {
    int count = ALL_TYPES.length;
    int[] tags = RecordBatch.identifiers(count);
    ZRJniRecord[] records = RecordBatch.javaRecords(count);
    ZRJniRecord[] before = records.clone();
    RecordBatch.answerTypes(ALL_TYPES);
    RecordBatch.answerTypes(ALL_TYPES);
    answer(method.function, out("pErrCodes", new int[] {0, 1, -2, 3, 4, 5, 6, 7}));
    int[] codes = new int[count + 1];
    assertEquals(0, method.save(tags, count, records, codes));
    assertArrayEquals(new int[] {0, 1, -2, 3, 4, 5, 6, 7, 0}, codes);
    assertArrayEquals(before, records);
    ExpectedCall[] types = RecordBatch.typeCalls(tags);
    assertCalls(
        RecordBatch.inOrder(
            types, RecordBatch.then(method.saveCall(tags, sent(records, ALL_TYPES))), types));
  }

  @ParameterizedTest
  @EnumSource
  void deliversTheCodesOfAFailureToo(Method method) {
    ZRJniRecord[] records = RecordBatch.javaRecords(2);
    RecordBatch.answerTypes(TypedValue.STRING, TypedValue.INT8);
    answer(method.function, 119610, out("pErrCodes", new int[] {0, 119605}));
    RecordBatch.answerTypes(TypedValue.STRING, TypedValue.INT8);
    int[] codes = {8, 9};
    assertEquals(119610, method.save(new int[] {5, 6}, 2, records, codes));
    assertArrayEquals(new int[] {0, 119605}, codes);
    ExpectedCall[] types = RecordBatch.typeCalls(5, 6);
    ApiRecord[] sent = sent(records, TypedValue.STRING, TypedValue.INT8);
    assertCalls(
        RecordBatch.inOrder(
            types, RecordBatch.then(method.saveCall(new int[] {5, 6}, sent)), types));
  }

  @ParameterizedTest
  @EnumSource
  void failsAsAWholeWhenATypeIsUnknownAndKeepsTheEarlierBuffersAllocated(Method method) {
    ZRJniRecord[] records = RecordBatch.javaRecords(3);
    RecordBatch.answerTypes(TypedValue.STRING, TypedValue.BLOB);
    answer("pt3_query_tag_type", 117801);
    int[] codes = {7, 8, 9};
    assertEquals(117801, method.save(new int[] {5, 6, 7}, 3, records, codes));
    assertArrayEquals(new int[] {7, 8, 9}, codes);
    assertCalls(RecordBatch.typeCalls(5, 6, 7));
    assertLeft(textBuffer(records[0].strValue), records[1].byteValue.length);
  }

  @ParameterizedTest
  @EnumSource
  void reportsAFailedSecondLookUpInsteadOfTheSaveAndKeepsTheRemainingBuffersAllocated(
      Method method) {
    ZRJniRecord[] records = RecordBatch.javaRecords(4);
    TypedValue[] types = {TypedValue.STRING, TypedValue.BLOB, TypedValue.INT8, TypedValue.STRING};
    RecordBatch.answerTypes(types);
    answer(method.function, FAILURE, out("pErrCodes", new int[] {1, 2, 3, 4}));
    RecordBatch.answerTypes(TypedValue.STRING);
    answer("pt3_query_tag_type", 117801);
    int[] codes = new int[4];
    assertEquals(117801, method.save(new int[] {5, 6, 7, 8}, 4, records, codes));
    assertArrayEquals(new int[] {1, 2, 3, 4}, codes);
    assertCalls(
        RecordBatch.inOrder(
            RecordBatch.typeCalls(5, 6, 7, 8),
            RecordBatch.then(method.saveCall(new int[] {5, 6, 7, 8}, sent(records, types))),
            RecordBatch.typeCalls(5, 6)));
    assertLeft(records[1].byteValue.length, textBuffer(records[3].strValue));
  }

  @ParameterizedTest
  @EnumSource
  void freesABufferOnlyWhenTheSecondLookUpSaysThatThereIsOne(Method method) {
    ZRJniRecord[] records = RecordBatch.javaRecords(1);
    RecordBatch.answerTypes(TypedValue.STRING, TypedValue.INT8);
    assertEquals(0, method.save(new int[] {5}, 1, records, new int[1]));
    ExpectedCall[] type = RecordBatch.typeCalls(5);
    ApiRecord[] sent = sent(records, TypedValue.STRING);
    assertCalls(
        RecordBatch.inOrder(type, RecordBatch.then(method.saveCall(new int[] {5}, sent)), type));
    assertLeft(textBuffer(records[0].strValue));
  }

  @ParameterizedTest
  @EnumSource
  void ofNothingSendsAnEmptyBatch(Method method) {
    answer(method.function, FAILURE);
    assertEquals(FAILURE, method.save(new int[0], 0, new ZRJniRecord[0], new int[0]));
    assertCalls(method.saveCall(new int[0]));
    assertAllocated(0, 0, 0);
  }

  @ParameterizedTest
  @EnumSource
  void allocatesTheBatchInBlocks(Method method) {
    RecordBatch.answerTypes(TypedValue.INT8, TypedValue.INT8, TypedValue.INT8, TypedValue.INT8);
    method.save(new int[] {5, 6}, 2, RecordBatch.javaRecords(2), new int[2]);
    Recorder.takeCalls();
    assertAllocated(2 * 4, 2 * RECORD_SIZE, 2 * 4);
  }

  @ParameterizedTest
  @EnumSource
  void withoutMemoryForIdentifiersOrRecordsFails(Method method) {
    for (int request = 1; request <= 2; ++request) {
      AllocationProbe.failRequest(request);
      int[] codes = {8, 9};
      assertEquals(-1, method.save(new int[] {5, 6}, 2, RecordBatch.javaRecords(2), codes));
      assertArrayEquals(new int[] {8, 9}, codes);
      assertLeft();
    }
  }

  @ParameterizedTest
  @EnumSource(names = {"WAITING", "NOT_WAITING"})
  void withoutMemoryForTheCodesFailsAndKeepsTheRecordsAllocated(Method method) {
    AllocationProbe.failRequest(3);
    assertEquals(-1, method.save(new int[] {5, 6}, 2, RecordBatch.javaRecords(2), new int[2]));
    assertLeft(2 * RECORD_SIZE);
  }

  @Nested
  @DisplayName("of one tag, in any order")
  class OfOneTagInAnyOrder {
    private static final int TAG = -9;

    private static ExpectedCall saveCall(ApiRecord... records) {
      return call("sn3_save_disorder_snapshots")
          .with("nNum", records.length)
          .with("nTagID", TAG & 0xffff_ffffL)
          .withRecords("pRecords", records)
          .with("pErrCodes", uncleared(records.length));
    }

    @ParameterizedTest
    @EnumSource
    void sendsEveryRecordByTheTagsTypeAfterOneLookUp(TypedValue value) {
      ZRJniRecord[] records = RecordBatch.javaRecords(3);
      RecordBatch.answerTypes(value);
      assertEquals(0, Jni_Zervane.saveDisorderSnapshots(3, TAG, records));
      assertCalls(
          RecordBatch.inOrder(
              RecordBatch.typeCalls(TAG),
              RecordBatch.then(saveCall(sent(records, value, value, value)))));
    }

    @Test
    void reportsTheStatusAloneWhenSingleRecordsAreRefused() {
      ZRJniRecord[] records = RecordBatch.javaRecords(2);
      RecordBatch.answerTypes(TypedValue.STRING);
      answer("sn3_save_disorder_snapshots", 119610, out("pErrCodes", new int[] {0, 119601}));
      assertEquals(119610, Jni_Zervane.saveDisorderSnapshots(2, TAG, records));
      ApiRecord[] sent = sent(records, TypedValue.STRING, TypedValue.STRING);
      assertCalls(
          RecordBatch.inOrder(RecordBatch.typeCalls(TAG), RecordBatch.then(saveCall(sent))));
    }

    @Test
    void ofAnUnknownTagReturnsTheLookUpsStatus() {
      answer("pt3_query_tag_type", 117801);
      assertEquals(117801, Jni_Zervane.saveDisorderSnapshots(2, TAG, RecordBatch.javaRecords(2)));
      assertCalls(RecordBatch.typeCalls(TAG));
      assertAllocated(2 * RECORD_SIZE);
    }

    @Test
    void ofNothingSendsAnEmptyBatch() {
      RecordBatch.answerTypes(TypedValue.STRING);
      answer("sn3_save_disorder_snapshots", FAILURE);
      assertEquals(FAILURE, Jni_Zervane.saveDisorderSnapshots(0, TAG, new ZRJniRecord[0]));
      assertCalls(RecordBatch.inOrder(RecordBatch.typeCalls(TAG), RecordBatch.then(saveCall())));
      assertAllocated(0, 0);
    }

    @Test
    void withoutMemoryForTheRecordsFailsBeforeAnyCall() {
      AllocationProbe.failRequest(1);
      assertEquals(-1, Jni_Zervane.saveDisorderSnapshots(2, TAG, RecordBatch.javaRecords(2)));
    }

    @Test
    void allocatesTheCodesAfterTheValues() {
      ZRJniRecord[] records = RecordBatch.javaRecords(2);
      RecordBatch.answerTypes(TypedValue.STRING);
      Jni_Zervane.saveDisorderSnapshots(2, TAG, records);
      Recorder.takeCalls();
      long[] texts =
          IntStream.range(0, 2).mapToLong(i -> textBuffer(records[i].strValue)).toArray();
      assertAllocated(2 * RECORD_SIZE, texts[0], texts[1], 2 * 4);
    }
  }
}
