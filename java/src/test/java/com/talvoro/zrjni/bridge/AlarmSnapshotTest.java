package com.talvoro.zrjni.bridge;

import static org.junit.jupiter.api.Assertions.assertArrayEquals;
import static org.junit.jupiter.api.Assertions.assertEquals;
import static org.junit.jupiter.api.Assertions.assertNotSame;
import static org.junit.jupiter.api.Assertions.assertSame;

import com.talvoro.zrjni.Jni_Zervane;
import com.talvoro.zrjni.ZRJniAlarmRecord;
import java.util.Collections;
import java.util.List;
import java.util.stream.IntStream;
import org.junit.jupiter.api.DisplayName;
import org.junit.jupiter.api.Nested;
import org.junit.jupiter.api.Test;
import org.junit.jupiter.params.ParameterizedTest;
import org.junit.jupiter.params.provider.CsvSource;
import org.junit.jupiter.params.provider.ValueSource;

@DisplayName("Alarm snapshots")
class AlarmSnapshotTest extends BridgeTest {
  private static final long MASK = 0x8000_0001_0000_0002L;
  private static final int SOME_FAILED = 119624;
  private static final int RECORD_SIZE = 2952;

  @Nested
  @DisplayName("of one tag")
  class OfOneTag {
    private static final ExpectedCall QUERY =
        call("am3_query_snapshots")
            .with("nTagNum", 1)
            .with("pTagIDs", new int[] {-2})
            .with("nPropMask", MASK)
            .withAnything("pRecords")
            .withAnything("pErrCodes");

    @ParameterizedTest
    @ValueSource(ints = {1, 2})
    void fillTheRecordAndTellWhetherItIsCommented(int seed) {
      Struct[] answered = {AlarmRecords.answered(seed), AlarmRecords.withoutComment(seed)};
      for (int i = 0; i < 2; ++i) {
        ZRJniAlarmRecord record = Fields.filled(ZRJniAlarmRecord.class, seed + 1);
        ZRJniAlarmRecord expected = AlarmRecords.read(answered[i], record, 1 - i);
        answer("am3_query_snapshots", out("pRecords", answered[i]), out("pErrCodes", 0));
        assertEquals(0, Jni_Zervane.queryAlarmSnapshot(-2, MASK, record));
        Fields.assertSameFields(expected, record);
        assertCalls(QUERY);
      }
    }

    @ParameterizedTest(name = "status {0}, code {1}: {2}")
    @CsvSource({
      "110113, 0, 110113",
      "110113, 7, 110113",
      "119624, 7, 119624",
      "0, 7, 7",
      "0, -1, -1"
    })
    void thatFailReturnTheStatusOrTheTagsCode(int status, int code, int returned) {
      ZRJniAlarmRecord record = Fields.filled(ZRJniAlarmRecord.class, 2);
      ZRJniAlarmRecord before = Fields.copy(record);
      answer(
          "am3_query_snapshots",
          status,
          out("pRecords", AlarmRecords.answered(1)),
          out("pErrCodes", code));
      assertEquals(returned, Jni_Zervane.queryAlarmSnapshot(-2, MASK, record));
      Fields.assertSameFields(before, record);
      assertCalls(QUERY);
    }
  }

  @Nested
  @DisplayName("of many tags")
  class OfManyTags {
    private static final int[] TAGS = {11, -12, 13};

    private static ExpectedCall query(int count) {
      return call("am3_query_snapshots")
          .with("nTagNum", count)
          .with("pTagIDs", java.util.Arrays.copyOf(TAGS, count))
          .with("nPropMask", MASK)
          .with("pRecords", Collections.nCopies(count, Struct.cleared(Layouts.ALARM_RECORD)))
          .with("pErrCodes", new int[count]);
    }

    private static ZRJniAlarmRecord[] records(int count) {
      return IntStream.range(0, count)
          .mapToObj(i -> Fields.filled(ZRJniAlarmRecord.class, i + 5))
          .toArray(ZRJniAlarmRecord[]::new);
    }

