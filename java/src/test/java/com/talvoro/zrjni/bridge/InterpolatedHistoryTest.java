package com.talvoro.zrjni.bridge;

import static org.junit.jupiter.api.Assertions.assertArrayEquals;
import static org.junit.jupiter.api.Assertions.assertEquals;
import static org.junit.jupiter.api.Assertions.assertNotSame;
import static org.junit.jupiter.api.Assertions.assertSame;

import com.talvoro.zrjni.Jni_Zervane;
import com.talvoro.zrjni.ZRJniRecord;
import java.util.Arrays;
import java.util.Collections;
import org.junit.jupiter.api.DisplayName;
import org.junit.jupiter.api.Nested;
import org.junit.jupiter.api.Test;
import org.junit.jupiter.params.ParameterizedTest;
import org.junit.jupiter.params.provider.CsvSource;
import org.junit.jupiter.params.provider.EnumSource;

@DisplayName("Interpolated history")
class InterpolatedHistoryTest extends BridgeTest {
  private static final int TAG = -7;
  private static final int SOME_FAILED = 119611;
  private static final int RECORD_SIZE = 64;
  private static final int SLOT = TypedValue.BUFFER_SIZE;

  /** The three methods; those of one tag are asked for the tag as often as there are instants. */
  enum Method {
    LINEAR("ar3_query_interp_records_by_mode", 0) {
      @Override
      int query(int count, ZRJniRecord[] records, int[] codes) {
        return Jni_Zervane.queryInterpRecords(TAG, (byte) 99, count, records, codes);
      }
    },
    BY_MODE("ar3_query_interp_records_by_mode", 1) {
      @Override
      int query(int count, ZRJniRecord[] records, int[] codes) {
        return Jni_Zervane.queryInterpRecordsByMode(TAG, (byte) 99, count, records, codes, mode);
      }
    },
    MANY_TAGS("ar3_query_tags_interp_records_by_mode", 1) {
      @Override
      int query(int count, ZRJniRecord[] records, int[] codes) {
        return Jni_Zervane.queryTagsInterpRecordsByMode(mode, tags(count), count, records, codes);
      }
    };

    final String function;
    final int mode;

    Method(String function, int mode) {
      this.function = function;
      this.mode = mode;
    }

    abstract int query(int count, ZRJniRecord[] records, int[] codes);

    static int[] tags(int count) {
      int[] tags = new int[count];
      Arrays.fill(tags, TAG);
      return tags;
    }

    boolean isOfOneTag() {
      return this != MANY_TAGS;
    }

    int lookUps(int count) {
      return isOfOneTag() ? 1 : count;
    }

    void answerTypes(TypedValue value, int count) {
      RecordBatch.answerTypes(
          Collections.nCopies(lookUps(count), value).toArray(TypedValue[]::new));
    }

    ExpectedCall[] calls(TypedValue value, ZRJniRecord[] instants, int count) {
      return RecordBatch.inOrder(
          RecordBatch.typeCalls(tags(lookUps(count))),
          RecordBatch.then(
              queryCall(
                  mode, RecordBatch.apiRecords(count, i -> prepared(value, instants[i], i)))));
    }

    ExpectedCall queryCall(int sentMode, ApiRecord... records) {
      ExpectedCall call = call(function).with("nMode", sentMode);
      if (isOfOneTag()) {
        call.with("nTagID", TAG & 0xffff_ffffL).with("nNum", records.length);
      } else {
        call.with("nNum", records.length).with("pTagIDs", tags(records.length));
      }
      return call.withRecords("pRecords", records).with("pErrCodes", new int[records.length]);
    }

    /** The instant in a cleared record; a text or blob has a cleared slot. */
    private ApiRecord prepared(TypedValue value, ZRJniRecord instant, int index) {
      ApiRecord record = ApiRecord.cleared().time(instant.nSec, instant.nMsec);
      if (this == LINEAR && index == 0) {
        record.type(value.type());
      } else if (this == MANY_TAGS) {
        record.struct().undefine("nTagType");
      }
      return value.hasBuffer() ? record.buffer(new byte[SLOT], index * SLOT) : record;
    }

    /** What the successful method returns for a status. */
    int returned(int status) {
      return isOfOneTag() ? 0 : status;
    }
  }

  /** A new object with the time of an answered record alone. */
  private static ZRJniRecord timeOf(ApiRecord answered) {
    ZRJniRecord record = new ZRJniRecord();
    record.nSec = (int) answered.struct().integer("nSec");
    record.nMsec = (short) answered.struct().integer("nMsec");
    return record;
  }

  private static ZRJniRecord wholeOf(TypedValue value, ApiRecord answered) {
    return value.read(answered, new ZRJniRecord());
  }

  @ParameterizedTest
  @EnumSource
  void replacesTheInstantsByTheirValues(Method method) {
    for (TypedValue value : TypedValue.values()) {
      ZRJniRecord[] records = RecordBatch.javaRecords(3);
      ZRJniRecord[] instants = records.clone();
      ApiRecord[] answered = {value.answered(4), value.answered(5)};
      method.answerTypes(value, 2);
      answer(method.function, Output.records("pRecords", answered));
      int[] codes = {7, 8, 9};

      assertEquals(0, method.query(2, records, codes));

      for (int i = 0; i < 2; ++i) {
        assertNotSame(instants[i], records[i]);
        Fields.assertSameFields(wholeOf(value, answered[i]), records[i]);
      }
      assertSame(instants[2], records[2]);
      assertArrayEquals(new int[] {0, 0, 9}, codes);
      assertCalls(method.calls(value, instants, 2));
      AllocationProbe.reset();
    }
  }

  @ParameterizedTest
  @EnumSource
  void deliversAPartialSuccessWithTheTimeAloneWhereAnInstantFailed(Method method) {
    ZRJniRecord[] records = RecordBatch.javaRecords(2);
    ZRJniRecord[] instants = records.clone();
    ApiRecord[] answered = {TypedValue.INT32.answered(4), TypedValue.INT32.answered(5)};
    method.answerTypes(TypedValue.INT32, 2);
    answer(
        method.function,
        SOME_FAILED,
        Output.records("pRecords", answered),
        out("pErrCodes", new int[] {119603, 0}));
    int[] codes = new int[2];
    assertEquals(method.returned(SOME_FAILED), method.query(2, records, codes));
    assertArrayEquals(new int[] {119603, 0}, codes);
    Fields.assertSameFields(timeOf(answered[0]), records[0]);
    Fields.assertSameFields(wholeOf(TypedValue.INT32, answered[1]), records[1]);
    assertCalls(method.calls(TypedValue.INT32, instants, 2));
  }

  @ParameterizedTest
  @EnumSource
  void honoursTheCodesOfASuccessToo(Method method) {
    ZRJniRecord[] records = RecordBatch.javaRecords(1);
    ZRJniRecord[] instants = records.clone();
    ApiRecord answered = TypedValue.INT8.answered(4);
    method.answerTypes(TypedValue.INT8, 1);
    answer(method.function, Output.records("pRecords", answered), out("pErrCodes", 5));
    assertEquals(0, method.query(1, records, new int[1]));
    Fields.assertSameFields(timeOf(answered), records[0]);
    assertCalls(method.calls(TypedValue.INT8, instants, 1));
  }

  @ParameterizedTest
  @EnumSource
  void thatFailsDeliversNothing(Method method) {
    ZRJniRecord[] records = RecordBatch.javaRecords(1);
    ZRJniRecord[] instants = records.clone();
    method.answerTypes(TypedValue.STRING, 1);
    answer(
        method.function,
        FAILURE,
        Output.records("pRecords", TypedValue.STRING.answered(4)),
        out("pErrCodes", 5));
    assertUntouched(method, FAILURE, records);
    assertCalls(method.calls(TypedValue.STRING, instants, 1));
  }

  @ParameterizedTest
  @EnumSource
  void ofNoInstantsAsksForNone(Method method) {
    method.answerTypes(TypedValue.INT8, 0);
    assertEquals(0, method.query(0, new ZRJniRecord[0], new int[0]));
    assertCalls(method.calls(TypedValue.INT8, new ZRJniRecord[0], 0));
    assertAllocated(0, 0);
  }

  @ParameterizedTest
  @EnumSource
  void withoutMemoryForTheRecordsReportsSuccessAndAsksNobody(Method method) {
    AllocationProbe.failRequest(1);
    assertUntouched(method, 0, RecordBatch.javaRecords(1));
  }

  @ParameterizedTest(name = "{0}, allocation {1}")
  @CsvSource({"LINEAR, 2", "LINEAR, 3", "BY_MODE, 2", "BY_MODE, 3", "MANY_TAGS, 2", "MANY_TAGS, 3"})
  void withoutMemoryForTextsOrCodesReportsSuccessAndQueriesNothing(Method method, int request) {
    method.answerTypes(TypedValue.STRING, 1);
    AllocationProbe.failRequest(request);
    assertUntouched(method, 0, RecordBatch.javaRecords(1));
    assertCalls(RecordBatch.typeCalls(TAG));
  }

  private static void assertUntouched(Method method, int status, ZRJniRecord[] records) {
    ZRJniRecord[] before = records.clone();
    int[] codes = new int[records.length];
    Arrays.fill(codes, 9);
    int[] codesBefore = codes.clone();
    assertEquals(status, method.query(records.length, records, codes));
    assertArrayEquals(before, records);
    assertArrayEquals(codesBefore, codes);
  }