    @ParameterizedTest
    @ValueSource(ints = {0, SOME_FAILED})
    void replaceEveryRecordAndReportSuccess(int status) {
      List<Struct> answered =
          List.of(
              AlarmRecords.withoutComment(1), AlarmRecords.answered(2), AlarmRecords.answered(3));
      answer(
          "am3_query_snapshots",
          status,
          out("pRecords", answered),
          out("pErrCodes", new int[] {0, -5, 0}));
      ZRJniAlarmRecord[] records = records(4);
      ZRJniAlarmRecord[] before = records.clone();
      int[] codes = {6, 7, 8, 9};

      assertEquals(0, Jni_Zervane.queryAlarmSnapshots(TAGS, 3, MASK, records, codes));

      assertArrayEquals(new int[] {0, -5, 0, 9}, codes);
      int[] commented = {0, 1, 1};
      for (int i = 0; i < 3; ++i) {
        assertNotSame(before[i], records[i]);
        Fields.assertSameFields(
            AlarmRecords.read(answered.get(i), new ZRJniAlarmRecord(), commented[i]), records[i]);
      }
      assertSame(before[3], records[3]);
      assertCalls(query(3));
      assertAllocated(allocated(answered));
    }

    private static long[] allocated(List<Struct> answered) {
      return IntStream.concat(
              IntStream.of(3 * 4, 3 * RECORD_SIZE, 3 * 4),
              answered.stream()
                  .flatMap(
                      record ->
                          java.util.stream.Stream.of(
                                  "szSrcValue", "szTest", "szComment", "szAcker", "szCommentor")
                              .map(member -> Output.terminated(record.text(member)).length - 1))
                  .filter(length -> length > 0)
                  .mapToInt(length -> length * 4))
          .asLongStream()
          .toArray();
    }

    @Test
    void areCommentedFromTheFirstThatHasACommentOn() {
      List<Struct> answered =
          List.of(
              AlarmRecords.answered(1),
              AlarmRecords.withoutComment(2),
              AlarmRecords.withoutComment(3));
      answer("am3_query_snapshots", out("pRecords", answered));
      ZRJniAlarmRecord[] records = new ZRJniAlarmRecord[3];
      assertEquals(0, Jni_Zervane.queryAlarmSnapshots(TAGS, 3, MASK, records, new int[3]));
      for (int i = 0; i < 3; ++i) {
        Fields.assertSameFields(
            AlarmRecords.read(answered.get(i), new ZRJniAlarmRecord(), 1), records[i]);
      }
      assertCalls(query(3));
    }

    @Test
    void thatTheLibraryDidNotFillAreConvertedFromZeros() {
      ZRJniAlarmRecord[] records = records(1);
      assertEquals(0, Jni_Zervane.queryAlarmSnapshots(TAGS, 1, MASK, records, new int[1]));
      Struct zeros = Struct.cleared(Layouts.ALARM_RECORD);
      Fields.assertSameFields(AlarmRecords.read(zeros, new ZRJniAlarmRecord()), records[0]);
      assertCalls(query(1));
    }

    @Test
    void thatFailDeliverNothing() {
      answer("am3_query_snapshots", FAILURE, out("pErrCodes", new int[] {5, 6}));
      assertUntouched(FAILURE);
      assertCalls(query(2));
    }

    @Test
    void ofNoneAskForNone() {
      assertEquals(
          0, Jni_Zervane.queryAlarmSnapshots(TAGS, 0, MASK, new ZRJniAlarmRecord[0], new int[0]));
      assertCalls(query(0));
      assertAllocated(0, 0, 0);
    }

    @ParameterizedTest(name = "allocation {0}")
    @ValueSource(ints = {1, 2, 3})
    void withoutMemoryFailBeforeAnyCall(int request) {
      AllocationProbe.failRequest(request);
      assertUntouched(-1);
    }

    private static void assertUntouched(int status) {
      ZRJniAlarmRecord[] records = records(2);
      ZRJniAlarmRecord[] before = records.clone();
      int[] codes = {8, 9};
      assertEquals(status, Jni_Zervane.queryAlarmSnapshots(TAGS, 2, MASK, records, codes));
      assertArrayEquals(before, records);
      assertArrayEquals(new int[] {8, 9}, codes);
    }
  }
}