  @ParameterizedTest(name = "mode {0} is sent as {1}")
  @CsvSource({"0, 0", "1, 1", "255, 255", "256, 0", "-1, 255", "513, 1"})
  void keepsTheLowByteOfTheMode(int given, int sent) {
    ZRJniRecord instant = new ZRJniRecord();
    RecordBatch.answerTypes(TypedValue.INT8, TypedValue.INT8);
    Jni_Zervane.queryInterpRecordsByMode(
        TAG, (byte) 0, 1, new ZRJniRecord[] {instant}, new int[1], given);
    Jni_Zervane.queryTagsInterpRecordsByMode(
        given, new int[] {TAG}, 1, new ZRJniRecord[] {instant}, new int[1]);
    ExpectedCall[] type = RecordBatch.typeCalls(TAG);
    assertCalls(
        RecordBatch.inOrder(
            type,
            RecordBatch.then(Method.BY_MODE.queryCall(sent, ApiRecord.cleared())),
            type,
            RecordBatch.then(Method.MANY_TAGS.queryCall(sent, ApiRecord.cleared()))));
  }

  @Nested
  @DisplayName("of one tag")
  class OfOneTag {
    @ParameterizedTest
    @EnumSource(names = {"LINEAR", "BY_MODE"})
    void thatIsUnknownReturnsTheLookUpsStatusAndKeepsTheRecordsAllocated(Method method) {
      answer("pt3_query_tag_type", 117801, out("pTagType", 6));
      assertUntouched(method, 117801, RecordBatch.javaRecords(2));
      assertCalls(RecordBatch.typeCalls(TAG));
      assertLeft(2 * RECORD_SIZE);
    }

    @ParameterizedTest
    @EnumSource(names = {"LINEAR", "BY_MODE"})
    void takesOneBlockForRecordsTextsAndCodesEach(Method method) {
      RecordBatch.answerTypes(TypedValue.BLOB);
      answer(method.function, FAILURE);
      method.query(3, RecordBatch.javaRecords(3), new int[3]);
      Recorder.takeCalls();
      assertAllocated(3 * RECORD_SIZE, 3 * SLOT, 3 * 4);
    }
  }

  @Nested
  @DisplayName("of many tags")
  class OfManyTags {
    private static final int[] TAGS = {11, -12, 13};

    private static int query(ZRJniRecord[] records, int[] codes) {
      return Jni_Zervane.queryTagsInterpRecordsByMode(0, TAGS, 3, records, codes);
    }

    @Test
    void readsEachTextFromItsOwnSlotAndKeepsAllButTheLastBlockAllocated() {
      RecordBatch.answerTypes(TypedValue.STRING, TypedValue.INT16, TypedValue.BLOB);
      ZRJniRecord[] records = RecordBatch.javaRecords(3);
      ZRJniRecord[] instants = records.clone();
      ApiRecord text = TypedValue.STRING.answered(4);
      ApiRecord number = TypedValue.INT16.answered(5);
      ApiRecord blob = TypedValue.BLOB.answered(6);
      answer(
          "ar3_query_tags_interp_records_by_mode", Output.records("pRecords", text, number, blob));
      assertEquals(0, query(records, new int[3]));
      Fields.assertSameFields(wholeOf(TypedValue.STRING, text), records[0]);
      Fields.assertSameFields(wholeOf(TypedValue.INT16, number), records[1]);
      Fields.assertSameFields(wholeOf(TypedValue.BLOB, blob), records[2]);
      assertCalls(
          RecordBatch.inOrder(
              RecordBatch.typeCalls(TAGS),
              RecordBatch.then(
                  call("ar3_query_tags_interp_records_by_mode")
                      .with("nMode", 0)
                      .with("nNum", 3)
                      .with("pTagIDs", TAGS)
                      .withRecords(
                          "pRecords",
                          Method.MANY_TAGS.prepared(TypedValue.STRING, instants[0], 0),
                          Method.MANY_TAGS.prepared(TypedValue.INT16, instants[1], 1),
                          Method.MANY_TAGS.prepared(TypedValue.BLOB, instants[2], 2))
                      .with("pErrCodes", new int[3]))));
      assertLeft(3 * SLOT);
    }

    @Test
    void endsWithTheFirstTypeThatIsUnknown() {
      RecordBatch.answerTypes(TypedValue.STRING, TypedValue.STRING);
      answer("pt3_query_tag_type", 117801);
      assertUntouchedBatch(117801);
      assertCalls(RecordBatch.typeCalls(TAGS));
      assertLeft(3 * SLOT);
    }

    @Test
    void endsWithSuccessWhenALaterBlockCannotBeAllocated() {
      RecordBatch.answerTypes(TypedValue.STRING, TypedValue.STRING);
      AllocationProbe.failRequest(3);
      assertUntouchedBatch(0);
      assertCalls(RecordBatch.typeCalls(TAGS[0], TAGS[1]));
      assertLeft(3 * SLOT);
    }

    private static void assertUntouchedBatch(int status) {
      ZRJniRecord[] records = RecordBatch.javaRecords(3);
      ZRJniRecord[] before = records.clone();
      int[] codes = {7, 8, 9};
      assertEquals(status, query(records, codes));
      assertArrayEquals(before, records);
      assertArrayEquals(new int[] {7, 8, 9}, codes);
    }
  }
}
